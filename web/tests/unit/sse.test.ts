// The parser of server-sent events: every place a chunk may end, and every form of a line.
import { expect, test } from "vitest";
import { SseParser } from "../../src/redfish/sse";

const kWhole = 'id: 7\nevent: change\ndata: {"a":1,\ndata: "b":2}\n\n: alive\n\ndata: second\n\n';

test("a whole stream in one chunk gives its events in order", () => {
    expect(new SseParser().push(kWhole)).toEqual([
        { id: "7", type: "change", data: '{"a":1,\n"b":2}' },
        { id: "7", type: "message", data: "second" },
    ]);
});

test("chunks may end anywhere, and lines end in three ways", () => {
    for (const end of ["\n", "\r", "\r\n"]) {
        const text = kWhole.replaceAll("\n", end);
        const whole = new SseParser().push(kWhole);
        for (let cut = 0; cut <= text.length; cut += 1) {
            const parser = new SseParser();
            const events = [...parser.push(text.slice(0, cut)), ...parser.push(text.slice(cut))];
            expect(events, `cut at ${cut} of ${JSON.stringify(text)}`).toEqual(whole);
        }
        const single = new SseParser();
        expect([...text].flatMap((each) => single.push(each))).toEqual(whole);
    }
});

test("an event without its empty line is not dispatched", () => {
    expect(new SseParser().push("data: x\n")).toEqual([]);
});

test("an id stands for the events after it too, and an empty one takes it back", () => {
    const parser = new SseParser("3");
    expect(parser.push("data: a\n\n")[0]?.id).toBe("3");
    parser.push("id: 4\n\n");
    expect(parser.lastEventId).toBe("4");
    parser.push("id\ndata: b\n\n");
    expect(parser.lastEventId).toBe("");
});

test("an id with a NUL, a retry that is no number and unknown fields are ignored", () => {
    const parser = new SseParser("1");
    parser.push("id: 2\0\nretry: soon\nretry: 250\nmood: fine\n\n");
    expect(parser.lastEventId).toBe("1");
    expect(parser.retryMilliseconds).toBe(250);
});

test("only one blank after the colon is no part of the value, and a byte order mark is none", () => {
    expect(new SseParser().push("\uFEFFdata:  two\ndata:none\ndata\n\n")).toEqual([
        { id: "", type: "message", data: " two\nnone\n" },
    ]);
});
