// Every language has every text, and every text is used.
import { readdirSync, readFileSync } from "node:fs";
import { fileURLToPath } from "node:url";
import { join } from "node:path";
import { expect, test } from "vitest";
import { en } from "../../src/i18n/en";
import { fillIn, kLanguages, languageOf, preferredLanguage } from "../../src/i18n/texts";

const kSource = fileURLToPath(new URL("../../src", import.meta.url));
const places = (text: string) => [...new Set(text.match(/\{\w+\}/g) ?? [])].sort();

test.each(kLanguages.map((each) => [each.value, each.texts] as const))(
    "%s has every text, with the same places for values and as many forms",
    (_, texts) => {
        expect(Object.keys(texts)).toEqual(Object.keys(en));
        for (const [key, english] of Object.entries(en)) {
            const text = texts[key as keyof typeof en];
            expect(text.trim(), key).not.toBe("");
            expect(places(text), key).toEqual(places(english));
            expect(text.split(" | ").length, key).toBe(english.split(" | ").length);
        }
    },
);

test("no two languages say everything alike", () => {
    for (const { texts, code } of kLanguages.slice(1)) {
        const same = Object.keys(en).filter((key) => {
            const name = key as keyof typeof en;
            return texts[name] === en[name] && /[a-z]{4}/.test(en[name].replace(/\{\w+\}/g, ""));
        });
        expect(same.length, `${code}: ${same.join(", ")}`).toBeLessThan(12);
    }
});

test("every text is used, and every text that is used exists", () => {
    const sources = readdirSync(kSource, { recursive: true, encoding: "utf8" })
        .filter((name) => name.endsWith(".ts") && !/i18n\/(en|de|fr|es)\.ts$/.test(name))
        .map((name) => readFileSync(join(kSource, name), "utf8"))
        .join("\n");
    // Prefixes of composed keys.
    const families = [...sources.matchAll(/`((?:[\w]+\.)+)\$\{/g)].map((found) => found[1] ?? "");
    const unused = Object.keys(en).filter((key) => {
        return !sources.includes(`"${key}"`) && !families.some((family) => key.startsWith(family));
    });
    expect(unused).toEqual([]);
});

test("a language is known by its own name, its English one and its code", () => {
    expect(languageOf("Deutsch")?.code).toBe("de");
    expect(languageOf("german")?.code).toBe("de");
    expect(languageOf("de-AT")?.code).toBe("de");
    expect(languageOf("FRANÇAIS")?.code).toBe("fr");
    expect(languageOf("Klingon")).toBeNull();
    expect(preferredLanguage(["nl-NL", "es-MX", "de"]).code).toBe("es");
    expect(preferredLanguage([]).code).toBe("en");
});

test("places are filled in, and one thing has a form of its own", () => {
    expect(fillIn("{a} of {b}, {c}", { a: 1, b: "x" }, "en")).toBe("1 of x, {c}");
    expect(fillIn("{count} minute | {count} minutes", { count: 1 }, "en")).toBe("1 minute");
    expect(fillIn("{count} minute | {count} minutes", { count: 5 }, "en")).toBe("5 minutes");
});
