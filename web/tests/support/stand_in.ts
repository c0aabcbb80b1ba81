// A stand-in for the Redfish server, for what the real one cannot do on demand: a provider that is away
// or slow, an offered value that is rejected, a broken stream. Serves the built page with the strictest
// content security policy, and as much Redfish as the page needs.
import { randomUUID } from "node:crypto";
import { readFile } from "node:fs/promises";
import { createServer, type IncomingMessage, type Server, type ServerResponse } from "node:http";
import type { AddressInfo } from "node:net";
import { extname, join } from "node:path";
import { setTimeout as sleep } from "node:timers/promises";
import { fileURLToPath } from "node:url";
import { schema } from "./schema";

const kDist = fileURLToPath(new URL("../../dist", import.meta.url));
const kResource = "/redfish/v1/Managers/Controller/Oem/Orvane/WebGUI";
const kPolicy = [
    "default-src 'none'",
    "script-src 'self'",
    "style-src 'self'",
    "img-src 'self'",
    "connect-src 'self'",
    "base-uri 'none'",
    "form-action 'none'",
    "frame-ancestors 'none'",
    "require-trusted-types-for 'script'",
    "trusted-types 'none'",
].join("; ");
const kTypes: Record<string, string> = {
    ".html": "text/html; charset=utf-8",
    ".js": "text/javascript",
    ".css": "text/css",
    ".svg": "image/svg+xml",
};

export type Settings = Record<string, string | number | boolean>;

export const kSettings: Settings = {
    ActiveAlarmScreensaver: "Enabled",
    BacklightOff: "Never",
    DateFormat: "YYYY-MM-DD",
    HiLoPeriod: "24 Hours",
    InactivityTimer: "10 Minutes",
    InitialBoot: false,
    Language: "English",
    MeasurementSystem: "Metric",
    RoomAverage: true,
    ScreenBrightness: 5,
    Theme: "dark",
    TimeFormat: "24 Hours",
};

interface ServerEvent {
    id: number;
    text: string;
}

export class StandIn {
    settings: Settings;
    // Controls.
    provider: "up" | "away" | "silent" = "up";
    updateMs = 20; // that an update takes
    readMs = 0; // delay of a GET's response, which is made at once
    whole = true; // false: a PATCH is answered without the resource
    refused = new Map<string, string>(); // property to the name of a message
    readonly ignored = new Set<string>(); // properties that a PATCH of more leaves as they are
    failingActions = false;
    streams = true; // false: none can be opened
    // Observed.
    readonly patches: Settings[] = [];
    reads = 0; // of the resource
    readonly actions: string[] = [];
    readonly resumedFrom: string[] = [];
    readonly sessions = new Map<string, string>(); // token to user
    cookiesOrBasic = 0; // requests with credentials other than the token

    private server: Server | null = null;
    private port = 0;
    private readonly open = new Set<ServerResponse>();
    private readonly events: ServerEvent[] = [];
    private version = 1;

    constructor(settings: Settings = {}) {
        this.settings = { ...kSettings, ...settings };
    }

    get address(): string {
        return `http://127.0.0.1:${this.port}`;
    }

    // Again after stop(): on the same port, so that an open page finds it.
    async start(): Promise<void> {
        const server = createServer((request, response) => {
            this.answer(request, response).catch(() => response.destroy());
        });
        this.server = server;
        await new Promise<void>((resolve, reject) => {
            server.once("error", reject);
            server.listen(this.port, "127.0.0.1", resolve);
        });
        this.port = (server.address() as AddressInfo).port;
    }

    async stop(): Promise<void> {
        const server = this.server;
        this.server = null;
        if (!server) return;
        const closed = new Promise((resolve) => server.close(resolve));
        server.closeAllConnections();
        await closed;
    }

    breakStreams(): void {
        for (const each of this.open) each.destroy();
    }

