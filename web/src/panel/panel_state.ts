// Model of the LCD panel: backlight by level, dark after its time-out without a touch or when turned
// off, lit again by a touch. Pure.

// Of the panel's backlight, as the controller has it.
const kMaxBrightness = 255;
const kLevels = 7;

// The time-outs that the panel accepts, in seconds; other texts change nothing.
const kBlankSeconds = new Map<string, number>([
    ["Never", 0],
    ["Off After 1 Minute", 60],
    ["Off After 2 Minutes", 120],
    ["Off After 3 Minutes", 180],
    ["Off After 4 Minutes", 240],
    ["Off After 5 Minutes", 300],
]);

// Rounded to the nearest step; no level turns the panel dark.
export function backlightOf(level: number): number {
    const inRange = Math.min(kLevels, Math.max(1, level));
    return Math.max(1, Math.round((inRange * kMaxBrightness) / kLevels));
}

// Perceived brightness, 0 to 1: half the light looks far more than half as bright.
export function perceivedBrightness(level: number): number {
    return Math.pow(backlightOf(level) / kMaxBrightness, 1 / 2.2);
}

export interface PanelState {
    lastTouch: number; // ms
    turnedOff: boolean;
    blankSeconds: number; // 0: never
}

export function newPanel(backlightOff: string, now: number): PanelState {
    return { lastTouch: now, turnedOff: false, blankSeconds: kBlankSeconds.get(backlightOff) ?? 0 };
}

export function touched(panel: PanelState, now: number): PanelState {
    return { ...panel, lastTouch: now, turnedOff: false };
}

export function turnedOff(panel: PanelState): PanelState {
    return { ...panel, turnedOff: true };
}

// A new time-out counts from now; a dark panel stays dark.
export function withBacklightOff(panel: PanelState, text: string, now: number): PanelState {
    const blankSeconds = kBlankSeconds.get(text);
    if (blankSeconds === undefined || blankSeconds === panel.blankSeconds) return panel;
    const dark = panel.turnedOff || isDark(panel, now);
    return { lastTouch: now, turnedOff: dark, blankSeconds };
}

export function isDark(panel: PanelState, now: number): boolean {
    return panel.turnedOff || (panel.blankSeconds > 0 && secondsLeft(panel, now) <= 0);
}

// Until it goes dark; 0 or less when it has. Only for a panel with a time-out.
export function secondsLeft(panel: PanelState, now: number): number {
    return panel.blankSeconds - (now - panel.lastTouch) / 1000;
}
