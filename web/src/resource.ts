// The resource as this page knows it: read at the start, after every event, every few seconds, and
// after every failure until it is back. The answer to a change takes the place of a reading.
import { actionTarget, discover, type Service } from "./redfish/discover";
import { RedfishClient, type Answer } from "./redfish/client";
import { followEvents, sleep } from "./redfish/event_stream";
import { messagesOf, RequestFailure, type FailureKind } from "./redfish/errors";
import { findMember, objectsIn, at, textAt, type Json } from "./redfish/json";
import type { ServerSentEvent } from "./redfish/sse";
import { EventLog, type Who } from "./log";
import { batch, signal } from "./reactive";
import { Changes, type ChangeListener, type Refusal } from "./settings/changes";
import { jsonOf, settingsOf, type Setting } from "./settings/catalogue";
import { differences, valuesOf, type Values } from "./settings/values";

// While the stream is open, polling finds what sends no event: a provider that has gone.
const kPollMs = 5_000;
const kPollWithoutStreamMs = 2_000;
const kFirstPauseMs = 1_000;
const kLongestPauseMs = 5_000;
// An event without a difference within this time belongs to the previous entry.
const kSameChangeMs = 3_000;

// Why the settings are unavailable. An expired session ends everything; a rejected GET counts as a
// failure of the server.
export type Trouble = Exclude<FailureKind, "signedOut" | "refused">;

export type Connection =
    { kind: "connecting" } | { kind: "up" } | { kind: Trouble; since: Date; message: string };

// What an event tells besides that something changed.
interface Cause {
    time: Date;
    who: Who;
}

export interface ResourceListener extends ChangeListener {
    onSignedOut(): void;
}

export class WebGuiResource {
    readonly connection = signal<Connection>({ kind: "connecting" });
    readonly values = signal<Values | null>(null); // null before the first response
    readonly settings = signal<readonly Setting[]>([]);
    readonly path = signal("");
    readonly live = signal(false); // whether the event stream is open
    readonly log = new EventLog();
    readonly changes: Changes;

    private readonly client: RedfishClient;
    private readonly ending = new AbortController();
    private service: Service | null = null;
    private body: Json | undefined;
    private etag = "";
    private reading: Promise<void> = Promise.resolve();
    private waitingRead: Promise<void> | null = null;
    private waitingCause: Cause | null = null; // of the latest event that no reading has answered
    private patching: Promise<unknown> = Promise.resolve();
    private patchesTaken = 0;
    private readBeforeAnswer = false; // whether a reading began while the last PATCH was under way
    private retryAfterMs = 0;
    private wakePoll: () => void = () => undefined;
    private lastChange = 0;

    constructor(
        token: () => string | null,
        private readonly listener: ResourceListener,
    ) {
        this.client = new RedfishClient(token);
        this.changes = new Changes((values) => this.patch(values), listener);
        this.log.add({ kind: "opened", time: new Date() });
    }

    start(): void {
        void this.run();
    }

    end(): void {
        this.ending.abort();
    }

    // Retries now, for instance when the tab becomes visible.
    wake(): void {
        this.wakePoll();
    }

    // Throws RequestFailure.
    async act(action: "turnOff" | "guiReady"): Promise<void> {
        const name = action === "turnOff" ? "WebGUI.TurnOffLCD" : "WebGUI.GUIReady";
        const target = actionTarget(this.body, name);
        if (!target) throw new RequestFailure("refused", 404);
        try {
            await this.client.request("POST", target, { body: {} });
        } catch (error) {
            this.noticeSignOut(error);
            throw error;
        }
        this.log.add({ kind: "action", time: new Date(), action });
    }

    private async run(): Promise<void> {
        const signal = this.ending.signal;
        let pause = kFirstPauseMs;
        let following = false;
        while (!signal.aborted) {
            await this.refresh();
            const up = this.connection.peek().kind === "up";
            if (up && !following) {
                following = true;
                void this.follow();
            }
            pause = up ? kFirstPauseMs : Math.min(pause * 2, kLongestPauseMs);
            await this.pause(
                up ? this.pollMs() : Math.min(Math.max(pause, this.retryAfterMs), kLongestPauseMs),
            );
        }
    }

