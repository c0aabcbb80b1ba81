// The product's name with its logo, a brightness ladder.
import { h, s } from "../dom";
import type { Translator } from "../i18n/texts";

export function brand({ t }: Translator): HTMLElement {
    return h(
        "p",
        { class: "brand" },
        s(
            "svg",
            { class: "mark", viewBox: "0 0 26 18", "aria-hidden": "true", focusable: "false" },
            s("path", { class: "mark-on", d: "M2 16v-3M7 16v-6M12 16v-9" }),
            s("path", { class: "mark-off", d: "M17 16v-11.5M22 16v-14" }),
        ),
        "Orvane ",
        h("span", {}, () => t("brand.product")),
    );
}
