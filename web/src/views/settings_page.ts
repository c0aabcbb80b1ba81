// The page after the sign-in: the panel, the settings by section, the log. A small screen shows one
// section at a time, chosen in the rail; a large one shows all.
import { h, freshId, swap } from "../dom";
import { settingLabel, valueLabel } from "../labels";
import { computed } from "../reactive";
import { panelPicture } from "../panel/picture";
import { isOn, kSections, type SectionName } from "../settings/catalogue";
import { guiReadyButton, turnOffButton } from "./actions";
import { brand } from "./brand";
import { isUp, wantedValue, type Context } from "./context";
import { eventLog } from "./event_log";
import { field } from "./field";
import { connectionBadge, notice } from "./notice";

type PageSection = "panel" | SectionName | "log";
const kPageSections: readonly PageSection[] = ["panel", ...kSections, "log"];

export function settingsPage(context: Context): HTMLElement {
    const { tr, resource, section } = context;
    const ready = computed(() => resource.values.get() !== null);
    return h(
        "div",
        { class: "frame", "data-section": section.get },
        h("a", { class: "skip", href: "#settings" }, () => tr.t("skip")),
        header(context),
        rail(context),
        h(
            "main",
            { id: "settings", tabindex: -1 },
            notice(context),
            swap(h("div", { class: "content" }), ready, (there) =>
                there
                    ? sections(context)
                    : h("p", { class: "loading" }, () => loadingText(context)),
            ),
        ),
    );
}

function loadingText(context: Context): string {
    const { tr, resource } = context;
    return resource.connection.get().kind === "connecting" ? tr.t("away.loading") : "";
}

function header(context: Context): HTMLElement {
    const { tr, user } = context;
    return h(
        "header",
        {},
        brand(tr),
        h("h1", {}, () => tr.t("brand.page")),
        connectionBadge(context),
        h("p", { class: "user" }, () => tr.t("signedInAs", { user })),
        signOutButton(context),
    );
}

function signOutButton({ tr, signOut }: Context): HTMLElement {
    return h("button", { type: "button", class: "quiet sign-out", "on:click": signOut }, () =>
        tr.t("signOut"),
    );
}

function rail(context: Context): HTMLElement {
    const { tr, section } = context;
    const items = kPageSections.map((name) =>
        h(
            "button",
            {
                type: "button",
                "aria-current": () => section.get() === name && "page",
                "on:click": () => section.set(name),
            },
            () => tr.t(`section.${name}`),
        ),
    );
    return h(
        "nav",
        { class: "rail", "aria-label": () => tr.t("section.nav") },
        items,
        connectionBadge(context),
    );
}

function card(
    { tr }: Context,
    name: PageSection,
    title: () => string,
    ...content: HTMLElement[]
): HTMLElement {
    const id = freshId("section");
    const heading = h("h2", { id }, name === "panel" ? () => tr.t("panel.title") : title);
    return h(
        "section",
        { class: `card card-${name}`, "data-name": name, "aria-labelledby": id },
        heading,
        ...content,
    );
}

function sections(context: Context): HTMLElement {
    const { tr } = context;
    const title = (name: PageSection) => () => tr.t(`section.${name}`);
    const panel = card(
        context,
        "panel",
        title("panel"),
        panelPicture(context),
        turnOffButton(context),
        h("p", { class: "hint sample" }, () => tr.t("panel.sample")),
    );
    const settings = kSections.map((name) =>
        card(
            context,
            name,
            title(name),
            fields(context, name),
            ...(name === "system" ? systemPart(context) : []),
        ),
    );
    const log = card(context, "log", title("log"), eventLog(context));
    return h(
        "div",
        { class: "columns" },
        h("div", { class: "column-side" }, panel, log),
        h("div", { class: "column-main" }, settings),
    );
}

function fields(context: Context, name: SectionName): HTMLElement {
    const place = h("div", { class: "fields" });
    return swap(place, context.resource.settings, (settings) => {
        const fragment = document.createDocumentFragment();
        for (const setting of settings) {
            if (setting.section === name) fragment.append(field(context, setting));
        }
        return fragment;
    });
}

// What has no field: the set-up, the report that the GUI is ready, and read-only facts.
function systemPart(context: Context): HTMLElement[] {
    const { tr, resource, user } = context;
    const due = () => isOn(wantedValue(context, "InitialBoot"));
    const setUp = h(
        "div",
        { class: "field field-action", "data-setting": "InitialBoot" },
        h(
            "div",
            { class: "field-head" },
            h("span", { class: "field-label" }, () => settingLabel(tr, "InitialBoot")),
            h("span", { class: "shown" }, () =>
                valueLabel(tr, "InitialBoot", wantedValue(context, "InitialBoot")),
            ),
        ),
        h(
            "button",
            {
                type: "button",
                class: "secondary",
                "data-action": "setUp",
                disabled: () => !isUp(context) || due(),
                "on:click": () => resource.changes.change("InitialBoot", "true"),
            },
            () => tr.t("action.setUp"),
        ),
        h("p", { class: "hint" }, () => tr.t("hint.InitialBoot")),
    );
    const guiReady = h(
        "div",
        { class: "field field-action" },
        h(
            "div",
            { class: "field-head" },
            h("span", { class: "field-label" }, () => tr.t("system.buzzer")),
        ),
        guiReadyButton(context),
        h("p", { class: "hint" }, () => tr.t("action.guiReady.hint")),
    );
    const facts = h("dl", { class: "facts" }, [
        ...fact(
            () => settingLabel(tr, "Name"),
            () => resource.values.get()?.get("Name") ?? "",
        ),
        ...fact(() => tr.t("info.resource"), resource.path.get),
        ...fact(
            () => tr.t("info.stream"),
            () => tr.t(resource.live.get() ? "log.live" : "log.polling"),
        ),
    ]);
    const leave = h(
        "div",
        { class: "leave" },
        h("p", {}, () => tr.t("signedInAs", { user })),
        signOutButton(context),
    );
    return [setUp, guiReady, facts, leave];
}

function fact(label: () => string, value: () => string): HTMLElement[] {
    return [h("dt", {}, label), h("dd", {}, value)];
}