    private pollMs(): number {
        return this.live.peek() ? kPollMs : kPollWithoutStreamMs;
    }

    private async pause(milliseconds: number): Promise<void> {
        const early = new AbortController();
        const end = () => early.abort();
        this.ending.signal.addEventListener("abort", end, { once: true });
        this.wakePoll = end;
        await sleep(milliseconds, early.signal);
        this.ending.signal.removeEventListener("abort", end);
    }

    private async follow(): Promise<void> {
        if (!this.service?.events) return;
        await followEvents(
            this.client,
            this.service.events,
            {
                onEvent: (event) => this.onEvent(event),
                onOpen: (resumed) => {
                    this.live.set(true);
                    if (resumed) void this.refresh();
                },
                onBreak: (failure) => {
                    this.live.set(false);
                    this.noticeSignOut(failure);
                    // A broken stream is the first sign that the server is going away.
                    this.wakePoll();
                },
            },
            this.ending.signal,
        );
    }

    private onEvent(event: ServerSentEvent): void {
        let body: Json;
        try {
            body = JSON.parse(event.data) as Json;
        } catch {
            return;
        }
        const records = objectsIn(at(body, "Events"));
        for (const record of records) {
            const time = new Date(textAt(record, "EventTimestamp") ?? NaN);
            const named = findMember(at(record, "Oem"), (name) => /user/i.test(name));
            const who: Who =
                typeof named === "string" && named !== ""
                    ? { kind: "named", name: named }
                    : { kind: "other" };
            void this.refresh(Number.isNaN(time.getTime()) ? new Date() : time, who);
        }
    }

    // Never throws: `connection` has the outcome. A reading that has not begun serves everybody who
    // asks meanwhile, and tells of the latest event. It waits for the answer to a change, which is a
    // reading too, but not longer than for a poll.
    refresh(eventTime?: Date, who: Who = { kind: "other" }): Promise<void> {
        if (eventTime) this.waitingCause = { time: eventTime, who };
        this.waitingRead ??= this.reading = this.reading.then(async () => {
            if (!(await this.patchAnswered())) this.readBeforeAnswer = true;
            this.waitingRead = null;
            const cause = this.waitingCause;
            this.waitingCause = null;
            return this.read(cause);
        });
        return this.waitingRead;
    }

    private async patchAnswered(): Promise<boolean> {
        const early = new AbortController();
        const answered = await Promise.race([
            this.patching.then(() => true),
            sleep(this.pollMs(), early.signal).then(() => false),
        ]);
        early.abort();
        return answered;
    }

    private async read(cause: Cause | null): Promise<void> {
        if (this.ending.signal.aborted) return;
        try {
            this.service ??= await discover(this.client);
            const headers: Record<string, string> = this.etag ? { "If-None-Match": this.etag } : {};
            const taken = this.patchesTaken;
            const answer = await this.client.get(this.service.resource, { headers });
            if (this.ending.signal.aborted) return;
            if (this.patchesTaken !== taken) {
                // Which of the two is newer? The next reading is.
                this.waitingCause ??= cause;
                void this.refresh();
                return;
            }
            batch(() => {
                this.markUp();
                if (answer.status !== 304) this.takeAnswer(answer, cause);
                else if (cause) this.noteRewritten(cause);
            });
        } catch (error) {
            this.fail(error);
        }
    }

    private takeAnswer(answer: Answer, cause: Cause | null): void {
        this.etag = answer.headers.get("ETag") ?? "";
        this.take(answer.body, cause);
    }

