// Accessors for responses, whose shape is never trusted.

export type Json = null | boolean | number | string | Json[] | { [name: string]: Json };
export type JsonObject = { [name: string]: Json };

export function isObject(value: unknown): value is JsonObject {
    return typeof value === "object" && value !== null && !Array.isArray(value);
}

// The value at the path, or undefined if any part is missing.
export function at(value: unknown, ...names: (string | number)[]): Json | undefined {
    let place: unknown = value;
    for (const name of names) {
        if (Array.isArray(place) && typeof name === "number") {
            place = place[name];
        } else if (isObject(place) && typeof name === "string" && Object.hasOwn(place, name)) {
            place = place[name];
        } else {
            return undefined;
        }
    }
    return place as Json | undefined;
}

export function textAt(value: unknown, ...names: (string | number)[]): string | undefined {
    const found = at(value, ...names);
    return typeof found === "string" ? found : undefined;
}

export function objectsIn(value: unknown): JsonObject[] {
    return Array.isArray(value) ? value.filter(isObject) : [];
}

export function textsIn(value: unknown): string[] {
    return Array.isArray(value) ? value.filter((each) => typeof each === "string") : [];
}

// The first member at any depth, nearest first, whose name satisfies `named`.
export function findMember(value: unknown, named: (name: string) => boolean): Json | undefined {
    const waiting: unknown[] = [value];
    for (let next = waiting.shift(); next !== undefined; next = waiting.shift()) {
        if (!isObject(next)) continue;
        for (const [name, member] of Object.entries(next)) {
            if (named(name)) return member;
        }
        waiting.push(...Object.values(next));
    }
    return undefined;
}
