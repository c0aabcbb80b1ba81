// What lives as long as a session: the resource, the clock, the picture's state, and whether settings
// or set-up are shown.
import { h, swap } from "./dom";
import type { TextKey, Translator } from "./i18n/texts";
import { settingLabel, valueLabel } from "./labels";
import { newPanel, withBacklightOff } from "./panel/panel_state";
import { isInactive } from "./panel/picture";
import { computed, effect, onEnd, signal, type Reading, type Signal } from "./reactive";
import type { Session } from "./redfish/session";
import { WebGuiResource } from "./resource";
import { isOn } from "./settings/catalogue";
import type { Context } from "./views/context";
import { settingsPage } from "./views/settings_page";
import { wizard } from "./views/wizard";

const kTickMs = 1_000;
const kStartSection = "panel";

export interface SignedInOptions {
    tr: Translator;
    session: Session;
    language: Signal<string | null>;
    theme: Signal<string | null>;
    leave(why: TextKey): void;
}

export function signedInView({
    tr,
    session,
    language,
    theme,
    leave,
}: SignedInOptions): HTMLElement {
    const said = signal("");
    const resource = new WebGuiResource(() => session.token, {
        onSignedOut: () => leave("signIn.ended"),
        onSaved: (values) => {
            const texts = [...values].map(([name, value]) =>
                tr.t("change.announce", {
                    setting: settingLabel(tr, name),
                    value: valueLabel(tr, name, value),
                }),
            );
            said.set(texts.join(" "));
        },
        onRejected: () => undefined, // the field itself is an alert
    });
    const context: Context = {
        tr,
        resource,
        user: session.user,
        now: clock(),
        panel: signal(newPanel("Never", Date.now())),
        section: signal(kStartSection),
        announce: (text) => said.set(text),
        signOut: () => leave("signIn.bye"),
    };
    effect(() => {
        const values = resource.values.get();
        if (!values) return;
        language.set(values.get("Language") ?? null);
        theme.set(values.get("Theme") ?? null);
        const off = values.get("BacklightOff") ?? "";
        context.panel.update((panel) => withBacklightOff(panel, off, Date.now()));
    });
    returnToStart(context);
    whenShown(() => resource.wake());
    resource.start();
    onEnd(() => resource.end());

    return h(
        "div",
        { class: "signed-in" },
        swap(h("div", { class: "place" }), setUpShown(context), ({ set, later, finishing }) =>
            set
                ? wizard(context, {
                      onLater: () => {
                          finishing.set(false);
                          later.set(true);
                      },
                      onFinish: () => finishing.set(true),
                      onFinished: () => finishing.set(false),
                  })
                : settingsPage(context),
        ),
        h("p", { class: "spoken", role: "status" }, said.get),
    );
}

interface SetUp {
    set: boolean;
    later: Signal<boolean>;
    finishing: Signal<boolean>;
}

// The set-up is shown while it is due; "Later" hides it until it is started again.
function setUpShown({ resource }: Context): Reading<SetUp> {
    const later = signal(false);
    const finishing = signal(false);
    const due = computed(() => isOn(resource.values.get()?.get("InitialBoot") ?? ""));
    effect(() => {
        if (!due.get() && !finishing.get()) later.set(false);
    });
    const shown = computed(() => (due.get() || finishing.get()) && !later.get());
    const whenShown: SetUp = { set: true, later, finishing };
    const whenNot: SetUp = { ...whenShown, set: false };
    return computed(() => (shown.get() ? whenShown : whenNot));
}

function clock(): Signal<number> {
    const now = signal(Date.now());
    const timer = setInterval(() => now.set(Date.now()), kTickMs);
    onEnd(() => clearInterval(timer));
    return now;
}

// Returns to the start page, as the panel does, when the inactivity timer runs out.
function returnToStart({ resource, section, now }: Context): void {
    let lastInput = Date.now();
    const touch = () => (lastInput = Date.now());
    for (const kind of ["pointerdown", "keydown"]) window.addEventListener(kind, touch);
    onEnd(() => {
        for (const kind of ["pointerdown", "keydown"]) window.removeEventListener(kind, touch);
    });
    effect(() => {
        const timer = resource.values.get()?.get("InactivityTimer") ?? "";
        if (isInactive(timer, lastInput, now.get())) section.set(kStartSection);
    });
}

// A browser suspends hidden tabs; what they show on return is stale.
function whenShown(action: () => void): void {
    const check = () => {
        if (!document.hidden) action();
    };
    document.addEventListener("visibilitychange", check);
    window.addEventListener("online", check);
    onEnd(() => {
        document.removeEventListener("visibilitychange", check);
        window.removeEventListener("online", check);
    });
}
