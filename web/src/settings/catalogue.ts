// The settings that the page knows: section, control, and the values to offer where the schema allows
// any text. Values that the schema lists replace these.
import type { PropertyDescription } from "../redfish/schema";

export type SectionName = "display" | "region" | "home" | "system";
// choice  a few values side by side
// list    many values, opened on touch
// switch  two values, on and off
// level   whole numbers, on a slider
// text    read-only
export type ControlKind = "choice" | "list" | "switch" | "level" | "text";

interface Entry {
    name: string;
    section: SectionName;
    control: ControlKind;
    offers: readonly string[];
}

// In the order of the page.
// prettier-ignore
const kCatalogue: readonly Entry[] = [
    { name: "ScreenBrightness",       section: "display", control: "level",  offers: [] },
    { name: "BacklightOff",           section: "display", control: "choice", offers: [
        "Never", "Off After 1 Minute", "Off After 2 Minutes", "Off After 3 Minutes", "Off After 4 Minutes", "Off After 5 Minutes"] },
    { name: "Theme",                  section: "display", control: "choice", offers: ["dark", "light"] },
    { name: "ActiveAlarmScreensaver", section: "display", control: "switch", offers: ["Disabled", "Enabled"] },
    { name: "Language",               section: "region",  control: "list",   offers: ["English", "Deutsch", "Français", "Español"] },
    { name: "MeasurementSystem",      section: "region",  control: "choice", offers: ["Metric", "Imperial"] },
    { name: "DateFormat",             section: "region",  control: "choice", offers: ["YYYY-MM-DD", "DD.MM.YYYY", "DD/MM/YYYY", "MM/DD/YYYY"] },
    { name: "TimeFormat",             section: "region",  control: "choice", offers: ["24 Hours", "12 Hours"] },
    { name: "RoomAverage",            section: "home",    control: "switch", offers: [] },
    { name: "HiLoPeriod",             section: "home",    control: "choice", offers: ["1 Hour", "8 Hours", "24 Hours", "7 Days"] },
    { name: "InactivityTimer",        section: "system",  control: "list",   offers: [
        "Never", "1 Minute", "5 Minutes", "10 Minutes", "15 Minutes", "30 Minutes"] },
];

export const kSections: readonly SectionName[] = ["display", "region", "home", "system"];

// Shown elsewhere than in a field: the set-up, and the head of the page.
const kElsewhere = new Set(["InitialBoot", "Name", "Id", "Actions", "Description", "Oem", "Links"]);

const kLevels = { minimum: 1, maximum: 7 };
// More than this side by side is hard to scan.
const kMaxSideBySide = 6;

export interface Setting {
    name: string;
    section: SectionName;
    control: ControlKind;
    values: readonly string[]; // to choose from
    minimum: number;
    maximum: number;
    // How a value goes into the request.
    type: PropertyDescription["type"];
}

// The settings of a resource with these properties. One that the page does not know is shown too, with
// the control that fits its description.
export function settingsOf(
    properties: Iterable<string>,
    schema: ReadonlyMap<string, PropertyDescription>,
): Setting[] {
    const present = new Set([...properties].filter((name) => !/[@]/.test(name)));
    const known = kCatalogue.filter(({ name }) => present.has(name));
    const others = [...present]
        .filter((name) => !kElsewhere.has(name) && !kCatalogue.some((each) => each.name === name))
        .sort()
        .map((name): Entry => {
            return { name, section: "system", control: "text", offers: [] };
        });
    return [...known, ...others].map((entry) => settingOf(entry, schema.get(entry.name)));
}

function settingOf(entry: Entry, description: PropertyDescription | undefined): Setting {
    const suggested = description?.suggestions ?? [];
    const values = description?.values ?? [...new Set([...entry.offers, ...suggested])];
    const fallback = typeByControl(entry, values);
    return {
        name: entry.name,
        section: entry.section,
        control: controlOf(entry, description, values),
        values,
        minimum: description?.minimum ?? kLevels.minimum,
        maximum: description?.maximum ?? kLevels.maximum,
        type: description?.type ?? fallback,
    };
}

function typeByControl(entry: Entry, values: readonly string[]): PropertyDescription["type"] {
    if (entry.control === "level") return "integer";
    return entry.control === "switch" && values.length === 0 ? "boolean" : "text";
}

function controlOf(
    entry: Entry,
    description: PropertyDescription | undefined,
    values: readonly string[],
): ControlKind {
    if (description?.readOnly) return "text";
    if (entry.control === "text" && description) {
        if (description.type === "boolean") return "switch";
        return values.length > 0 ? "list" : "text";
    }
    // A schema may list other values.
    if (entry.control === "switch" && !isSwitch(values)) return "choice";
    return entry.control === "choice" && values.length > kMaxSideBySide ? "list" : entry.control;
}

const kOnAndOff = [
    ["true", "false"],
    ["Enabled", "Disabled"],
    ["On", "Off"],
    ["Yes", "No"],
] as const;

function isSwitch(values: readonly string[]): boolean {
    return values.length === 0 || (values.length === 2 && values.some((each) => isOn(each)));
}

// The value that a switch sends for on or off.
export function switchValue(setting: Setting, on: boolean): string {
    const side = on ? 0 : 1;
    const pair = kOnAndOff.find((each) => setting.values.includes(each[side]));
    return (pair ?? kOnAndOff[0])[side];
}

export function isOn(value: string): boolean {
    return kOnAndOff.some(([on]) => on.toLowerCase() === value.toLowerCase());
}

// The values to offer: the known ones, and the present one if it is not among them. A mere variant
// ("24 Hour") replaces its equivalent.
export function offersOf(setting: Setting, present: string): string[] {
    const offers = [...setting.values];
    if (offers.includes(present)) return offers;
    const like = offers.findIndex((each) => plain(each) === plain(present));
    if (like < 0) return [present, ...offers];
    offers[like] = present;
    return offers;
}

function plain(value: string): string {
    return value.toLowerCase().replace(/s$/, "");
}

// A value as JSON, of the type that the server has for it.
export function jsonOf(setting: Setting, value: string): string | number | boolean {
    if (setting.type === "boolean") return isOn(value);
    return setting.type === "integer" ? Number(value) : value;
}
