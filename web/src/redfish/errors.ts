// How a request can fail: the kind of failure, and the response's messages with the properties they
// are about. labels.ts turns them into texts for people.
import { at, isObject, objectsIn, textAt, textsIn, type Json } from "./json";

// signedOut    no session, or an expired one (401)
// forbidden    the account may not do this (403)
// providerAway nothing serves the resource at the moment (503)
// tooSlow      the provider did not answer in time (504)
// unreachable  no response at all: server or network down
// busy         too many requests or sessions (429)
// refused      the server rejected the request (other 4xx)
// failed       the server failed (other 5xx), or its response makes no sense
export type FailureKind =
    | "signedOut"
    | "forbidden"
    | "providerAway"
    | "tooSlow"
    | "unreachable"
    | "busy"
    | "refused"
    | "failed";

export interface Message {
    id: string; // last part of the MessageId, for instance PropertyValueNotInList
    text: string; // the server's, in English
    arguments: string[];
    properties: string[]; // properties that it is about
}

export class RequestFailure extends Error {
    constructor(
        readonly kind: FailureKind,
        readonly status: number, // 0 when there was no answer
        readonly messages: Message[] = [],
        readonly retryAfterSeconds: number | null = null,
    ) {
        super(messages[0]?.text ?? `${kind} (${status})`);
    }
}

export function kindOf(status: number): FailureKind {
    switch (status) {
        case 401:
            return "signedOut";
        case 403:
            return "forbidden";
        case 429:
            return "busy";
        case 503:
            return "providerAway";
        case 502:
        case 504:
            return "tooSlow";
        default:
            return status >= 400 && status < 500 ? "refused" : "failed";
    }
}

// Messages of an error answer, and those that annotate a property of a regular one.
export function messagesOf(body: Json | undefined): Message[] {
    const found = objectsIn(at(body, "error", "@Message.ExtendedInfo")).map((each) =>
        message(each),
    );
    if (!isObject(body)) return found;
    for (const [name, value] of Object.entries(body)) {
        const [property, annotation] = name.split("@", 2);
        if (annotation !== "Message.ExtendedInfo") continue;
        for (const each of objectsIn(value)) found.push(message(each, property));
    }
    if (found.length === 0) {
        const text = textAt(body, "error", "message");
        if (text) found.push({ id: "", text, arguments: [], properties: [] });
    }
    return found;
}

function message(info: Json, annotated?: string): Message {
    const related = textsIn(at(info, "RelatedProperties")).map(propertyOfPointer);
    return {
        id: (textAt(info, "MessageId") ?? "").split(".").pop() ?? "",
        text: textAt(info, "Message") ?? "",
        arguments: (objectsOrTexts(at(info, "MessageArgs")) ?? []).map(String),
        properties: annotated ? [annotated] : related,
    };
}

function objectsOrTexts(value: Json | undefined): Json[] | undefined {
    return Array.isArray(value) ? value : undefined;
}

// "#/Theme", "/Theme" and "Theme" are all in use.
function propertyOfPointer(pointer: string): string {
    return pointer.replace(/^#?\/?/, "").split("/")[0] ?? "";
}
