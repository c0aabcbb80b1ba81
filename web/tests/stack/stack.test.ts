// The page against everything: the daemon, its devices, the object store and orvane-redfish, as script/web
// --stack starts them. Where a change arrives is looked up where it belongs, not on the page.
import { execFileSync } from "node:child_process";
import { appendFileSync, existsSync, readFileSync } from "node:fs";
import { join } from "node:path";
import type { Page } from "playwright-core";
import { afterAll, beforeAll, expect, test } from "vitest";
import { complaintsOf, openBrowser, signIn, until, type OpenedBrowser } from "../support/browser";

const kAddress = needed("ORVANE_REDFISH");
const kRun = needed("ORVANE_RUN");
const kBuilt = needed("ORVANE_BUILT");
const kPassword = readFileSync(join(kRun, "redfish/first-password"), "utf8").trim();

let first: OpenedBrowser;
let second: OpenedBrowser;
let ours: Page;
let theirs: Page;
const complaints: string[][] = [];

beforeAll(async () => {
    [first, second] = [await openBrowser(), await openBrowser()];
    [ours, theirs] = [await first.context.newPage(), await second.context.newPage()];
    complaints.push(complaintsOf(ours, kAddress), complaintsOf(theirs, kAddress));
});
afterAll(async () => {
    await first.close();
    await second.close();
});

function needed(name: string): string {
    const value = process.env[name];
    if (!value) throw new Error(`${name} is not set: these tests are run by script/web --stack`);
    return value;
}

// Asks script/web, and waits until it has done so.
async function order(word: "stop" | "kill" | "start"): Promise<void> {
    const file = join(kRun, "done");
    const size = () => (existsSync(file) ? readFileSync(file, "utf8").length : 0);
    const before = size();
    appendFileSync(join(kRun, "orders"), `${word}\n`);
    await until(`${word} of the daemon`, () => size() > before, 30_000);
}

const field = (page: Page, name: string) => page.locator(`[data-setting="${name}"]`);
const chip = (page: Page, name: string, text: string) =>
    field(page, name).locator(".chip", { hasText: text });
const orvanectl = (...words: string[]) =>
    execFileSync(join(kBuilt, "orvanectl"), words, { encoding: "utf8" });
const stored = (name: string) => orvanectl("get", "--json", name);
const backlight = () => Number(readFileSync(join(kRun, "backlight/brightness"), "utf8"));
const unit = () => readFileSync(join(kRun, "cooling-unit.state"), "utf8");

function report(what: string, value: string): void {
    process.stdout.write(`${what}: ${value}\n`);
}

test("a wrong password is refused", async () => {
    await signIn(ours, kAddress, "admin", "not this one");
    await ours.waitForSelector(".field-error:not(:empty)");
    expect(await ours.textContent(".field-error")).toBe("User name or password is wrong.");
});

test("a fresh unit greets with the set-up, which ends with the buzzer's silence", async () => {
    const marker = join(kRun, "view/tmp/buzzer.silence");
    appendFileSync(marker, "");
    const schema = ours.waitForResponse(/OrvaneWebGUI\.1\.0\.0\.json$/);
    await signIn(ours, kAddress, "admin", kPassword);
    expect((await schema).status()).toBe(200);
    await ours.waitForSelector(".wizard");
    for (let step = 1; step <= 4; step += 1) await ours.click('[data-action="next"]');
    await ours.waitForSelector(".card-display");
    expect(existsSync(marker)).toBe(false);
    expect(stored("InitialBoot")).toContain('"false"');
});

