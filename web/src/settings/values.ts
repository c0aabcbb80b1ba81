// A resource's values as texts, and the differences between two states of it.
import { isObject, type Json } from "../redfish/json";

export type Values = ReadonlyMap<string, string>;

// Every plain property; numbers and booleans as the text that the store has.
export function valuesOf(resource: Json | undefined): Values {
    const values = new Map<string, string>();
    if (!isObject(resource)) return values;
    for (const [name, value] of Object.entries(resource)) {
        if (name.includes("@")) continue;
        if (typeof value === "string") values.set(name, value);
        else if (typeof value === "number" || typeof value === "boolean") {
            values.set(name, String(value));
        }
    }
    return values;
}

export interface Difference {
    name: string;
    from: string;
    to: string;
}

export function differences(before: Values, after: Values): Difference[] {
    const found: Difference[] = [];
    for (const [name, to] of after) {
        const from = before.get(name);
        if (from !== undefined && from !== to) found.push({ name, from, to });
    }
    return found;
}
