// Changes on their way to the server. A change is sent at once, and whatever is changed while a
// request is under way goes into the next one together, so that there is one PATCH at a time however fast
// somebody touches. How a PATCH is sent is the caller's.
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
    // What the page shows in place of the server's values: wanted, and not answered yet.
    readonly wanted: Reading<ReadonlyMap<string, string>>;
    readonly rejections: Reading<ReadonlyMap<string, Rejection>>;

    private readonly wantedNow = signal<ReadonlyMap<string, string>>(new Map());
    private readonly rejectedNow = signal<ReadonlyMap<string, Rejection>>(new Map());
    private waiting = new Map<string, string>();
    private underWay: ReadonlyMap<string, string> = new Map();
    private timer: ReturnType<typeof setTimeout> | null = null;
    private idle: Promise<void> = Promise.resolve();

    constructor(
        // Resolves once the values are in force and the page has read them; throws RequestFailure.
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

    // Sends what waits now; resolves when every change has been answered.
    async settle(): Promise<void> {
        if (this.timer !== null) {
            clearTimeout(this.timer);
            this.timer = null;
            this.idle = this.idle.then(() => this.sendWaiting());
        }
        await this.idle;
    }

    // Whether a value came from here: it is being asked for at this moment.
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

    // The server carries out nothing of a request in which anything is wrong: what it does not
    // complain about is asked for again, by itself.
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
