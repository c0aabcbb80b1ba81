// Finds the WebGUI resource, its actions, its schema and the event stream from the service root, by
// the links in the responses: only the root's path is fixed.
import type { RedfishClient } from "./client";
import { RequestFailure } from "./errors";
import { at, findMember, objectsIn, textAt, type Json } from "./json";
import { describeProperties, type PropertyDescription } from "./schema";

const kServiceRoot = "/redfish/v1/";
const kResourceName = "WebGUI";

export interface Service {
    resource: string; // path of the WebGUI resource
    events: string | null; // path of the event stream
    schema: Map<string, PropertyDescription>; // empty if the server describes nothing
}

// Throws RequestFailure, of kind "failed" when the server has no such resource.
export async function discover(client: RedfishClient): Promise<Service> {
    const root = (await client.get(kServiceRoot)).body;
    const resource = await findResource(client, root);
    return {
        resource,
        events: await findEventStream(client, root),
        schema: await readSchema(client, root),
    };
}

async function findResource(client: RedfishClient, root: Json | undefined): Promise<string> {
    const managers = (await client.get(required(link(root, "Managers")))).body;
    for (const member of objectsIn(at(managers, "Members"))) {
        const manager = (await client.get(required(textAt(member, "@odata.id")))).body;
        const found = textAt(
            findMember(at(manager, "Oem"), (name) => name === kResourceName),
            "@odata.id",
        );
        if (found) return found;
    }
    throw new RequestFailure("failed", 404);
}

async function findEventStream(
    client: RedfishClient,
    root: Json | undefined,
): Promise<string | null> {
    const service = link(root, "EventService");
    if (!service) return null;
    return textAt((await client.get(service)).body, "ServerSentEventUri") ?? null;
}

// None of this is needed to show the settings, so missing parts are tolerated.
async function readSchema(
    client: RedfishClient,
    root: Json | undefined,
): Promise<Map<string, PropertyDescription>> {
    try {
        const schemas = (await client.get(required(link(root, "JsonSchemas")))).body;
        for (const member of objectsIn(at(schemas, "Members"))) {
            const path = required(textAt(member, "@odata.id"));
            if (!/webgui/i.test(path)) continue;
            const file = (await client.get(path)).body;
            const uri = objectsIn(at(file, "Location"))
                .map((each) => textAt(each, "Uri"))
                .find((each) => each !== undefined);
            if (!uri) continue;
            // A schema has its own media type.
            const headers = { Accept: "application/schema+json, application/json" };
            const schema = (await client.get(uri, { headers })).body;
            const found = describeProperties(schema, kResourceName);
            if (found.size > 0) return found;
        }
    } catch (error) {
        if (!(error instanceof RequestFailure) || error.kind === "signedOut") throw error;
    }
    return new Map();
}

// Where an action of the resource is posted to, or null when the resource has none of that name.
export function actionTarget(resource: Json | undefined, action: string): string | null {
    const found = findMember(at(resource, "Actions"), (name) => name.endsWith(action));
    return textAt(found, "target") ?? null;
}

function link(root: Json | undefined, name: string): string | undefined {
    return textAt(root, name, "@odata.id");
}

function required(path: string | undefined): string {
    if (path === undefined) throw new RequestFailure("failed", 404);
    return path;
}