test("each control's change arrives where it belongs", async () => {
    await field(ours, "ScreenBrightness").locator("input").fill("2");
    await until("the backlight", () => backlight() === 73);
    await chip(ours, "MeasurementSystem", "Imperial").click();
    await until("the cooling unit", () => unit().includes("temperature-scale 0"));
    await field(ours, "RoomAverage").locator(".switch").click();
    await chip(ours, "DateFormat", "DD.MM.YYYY").click();
    await field(ours, "InactivityTimer").locator("select").selectOption("30 Minutes");
    await until("the store", () => stored("InactivityTimer").includes("30 Minutes"));
    const saving = () => ours.locator(".progress.saving").count();
    await until("all saved", async () => (await saving()) === 0);
    expect(stored("RoomAverage")).toContain('"true"');
    expect(stored("DateFormat")).toContain("DD.MM.YYYY");
    expect(await ours.locator(".field-error:not(:empty)").count()).toBe(0);
});

test("two browsers see each other's changes within a second", async () => {
    await signIn(theirs, kAddress, "admin", kPassword);
    for (const page of [ours, theirs]) await page.waitForSelector(".dot[data-live]");
    const took: number[] = [];
    for (const [from, to, level] of [
        [ours, theirs, "6"],
        [theirs, ours, "3"],
        [ours, theirs, "7"],
    ] as const) {
        await field(from, "ScreenBrightness").locator("input").fill(level);
        took.push(
            await until("the change in the other browser", async () => {
                return (await to.textContent(".level-text")) === `Level ${level} of 7`;
            }),
        );
        await from.waitForSelector('[data-setting="ScreenBrightness"] .progress.saved');
    }
    report("from one browser's control to the other's, ms", took.map(Math.round).join(", "));
    expect(Math.max(...took)).toBeLessThan(1000);
    const seen = await theirs.locator(".log li", { hasText: "Brightness" }).first().textContent();
    expect(seen).toContain("Someone else");
});

test("a change by orvanectl shows on both pages, theme and language among it", async () => {
    orvanectl("set", "Theme=light", "Language=Deutsch");
    for (const page of [ours, theirs]) {
        await page.waitForSelector('html[data-theme="light"][lang="de"]');
    }
    orvanectl("set", "Theme=dark", "Language=English");
    for (const page of [ours, theirs]) {
        await page.waitForSelector('html[data-theme="dark"][lang="en"]');
    }
});

test("a value that the service refuses is told at its control", async () => {
    // The page offers only what the schema allows, so the request is bent on its way.
    await ours.route("**/WebGUI", (route) =>
        route.request().method() === "PATCH"
            ? route.continue({ postData: JSON.stringify({ Theme: "blue" }) })
            : route.continue(),
    );
    await chip(ours, "Theme", "Light").click();
    const error = field(ours, "Theme").locator(".field-error");
    await error.locator("p").waitFor();
    expect(await error.textContent()).toContain("not one of");
    await ours.unroute("**/WebGUI");
    await error.locator("button").click();
    await ours.waitForSelector('html[data-theme="light"]');
});

test("the panel is turned off by its button", async () => {
    await ours.click('[data-action="turnOff"]');
    await ours.waitForSelector(".lcd-touch[data-dark]");
});

test.each([
    ["stop", "Dark"],
    ["kill", "Light"],
] as const)("a daemon after a %s is told, and found again by itself", async (how, theme) => {
    await order(how);
    const notice = ours.locator(".notice");
    const told = await until("the notice", () => notice.isVisible(), 30_000);
    report(`notice after ${how}`, (await notice.locator("h2").textContent()) ?? "");
    expect(await chip(ours, "Theme", theme).locator("input").isDisabled()).toBe(true);
    await order("start");
    const gone = async () => (await notice.count()) === 0;
    const back = await until("the end of the notice", gone, 30_000);
    report(`told and back, ms`, `${Math.round(told)}, ${Math.round(back)}`);
    await chip(ours, "Theme", theme).click();
    await theirs.waitForSelector(`html[data-theme="${theme.toLowerCase()}"]`, { timeout: 15_000 });
});

test("signing out ends the session, and neither page has complained", async () => {
    await ours.click("header .sign-out");
    await ours.waitForSelector("form");
    expect(complaints).toEqual([[], []]);
});
