// Contrast of both themes: 4.5:1 for texts, 3:1 for the edges of controls (WCAG 2.1, level AA).
import { readFileSync } from "node:fs";
import { expect, test } from "vitest";

const css = readFileSync(new URL("../../src/style.css", import.meta.url), "utf8");
const themes = [
    ["dark", coloursOf(/:root \{([^}]*)\}/)],
    ["light", coloursOf(/:root\[data-theme="light"\] \{([^}]*)\}/)],
] as const;

const kTexts: [string, string[]][] = [
    ["text", ["ground", "surface", "raised", "warn-soft"]],
    ["quiet", ["ground", "surface", "raised", "warn-soft"]],
    ["accent", ["ground", "surface", "accent-soft"]],
    ["on-accent", ["accent"]],
    ["danger", ["ground", "surface", "danger-soft"]],
    ["warn", ["surface", "warn-soft"]],
    ["good", ["surface"]],
];
const kEdges: [string, string[]][] = [["edge", ["ground", "surface", "raised"]]];

function coloursOf(block: RegExp): Map<string, string> {
    const body = block.exec(css)?.[1] ?? "";
    const found = [...body.matchAll(/--([\w-]+):\s*(#[0-9a-f]{6});/g)];
    return new Map(found.map(([, name = "", colour = ""]) => [name, colour]));
}

function luminance(colour: string): number {
    const parts = [1, 3, 5].map((at) => {
        const part = parseInt(colour.slice(at, at + 2), 16) / 255;
        return part <= 0.04045 ? part / 12.92 : Math.pow((part + 0.055) / 1.055, 2.4);
    });
    return 0.2126 * (parts[0] ?? 0) + 0.7152 * (parts[1] ?? 0) + 0.0722 * (parts[2] ?? 0);
}

function contrast(one: string, other: string): number {
    const [light = 0, dark = 0] = [luminance(one), luminance(other)].sort((a, b) => b - a);
    return (light + 0.05) / (dark + 0.05);
}

test.each(themes)("the %s theme has contrast enough", (_, colours) => {
    for (const [pairs, least] of [
        [kTexts, 4.5],
        [kEdges, 3],
    ] as const) {
        for (const [front, grounds] of pairs) {
            for (const ground of grounds) {
                const [one, other] = [colours.get(front), colours.get(ground)];
                if (!one || !other) throw new Error(`no colour ${front} or ${ground}`);
                expect(contrast(one, other), `${front} on ${ground}`).toBeGreaterThanOrEqual(least);
            }
        }
    }
});
