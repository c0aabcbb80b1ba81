// One setting on the page: its label, its control, and the result of the last change.
import { h, freshId, swap } from "../dom";
import { hintOf, reasonOf, settingLabel, valueLabel } from "../labels";
import { computed, effect, onEnd, signal, type Reading } from "../reactive";
import { isOn, offersOf, switchValue, type Setting } from "../settings/catalogue";
import { isUp, wantedValue, type Context } from "./context";

const kShowSavedMs = 2_000;

interface Part {
    context: Context;
    setting: Setting;
    value: Reading<string>;
    disabled: () => boolean;
    labelId: string;
    describedBy: string;
    invalid: () => string | false;
    change(value: string): void;
}

export function field(context: Context, setting: Setting): HTMLElement {
    const { tr, resource } = context;
    const { name } = setting;
    const [labelId, hintId, errorId] = [freshId("label"), freshId("hint"), freshId("error")];
    const rejection = computed(() => resource.changes.rejections.get().get(name) ?? null);
    const part: Part = {
        context,
        setting,
        value: computed(() => wantedValue(context, name)),
        disabled: () => !isUp(context),
        labelId,
        describedBy: `${hintId} ${errorId}`,
        invalid: () => rejection.get() !== null && "true",
        change: (value) => resource.changes.change(name, value),
    };
    return h(
        "div",
        { class: `field field-${setting.control}`, "data-setting": name },
        h(
            "div",
            { class: "field-head" },
            h("span", { id: labelId, class: "field-label" }, () => settingLabel(tr, name)),
            progress(context, name),
        ),
        control(part),
        h("p", { id: hintId, class: "hint" }, () => hintOf(tr, name)),
        swap(
            h("div", { id: errorId, class: "field-error", role: "alert" }),
            rejection,
            (rejected) =>
                rejected
                    ? h(
                          "p",
                          {},
                          () =>
                              tr.t("error.notSaved", {
                                  value: valueLabel(tr, name, rejected.value),
                                  reason: reasonOf(tr, rejected.failure, rejected.message),
                              }),
                          " ",
                          h(
                              "button",
                              {
                                  type: "button",
                                  class: "link",
                                  disabled: part.disabled,
                                  "on:click": () => part.change(rejected.value),
                              },
                              () => tr.t("change.again"),
                          ),
                      )
                    : null,
        ),
    );
}

// For sighted users; the live region announces that it is saved.
function progress({ tr, resource }: Context, name: string): HTMLElement {
    const state = signal<"" | "saving" | "saved">("");
    let timer: ReturnType<typeof setTimeout> | undefined;
    effect(() => {
        const wanted = resource.changes.wanted.get().has(name);
        if (wanted) {
            clearTimeout(timer);
            state.set("saving");
        } else if (state.peek() === "saving") {
            state.set(resource.changes.rejections.peek().has(name) ? "" : "saved");
            timer = setTimeout(() => state.set(""), kShowSavedMs);
        }
    });
    onEnd(() => clearTimeout(timer));
    return h("span", { class: () => `progress ${state.get()}`, "aria-hidden": "true" }, () => {
        const now = state.get();
        return now === "" ? "" : tr.t(`change.${now}`);
    });
}

function control(part: Part): HTMLElement {
    switch (part.setting.control) {
        case "level":
            return level(part);
        case "switch":
            return onAndOff(part);
        case "choice":
            return choice(part);
        case "list":
            return list(part);
        case "text":
            return shown(part);
    }
}

// A ladder of bars, with a slider laid over it: each bar is a step of the slider.
function level({ context, setting, value, ...part }: Part): HTMLElement {
    const steps = setting.maximum - setting.minimum + 1;
    const present = () => Number(value.get()) || setting.minimum;
    const text = () => context.tr.t("value.level", { level: present(), levels: setting.maximum });
    const bars = Array.from({ length: steps }, (_, index) =>
        h("span", {
            class: `bar bar-${index + 1}`,
            "data-on": () => index + setting.minimum <= present(),
        }),
    );
    const input: HTMLInputElement = h("input", {
        type: "range",
        min: setting.minimum,
        max: setting.maximum,
        step: 1,
        ".value": () => String(present()),
        disabled: part.disabled,
        "aria-labelledby": part.labelId,
        "aria-describedby": part.describedBy,
        "aria-valuetext": text,
        "aria-invalid": part.invalid,
        "on:input": () => part.change(input.value),
    });
    return h(
        "div",
        { class: "level" },
        h(
            "div",
            { class: "bars" },
            h("div", { class: "bar-row", "aria-hidden": "true" }, bars),
            input,
        ),
        h("output", { class: "level-text" }, text),
    );
}

function onAndOff({ context, setting, value, ...part }: Part): HTMLElement {
    const input: HTMLInputElement = h("input", {
        type: "checkbox",
        role: "switch",
        ".checked": () => isOn(value.get()),
        disabled: part.disabled,
        "aria-labelledby": part.labelId,
        "aria-describedby": part.describedBy,
        "aria-invalid": part.invalid,
        "on:change": () => part.change(switchValue(setting, input.checked)),
    });
    return h(
        "label",
        { class: "switch" },
        input,
        h("span", { class: "switch-track", "aria-hidden": "true" }),
        h("span", { class: "switch-text", "aria-hidden": "true" }, () =>
            valueLabel(context.tr, setting.name, value.get()),
        ),
    );
}

function choice({ context, setting, value, ...part }: Part): HTMLElement {
    const group = freshId(setting.name);
    // Rebuilt only when the server has a value that is not offered yet.
    const offers = computed(() => offersOf(setting, value.get()).join("\n"));
    const place = h("div", {
        class: "choice",
        role: "radiogroup",
        "aria-labelledby": part.labelId,
        "aria-describedby": part.describedBy,
        "aria-invalid": part.invalid,
    });
    return swap(place, offers, (joined) => {
        const fragment = document.createDocumentFragment();
        for (const offer of joined.split("\n")) {
            const input: HTMLInputElement = h("input", {
                type: "radio",
                name: group,
                value: offer,
                ".checked": () => value.get() === offer,
                disabled: part.disabled,
                "on:change": () => part.change(offer),
            });
            const text = () => valueLabel(context.tr, setting.name, offer);
            fragment.append(h("label", { class: "chip" }, input, h("span", {}, text)));
        }
        return fragment;
    });
}

function list({ context, setting, value, ...part }: Part): HTMLElement {
    const offers = computed(() => offersOf(setting, value.get()).join("\n"));
    const select: HTMLSelectElement = h("select", {
        disabled: part.disabled,
        "aria-labelledby": part.labelId,
        "aria-describedby": part.describedBy,
        "aria-invalid": part.invalid,
        "on:change": () => part.change(select.value),
    });
    swap(select, offers, (joined) => {
        const fragment = document.createDocumentFragment();
        for (const offer of joined.split("\n")) {
            const text = () => valueLabel(context.tr, setting.name, offer);
            fragment.append(h("option", { value: offer }, text));
        }
        return fragment;
    });
    // After its options exist.
    effect(() => {
        offers.get();
        select.value = value.get();
    });
    return h("div", { class: "list" }, select);
}

function shown({ context, setting, value, labelId }: Part): HTMLElement {
    return h("p", { class: "shown", "aria-labelledby": labelId }, () =>
        valueLabel(context.tr, setting.name, value.get()),
    );
}
