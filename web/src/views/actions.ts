// The resource's actions as buttons, each with its result beside it.
import { h } from "../dom";
import { reasonOf } from "../labels";
import { signal } from "../reactive";
import { RequestFailure } from "../redfish/errors";
import { turnedOff } from "../panel/panel_state";
import { isUp, type Context } from "./context";

export function turnOffButton(context: Context): HTMLElement {
    return actionButton(context, "turnOff", () => context.panel.update(turnedOff));
}

export function guiReadyButton(context: Context): HTMLElement {
    return actionButton(context, "guiReady", () => undefined);
}

function actionButton(
    context: Context,
    action: "turnOff" | "guiReady",
    onDone: () => void,
): HTMLElement {
    const { tr, resource } = context;
    const busy = signal(false);
    const problem = signal<RequestFailure | null>(null);
    const label = () => tr.t(`action.${action}`);
    const run = async () => {
        busy.set(true);
        problem.set(null);
        try {
            await resource.act(action);
            onDone();
            context.announce(tr.t("action.done", { action: label() }));
        } catch (error) {
            problem.set(error instanceof RequestFailure ? error : new RequestFailure("failed", 0));
        } finally {
            busy.set(false);
        }
    };
    return h(
        "div",
        { class: "action" },
        h(
            "button",
            {
                type: "button",
                class: "secondary",
                "data-action": action,
                disabled: () => busy.get() || !isUp(context),
                "on:click": () => void run(),
            },
            label,
        ),
        h("p", { class: "field-error", role: "alert" }, () => {
            const failure = problem.get();
            if (!failure) return "";
            return tr.t("action.failed", { action: label(), reason: reasonOf(tr, failure) });
        }),
    );
}
