// The first set-up, shown while the resource says that it is due. Its steps are ordinary fields; the
// last marks the set-up as done and then reports "GUI ready".
import { h, freshId, swap } from "../dom";
import { reasonOf, settingLabel, valueLabel } from "../labels";
import { signal } from "../reactive";
import { RequestFailure } from "../redfish/errors";
import { panelPicture } from "../panel/picture";
import { brand } from "./brand";
import { isUp, wantedValue, type Context } from "./context";
import { field } from "./field";
import { connectionBadge, notice } from "./notice";

const kSteps = [
    { name: "language", settings: ["Language"] },
    { name: "region", settings: ["MeasurementSystem", "DateFormat", "TimeFormat"] },
    { name: "display", settings: ["ScreenBrightness", "Theme", "BacklightOff"] },
    { name: "finish", settings: [] },
] as const;
type Step = (typeof kSteps)[number];

export interface WizardOptions {
    // Show the settings instead, until the page is opened again.
    onLater(): void;
    // From here on the wizard stays although the set-up is done: the report is still missing.
    onFinish(): void;
    onFinished(): void;
}

export function wizard(context: Context, options: WizardOptions): HTMLElement {
    const { tr } = context;
    const step = signal(0);
    const headingId = freshId("wizard");
    const stepPlace = swap(h("div", { class: "wizard-step" }), step, (index) => {
        const now = kSteps[index] as Step;
        const heading = h("h2", { id: headingId, tabindex: -1 }, () =>
            tr.t(`wizard.${now.name}.title`),
        );
        // Screen readers continue at the new step's heading; at first the focus is elsewhere.
        queueMicrotask(() => heading.focus());
        return h(
            "section",
            { "aria-labelledby": headingId },
            h("p", { class: "wizard-count" }, () =>
                tr.t("wizard.step", { step: index + 1, steps: kSteps.length }),
            ),
            heading,
            h("p", { class: "wizard-text" }, () => tr.t(`wizard.${now.name}.text`)),
            now.name === "finish" ? summary(context) : stepFields(context, now),
        );
    });
    return h(
        "div",
        { class: "wizard" },
        h(
            "header",
            {},
            brand(tr),
            h("h1", {}, () => tr.t("wizard.title")),
            connectionBadge(context),
            progressBar(step.get),
        ),
        h(
            "main",
            {},
            notice(context),
            h("div", { class: "wizard-columns" }, stepPlace, panelPicture(context)),
        ),
        footer(context, step, options),
    );
}

function progressBar(step: () => number): HTMLElement {
    const parts = kSteps.map((_, index) => h("span", { "data-done": () => index <= step() }));
    return h("div", { class: "wizard-progress", "aria-hidden": "true" }, parts);
}

function stepFields(context: Context, step: Step): HTMLElement {
    const place = h("div", { class: "fields" });
    return swap(place, context.resource.settings, (settings) => {
        const fragment = document.createDocumentFragment();
        for (const name of step.settings) {
            const setting = settings.find((each) => each.name === name);
            if (!setting) continue;
            // The language has a step of its own, so that all are visible at once.
            const control = name === "Language" ? "choice" : setting.control;
            fragment.append(field(context, { ...setting, control }));
        }
        return fragment;
    });
}

function summary(context: Context): HTMLElement {
    const { tr } = context;
    const names = kSteps.flatMap((step) => [...step.settings]);
    return h(
        "dl",
        { class: "facts" },
        names.flatMap((name) => [
            h("dt", {}, () => settingLabel(tr, name)),
            h("dd", {}, () => valueLabel(tr, name, wantedValue(context, name))),
        ]),
    );
}

function footer(
    context: Context,
    step: { get(): number; set(value: number): void },
    options: WizardOptions,
): HTMLElement {
    const { tr } = context;
    const busy = signal(false);
    const problem = signal<RequestFailure | null>(null);
    const isLast = () => step.get() === kSteps.length - 1;
    const go = async () => {
        if (!isLast()) {
            step.set(step.get() + 1);
            return;
        }
        busy.set(true);
        problem.set(null);
        options.onFinish();
        try {
            await finish(context);
            context.announce(tr.t("wizard.finished"));
            options.onFinished();
        } catch (error) {
            problem.set(error instanceof RequestFailure ? error : new RequestFailure("failed", 0));
        } finally {
            busy.set(false);
        }
    };
    return h(
        "footer",
        {},
        h("p", { class: "field-error", role: "alert" }, () => {
            const failure = problem.get();
            return failure ? tr.t("wizard.failed", { reason: reasonOf(tr, failure) }) : "";
        }),
        h("button", { type: "button", class: "quiet", "on:click": options.onLater }, () =>
            tr.t("wizard.later"),
        ),
        h(
            "button",
            {
                type: "button",
                class: "secondary",
                disabled: () => step.get() === 0 || busy.get(),
                "on:click": () => step.set(step.get() - 1),
            },
            () => tr.t("wizard.back"),
        ),
        h(
            "button",
            {
                type: "button",
                class: "primary",
                "data-action": "next",
                disabled: () => busy.get() || (isLast() && !isUp(context)),
                "on:click": () => void go(),
            },
            () =>
                tr.t(busy.get() ? "wizard.finishing" : isLast() ? "wizard.finish" : "wizard.next"),
        ),
    );
}

// In this order: a set-up that is not marked as done starts again; a missing report only leaves the
// buzzer silent and can be repeated.
async function finish({ resource }: Context): Promise<void> {
    const { changes } = resource;
    if (isOnAtServer(resource.values.peek()?.get("InitialBoot"))) {
        changes.change("InitialBoot", "false");
        await changes.settle();
        const rejected = changes.rejections.peek().get("InitialBoot");
        if (rejected) throw rejected.failure;
    } else {
        await changes.settle();
    }
    await resource.act("guiReady");
}

function isOnAtServer(value: string | undefined): boolean {
    return value?.toLowerCase() === "true";
}
