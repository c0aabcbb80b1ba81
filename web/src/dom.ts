// Builds nodes. Attributes and texts are values or functions; functions are tracked (reactive.ts).
// Texts become text nodes only, never markup.
import { effect, onEnd, scope, type Reading } from "./reactive";

type Value = string | number | boolean | null | undefined;
type Attribute = Value | (() => Value) | ((event: never) => void);
export type Child = Node | string | (() => string) | null | Child[];
export type Attributes = Record<string, Attribute>;

const SVG = "http://www.w3.org/2000/svg";

// An HTML element. `on:NAME` is a listener, `.NAME` sets a property, anything else an attribute:
// true sets an empty one, false, null and undefined remove it.
export function h<K extends keyof HTMLElementTagNameMap>(
    tag: K,
    attributes: Attributes = {},
    ...children: Child[]
): HTMLElementTagNameMap[K] {
    const element = document.createElement(tag);
    fill(element, attributes, children);
    return element;
}

// The same for a part of a picture.
export function s<K extends keyof SVGElementTagNameMap>(
    tag: K,
    attributes: Attributes = {},
    ...children: Child[]
): SVGElementTagNameMap[K] {
    const element = document.createElementNS(SVG, tag);
    fill(element, attributes, children);
    return element;
}

function fill(element: Element, attributes: Attributes, children: Child[]): void {
    for (const [name, value] of Object.entries(attributes)) {
        if (name.startsWith("on:")) {
            element.addEventListener(name.slice(3), value as unknown as EventListener);
        } else if (typeof value === "function") {
            effect(() => put(element, name, (value as () => Value)()));
        } else {
            put(element, name, value);
        }
    }
    append(element, children);
}

function put(element: Element, name: string, value: Value): void {
    if (name.startsWith(".")) {
        (element as unknown as Record<string, Value>)[name.slice(1)] = value;
    } else if (value === false || value === null || value === undefined) {
        element.removeAttribute(name);
    } else {
        const text = value === true ? "" : String(value);
        if (element.getAttribute(name) !== text) element.setAttribute(name, text);
    }
}

function append(parent: Element, children: Child[]): void {
    for (const child of children) {
        if (Array.isArray(child)) {
            append(parent, child);
        } else if (typeof child === "function") {
            const text = document.createTextNode("");
            // A live region speaks whenever its text is set, so skip an equal one.
            effect(() => {
                const next = child();
                if (text.data !== next) text.data = next;
            });
            parent.append(text);
        } else if (child !== null) {
            parent.append(child);
        }
    }
}

// A place whose content is rebuilt whenever `key` changes; the old content's scope ends.
export function swap<T>(
    place: HTMLElement,
    key: Reading<T>,
    build: (key: T) => Node | null,
): HTMLElement {
    let end: (() => void) | null = null;
    const clear = () => {
        end?.();
        end = null;
    };
    effect(() => {
        const value = key.get();
        clear();
        const built = scope(() => build(value));
        end = built.end;
        place.replaceChildren(...(built.value ? [built.value] : []));
    });
    onEnd(clear);
    return place;
}

let lastId = 0;

// Ids for elements that refer to each other: a label and its control, a control and its error.
export function freshId(what: string): string {
    lastId += 1;
    return `${what}-${lastId}`;
}
