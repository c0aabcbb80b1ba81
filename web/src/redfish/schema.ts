// What the server's JSON Schema says about each property: its type, its values, whether it can be
// written. Without it the page uses its own list (settings/catalogue.ts).
import { at, isObject, textAt, textsIn, type Json, type JsonObject } from "./json";

export interface PropertyDescription {
    type: "boolean" | "integer" | "text";
    values: string[] | null; // all allowed ones; null: any
    suggestions: string[]; // named by the schema; others are allowed too
    minimum: number | null;
    maximum: number | null;
    readOnly: boolean;
    title: string; // in English, of a property that the page does not know
}

// By name, for the definition that is called `resource` ("WebGUI").
export function describeProperties(
    schema: Json | undefined,
    resource: string,
): Map<string, PropertyDescription> {
    const descriptions = new Map<string, PropertyDescription>();
    const properties = propertiesOf(schema, resource);
    for (const [name, property] of Object.entries(properties)) {
        if (name.includes("@") || !isObject(property)) continue;
        descriptions.set(name, describe(name, alternatives(schema, property)));
    }
    return descriptions;
}

function propertiesOf(schema: Json | undefined, resource: string): JsonObject {
    const definitions = at(schema, "definitions") ?? at(schema, "$defs");
    for (const holder of [at(definitions, resource), schema]) {
        for (const each of alternatives(schema, isObject(holder) ? holder : {})) {
            const properties = at(each, "properties");
            if (isObject(properties)) return properties;
        }
    }
    return {};
}

// The property itself and all that it refers to: "$ref" within the schema, "anyOf", "oneOf", "allOf".
function alternatives(schema: Json | undefined, start: JsonObject): JsonObject[] {
    const found: JsonObject[] = [];
    const waiting: JsonObject[] = [start];
    for (let next = waiting.shift(); next && found.length < 32; next = waiting.shift()) {
        found.push(next);
        const reference = textAt(next, "$ref");
        const target = reference?.startsWith("#/")
            ? at(schema, ...reference.slice(2).split("/"))
            : undefined;
        if (isObject(target)) waiting.push(target);
        for (const list of [next["anyOf"], next["oneOf"], next["allOf"]]) {
            if (Array.isArray(list)) waiting.push(...list.filter(isObject));
        }
    }
    return found;
}

function describe(name: string, parts: JsonObject[]): PropertyDescription {
    const types = parts.flatMap((each) => [at(each, "type")].flat());
    const first = <T>(pick: (part: JsonObject) => T | undefined): T | null => {
        for (const part of parts) {
            const value = pick(part);
            if (value !== undefined) return value;
        }
        return null;
    };
    const number = (key: string) =>
        first((part) => (typeof part[key] === "number" ? part[key] : undefined));
    const values = first((part) =>
        Array.isArray(part["enum"]) ? textsIn(part["enum"]) : undefined,
    );
    return {
        type: types.includes("boolean")
            ? "boolean"
            : types.includes("integer") || types.includes("number")
              ? "integer"
              : "text",
        values: values && values.length > 0 ? values : null,
        suggestions: parts.flatMap((part) => textsIn(part["examples"])),
        minimum: number("minimum"),
        maximum: number("maximum"),
        // The standard's schema files write it in lower case, JSON Schema itself does not.
        readOnly: parts.some((part) => part["readonly"] === true || part["readOnly"] === true),
        title: first((part) => textAt(part, "title")) ?? name,
    };
}