    // A change made by someone else.
    set(values: Settings): void {
        Object.assign(this.settings, values);
        this.version += 1;
        const id = this.events.length + 1;
        const record = {
            EventType: "ResourceUpdated",
            EventId: String(id),
            EventTimestamp: new Date().toISOString(),
            MessageId: "Orvane.1.0.Msg000",
            MessageArgs: ["WebGUI00"],
            OriginOfCondition: { "@odata.id": kResource },
        };
        const data = JSON.stringify({ Id: String(id), Name: "Event", Events: [record] });
        const event = { id, text: `id: ${id}\ndata: ${data}\n\n` };
        this.events.push(event);
        for (const each of this.open) each.write(event.text);
    }

    private async answer(request: IncomingMessage, response: ServerResponse): Promise<void> {
        const path = new URL(request.url ?? "/", this.address).pathname;
        response.setHeader("Content-Security-Policy", kPolicy);
        response.setHeader("X-Content-Type-Options", "nosniff");
        if (!path.startsWith("/redfish")) return this.file(path, response);
        if (request.headers.cookie || request.headers.authorization) this.cookiesOrBasic += 1;
        const body = await bodyOf(request);
        if (path === "/redfish/v1/") return send(response, 200, root());
        if (path.endsWith("/Sessions") && request.method === "POST") {
            return this.signIn(body, response);
        }
        const token = String(request.headers["x-auth-token"] ?? "");
        if (!this.sessions.has(token)) return fail(response, 401, "NoValidSession");
        if (path.includes("/Sessions/")) {
            this.sessions.delete(token);
            return send(response, 204);
        }
        if (path === "/redfish/v1/EventService/SSE") return this.stream(request, response);
        if (path.startsWith(kResource)) return this.resource(path, request, body, response);
        const accept = String(request.headers.accept);
        if (path.endsWith(".json") && !accept.includes("application/schema+json")) {
            return fail(response, 406, "NotAcceptable");
        }
        const fixed = kFixed[path];
        return fixed ? send(response, 200, fixed) : fail(response, 404, "ResourceMissingAtURI");
    }

    private async file(path: string, response: ServerResponse): Promise<void> {
        const name = path === "/" ? "index.html" : path.slice(1);
        try {
            const content = await readFile(join(kDist, name));
            response.writeHead(200, { "Content-Type": kTypes[extname(name)] ?? "text/plain" });
            response.end(content);
        } catch {
            response.writeHead(404).end();
        }
    }

    private signIn(body: Settings, response: ServerResponse): void {
        if (body["Password"] !== "secret") return fail(response, 401, "ResourceAtUriUnauthorized");
        const token = randomUUID();
        const user = String(body["UserName"]);
        this.sessions.set(token, user);
        const path = `/redfish/v1/SessionService/Sessions/${this.sessions.size}`;
        response.setHeader("X-Auth-Token", token);
        response.setHeader("Location", path);
        send(response, 201, { "@odata.id": path, UserName: user });
    }

    private stream(request: IncomingMessage, response: ServerResponse): void {
        if (!this.streams) return fail(response, 503, "EventSubscriptionLimitExceeded");
        const last = request.headers["last-event-id"];
        if (last !== undefined) this.resumedFrom.push(String(last));
        response.writeHead(200, { "Content-Type": "text/event-stream" });
        response.write(": open\n\n");
        for (const event of this.events) {
            if (last !== undefined && event.id > Number(last)) response.write(event.text);
        }
        this.open.add(response);
        response.on("close", () => this.open.delete(response));
    }

