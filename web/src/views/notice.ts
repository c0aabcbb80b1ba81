// Whether the settings are available: a short word beside the page's name, and a notice that explains
// while they are not.
import { h, swap } from "../dom";
import { formatTime } from "../format";
import { computed } from "../reactive";
import type { Connection } from "../resource";
import { wantedValue, type Context } from "./context";

export function connectionBadge({ tr, resource }: Context): HTMLElement {
    const kind = () => resource.connection.get().kind;
    return h(
        "p",
        { class: "badge", "data-kind": kind },
        h("span", { class: "dot", "aria-hidden": "true" }),
        h("span", { class: "badge-text" }, () => tr.t(`connection.${kind()}`)),
    );
}

// Always present, so that screen readers know it; empty while all is well.
export function notice(context: Context): HTMLElement {
    const shown = computed(() => {
        const connection = context.resource.connection.get();
        return "since" in connection ? connection : null;
    });
    const place = h("div", { class: "notice-place", role: "alert" });
    return swap(place, shown, (away) => (away ? explain(context, away) : null));
}

type Away = Extract<Connection, { since: Date }>;

function explain(context: Context, { kind, since, message }: Away): HTMLElement {
    const { tr } = context;
    return h(
        "div",
        { class: "notice" },
        h("h2", {}, () => tr.t(`away.${kind}.title`)),
        h("p", {}, () => tr.t(`away.${kind}.text`, { message })),
        h("p", { class: "notice-since" }, () => {
            const time = formatTime(since, wantedValue(context, "TimeFormat"), true);
            return tr.t("away.since", { time });
        }),
    );
}
