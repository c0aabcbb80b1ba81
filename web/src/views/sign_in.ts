// The sign-in. The password goes into one request and is then cleared, whatever the result.
import { h, freshId } from "../dom";
import type { TextKey, Translator } from "../i18n/texts";
import { reasonOf } from "../labels";
import { signal } from "../reactive";
import { RequestFailure } from "../redfish/errors";
import { signIn, type Session } from "../redfish/session";
import { brand } from "./brand";

export interface SignInOptions {
    tr: Translator;
    message: TextKey | null; // why the page asks
    user: string; // of the previous session, to save typing
    onSession(session: Session): void;
}

export function signInView({ tr, message, user, onSession }: SignInOptions): HTMLElement {
    const busy = signal(false);
    const problem = signal<(() => string) | null>(null);
    const errorId = freshId("sign-in-error");
    const name = textField(() => tr.t("signIn.user"), errorId, problem.get, {
        type: "text",
        name: "username",
        autocomplete: "username",
        autocapitalize: "none",
        spellcheck: "false",
    });
    const password = textField(() => tr.t("signIn.password"), errorId, problem.get, {
        type: "password",
        name: "password",
        autocomplete: "current-password",
    });
    name.input.value = user;

    const submit = async () => {
        if (busy.peek()) return;
        const entered = { user: name.input.value.trim(), password: password.input.value };
        if (entered.user === "" || entered.password === "") {
            problem.set(() => tr.t("signIn.missing"));
            (entered.user === "" ? name : password).input.focus();
            return;
        }
        busy.set(true);
        problem.set(null);
        try {
            onSession(await signIn(entered.user, entered.password));
        } catch (error) {
            const failure =
                error instanceof RequestFailure ? error : new RequestFailure("failed", 0);
            problem.set(() => failureText(tr, failure));
            password.input.focus();
        } finally {
            password.input.value = "";
            busy.set(false);
        }
    };
    // The browser's own hints may be in another language than the page.
    const form = h(
        "form",
        {
            novalidate: true,
            "on:submit": (event: Event) => {
                event.preventDefault();
                void submit();
            },
        },
        name.element,
        password.element,
        h("p", { id: errorId, class: "field-error", role: "alert" }, () => problem.get()?.() ?? ""),
        h("button", { type: "submit", class: "primary", disabled: busy.get }, () =>
            tr.t(busy.get() ? "signIn.busy" : "signIn.submit"),
        ),
    );
    queueMicrotask(() => (user === "" ? name : password).input.focus());
    return h(
        "main",
        { class: "sign-in" },
        h(
            "div",
            { class: "sign-in-card" },
            brand(tr),
            h("h1", {}, () => tr.t("signIn.title")),
            h("p", { class: "hint", role: "status" }, () => tr.t(message ?? "signIn.intro")),
            form,
        ),
    );
}

function textField(
    label: () => string,
    errorId: string,
    problem: () => unknown,
    attributes: Record<string, string>,
): { element: HTMLElement; input: HTMLInputElement } {
    const id = freshId("input");
    const input = h("input", {
        id,
        ...attributes,
        "aria-describedby": errorId,
        "aria-invalid": () => problem() !== null && "true",
    });
    return {
        element: h("div", { class: "text-field" }, h("label", { for: id }, label), input),
        input,
    };
}

function failureText(tr: Translator, failure: RequestFailure): string {
    if (failure.kind === "signedOut") return tr.t("signIn.wrong");
    if (failure.kind === "unreachable") return tr.t("away.unreachable.title");
    const reason = reasonOf(tr, failure);
    return reason.charAt(0).toUpperCase() + reason.slice(1);
}
