// Changes on their way: gathered, one request at a time, refused one by one.
import { afterEach, beforeEach, expect, test, vi } from "vitest";
import { RequestFailure, type Message } from "../../src/redfish/errors";
import { Changes, type Refusal } from "../../src/settings/changes";

beforeEach(() => void vi.useFakeTimers());
afterEach(() => void vi.useRealTimers());

interface Sent {
    values: Record<string, string>;
    done: (refusal?: Refusal) => void;
    fail: (error: unknown) => void;
}

function changes() {
    const sent: Sent[] = [];
    const saved: string[][] = [];
    const rejected: string[][] = [];
    const one = new Changes(
        (values) =>
            new Promise((answer, fail) => {
                const done = (refusal?: Refusal) => answer(refusal ?? null);
                sent.push({ values: Object.fromEntries(values), done, fail });
            }),
        {
            onSaved: (values) => saved.push([...values.keys()]),
            onRejected: (names) => rejected.push(names),
        },
    );
    return { one, sent, saved, rejected };
}

const blame = (property: string): Message => {
    return { id: "PropertyValueNotInList", text: "no", arguments: [], properties: [property] };
};
const later = () => vi.advanceTimersByTimeAsync(200);

test("what is changed in one breath goes out as one request, each value as it was last", async () => {
    const { one, sent } = changes();
    for (const level of ["2", "3", "4"]) one.change("ScreenBrightness", level);
    one.change("Theme", "light");
    await later();
    expect(sent.map((each) => each.values)).toEqual([{ ScreenBrightness: "4", Theme: "light" }]);
});

test("there is one request at a time, and what waited goes together", async () => {
    const { one, sent, saved } = changes();
    one.change("Theme", "light");
    await later();
    one.change("Language", "Deutsch");
    await later();
    one.change("Theme", "dark");
    await later();
    expect(sent.length).toBe(1);
    expect(Object.fromEntries(one.wanted.get())).toEqual({ Theme: "dark", Language: "Deutsch" });
    sent[0]?.done();
    await later();
    expect(sent[1]?.values).toEqual({ Language: "Deutsch", Theme: "dark" });
    sent[1]?.done();
    await later();
    expect(saved).toEqual([["Theme"], ["Language", "Theme"]]);
    expect(one.wanted.get().size).toBe(0);
});

test("a refused property keeps its message, and the others are asked for again without it", async () => {
    const { one, sent, saved, rejected } = changes();
    one.change("Theme", "blue");
    one.change("Language", "Deutsch");
    await later();
    sent[0]?.fail(new RequestFailure("refused", 400, [blame("Theme")]));
    await later();
    expect(rejected).toEqual([["Theme"]]);
    expect(one.rejections.get().get("Theme")?.message?.id).toBe("PropertyValueNotInList");
    expect(sent[1]?.values).toEqual({ Language: "Deutsch" });
    sent[1]?.done();
    await later();
    expect(saved).toEqual([["Language"]]);
});

test("a failure that blames no property is every property's", async () => {
    const { one, sent, rejected } = changes();
    one.change("Theme", "light");
    one.change("Language", "Deutsch");
    await later();
    sent[0]?.fail(new RequestFailure("providerAway", 503));
    await later();
    expect(rejected).toEqual([["Theme", "Language"]]);
    expect(sent.length).toBe(1);
    expect(one.wanted.get().size).toBe(0);
});

test("what a good answer left as it was is rejected, not sent again; the rest is saved", async () => {
    const { one, sent, saved, rejected } = changes();
    one.change("Theme", "light");
    one.change("Language", "Deutsch");
    await later();
    const general = { ...blame("Theme"), properties: [] };
    const failure = new RequestFailure("refused", 200, [general]);
    sent[0]?.done({ names: new Set(["Theme"]), failure });
    await later();
    expect(saved).toEqual([["Language"]]);
    expect(rejected).toEqual([["Theme"]]);
    expect(one.rejections.get().get("Theme")).toEqual({
        value: "light",
        failure,
        message: general,
    });
    expect(one.wanted.get().size).toBe(0);
    expect(sent.length).toBe(1);
});

test("a new try forgives the old one, and a newer value outlives the refusal of an older", async () => {
    const { one, sent, rejected } = changes();
    one.change("Theme", "blue");
    await later();
    one.change("Theme", "light");
    sent[0]?.fail(new RequestFailure("refused", 400, [blame("Theme")]));
    await later();
    expect(rejected).toEqual([]);
    expect(sent[1]?.values).toEqual({ Theme: "light" });
    sent[1]?.fail(new RequestFailure("refused", 400, [blame("Theme")]));
    await later();
    expect(one.rejections.get().has("Theme")).toBe(true);
    one.change("Theme", "dark");
    expect(one.rejections.get().has("Theme")).toBe(false);
});

test("only a value that is under way counts as this page's own", async () => {
    const { one, sent } = changes();
    one.change("Theme", "light");
    await later();
    expect(one.isOwn("Theme", "light")).toBe(true);
    expect(one.isOwn("Theme", "dark")).toBe(false);
    sent[0]?.done();
    await later();
    expect(one.isOwn("Theme", "light")).toBe(false);
});
