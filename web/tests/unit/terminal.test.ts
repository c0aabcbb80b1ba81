// The reading of a terminal's output, from which a picture is drawn.
import { expect, test } from "vitest";
import { chapters, linesOf, textOf } from "../pictures/terminal";

test("an erased live line leaves nothing in front of the next text", () => {
    const lines = linesOf(
        "building\r\n\r  release 1/2\u001b[K\r  release 2/2\u001b[K\r\u001b[Kdone\r\n",
    );
    expect(lines.map(textOf)).toEqual(["building", "done", ""]);
});

test("colours become styles until they are reset", () => {
    expect(linesOf("a\u001b[1mb\u001b[0mc\u001b[36md")).toEqual([
        [
            { text: "a", style: "" },
            { text: "b", style: "1" },
            { text: "c", style: "" },
            { text: "d", style: "36" },
        ],
    ]);
});

test("what is left out between chapters is marked once", () => {
    const lines = linesOf(
        "head\n\u001b[1m== One\u001b[0m\n1\n== Two\n2\n== Three\n3\n== Four, long\n4",
    );
    expect(chapters(lines, ["Four"]).map(textOf)).toEqual([
        "head",
        "...",
        "",
        "== Four, long",
        "4",
    ]);
    expect(chapters(lines, ["One", "Two"]).map(textOf)).toEqual([
        "head",
        "== One",
        "1",
        "== Two",
        "2",
        "...",
        "",
    ]);
});
