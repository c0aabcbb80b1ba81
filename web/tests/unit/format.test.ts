// Dates, times, temperatures and spans.
import { expect, test } from "vitest";
import * as format from "../../src/format";

const kMorning = new Date(2026, 2, 5, 0, 7, 9);
const kEvening = new Date(2026, 10, 21, 17, 30, 0);

test.each([
    ["YYYY-MM-DD", "2026-03-05"],
    ["DD.MM.YYYY", "05.03.2026"],
    ["MM/DD/YYYY", "03/05/2026"],
    ["D/M/YY", "5/3/26"],
    ["dd.mm.yyyy", "05.03.2026"],
    ["", "2026-03-05"],
    ["whatever", "2026-03-05"],
])("the date format %j is understood", (pattern, text) => {
    expect(format.formatDate(kMorning, pattern)).toBe(text);
});

test("the clock has twelve hours where the format says so, and twenty-four otherwise", () => {
    for (const twelve of ["12 Hours", "12 Hour", "12h 12"]) {
        expect(format.formatTime(kMorning, twelve)).toBe("12:07 AM");
        expect(format.formatTime(kEvening, twelve)).toBe("5:30 PM");
    }
    for (const other of ["24 Hours", "24 Hour", "", "112"]) {
        expect(format.formatTime(kMorning, other, true)).toBe("00:07:09");
    }
});

test("temperatures follow the measurement system and the language", () => {
    expect(format.formatTemperature(22.5, "Metric", "en")).toBe("22.5 °C");
    expect(format.formatTemperature(22.5, "Imperial", "en")).toBe("72.5 °F");
    expect(format.formatTemperature(-40, "Imperial", "de")).toBe("-40,0 °F");
});

test("spans are read from the values of the settings and shown as a clock", () => {
    expect(format.spanIn("Off After 1 Minute")).toEqual({ count: 1, unit: "minutes" });
    expect(format.spanIn("24 Hours")).toEqual({ count: 24, unit: "hours" });
    expect(format.spanIn("Never")).toBeNull();
    expect([format.secondsIn("10 Minutes"), format.secondsIn("Never")]).toEqual([600, 0]);
    expect([0.2, 59.1, 60, 301].map(format.formatSpan)).toEqual(["0:01", "1:00", "1:00", "5:01"]);
});
