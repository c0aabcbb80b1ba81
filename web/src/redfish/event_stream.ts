// Keeps the event stream open: reads it, resumes after the last event when it breaks, and reports
// whether it is up.
import { RequestFailure } from "./errors";
import type { RedfishClient } from "./client";
import { SseParser, type ServerSentEvent } from "./sse";

// Retries soon at first, so that a restarted server is noticed at once, then backs off.
const kFirstPauseMs = 500;
const kLongestPauseMs = 5_000;

export interface StreamListener {
    onEvent(event: ServerSentEvent): void;
    // `resumed`: the stream was open before, so missed changes must be read.
    onOpen(resumed: boolean): void;
    onBreak(failure: RequestFailure): void;
}

// Reads until `signal` is aborted or the session has ended (onBreak with "signedOut"); never throws.
export async function followEvents(
    client: RedfishClient,
    path: string,
    listener: StreamListener,
    signal: AbortSignal,
): Promise<void> {
    let lastId = "";
    let pause = kFirstPauseMs;
    for (let resumed = false; !signal.aborted;) {
        try {
            const headers: Record<string, string> = { Accept: "text/event-stream" };
            if (lastId !== "") headers["Last-Event-ID"] = lastId;
            const response = await client.open(path, { headers, signal });
            listener.onOpen(resumed);
            resumed = true;
            const parser = new SseParser(lastId);
            await read(response, parser, (event) => {
                lastId = parser.lastEventId;
                listener.onEvent(event);
            });
            pause = parser.retryMilliseconds ?? kFirstPauseMs;
            listener.onBreak(new RequestFailure("unreachable", 0));
        } catch (error) {
            if (signal.aborted) return;
            const failure =
                error instanceof RequestFailure ? error : new RequestFailure("unreachable", 0);
            listener.onBreak(failure);
            if (failure.kind === "signedOut") return;
        }
        await sleep(pause, signal);
        pause = Math.min(pause * 2, kLongestPauseMs);
    }
}

async function read(
    response: Response,
    parser: SseParser,
    onEvent: (event: ServerSentEvent) => void,
): Promise<void> {
    const reader = response.body?.getReader();
    if (!reader) return;
    const decoder = new TextDecoder();
    for (;;) {
        const { done, value } = await reader.read();
        if (done) return;
        for (const event of parser.push(decoder.decode(value, { stream: true }))) onEvent(event);
    }
}

export function sleep(milliseconds: number, signal: AbortSignal): Promise<void> {
    return new Promise((resolve) => {
        const timer = setTimeout(resolve, milliseconds);
        signal.addEventListener(
            "abort",
            () => {
                clearTimeout(timer);
                resolve();
            },
            { once: true },
        );
    });
}
