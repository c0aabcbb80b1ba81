// Values that know who reads them: a signal, effects that run again when what they read has changed,
// and scopes that end the effects of a view that goes away. What is shown is left to dom.ts.

type Effect = { run: () => void; sources: Set<Set<Effect>> };

let running: Effect | null = null;
let scopeEnds: (() => void)[] | null = null;
let queue: Set<Effect> | null = null;

export interface Reading<T> {
    // The present value; an effect that calls this runs again when it changes.
    get(): T;
    // The same without following it.
    peek(): T;
}

export interface Signal<T> extends Reading<T> {
    // Equal values (Object.is) wake nobody.
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

// Effects run in the order in which they were woken, each once, after the outermost change: an
// effect that changes a signal itself sees no half-made state of others.
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

// Runs `body` now and whenever a signal that it read has changed, until the scope ends or the
// result is called.
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

// A signal's view through a function; followers wake only when the result changes.
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

// Everything that `body` sets up ends when `end` is called, what was registered last first.
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

// Calls `end` with the present scope's end: a timer, a listener on the window.
export function onEnd(end: () => void): void {
    scopeEnds?.push(end);
}
