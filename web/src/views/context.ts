// What every part of the signed-in page receives.
import type { Translator } from "../i18n/texts";
import type { Reading, Signal } from "../reactive";
import type { WebGuiResource } from "../resource";
import type { PanelState } from "../panel/panel_state";

export interface Context {
    tr: Translator;
    resource: WebGuiResource;
    user: string;
    now: Reading<number>; // ms, once a second
    panel: Signal<PanelState>;
    section: Signal<string>; // the one that a small screen shows
    // Announced by screen readers.
    announce(text: string): void;
    signOut(): void;
}

// A value as the server has it, or as just requested here; empty if unknown.
export function wantedValue({ resource }: Context, name: string): string {
    return resource.changes.wanted.get().get(name) ?? resource.values.get()?.get(name) ?? "";
}

export function isUp({ resource }: Context): boolean {
    return resource.connection.get().kind === "up";
}
