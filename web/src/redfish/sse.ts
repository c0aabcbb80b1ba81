// Server-sent events as a stream of text: chunks in, events out. The browser's EventSource
// cannot send a token, so its parser is of no use here.

export interface ServerSentEvent {
    id: string; // of the last event that carried one, this one included
    type: string;
    data: string;
}

export class SseParser {
    // The id to resume after; empty before the first one.
    lastEventId: string;
    // As requested by the server, or null.
    retryMilliseconds: number | null = null;

    private rest = "";
    private data: string[] = [];
    private type = "";
    private started = false;
    private afterCarriageReturn = false;

    constructor(lastEventId = "") {
        this.lastEventId = lastEventId;
    }

    // The events that the chunk completes. Lines end with LF, CR or CR LF, and a chunk may end
    // anywhere, between CR and LF too.
    push(chunk: string): ServerSentEvent[] {
        let text = chunk;
        if (!this.started && text !== "") {
            this.started = true;
            text = text.replace(/^\uFEFF/, "");
        }
        const events: ServerSentEvent[] = [];
        for (const part of text.split(/(\r\n|\r|\n)/)) {
            if (part === "\n" && this.afterCarriageReturn) {
                this.afterCarriageReturn = false;
            } else if (part === "\n" || part === "\r" || part === "\r\n") {
                this.afterCarriageReturn = part === "\r";
                const event = this.line(this.rest);
                this.rest = "";
                if (event) events.push(event);
            } else if (part !== "") {
                this.afterCarriageReturn = false;
                this.rest += part;
            }
        }
        return events;
    }

    private line(line: string): ServerSentEvent | null {
        if (line === "") return this.dispatch();
        const colon = line.indexOf(":");
        if (colon === 0) return null; // a comment, sent to keep the connection open
        const field = colon < 0 ? line : line.slice(0, colon);
        const value = colon < 0 ? "" : line.slice(colon + 1).replace(/^ /, "");
        if (field === "data") this.data.push(value);
        else if (field === "event") this.type = value;
        else if (field === "id" && !value.includes("\0")) this.lastEventId = value;
        else if (field === "retry" && /^\d+$/.test(value)) this.retryMilliseconds = Number(value);
        return null;
    }

    private dispatch(): ServerSentEvent | null {
        const event = {
            id: this.lastEventId,
            type: this.type || "message",
            data: this.data.join("\n"),
        };
        const empty = this.data.length === 0;
        this.data = [];
        this.type = "";
        return empty ? null : event;
    }
}
