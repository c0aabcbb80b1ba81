// The panel: its steps, its time-out, turned off and touched.
import { expect, test } from "vitest";
import * as panel from "../../src/panel/panel_state";

test("the backlight has the panel's seven steps, and none is dark", () => {
    expect([1, 2, 3, 4, 5, 6, 7].map(panel.backlightOf)).toEqual([36, 73, 109, 146, 182, 219, 255]);
    expect([0, 9].map(panel.backlightOf)).toEqual([36, 255]);
});

test("it looks brighter with each step", () => {
    const steps = [1, 2, 3, 4, 5, 6, 7].map(panel.perceivedBrightness);
    expect([...steps].sort((a, b) => a - b)).toEqual(steps);
    expect(steps[0]).toBeGreaterThan(0.3);
    expect(steps[6]).toBe(1);
});

test("it goes dark at its time-out and not before, and a touch lights it for as long again", () => {
    let state = panel.newPanel("Off After 2 Minutes", 0);
    expect(panel.isDark(state, 119_999)).toBe(false);
    expect(panel.isDark(state, 120_000)).toBe(true);
    state = panel.touched(state, 130_000);
    expect(panel.isDark(state, 249_999)).toBe(false);
    expect(panel.secondsLeft(state, 190_000)).toBe(60);
});

test("without a time-out it stays lit", () => {
    expect(panel.isDark(panel.newPanel("Never", 0), 1e12)).toBe(false);
});

test("turned off it is dark at once, until it is touched", () => {
    const off = panel.turnedOff(panel.newPanel("Never", 0));
    expect(panel.isDark(off, 1)).toBe(true);
    expect(panel.isDark(panel.touched(off, 2), 3)).toBe(false);
});

test("a new time-out counts from its setting and wakes no dark panel", () => {
    const lit = panel.withBacklightOff(panel.newPanel("Never", 0), "Off After 1 Minute", 500_000);
    expect(panel.isDark(lit, 559_999)).toBe(false);
    expect(panel.isDark(lit, 560_000)).toBe(true);
    const dark = panel.withBacklightOff(lit, "Never", 600_000);
    expect(panel.isDark(dark, 600_001)).toBe(true);
});

test("a text that is no choice, and the same choice again, change nothing", () => {
    const state = panel.newPanel("Off After 1 Minute", 0);
    expect(panel.withBacklightOff(state, "off after 2 minutes", 30_000)).toBe(state);
    expect(panel.withBacklightOff(state, "Off After 1 Minute", 30_000)).toBe(state);
});
