// The picture of the LCD panel: contents and brightness by the settings, lit or dark. A touch on the
// picture wakes it, as one on the panel does.
import { h, s } from "../dom";
import { formatDate, formatSpan, formatTemperature, formatTime, secondsIn } from "../format";
import { valueLabel } from "../labels";
import { computed } from "../reactive";
import { isOn } from "../settings/catalogue";
import { wantedValue, type Context } from "../views/context";
import { backlightOf, isDark, perceivedBrightness, secondsLeft, touched } from "./panel_state";

// The settings carry no readings, so the picture has samples, in degrees Celsius.
const kSample = { average: 22.5, high: 24.1, low: 20.8, sensors: [21.9, 22.4, 23.2] };
const kLevels = 7;

const kColours = {
    dark: {
        ground: "#10191c",
        bar: "#1c2b30",
        text: "#eef6f7",
        quiet: "#9db3b8",
        accent: "#6fd6c9",
    },
    light: {
        ground: "#eaf1f2",
        bar: "#d5e2e4",
        text: "#14272c",
        quiet: "#4b636a",
        accent: "#0a6e66",
    },
};

export function panelPicture(context: Context): HTMLElement {
    const { tr, panel, now } = context;
    const dark = computed(() => isDark(panel.get(), now.get()));
    const level = computed(() => Number(wantedValue(context, "ScreenBrightness")) || 1);
    const state = () => stateText(context, dark.get(), level.get());
    return h(
        "div",
        { class: "lcd" },
        h(
            "button",
            {
                type: "button",
                class: "lcd-touch",
                "data-dark": dark.get.bind(dark),
                "aria-label": () => tr.t("panel.touch", { state: state() }),
                "on:click": () => panel.update((each) => touched(each, Date.now())),
            },
            screen(context, dark.get.bind(dark), level.get.bind(level)),
        ),
        h("p", { class: "lcd-state" }, state),
        h("p", { class: "lcd-rest" }, () => {
            const light = tr.t("panel.backlight", { value: backlightOf(level.get()) });
            return `${dark.get() ? "" : `${light}. `}${restText(context, dark.get())}`;
        }),
    );
}

function stateText({ tr }: Context, dark: boolean, level: number): string {
    if (dark) return tr.t("panel.dark");
    return tr.t("panel.lit", { level, levels: kLevels });
}

// What happens next, or why it is dark.
function restText({ tr, panel, now }: Context, dark: boolean): string {
    const state = panel.get();
    if (state.turnedOff) return tr.t("panel.turnedOff");
    const time = formatSpan(state.blankSeconds);
    if (dark) return tr.t("panel.untouched", { time });
    if (state.blankSeconds === 0) return tr.t("panel.never");
    // The page's clock ticks once a second and may lag behind the touch.
    const left = Math.min(state.blankSeconds, secondsLeft(state, now.get()));
    return tr.t("panel.darkIn", { time: formatSpan(left) });
}

function screen(context: Context, dark: () => boolean, level: () => number): SVGElement {
    const { tr, now } = context;
    const value = (name: string) => wantedValue(context, name);
    const colour = (name: keyof typeof kColours.dark) => () =>
        kColours[value("Theme") === "light" ? "light" : "dark"][name];
    const degrees = (celsius: number) => () =>
        formatTemperature(celsius, value("MeasurementSystem"), tr.code.get());
    const average = () => isOn(value("RoomAverage"));
    const text = (
        x: number,
        y: number,
        size: number,
        fill: () => string,
        content: () => string,
        more: Record<string, string> = {},
    ) => s("text", { x, y, "font-size": size, fill, ...more }, content);
    const end = { "text-anchor": "end" };

    const sensors = kSample.sensors.flatMap((celsius, index) => {
        const y = 108 + index * 50;
        const label = () => tr.t("panel.sensor", { number: index + 1 });
        return [
            text(28, y, 20, colour("quiet"), label),
            text(264, y, 34, colour("text"), degrees(celsius), end),
        ];
    });
    return s(
        "svg",
        { class: "lcd-screen", viewBox: "0 0 480 272", "aria-hidden": "true", focusable: "false" },
        s("rect", { width: 480, height: 272, fill: colour("ground") }),
        s("rect", { width: 480, height: 48, fill: colour("bar") }),
        text(28, 32, 21, colour("quiet"), () =>
            formatDate(new Date(now.get()), value("DateFormat")),
        ),
        text(
            452,
            32,
            21,
            colour("text"),
            () => formatTime(new Date(now.get()), value("TimeFormat")),
            end,
        ),
        s(
            "g",
            { visibility: () => (average() ? "visible" : "hidden") },
            text(28, 100, 20, colour("quiet"), () => tr.t("panel.room")),
            text(28, 172, 62, colour("text"), degrees(kSample.average), { "font-weight": "300" }),
            trend(colour("accent")),
        ),
        s("g", { visibility: () => (average() ? "hidden" : "visible") }, sensors),
        s("path", { d: "M304 72v176", stroke: colour("bar"), "stroke-width": 2 }),
        text(332, 96, 18, colour("quiet"), () => valueLabel(tr, "HiLoPeriod", value("HiLoPeriod"))),
        text(332, 136, 18, colour("accent"), () => `▲ ${tr.t("panel.high")}`),
        text(332, 166, 26, colour("text"), degrees(kSample.high)),
        text(332, 208, 18, colour("accent"), () => `▼ ${tr.t("panel.low")}`),
        text(332, 238, 26, colour("text"), degrees(kSample.low)),
        s("rect", {
            class: "lcd-shade",
            width: 480,
            height: 272,
            fill: "#000",
            "fill-opacity": () => (dark() ? 1 : (1 - perceivedBrightness(level())).toFixed(3)),
        }),
    );
}

function trend(stroke: () => string): SVGElement {
    const d = "M28 228c18-2 26-18 44-16s24 20 42 18 26-26 46-24 26 16 44 12 30-14 52-12";
    return s("path", { d, fill: "none", stroke, "stroke-width": 3, "stroke-linecap": "round" });
}

// Whether the inactivity timer has run out since the last touch of the page.
export function isInactive(value: string, lastInput: number, now: number): boolean {
    const seconds = secondsIn(value);
    return seconds > 0 && now - lastInput >= seconds * 1000;
}
