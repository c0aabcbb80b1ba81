// Changes on their way to the server. A change is sent at once; changes made during a request are
// sent together in the next one, so that there is only ever one PATCH under way.
import { RequestFailure, type Message } from "../redfish/errors";
import { signal, type Reading } from "../reactive";

export interface Rejection {
    value: string; // that was asked for
    failure: RequestFailure;
    message: Message | null; // about this very property
}

export interface ChangeListener {
    onSaved(values: ReadonlyMap<string, string>): void;
    onRejected(names: string[]): void;
}

// A slider or an arrow key passes through values that nobody wants.
const kGatherMs = 150;

export class Changes {
    // Shown in place of the server's values: requested, and not answered yet.
    readonly wanted: Reading<ReadonlyMap<string, string>>;
    readonly rejections: Reading<ReadonlyMap<string, Rejection>>;

    private readonly wantedNow = signal<ReadonlyMap<string, string>>(new Map());
    private readonly rejectedNow = signal<ReadonlyMap<string, Rejection>>(new Map());
    private waiting = new Map<string, string>();
    private underWay: ReadonlyMap<string, string> = new Map();
    private timer: ReturnType<typeof setTimeout> | null = null;
    private idle: Promise<void> = Promise.resolve();

    constructor(
        // Resolves once the values are in force and the page has them; throws RequestFailure.
        private readonly send: (values: ReadonlyMap<string, string>) => Promise<void>,
        private readonly listener: ChangeListener,
    ) {
        this.wanted = this.wantedNow;
        this.rejections = this.rejectedNow;
    }

    change(name: string, value: string): void {
        this.waiting.set(name, value);
        this.forgive(name);
        this.show();
        if (this.timer === null) {
            this.timer = setTimeout(() => {
                this.timer = null;
                this.idle = this.idle.then(() => this.sendWaiting());
            }, kGatherMs);
        }
    }

    // Sends pending changes now; resolves when every change has been answered.
    async settle(): Promise<void> {
        if (this.timer !== null) {
            clearTimeout(this.timer);
            this.timer = null;
            this.idle = this.idle.then(() => this.sendWaiting());
        }
        await this.idle;
    }

    // Whether the value comes from here: its request is under way.
    isOwn(name: string, value: string): boolean {
        return this.underWay.get(name) === value;
    }

    forgive(name: string): void {
        if (this.rejectedNow.peek().has(name)) {
            const rest = new Map(this.rejectedNow.peek());
            rest.delete(name);
            this.rejectedNow.set(rest);
        }
    }

    private async sendWaiting(): Promise<void> {
        while (this.waiting.size > 0) {
            const sent = this.waiting;
            this.waiting = new Map();
            this.underWay = sent;
            try {
                await this.send(sent);
                this.underWay = new Map();
                this.show();
                this.listener.onSaved(sent);
            } catch (error) {
                this.underWay = new Map();
                this.reject(sent, error);
            }
        }
    }

    // The server rejects a request as a whole if anything in it is wrong: values that it does not
    // complain about are sent again by themselves.
    private reject(sent: ReadonlyMap<string, string>, error: unknown): void {
        const failure = error instanceof RequestFailure ? error : new RequestFailure("failed", 0);
        const blamed = new Map<string, Message>();
        for (const message of failure.messages) {
            for (const name of message.properties) {
                if (sent.has(name) && !blamed.has(name)) blamed.set(name, message);
            }
        }
        const rejected = new Map(this.rejectedNow.peek());
        const names: string[] = [];
        for (const [name, value] of sent) {
            if (blamed.size > 0 && !blamed.has(name)) {
                if (!this.waiting.has(name)) this.waiting.set(name, value);
            } else if (!this.waiting.has(name)) {
                rejected.set(name, { value, failure, message: blamed.get(name) ?? null });
                names.push(name);
            }
        }
        this.rejectedNow.set(rejected);
        this.show();
        if (names.length > 0) this.listener.onRejected(names);
    }

    private show(): void {
        this.wantedNow.set(new Map([...this.underWay, ...this.waiting]));
    }
}
