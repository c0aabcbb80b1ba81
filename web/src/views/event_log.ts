// The event log: what changed, when and by whom, as it happens.
import { h, swap } from "../dom";
import { formatDate, formatTime } from "../format";
import { settingLabel, valueLabel } from "../labels";
import type { LogEntry, Who } from "../log";
import { wantedValue, type Context } from "./context";

export function eventLog(context: Context): HTMLElement {
    const { tr, resource } = context;
    const list = h("ol", { class: "log", role: "log", "aria-label": () => tr.t("section.log") });
    swap(list, resource.log.entries, (entries) => {
        const fragment = document.createDocumentFragment();
        for (const entry of entries) fragment.append(line(context, entry));
        return fragment;
    });
    return h(
        "div",
        { class: "log-frame" },
        h(
            "p",
            { class: "log-mode" },
            h("span", { class: "dot", "data-live": resource.live.get, "aria-hidden": "true" }),
            () => tr.t(resource.live.get() ? "log.live" : "log.polling"),
        ),
        list,
    );
}

function line(context: Context, entry: LogEntry): HTMLElement {
    const { tr } = context;
    const time = () => {
        const date = formatDate(entry.time, wantedValue(context, "DateFormat"));
        return `${date} ${formatTime(entry.time, wantedValue(context, "TimeFormat"), true)}`;
    };
    return h(
        "li",
        { class: `log-${entry.kind}` },
        h("time", { datetime: entry.time.toISOString() }, time),
        "who" in entry ? h("span", { class: "log-who" }, () => name(context, entry.who)) : null,
        h(
            "span",
            { class: "log-what" },
            ...what(context, entry).map((text) => h("span", {}, text)),
        ),
        entry.kind === "action" ? h("span", { class: "log-who" }, () => tr.t("log.you")) : null,
    );
}

function name({ tr, user }: Context, who: Who): string {
    if (who.kind === "named") return who.name === user ? tr.t("log.you") : who.name;
    return tr.t(who.kind === "you" ? "log.you" : "log.other");
}

function what({ tr }: Context, entry: LogEntry): (() => string)[] {
    switch (entry.kind) {
        case "opened":
            return [() => tr.t("log.opened")];
        case "changed":
            return entry.differences.map((each) => () => {
                return tr.t("log.changed", {
                    setting: settingLabel(tr, each.name),
                    from: valueLabel(tr, each.name, each.from),
                    to: valueLabel(tr, each.name, each.to),
                });
            });
        case "rewritten":
            return [() => tr.t("log.rewritten")];
        case "action":
            return [() => tr.t("action.done", { action: tr.t(`action.${entry.action}`) })];
        case "away":
            return [() => tr.t("log.away", { reason: tr.t(`error.${entry.reason}`) })];
        case "back":
            return [() => tr.t("log.back")];
    }
}