    private async resource(
        path: string,
        request: IncomingMessage,
        body: Settings,
        response: ServerResponse,
    ): Promise<void> {
        if (this.provider === "silent") return fail(response, 504, "OperationTimeout");
        if (this.provider === "away") {
            response.setHeader("Retry-After", "1");
            return fail(response, 503, "ServiceTemporarilyUnavailable");
        }
        if (request.method === "POST") {
            if (this.failingActions) return fail(response, 500, "InternalError");
            this.actions.push(path.split("/").pop() ?? "");
            return send(response, 204);
        }
        if (request.method === "PATCH") {
            this.patches.push(body);
            const problems = Object.keys(body).filter((name) => this.refused.has(name));
            if (problems.length > 0) return this.refuse(problems, body, response);
            await sleep(this.updateMs);
            const accepted = Object.entries(body).filter(([name]) => !this.ignored.has(name));
            this.set(Object.fromEntries(accepted));
            if (accepted.length < Object.keys(body).length) {
                return send(response, 200, { ...this.document(), ...kPartlyRefused });
            }
        }
        const etag = `"${this.version}"`;
        const document = this.document();
        if (request.method === "PATCH" && !this.whole) return send(response, 204);
        if (request.method === "GET") {
            this.reads += 1;
            await sleep(this.readMs, undefined, { ref: false });
        }
        response.setHeader("ETag", etag);
        if (request.headers["if-none-match"] === etag) return send(response, 304);
        return send(response, 200, document);
    }

    private refuse(names: string[], body: Settings, response: ServerResponse): void {
        const messages = names.map((name) => ({
            MessageId: `Orvane.1.0.${this.refused.get(name) ?? ""}`,
            Message: `The value ${String(body[name])} of ${name} is refused.`,
            MessageArgs: [String(body[name]), name],
            RelatedProperties: [`#/${name}`],
        }));
        send(response, 400, {
            error: { code: "x", message: "x", "@Message.ExtendedInfo": messages },
        });
    }

    private document(): object {
        const actions = `${kResource}/Actions`;
        return {
            "@odata.id": kResource,
            "@odata.type": "#OrvaneWebGUI.1.0.0.WebGUI",
            Id: "WebGUI",
            Name: "Zolan CMS Web GUI Settings",
            ...this.settings,
            Actions: {
                "#WebGUI.TurnOffLCD": { target: `${actions}/WebGUI.TurnOffLCD` },
                "#WebGUI.GUIReady": { target: `${actions}/WebGUI.GUIReady` },
            },
        };
    }
}

// Names no property, as the service's does not.
const kPartlyRefused = {
    "@Message.ExtendedInfo": [
        {
            MessageId: "Orvane.1.0.ActionNotSupported",
            Message: "The provider refused a part of the change.",
            MessageArgs: [],
        },
    ],
};

const link = (path: string) => ({ "@odata.id": `/redfish/v1/${path}` });

function root(): object {
    return {
        Managers: link("Managers"),
        EventService: link("EventService"),
        JsonSchemas: link("JsonSchemas"),
    };
}

const kSchemaFile = "/redfish/v1/JsonSchemas/OrvaneWebGUI.1.0.0";
const kFixed: Record<string, object> = {
    "/redfish/v1/Managers": { Members: [link("Managers/Controller")] },
    "/redfish/v1/Managers/Controller": {
        Oem: { Orvane: { WebGUI: { "@odata.id": kResource } } },
    },
    "/redfish/v1/EventService": { ServerSentEventUri: "/redfish/v1/EventService/SSE" },
    "/redfish/v1/JsonSchemas": { Members: [{ "@odata.id": kSchemaFile }] },
    [kSchemaFile]: {
        Location: [{ Language: "en", Uri: `${kSchemaFile}/OrvaneWebGUI.1.0.0.json` }],
    },
    [`${kSchemaFile}/OrvaneWebGUI.1.0.0.json`]: schema,
};

async function bodyOf(request: IncomingMessage): Promise<Settings> {
    let text = "";
    for await (const chunk of request) text += String(chunk);
    return text === "" ? {} : (JSON.parse(text) as Settings);
}

function send(response: ServerResponse, status: number, body?: object): void {
    if (body === undefined) {
        response.writeHead(status).end();
        return;
    }
    response.writeHead(status, { "Content-Type": "application/json" });
    response.end(JSON.stringify(body));
}

function fail(response: ServerResponse, status: number, message: string): void {
    const info = [{ MessageId: `Orvane.1.0.${message}`, Message: `${message}.`, MessageArgs: [] }];
    const error = { code: `Orvane.1.0.${message}`, message, "@Message.ExtendedInfo": info };
    send(response, status, { error });
}
