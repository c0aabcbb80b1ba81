// Signals, effects and scopes: what runs when, and what no longer does.
import { expect, test } from "vitest";
import { batch, computed, effect, onEnd, scope, signal } from "../../src/reactive";

test("an effect runs at once and after each change of what it read last", () => {
    const [which, a, b] = [signal("a"), signal(1), signal(10)];
    const seen: number[] = [];
    effect(() => seen.push(which.get() === "a" ? a.get() : b.get()));
    a.set(2);
    b.set(11); // not read so far
    which.set("b");
    a.set(3); // not read any more
    b.set(12);
    expect(seen).toEqual([1, 2, 11, 12]);
});

test("an equal value wakes nobody, a computed one neither", () => {
    const number = signal(1);
    const odd = computed(() => number.get() % 2 === 1);
    let runs = 0;
    effect(() => {
        odd.get();
        runs += 1;
    });
    number.set(1);
    number.set(3);
    expect(runs).toBe(1);
    number.set(4);
    expect(runs).toBe(2);
});

test("changes of a batch are seen as one", () => {
    const [a, b] = [signal(1), signal(1)];
    const seen: number[] = [];
    effect(() => seen.push(a.get() + b.get()));
    batch(() => {
        a.set(2);
        b.set(2);
    });
    expect(seen).toEqual([2, 4]);
});

test("the end of a scope ends its effects and those of inner scopes, the later first", () => {
    const value = signal(0);
    const seen: string[] = [];
    const outer = scope(() => {
        effect(() => seen.push(`outer ${value.get()}`));
        onEnd(() => seen.push("first"));
        const inner = scope(() => effect(() => seen.push(`inner ${value.get()}`)));
        onEnd(inner.end);
        onEnd(() => seen.push("last"));
    });
    outer.end();
    value.set(1);
    expect(seen).toEqual(["outer 0", "inner 0", "last", "first"]);
});

test("an effect that changes what another reads has that one run after it", () => {
    const [a, b] = [signal(1), signal(0)];
    const seen: number[] = [];
    effect(() => b.set(a.get() * 2));
    effect(() => seen.push(b.get()));
    a.set(5);
    expect(seen).toEqual([2, 10]);
});

test("an effect that has run already runs again when a later one changes what it read", () => {
    const [a, b] = [signal(1), signal(10)];
    const seen: number[] = [];
    effect(() => seen.push(a.get() + b.get()));
    effect(() => b.set(a.get() * 10));
    a.set(2);
    expect(seen).toEqual([11, 12, 22]);
});
