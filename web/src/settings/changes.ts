// Changes on their way to the server. A change is sent at once; changes made during a request are
// sent together in the next one, so that there is only ever one PATCH under way.
import { RequestFailure, type Message } from "../redfish/errors";
import { signal, type Reading } from "../reactive";

export interface Rejection {
    value: string; // that was asked for
    failure: RequestFailure;
    message: Message | null; // about this very property, or else about none
}

// What an otherwise good answer left as it was.
export interface Refusal {
    names: ReadonlySet<string>;
    failure: RequestFailure;
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
        // Resolves once the page has the values in force, with the refusal if that is not all of
        // them; throws RequestFailure.
        private readonly send: (values: ReadonlyMap<string, string>) => Promise<Refusal | null>,
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
                const refusal = await this.send(sent);
                this.underWay = new Map();
                this.finish(sent, refusal);
            } catch (error) {
                this.underWay = new Map();
                this.reject(sent, error);
            }
        }
    }

    private finish(sent: ReadonlyMap<string, string>, refusal: Refusal | null): void {
        const isSaved = ([name]: [string, string]) => !refusal?.names.has(name);
        const saved = new Map([...sent].filter(isSaved));
        const refused = new Map([...sent].filter((each) => !isSaved(each)));
        if (refusal && refused.size > 0) this.blame(refused, refusal.failure);
        else this.show();
        if (saved.size > 0) this.listener.onSaved(saved);
    }

    // The server rejects a request as a whole if anything in it is wrong: values that it does not
    // complain about are sent again by themselves.
    private reject(sent: ReadonlyMap<string, string>, error: unknown): void {
        const failure = error instanceof RequestFailure ? error : new RequestFailure("failed", 0);
        const isBlamed = ([name]: [string, string]) =>
            failure.messages.some((message) => message.properties.includes(name));
        const blamed = new Map([...sent].filter(isBlamed));
        if (blamed.size > 0) {
            for (const [name, value] of sent) {
                if (!blamed.has(name) && !this.waiting.has(name)) this.waiting.set(name, value);
            }
        }
        this.blame(blamed.size > 0 ? blamed : sent, failure);
    }

    // A newer value of the same name gets its own answer.
    private blame(values: ReadonlyMap<string, string>, failure: RequestFailure): void {
        const rejected = new Map(this.rejectedNow.peek());
        const names: string[] = [];
        const general = failure.messages.find((each) => each.properties.length === 0) ?? null;
        for (const [name, value] of values) {
            if (this.waiting.has(name)) continue;
            const own = failure.messages.find((each) => each.properties.includes(name));
            rejected.set(name, { value, failure, message: own ?? general });
            names.push(name);
        }
        this.rejectedNow.set(rejected);
        this.show();
        if (names.length > 0) this.listener.onRejected(names);
    }

    private show(): void {
        this.wantedNow.set(new Map([...this.underWay, ...this.waiting]));
    }
}
