// The output of a program on a terminal, as it stands there at the end.

export interface Piece {
    text: string;
    /** Parameters of the last "Select Graphic Rendition", e.g. "1" for bold; empty: plain. */
    style: string;
}
export type Line = Piece[];

const kEscape = String.fromCharCode(27);

/** A line that is drawn again shows its last state; erasing is understood to the line's end. */
export function linesOf(output: string): Line[] {
    const lines = output.replaceAll("\r\n", "\n").split("\n");
    // A live line that was erased leaves nothing, not even an empty line: the next text overwrites it.
    return lines.map((line) => pieces(line.slice(line.lastIndexOf("\r") + 1)));
}

export function textOf(line: Line): string {
    return line.map((piece) => piece.text).join("");
}

function pieces(line: string): Line {
    const found: Line = [];
    let style = "";
    for (const [index, part] of line.split(`${kEscape}[`).entries()) {
        const sequence = index === 0 ? null : /^([0-9;]*)([A-Za-z])/.exec(part);
        if (sequence?.[2] === "m") style = sequence[1] === "0" ? "" : (sequence[1] ?? "");
        const text = sequence ? part.slice(sequence[0].length) : part;
        if (text !== "") found.push({ text, style });
    }
    return found;
}

/**
 * The part before the first chapter and the chapters whose titles begin with one of these words;
 * "..." marks what is left out.
 */
export function chapters(lines: Line[], titles: string[]): Line[] {
    const kept: Line[] = [];
    let keeps = true;
    for (const line of lines) {
        const title = /^== (.*)/.exec(textOf(line))?.[1];
        if (title !== undefined) {
            const before = keeps;
            keeps = titles.some((wanted) => title.startsWith(wanted));
            if (before && !keeps) kept.push([{ text: "...", style: "2" }], []);
        }
        if (keeps) kept.push(line);
    }
    return kept;
}
