// Labels of settings and values on the page, and texts for failures.
import { spanIn, isTwelveHours } from "./format";
import type { TextKey, Translator } from "./i18n/texts";
import type { Message, RequestFailure } from "./redfish/errors";
import { isOn } from "./settings/catalogue";

export function settingLabel({ t, has }: Translator, name: string): string {
    const key = `setting.${name}`;
    return has(key) ? t(key) : name;
}

export function hintOf({ t, has }: Translator, name: string): string {
    const key = `hint.${name}`;
    return has(key) ? t(key) : "";
}

export function valueLabel({ t, has }: Translator, name: string, value: string): string {
    if (value === "") return t("value.empty");
    if (name === "TimeFormat") return t(isTwelveHours(value) ? "value.clock12" : "value.clock24");
    if (name === "InitialBoot") return t(isOn(value) ? "value.due" : "value.done");
    if (/^(true|enabled)$/i.test(value)) return t("value.on");
    if (/^(false|disabled)$/i.test(value)) return t("value.off");
    // Names of languages and formats of dates read the same everywhere.
    if (name === "Language" || name === "DateFormat") return value;
    const span = spanIn(value);
    // Six of them stand side by side.
    if (span && name === "BacklightOff") return t("value.min", { count: span.count });
    if (span) return t(`value.${span.unit}`, { count: span.count });
    const key = `value.${value}`;
    return has(key) ? t(key) : value;
}

// What went wrong, in the page's language if it has a text for it.
export function reasonOf(
    { t, has }: Translator,
    failure: RequestFailure,
    message: Message | null = failure.messages[0] ?? null,
): string {
    const key = `error.${message?.id ?? ""}`;
    if (has(key)) return t(key);
    // The server's own text says more than "rejected".
    if ((failure.kind === "refused" || failure.kind === "failed") && message?.text) {
        return message.text;
    }
    return t(`error.${failure.kind}` satisfies TextKey);
}
