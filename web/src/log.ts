// Entries of the event log, newest first; views/event_log.ts renders them.
import type { FailureKind } from "./redfish/errors";
import type { Difference } from "./settings/values";
import { signal, type Reading } from "./reactive";

// you    this page's user; other  someone whom the event does not name; otherwise a name
export type Who = { kind: "you" } | { kind: "other" } | { kind: "named"; name: string };

export type LogEntry = { id: number; time: Date } & (
    | { kind: "opened" }
    | { kind: "changed"; who: Who; differences: readonly Difference[] }
    | { kind: "rewritten"; who: Who }
    | { kind: "action"; action: "turnOff" | "guiReady" }
    | { kind: "away"; reason: FailureKind }
    | { kind: "back" }
);
type WithoutId<T> = T extends unknown ? Omit<T, "id"> : never;

const kMaxEntries = 200;

export class EventLog {
    readonly entries: Reading<readonly LogEntry[]>;
    private readonly entriesNow = signal<readonly LogEntry[]>([]);
    private lastId = 0;

    constructor() {
        this.entries = this.entriesNow;
    }

    add(entry: WithoutId<LogEntry>): void {
        this.lastId += 1;
        const next = { ...entry, id: this.lastId } as LogEntry;
        this.entriesNow.update((entries) => [next, ...entries].slice(0, kMaxEntries));
    }
}
