// What responses mean: failures with their messages, links, values.
import { expect, test } from "vitest";
import { kindOf, messagesOf } from "../../src/redfish/errors";
import { actionTarget } from "../../src/redfish/discover";
import { findMember } from "../../src/redfish/json";
import { differences, valuesOf } from "../../src/settings/values";

test.each([
    [401, "signedOut"],
    [403, "forbidden"],
    [429, "busy"],
    [503, "providerAway"],
    [502, "tooSlow"],
    [504, "tooSlow"],
    [400, "refused"],
    [412, "refused"],
    [500, "failed"],
    [200, "failed"],
] as const)("a status of %i is %s", (status, kind) => expect(kindOf(status)).toBe(kind));

test("messages tell the properties that they are about, however these are written", () => {
    const info = (RelatedProperties: string[]) => ({
        MessageId: "Orvane.1.0.PropertyUnknown",
        Message: "no",
        MessageArgs: ["A"],
        RelatedProperties,
    });
    const body = { error: { "@Message.ExtendedInfo": [info(["#/A", "/B", "C"])] } };
    expect(messagesOf(body)[0]).toEqual({
        id: "PropertyUnknown",
        text: "no",
        arguments: ["A"],
        properties: ["A", "B", "C"],
    });
    const annotated = { "Theme@Message.ExtendedInfo": [info([])], "@Message.ExtendedInfo": [] };
    expect(messagesOf(annotated)[0]?.properties).toEqual(["Theme"]);
});

test("an error without messages shows its own text, and nonsense shows none", () => {
    expect(messagesOf({ error: { message: "broken" } })[0]?.text).toBe("broken");
    for (const odd of [
        undefined,
        null,
        3,
        [],
        { error: [] },
        { error: { "@Message.ExtendedInfo": 1 } },
    ]) {
        expect(messagesOf(odd)).toEqual([]);
    }
});

test("links are found at any depth, the nearest first", () => {
    const oem = { Orvane: { Deep: { WebGUI: 1 }, WebGUI: 2 } };
    expect(findMember(oem, (name) => name === "WebGUI")).toBe(2);
    const actions = { Actions: { Oem: { "#WebGUI.GUIReady": { target: "/there" } } } };
    expect(actionTarget(actions, "WebGUI.GUIReady")).toBe("/there");
    expect(actionTarget(actions, "WebGUI.TurnOffLCD")).toBeNull();
});

test("values are texts without annotations, and differences name what has changed", () => {
    const before = valuesOf({ "@odata.id": "x", A: 1, B: true, C: "c", D: null, E: {} });
    expect([...before]).toEqual([
        ["A", "1"],
        ["B", "true"],
        ["C", "c"],
    ]);
    const after = valuesOf({ A: 2, B: true, C: "c", New: "n" });
    expect(differences(before, after)).toEqual([{ name: "A", from: "1", to: "2" }]);
});
