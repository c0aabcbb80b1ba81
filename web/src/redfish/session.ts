// Signing in and out. The token lives as long as the tab, so that a reload does not ask again; the
// password is never stored.
import { RedfishClient } from "./client";
import { RequestFailure } from "./errors";
import { isObject, textAt } from "./json";

const kSessions = "/redfish/v1/SessionService/Sessions";
const kStorageKey = "orvane.session";

export interface Session {
    token: string;
    path: string; // of the session resource; empty if the server did not send it
    user: string;
}

// Throws RequestFailure; "signedOut" when the account was not accepted.
export async function signIn(user: string, password: string): Promise<Session> {
    const client = new RedfishClient(() => null);
    const body = { UserName: user, Password: password };
    const answer = await client.request("POST", kSessions, { body });
    const token = answer.headers.get("X-Auth-Token");
    if (!token) throw new RequestFailure("failed", answer.status);
    const path = textAt(answer.body, "@odata.id") ?? pathOf(answer.headers.get("Location"));
    return { token, path, user: textAt(answer.body, "UserName") ?? user };
}

// Ends the session at the server too. If that is unreachable, its own time-out does.
export async function signOut(session: Session): Promise<void> {
    if (session.path === "") return;
    try {
        await new RedfishClient(() => session.token).request("DELETE", session.path);
    } catch (error) {
        if (!(error instanceof RequestFailure)) throw error;
    }
}

export function keepSession(session: Session | null): void {
    if (session) sessionStorage.setItem(kStorageKey, JSON.stringify(session));
    else sessionStorage.removeItem(kStorageKey);
}

export function keptSession(): Session | null {
    try {
        const kept: unknown = JSON.parse(sessionStorage.getItem(kStorageKey) ?? "null");
        const token = textAt(kept, "token");
        if (!isObject(kept) || !token) return null;
        return { token, path: textAt(kept, "path") ?? "", user: textAt(kept, "user") ?? "" };
    } catch {
        return null;
    }
}

function pathOf(location: string | null): string {
    if (!location) return "";
    try {
        return new URL(location, window.location.href).pathname;
    } catch {
        return "";
    }
}
