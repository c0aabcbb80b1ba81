// The resource against a server that answers only when a test lets it: readings beside a change.
import { afterEach, beforeEach, expect, test, vi } from "vitest";
import { WebGuiResource } from "../../src/resource";

const kResource = "/redfish/v1/WebGUI";
const kFixed: Record<string, object> = {
    "/redfish/v1/": { Managers: { "@odata.id": "/redfish/v1/Managers" } },
    "/redfish/v1/Managers": { Members: [{ "@odata.id": "/redfish/v1/Managers/1" }] },
    "/redfish/v1/Managers/1": { Oem: { WebGUI: { "@odata.id": kResource } } },
};

class HeldServer {
    settings = { Theme: "dark", Language: "English" };
    reads = 0;
    // Answers the PATCH under way; null before it has arrived.
    answerPatch: ((response: Response) => void) | null = null;

    readonly fetch = (path: string, { method }: RequestInit): Promise<Response> => {
        if (path !== kResource) return Promise.resolve(Response.json(kFixed[path] ?? {}));
        if (method === "PATCH") {
            return new Promise((resolve) => (this.answerPatch = resolve));
        }
        this.reads += 1;
        return Promise.resolve(this.document());
    };

    document(): Response {
        return Response.json({ "@odata.id": kResource, ...this.settings });
    }
}

let server: HeldServer;
let resource: WebGuiResource;

beforeEach(async () => {
    vi.useFakeTimers();
    server = new HeldServer();
    vi.stubGlobal("fetch", server.fetch);
    resource = new WebGuiResource(() => "token", {
        onSaved: () => undefined,
        onRejected: () => undefined,
        onSignedOut: () => undefined,
    });
    await resource.refresh();
    resource.changes.change("Theme", "light");
    await vi.advanceTimersByTimeAsync(200);
    expect(server.answerPatch).not.toBeNull();
});
afterEach(() => {
    resource.end();
    vi.unstubAllGlobals();
    vi.useRealTimers();
});

const kPollMs = 5_000;
const carol = { kind: "named", name: "carol" } as const;
const value = (name: string) => resource.values.peek()?.get(name);

test("a change that is not answered holds up readings for one poll at most", async () => {
    const before = server.reads;
    server.settings.Language = "Deutsch";
    const read = resource.refresh();
    await vi.advanceTimersByTimeAsync(1_000);
    expect(server.reads).toBe(before);
    await vi.advanceTimersByTimeAsync(kPollMs);
    expect(server.reads).toBe(before + 1);
    await read;
    expect(value("Language")).toBe("Deutsch");
});

test("an event that joins a waiting reading gives it its time and its author", async () => {
    const time = new Date("2026-01-02T03:04:05Z");
    void resource.refresh();
    server.settings.Language = "Deutsch";
    void resource.refresh(new Date("2026-01-02T03:04:04Z"), { kind: "named", name: "bob" });
    const read = resource.refresh(time, carol);
    await vi.advanceTimersByTimeAsync(kPollMs);
    await read;
    const changed = resource.log.entries.peek().filter(({ kind }) => kind === "changed");
    expect(changed).toMatchObject([{ time, who: carol, differences: [{ to: "Deutsch" }] }]);
});

test("an answer older than a reading made meanwhile does not stay", async () => {
    const read = resource.refresh();
    server.settings.Theme = "light";
    const older = server.document();
    server.settings.Language = "Deutsch";
    await vi.advanceTimersByTimeAsync(kPollMs);
    await read;
    expect(value("Language")).toBe("Deutsch");
    server.answerPatch?.(older);
    await resource.changes.settle();
    await vi.advanceTimersByTimeAsync(200);
    expect(value("Language")).toBe("Deutsch");
    expect(value("Theme")).toBe("light");
});
