// Reactive values: signals, effects that rerun when a signal they read changes, and scopes that end
// the effects of a view that goes away.

type Effect = { run: () => void; sources: Set<Set<Effect>> };

let running: Effect | null = null;
let scopeEnds: (() => void)[] | null = null;
let queue: Set<Effect> | null = null;

export interface Reading<T> {
    // The current value; an effect that calls this reruns when it changes.
    get(): T;
    // The same without tracking it.
    peek(): T;
}

export interface Signal<T> extends Reading<T> {
    // Setting an equal value (Object.is) triggers nothing.
    set(value: T): void;
    update(change: (value: T) => T): void;
}

export function signal<T>(value: T): Signal<T> {
    const readers = new Set<Effect>();
    return {
        get() {
            if (running) {
                readers.add(running);
                running.sources.add(readers);
            }
            return value;
        },
        set(next) {
            if (!Object.is(next, value)) {
                value = next;
                wake(readers);
            }
        },
        update(change) {
            this.set(change(value));
        },
        peek: () => value,
    };
}

// Effects run once each, in the order in which they were triggered, after the outermost change: none
// sees a half-finished state.
function wake(readers: Set<Effect>): void {
    if (queue) {
        for (const each of readers) queue.add(each);
        return;
    }
    queue = new Set(readers);
    try {
        for (const each of queue) {
            queue.delete(each);
            each.run();
        }
    } finally {
        queue = null;
    }
}

// Several changes, seen by the effects as one.
export function batch(changes: () => void): void {
    if (queue) {
        changes();
        return;
    }
    const woken = (queue = new Set<Effect>());
    try {
        changes();
    } finally {
        queue = null;
        wake(woken);
    }
}

// Runs `body` now and whenever a signal that it read changes, until the scope ends or the returned
// function is called.
export function effect(body: () => void): () => void {
    let ended = false;
    const self: Effect = {
        sources: new Set(),
        run() {
            if (ended) return;
            forget(self);
            const outer = running;
            running = self;
            try {
                body();
            } finally {
                running = outer;
            }
        },
    };
    const end = () => {
        ended = true;
        forget(self);
    };
    scopeEnds?.push(end);
    self.run();
    return end;
}

function forget(one: Effect): void {
    for (const readers of one.sources) readers.delete(one);
    one.sources.clear();
}

// A value derived from signals; readers are triggered only when the result changes.
export function computed<T>(compute: () => T): Reading<T> {
    const result = signal<T>(untracked(compute));
    effect(() => result.set(compute()));
    return result;
}

export function untracked<T>(body: () => T): T {
    const outer = running;
    running = null;
    try {
        return body();
    } finally {
        running = outer;
    }
}

// Everything that `body` sets up ends when `end` is called, in reverse order of registration.
export function scope<T>(body: () => T): { value: T; end: () => void } {
    const outer = scopeEnds;
    const ends: (() => void)[] = (scopeEnds = []);
    try {
        const value = untracked(body);
        return {
            value,
            end: () => {
                for (const end of ends.splice(0).reverse()) end();
            },
        };
    } finally {
        scopeEnds = outer;
    }
}

// Calls `end` when the current scope ends, for instance to stop a timer.
export function onEnd(end: () => void): void {
    scopeEnds?.push(end);
}
