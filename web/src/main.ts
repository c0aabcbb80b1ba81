// Starts the page, signed in or out, in the language and theme of the settings.
import { signedInView } from "./signed_in";
import { h, swap } from "./dom";
import { translator, type TextKey } from "./i18n/texts";
import { effect, signal } from "./reactive";
import { keepSession, keptSession, signOut, type Session } from "./redfish/session";
import { signInView } from "./views/sign_in";
import "./style.css";

const session = signal<Session | null>(keptSession());
// Of the settings, and kept for the next sign-in on this page; null before the first answer.
const language = signal<string | null>(null);
const theme = signal<string | null>(null);
const preferred = window.matchMedia("(prefers-color-scheme: light)");
const prefersLight = signal(preferred.matches);
preferred.addEventListener("change", () => prefersLight.set(preferred.matches));

const tr = translator(language);
let message: TextKey | null = null;
let lastUser = "";

effect(() => {
    const set = theme.get();
    const light = set === null ? prefersLight.get() : set === "light";
    document.documentElement.dataset["theme"] = light ? "light" : "dark";
});
effect(() => {
    document.documentElement.lang = tr.code.get();
    document.title = `${tr.t("brand.page")} – ${tr.t("brand.product")}`;
});

function leave(why: TextKey): void {
    const ending = session.peek();
    message = why;
    lastUser = ending?.user ?? "";
    keepSession(null);
    theme.set(null);
    session.set(null);
    if (ending && why === "signIn.bye") void signOut(ending);
}

const place = swap(h("div", { class: "place" }), session, (now) => {
    if (now) {
        return signedInView({ tr, session: now, language, theme, leave });
    }
    return signInView({
        tr,
        message,
        user: lastUser,
        onSession: (next) => {
            keepSession(next);
            session.set(next);
        },
    });
});
document.getElementById("page")?.append(place);