    private take(body: Json | undefined, cause: Cause | null): void {
        const service = this.service;
        if (!service) return;
        const before = this.values.peek();
        const after = valuesOf(body);
        this.body = body;
        this.path.set(service.resource);
        if (!before || [...after.keys()].join() !== [...before.keys()].join()) {
            this.settings.set(settingsOf(after.keys(), service.schema));
        }
        this.values.set(after);
        const found = before ? differences(before, after) : [];
        const { time, who }: Cause = cause ?? { time: new Date(), who: { kind: "other" } };
        const own = found.filter(({ name, to }) => this.changes.isOwn(name, to));
        const others = found.filter((each) => !own.includes(each));
        if (own.length > 0) {
            this.log.add({ kind: "changed", time, who: { kind: "you" }, differences: own });
        }
        if (others.length > 0) this.log.add({ kind: "changed", time, who, differences: others });
        if (found.length > 0) this.lastChange = Date.now();
        else if (cause) this.noteRewritten(cause);
    }

    private noteRewritten({ time, who }: Cause): void {
        if (Date.now() - this.lastChange > kSameChangeMs) {
            this.log.add({ kind: "rewritten", time, who });
        }
    }

    private async patch(values: ReadonlyMap<string, string>): Promise<Refusal | null> {
        const service = this.service;
        if (!service) throw new RequestFailure("unreachable", 0);
        const body: Record<string, Json> = {};
        for (const [name, value] of values) {
            const setting = this.settings.peek().find((each) => each.name === name);
            // The set-up has no field of its own; it is a boolean.
            body[name] = setting ? jsonOf(setting, value) : value === "true";
        }
        const request = this.client.request("PATCH", service.resource, { body });
        this.patching = request.catch(() => undefined);
        this.readBeforeAnswer = false;
        let answer: Answer;
        try {
            answer = await request;
        } catch (error) {
            this.noticeSignOut(error);
            // A change that was not answered may be in force: only a reading shows it.
            void this.refresh();
            throw error;
        }
        this.lastChange = Date.now();
        if (this.ending.signal.aborted) return null;
        // A server may also answer without the resource.
        if (textAt(answer.body, "@odata.id") !== textAt(this.body, "@odata.id")) {
            await this.refresh();
            return null;
        }
        this.patchesTaken += 1;
        batch(() => {
            this.markUp();
            this.takeAnswer(answer, null);
        });
        // Which of the two is newer? Again the next reading.
        if (this.readBeforeAnswer) void this.refresh();
        return refusalIn(answer, body);
    }

    private markUp(): void {
        this.retryAfterMs = 0;
        const before = this.connection.peek().kind;
        if (before === "up") return;
        if (before !== "connecting") this.log.add({ kind: "back", time: new Date() });
        this.connection.set({ kind: "up" });
    }

    private fail(error: unknown): void {
        if (this.ending.signal.aborted) return;
        const failure = error instanceof RequestFailure ? error : new RequestFailure("failed", 0);
        if (this.noticeSignOut(failure)) return;
        this.retryAfterMs = (failure.retryAfterSeconds ?? 0) * 1000;
        const kind = failure.kind as FailureKind;
        const trouble: Trouble = kind === "refused" || kind === "signedOut" ? "failed" : kind;
        const before = this.connection.peek();
        if (before.kind === trouble) return;
        batch(() => {
            const since = "since" in before ? before.since : new Date();
            this.connection.set({ kind: trouble, since, message: failure.message });
            this.log.add({ kind: "away", time: new Date(), reason: trouble });
        });
    }

    private noticeSignOut(error: unknown): boolean {
        const ended = error instanceof RequestFailure && error.kind === "signedOut";
        if (ended && !this.ending.signal.aborted) {
            this.end();
            this.listener.onSignedOut();
        }
        return ended;
    }
}

// A provider may accept one part of a change and refuse another: the messages do not say which, the
// values in force do.
function refusalIn(answer: Answer, sent: Record<string, Json>): Refusal | null {
    const messages = messagesOf(answer.body);
    if (messages.length === 0) return null;
    const inForce = valuesOf(answer.body);
    const names = Object.keys(sent).filter((name) => inForce.get(name) !== String(sent[name]));
    const failure = new RequestFailure("refused", answer.status, messages);
    return { names: new Set(names), failure };
}
