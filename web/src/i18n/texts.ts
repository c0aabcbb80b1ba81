// The page's language, and how its texts are filled in.
import { computed, type Reading } from "../reactive";
import { de } from "./de";
import { en, type TextKey, type Texts } from "./en";
import { es } from "./es";
import { fr } from "./fr";

export type { TextKey } from "./en";

interface Language {
    code: string; // for the page's lang attribute and for the browser's formats
    value: string; // of the setting: the name in the language itself
    english: string; // taken as the same value
    texts: Texts;
}

// The setting takes any text; these are the languages that the page has.
export const kLanguages: readonly Language[] = [
    { code: "en", value: "English", english: "english", texts: en },
    { code: "de", value: "Deutsch", english: "german", texts: de },
    { code: "fr", value: "Français", english: "french", texts: fr },
    { code: "es", value: "Español", english: "spanish", texts: es },
];
const kEnglish = kLanguages[0] as Language;

// The language of a setting's value, a name or a code in any case; null if the page lacks it.
export function languageOf(value: string): Language | null {
    const plain = value.trim().toLowerCase();
    return (
        kLanguages.find(
            ({ value: name, english, code }) =>
                plain === name.toLowerCase() ||
                plain === english ||
                plain.split(/[-_]/)[0] === code,
        ) ?? null
    );
}

// The browser's preference, until the setting is known.
export function preferredLanguage(preferences: readonly string[]): Language {
    for (const each of preferences) {
        const found = languageOf(each);
        if (found) return found;
    }
    return kEnglish;
}

export type TextValues = Record<string, string | number>;

// "{name}" is filled in; of "one | other" the form for `count` is taken.
export function fillIn(text: string, values: TextValues, code: string): string {
    const forms = text.split(" | ");
    const count = values["count"];
    const one = typeof count === "number" && new Intl.PluralRules(code).select(count) === "one";
    const form = (one ? forms[0] : forms[forms.length - 1]) ?? "";
    return form.replace(/\{(\w+)\}/g, (place, name: string) => String(values[name] ?? place));
}

export interface Translator {
    readonly code: Reading<string>;
    // Tracks the language when called in an effect.
    t(key: TextKey, values?: TextValues): string;
    // Whether a composed key has a text.
    has(key: string): key is TextKey;
}

export function translator(setting: Reading<string | null>): Translator {
    const language = computed(() => {
        const value = setting.get();
        const preferred = () => preferredLanguage(navigator.languages);
        return value === null ? preferred() : (languageOf(value) ?? kEnglish);
    });
    return {
        code: computed(() => language.get().code),
        t: (key, values = {}) => {
            const { texts, code } = language.get();
            return fillIn(texts[key], values, code);
        },
        has: (key): key is TextKey => Object.hasOwn(en, key),
    };
}
