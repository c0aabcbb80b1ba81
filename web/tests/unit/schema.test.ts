// From the schema to the controls, and without a schema.
import { expect, test } from "vitest";
import { describeProperties } from "../../src/redfish/schema";
import { jsonOf, offersOf, settingsOf, switchValue } from "../../src/settings/catalogue";
import { schema } from "../support/schema";

const described = describeProperties(schema, "WebGUI");
const named = (name: string, properties = [name], from = described) => {
    const found = settingsOf(properties, from).find((each) => each.name === name);
    if (!found) throw new Error(`no ${name}`);
    return found;
};

test("types, allowed values, limits and what can only be read come from the schema", () => {
    expect(described.get("ScreenBrightness")).toMatchObject({
        type: "integer",
        minimum: 1,
        maximum: 7,
    });
    expect(described.get("Theme")?.values).toEqual(["dark", "light"]);
    expect(described.get("Name")?.readOnly).toBe(true);
    expect(described.get("Language")?.values).toBeNull();
    expect(described.has("@odata.id")).toBe(false);
});

test("references and alternatives are followed, and a circle of them ends", () => {
    const found = describeProperties(
        {
            definitions: {
                WebGUI: { anyOf: [{ $ref: "#/definitions/V1" }, { $ref: "#/definitions/WebGUI" }] },
                V1: {
                    properties: {
                        Theme: { anyOf: [{ $ref: "#/definitions/T" }, { type: "null" }] },
                    },
                },
                T: { type: "string", enum: ["dark", "light", "blue"], readOnly: true },
            },
        },
        "WebGUI",
    );
    expect(found.get("Theme")).toMatchObject({ values: ["dark", "light", "blue"], readOnly: true });
});

test("whatever the schema is, there is an answer", () => {
    for (const odd of [
        undefined,
        null,
        1,
        "x",
        [],
        {},
        { definitions: 3 },
        { properties: { A: 1 } },
    ]) {
        expect(describeProperties(odd, "WebGUI").size).toBe(0);
    }
});

test("the schema's values take the place of the page's own offers", () => {
    const more = new Map(described);
    const theme = described.get("Theme");
    if (theme) more.set("Theme", { ...theme, values: ["dark", "light", "sepia"] });
    expect(named("Theme", ["Theme"], more).values).toEqual(["dark", "light", "sepia"]);
});

test("without a schema the page's own offers serve", () => {
    const none = new Map();
    expect(named("BacklightOff", ["BacklightOff"], none).values.length).toBe(6);
    expect(named("RoomAverage", ["RoomAverage"], none).type).toBe("boolean");
    expect(named("ScreenBrightness", ["ScreenBrightness"], none)).toMatchObject({
        type: "integer",
        minimum: 1,
        maximum: 7,
    });
});

test("only properties that are there are shown, and one that nobody knows as text", () => {
    const names = settingsOf(["Theme", "Zeal", "@odata.id", "InitialBoot"], described).map(
        ({ name, control }) => [name, control],
    );
    expect(names).toEqual([
        ["Theme", "choice"],
        ["Zeal", "text"],
    ]);
});

test("a value that is not on offer is added, one in other words replaces its like", () => {
    expect(offersOf(named("TimeFormat"), "24 Hour")).toEqual(["24 Hour", "12 Hours"]);
    expect(offersOf(named("DateFormat"), "YY.MM.DD")[0]).toBe("YY.MM.DD");
    expect(offersOf(named("Theme"), "dark")).toEqual(["dark", "light"]);
});

test("values go out in the type that the server has for them", () => {
    expect(jsonOf(named("ScreenBrightness"), "3")).toBe(3);
    expect(jsonOf(named("RoomAverage"), "true")).toBe(true);
    expect(jsonOf(named("Language"), "3")).toBe("3");
    expect(switchValue(named("ActiveAlarmScreensaver"), false)).toBe("Disabled");
    expect(switchValue(named("RoomAverage"), true)).toBe("true");
});
