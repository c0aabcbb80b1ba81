// One HTTP request to the Redfish server, with the session's token. Everything but success is
// thrown as RequestFailure.
import { kindOf, messagesOf, RequestFailure } from "./errors";
import type { Json } from "./json";

// An update is written in paced steps and may queue behind others; the server times out before this.
const kAnswerSeconds = 20;

export interface Answer {
    status: number;
    body: Json | undefined; // undefined without content
    headers: Headers;
}

export interface RequestOptions {
    body?: Json;
    headers?: Record<string, string>;
    signal?: AbortSignal;
}

export class RedfishClient {
    // `token` is called for every request; null before the sign-in.
    constructor(private readonly token: () => string | null) {}

    get(path: string, options: RequestOptions = {}): Promise<Answer> {
        return this.request("GET", path, options);
    }

    // The response as it arrives, for the event stream; only the caller's signal limits it.
    async open(path: string, options: RequestOptions): Promise<Response> {
        const response = await this.fetch("GET", path, options, options.signal ?? null);
        if (!response.ok) throw await failureOf(response);
        return response;
    }

    async request(method: string, path: string, options: RequestOptions = {}): Promise<Answer> {
        const limit = AbortSignal.timeout(kAnswerSeconds * 1000);
        const signal = options.signal ? anyOf(options.signal, limit) : limit;
        const response = await this.fetch(method, path, options, signal);
        // 304 is success for a conditional GET.
        if (!response.ok && response.status !== 304) throw await failureOf(response);
        return { status: response.status, body: await bodyOf(response), headers: response.headers };
    }

    private async fetch(
        method: string,
        path: string,
        options: RequestOptions,
        signal: AbortSignal | null,
    ): Promise<Response> {
        const headers: Record<string, string> = {
            Accept: "application/json",
            "OData-Version": "4.0",
            ...options.headers,
        };
        const token = this.token();
        if (token) headers["X-Auth-Token"] = token;
        const request: RequestInit = { method, headers, signal, cache: "no-store" };
        // Otherwise the browser prompts for a password upon a 401 that asks for Basic.
        request.credentials = "omit";
        if (options.body !== undefined) {
            headers["Content-Type"] = "application/json";
            request.body = JSON.stringify(options.body);
        }
        try {
            return await fetch(path, request);
        } catch (error) {
            if (options.signal?.aborted) throw error;
            throw new RequestFailure("unreachable", 0);
        }
    }
}

async function bodyOf(response: Response): Promise<Json | undefined> {
    let text: string;
    try {
        text = await response.text();
    } catch {
        throw new RequestFailure("unreachable", 0);
    }
    if (text === "") return undefined;
    try {
        return JSON.parse(text) as Json;
    } catch {
        throw new RequestFailure("failed", response.status);
    }
}

async function failureOf(response: Response): Promise<RequestFailure> {
    // A proxy's page must not hide the status.
    const body = await bodyOf(response).catch(() => undefined);
    const after = Number(response.headers.get("Retry-After") ?? NaN);
    return new RequestFailure(
        kindOf(response.status),
        response.status,
        messagesOf(body),
        Number.isFinite(after) && after >= 0 ? after : null,
    );
}

// AbortSignal.any is younger than the browsers that panels have.
function anyOf(...signals: AbortSignal[]): AbortSignal {
    const controller = new AbortController();
    for (const signal of signals) {
        const abort = () => controller.abort(signal.reason);
        if (signal.aborted) abort();
        else signal.addEventListener("abort", abort, { once: true });
    }
    return controller.signal;
}
