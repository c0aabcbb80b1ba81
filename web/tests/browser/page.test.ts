// The page in Chromium against the stand-in, each flow as a user goes through it. tests/stack covers
// what the real server can be made to do.
import { afterAll, afterEach, beforeAll, beforeEach, expect, test } from "vitest";
import type { Page } from "playwright-core";
import {
    kPanel,
    complaintsOf,
    openBrowser,
    signIn,
    until,
    type OpenedBrowser,
} from "../support/browser";
import { StandIn } from "../support/stand_in";

let browser: OpenedBrowser;
let server: StandIn;
let page: Page;
let complaints: string[];

beforeAll(async () => {
    browser = await openBrowser();
});
afterAll(() => browser.close());

beforeEach(async () => {
    server = new StandIn();
    await server.start();
    page = await browser.context.newPage();
    complaints = complaintsOf(page, server.address);
});
afterEach(async () => {
    await page.close();
    await server.stop();
    expect(complaints).toEqual([]);
});

const field = (name: string) => page.locator(`[data-setting="${name}"]`);
const chip = (name: string, text: string) => field(name).locator(".chip", { hasText: text });
const errorOf = (name: string) => field(name).locator(".field-error");
const opened = () => page.waitForSelector(".lcd");

async function start(user = "admin"): Promise<void> {
    await signIn(page, server.address, user);
    await opened();
}

test("a wrong password is told, kept nowhere, and the next try works", async () => {
    await signIn(page, server.address, "admin", "guess");
    await page.waitForSelector(".field-error:not(:empty)");
    expect(await page.inputValue('input[name="password"]')).toBe("");
    await page.fill('input[name="password"]', "secret");
    await page.keyboard.press("Enter");
    await opened();
    const kept = await page.evaluate(() =>
        JSON.stringify([{ ...sessionStorage }, { ...localStorage }]),
    );
    expect(kept).toContain("admin");
    expect(kept).not.toContain("secret");
    expect(kept).not.toContain("guess");
    expect(server.cookiesOrBasic).toBe(0);
});

test("empty fields are asked for without a request, where they are", async () => {
    await page.goto(server.address);
    await page.click('button[type="submit"]');
    await page.waitForSelector(".field-error:not(:empty)");
    expect(await page.evaluate(() => document.activeElement?.getAttribute("name"))).toBe(
        "username",
    );
    expect(server.sessions.size).toBe(0);
});

test("a reload keeps the session, signing out ends it at the server too", async () => {
    await start();
    await page.reload();
    await opened();
    expect(server.sessions.size).toBe(1);
    await page.click("header .sign-out");
    await page.waitForSelector("form");
    await until("the end of the session", () => server.sessions.size === 0);
    expect(await page.evaluate(() => sessionStorage.length)).toBe(0);
    await page.reload();
    await page.waitForSelector("form");
});

test("a session that has ended leads to the sign-in, with the name filled in", async () => {
    await start();
    server.sessions.clear();
    server.breakStreams();
    await page.waitForSelector("form");
    expect(await page.textContent('[role="status"]')).toMatch(/has ended/);
    expect(await page.inputValue('input[name="username"]')).toBe("admin");
});

test("every kind of control sends its value in the server's type", async () => {
    await start();
    await chip("BacklightOff", "2 min").click();
    await field("ScreenBrightness").locator("input").fill("3");
    await field("RoomAverage").locator(".switch").click();
    await field("ActiveAlarmScreensaver").locator(".switch").click();
    await field("InactivityTimer").locator("select").selectOption("30 Minutes");
    await chip("TimeFormat", "12 hours").click();
    const wanted = {
        BacklightOff: "Off After 2 Minutes",
        ScreenBrightness: 3,
        RoomAverage: false,
        ActiveAlarmScreensaver: "Disabled",
        InactivityTimer: "30 Minutes",
        TimeFormat: "12 Hours",
    };
    await until("the values", () =>
        Object.entries(wanted).every(([n, v]) => server.settings[n] === v),
    );
    expect(Object.assign({}, ...server.patches)).toEqual(wanted);
});

test("the schema is read, and its values are offered", async () => {
    const schema = page.waitForResponse(/OrvaneWebGUI\.1\.0\.0\.json$/);
    await start();
    expect((await schema).status()).toBe(200);
    // In the schema's order, which differs from that of the page's own offers.
    const units = await field("MeasurementSystem").locator(".chip").allTextContents();
    expect(units).toEqual(["Imperial (°F)", "Metric (°C)"]);
});

test("changes made while one is under way go out together", async () => {
    server.updateMs = 600;
    await start();
    await chip("Theme", "Light").click();
    await until("the first request", () => server.patches.length === 1);
    await chip("TimeFormat", "12 hours").click();
    await chip("DateFormat", "DD.MM.YYYY").click();
    await until("both requests", () => server.patches.length === 2);
    expect(server.patches[1]).toEqual({ TimeFormat: "12 Hours", DateFormat: "DD.MM.YYYY" });
    await until("all saved", async () => (await page.locator(".progress.saving").count()) === 0);
});

test("a change takes one PATCH, whose answer is shown, and one reading for its event", async () => {
    await page.clock.install(); // no reading but those of events
    await start();
    await page.waitForSelector(".dot[data-live]");
    const before = server.reads;
    for (const [count, name] of ["12 hours", "24 hours", "12 hours"].entries()) {
        await chip("TimeFormat", name).click();
        await page.clock.runFor(200);
        await until("the change", () => server.patches.length === count + 1);
        await until("the answer", async () => {
            await page.clock.runFor(10);
            return (await page.locator(".progress.saving").count()) === 0;
        });
    }
    await until("the reading after it", () => server.reads > before);
    expect(server.reads - before).toBeLessThanOrEqual(3);
});

test("the answer to a change is enough to show it, whatever becomes of readings", async () => {
    await start();
    server.readMs = 3_600_000;
    await chip("Theme", "Light").click();
    await page.waitForSelector('html[data-theme="light"]');
    await until("the announcement", async () => {
        return (await page.textContent(".spoken")) === "Theme: Light. Saved.";
    });
});

test("a server that answers a change without the resource is asked for it", async () => {
    server.whole = false;
    await start();
    await chip("Theme", "Light").click();
    await page.waitForSelector('html[data-theme="light"]');
});

test("a reading that was overtaken by a change brings no old value back", async () => {
    await start();
    await page.waitForSelector(".dot[data-live]");
    await page.evaluate(() => {
        const seen: (string | undefined)[] = [];
        Object.assign(window, { seen });
        new MutationObserver(() => seen.push(document.documentElement.dataset["theme"])).observe(
            document.documentElement,
            { attributes: true, attributeFilter: ["data-theme"] },
        );
    });
    server.readMs = 500;
    const before = server.reads;
    server.set({ TimeFormat: "12 Hours" });
    await until("the reading", () => server.reads > before);
    await chip("Theme", "Light").click();
    await page.waitForSelector('html[data-theme="light"]');
    await until("the other change", () =>
        chip("TimeFormat", "12 hours").locator("input").isChecked(),
    );
    expect(await page.evaluate(() => (window as unknown as { seen: string[] }).seen)).toEqual([
        "light",
    ]);
});

test("a refusal is shown at its control, the others are saved, and another try clears it", async () => {
    await start();
    server.refused.set("Theme", "PropertyValueNotInList");
    await chip("Theme", "Light").click();
    await chip("TimeFormat", "12 hours").click();
    await errorOf("Theme").locator("p").waitFor();
    expect(await errorOf("Theme").textContent()).toContain("not one of the allowed values");
    expect(await field("Theme").locator(".choice").getAttribute("aria-invalid")).toBe("true");
    await until("the other value", () => server.settings["TimeFormat"] === "12 Hours");
    expect(await chip("Theme", "Dark").locator("input").isChecked()).toBe(true);
    server.refused.clear();
    await errorOf("Theme").locator("button").click();
    await page.waitForSelector('html[data-theme="light"]');
    expect(await errorOf("Theme").textContent()).toBe("");
});

test("of a change that is refused in part, only the rest is announced as saved", async () => {
    await start();
    server.ignored.add("Theme");
    await page.evaluate(() => {
        for (const name of ["Theme", "TimeFormat"]) {
            const other = `[data-setting="${name}"] input:not(:checked)`;
            document.querySelector<HTMLInputElement>(other)?.click();
        }
    });
    await until("the announcement", async () =>
        /Saved/.test((await page.textContent(".spoken")) ?? ""),
    );
    expect(server.patches).toEqual([{ Theme: "light", TimeFormat: "12 Hours" }]);
    expect(await page.textContent(".spoken")).toBe("Time: 12 hours. Saved.");
    expect(await errorOf("Theme").textContent()).toContain("The provider refused a part");
    expect(await chip("Theme", "Dark").locator("input").isChecked()).toBe(true);
    expect(await errorOf("TimeFormat").textContent()).toBe("");
    server.ignored.clear();
    await errorOf("Theme").locator("button").click();
    await page.waitForSelector('html[data-theme="light"]');
});

test("theme, units, formats and language follow the settings at once", async () => {
    await start();
    expect(await page.getAttribute("html", "data-theme")).toBe("dark");
    expect(await page.textContent(".lcd-screen")).toContain("22.5 °C");
    server.set({
        Theme: "light",
        MeasurementSystem: "Imperial",
        TimeFormat: "12 Hours",
        Language: "Deutsch",
    });
    await page.waitForSelector('html[data-theme="light"][lang="de"]');
    const screen = await page.textContent(".lcd-screen");
    expect(screen).toContain("72,5 °F");
    expect(screen).toMatch(/\d:\d\d (AM|PM)/);
    expect(await page.title()).toBe("Einstellungen der Web-GUI – Kühleinheit");
});

test("the sign-in goes by the browser's theme and language", async () => {
    const other = await openBrowser({ light: true, locale: "fr-FR" });
    const theirs = await other.context.newPage();
    await theirs.goto(server.address);
    await theirs.waitForSelector('html[data-theme="light"][lang="fr"]');
    expect(await theirs.textContent("h1")).toBe("Connexion");
    await other.close();
});

test("two browsers see each other's changes within a second, and who made them", async () => {
    const other = await openBrowser();
    const theirs = await other.context.newPage();
    await start("alice");
    await signIn(theirs, server.address, "bob");
    await theirs.waitForSelector(".dot[data-live]");
    await page.waitForSelector(".dot[data-live]");
    await field("ScreenBrightness").locator("input").fill("2");
    const there = await until("the change over there", async () => {
        return (await theirs.textContent(".level-text")) === "Level 2 of 7";
    });
    expect(there).toBeLessThan(1000);
    await theirs.locator('[data-setting="Theme"] .chip', { hasText: "Light" }).click();
    const here = await until("the change over here", async () => {
        return (await page.getAttribute("html", "data-theme")) === "light";
    });
    expect(here).toBeLessThan(1000);
    const mine = await page.locator(".log li", { hasText: "Brightness" }).textContent();
    expect(mine).toMatch(/You.*5 → 2/);
    const seen = await page.locator(".log li", { hasText: "Theme" }).textContent();
    expect(seen).toMatch(/Someone else.*Dark → Light/);
    await other.close();
});

test("the panel is as bright as its level, dark when turned off, and lit by a touch", async () => {
    await start();
    const shade = () => page.getAttribute(".lcd-shade", "fill-opacity").then(Number);
    const at5 = await shade();
    await field("ScreenBrightness").locator("input").fill("1");
    await until("a darker picture", async () => (await shade()) > at5);
    await page.click('[data-action="turnOff"]');
    await page.waitForSelector(".lcd-touch[data-dark]");
    expect(server.actions).toEqual(["WebGUI.TurnOffLCD"]);
    expect(await shade()).toBe(1);
    await page.click(".lcd-touch");
    await page.waitForSelector(".lcd-touch:not([data-dark])");
});

test("the panel goes dark when its time-out is over, and tells how long until then", async () => {
    await page.clock.install();
    await start();
    await chip("BacklightOff", "1 min").click();
    await until("the request", async () => {
        await page.clock.runFor(200);
        return server.settings["BacklightOff"] === "Off After 1 Minute";
    });
    await until("the new time-out", async () => {
        await page.clock.runFor(200);
        return /Goes dark in/.test((await page.textContent(".lcd-rest")) ?? "");
    });
    await page.clock.runFor(50_000);
    expect(await page.getAttribute(".lcd-touch", "data-dark")).toBeNull();
    await page.clock.runFor(11_000);
    expect(await page.getAttribute(".lcd-touch", "data-dark")).toBe("");
});

test("an action that fails says so beside its button, and the panel stays lit", async () => {
    server.failingActions = true;
    await start();
    await page.click('[data-action="turnOff"]');
    await page.locator(".card-panel .action .field-error:not(:empty)").waitFor();
    expect(await page.getAttribute(".lcd-touch", "data-dark")).toBeNull();
});

test("the set-up ends with the mark and then the report that the GUI is ready", async () => {
    server.settings["InitialBoot"] = true;
    await signIn(page, server.address);
    await page.waitForSelector(".wizard");
    await chip("Language", "Español").click();
    await page.waitForSelector('html[lang="es"]');
    for (let step = 2; step <= 4; step += 1) {
        await page.click('[data-action="next"]');
        await page.waitForSelector(`.wizard-count:has-text("${step}")`);
        expect(await page.evaluate(() => document.activeElement?.tagName)).toBe("H2");
    }
    expect(server.actions).toEqual([]);
    await page.click('[data-action="next"]');
    await page.waitForSelector(".card-display");
    expect(server.settings["InitialBoot"]).toBe(false);
    expect(server.actions).toEqual(["WebGUI.GUIReady"]);
});

test("a report that fails leaves the set-up open, and only the report is repeated", async () => {
    server.settings["InitialBoot"] = true;
    server.failingActions = true;
    await signIn(page, server.address);
    for (let step = 1; step <= 4; step += 1) await page.click('[data-action="next"]');
    await page.locator(".wizard footer .field-error:not(:empty)").waitFor();
    const patches = server.patches.length;
    server.failingActions = false;
    await page.click('[data-action="next"]');
    await page.waitForSelector(".card-display");
    expect(server.actions).toEqual(["WebGUI.GUIReady"]);
    expect(server.patches.length).toBe(patches);
});

test("the set-up waits when it is put off, and starts again when it is asked for", async () => {
    server.settings["InitialBoot"] = true;
    await signIn(page, server.address);
    await page.click(".wizard footer .quiet");
    await page.waitForSelector(".card-display");
    server.set({ InitialBoot: false });
    await page.locator('[data-action="setUp"]:enabled').click();
    await page.waitForSelector(".wizard");
    server.set({ InitialBoot: false }); // someone else has finished it
    await page.waitForSelector(".card-display");
});

test.each([
    ["away", "not available at the moment"],
    ["silent", "does not answer in time"],
] as const)(
    "a provider that is %s is told, and its return ends the notice by itself",
    async (how, words) => {
        await start();
        server.provider = how;
        await page.waitForSelector(".notice");
        expect(await page.textContent(".notice")).toContain(words);
        expect(await chip("Theme", "Light").locator("input").isDisabled()).toBe(true);
        server.provider = "up";
        await until(
            "the end of the notice",
            async () => (await page.locator(".notice").count()) === 0,
        );
        expect(await chip("Theme", "Light").locator("input").isEnabled()).toBe(true);
        expect(await page.locator(".log li").allTextContents()).toHaveLength(3);
    },
);

test("a server that goes and comes back is told and found again, with what changed meanwhile", async () => {
    await start();
    await page.waitForSelector(".dot[data-live]");
    server.set({ TimeFormat: "12 Hours" });
    await until("the change", () => chip("TimeFormat", "12 hours").locator("input").isChecked());
    await server.stop();
    await page.waitForSelector(".notice");
    expect(await page.textContent(".notice h2")).toBe("The controller cannot be reached");
    server.set({ Theme: "light" });
    await server.start();
    await page.waitForSelector('html[data-theme="light"]');
    await until("the end of the notice", async () => (await page.locator(".notice").count()) === 0);
    await until("the stream", () => server.resumedFrom.length > 0);
    expect(server.resumedFrom[0]).toBe("1");
});

test("without an event stream the page still follows, only later", async () => {
    server.streams = false;
    await start();
    server.set({ Theme: "light" });
    await page.waitForSelector('html[data-theme="light"]');
    expect(await page.textContent(".log-mode")).toBe("Every few seconds");
});

test("a change that meets a provider going away is given back, with a way to try again", async () => {
    await start();
    server.provider = "away";
    await chip("Theme", "Light").click();
    await errorOf("Theme").locator("p").waitFor();
    expect(await errorOf("Theme").textContent()).toContain("the provider is away");
    server.provider = "up";
    await errorOf("Theme").locator("button:enabled").click();
    await until("the value", () => server.settings["Theme"] === "light");
});

test("everything can be reached and changed with the keyboard alone", async () => {
    await start();
    await page.evaluate(() => (document.activeElement as HTMLElement | null)?.blur());
    const reached: string[] = [];
    for (let presses = 0; presses < 40; presses += 1) {
        await page.keyboard.press("Tab");
        reached.push(
            await page.evaluate(() => {
                const at = document.activeElement;
                const setting = at?.closest("[data-setting]")?.getAttribute("data-setting");
                return setting ?? at?.getAttribute("class") ?? at?.tagName ?? "";
            }),
        );
    }
    expect(reached[0]).toBe("skip");
    for (const name of Object.keys(server.settings)) expect(reached, name).toContain(name);
    await field("ScreenBrightness").locator("input").focus();
    await page.keyboard.press("ArrowRight");
    await until("the brightness", () => server.settings["ScreenBrightness"] === 6);
    await chip("Theme", "Dark").locator("input").focus();
    await page.keyboard.press("ArrowRight");
    await until("the theme", () => server.settings["Theme"] === "light");
    await field("RoomAverage").locator("input").focus();
    await page.keyboard.press("Space");
    await until("the switch", () => server.settings["RoomAverage"] === false);
});

test("every control has a name and a role for a screen reader, in every state of the page", async () => {
    const nameless = async () => {
        const session = await page.context().newCDPSession(page);
        const { nodes } = await session.send("Accessibility.getFullAXTree");
        await session.detach();
        const controls = nodes.filter((node) =>
            (node.properties ?? []).some(({ name, value }) => name === "focusable" && value.value),
        );
        const plain = controls.filter((node) => !String(node.name?.value ?? "").trim());
        return plain
            .map((node) => String(node.role?.value))
            .filter((role) => !/^(RootWebArea|main)$/.test(role));
    };
    await page.goto(server.address);
    await page.waitForSelector("form");
    expect(await nameless()).toEqual([]);
    await start();
    expect(await nameless()).toEqual([]);
    await page.setViewportSize(kPanel);
    expect(await nameless()).toEqual([]);
    server.set({ InitialBoot: true });
    await page.waitForSelector(".wizard");
    expect(await nameless()).toEqual([]);
});

test("what is saved is said to a screen reader", async () => {
    await start();
    await chip("Theme", "Light").click();
    await until("the announcement", async () => {
        return (await page.textContent(".spoken")) === "Theme: Light. Saved.";
    });
});

test("on the panel itself the rail shows one section, and nothing is wider than the screen", async () => {
    await page.setViewportSize(kPanel);
    await start();
    expect(await page.isVisible(".card-display")).toBe(false);
    await page.click('.rail button:has-text("Display")');
    expect(await page.isVisible(".card-display")).toBe(true);
    expect(await page.isVisible(".card-panel")).toBe(false);
    await chip("BacklightOff", "5 min").click();
    await until("the value", () => server.settings["BacklightOff"] === "Off After 5 Minutes");
});

test("without input the page returns to its start section", async () => {
    await page.clock.install();
    server.settings["InactivityTimer"] = "1 Minute";
    await page.setViewportSize(kPanel);
    await start();
    await page.click('.rail button:has-text("Region")');
    await page.clock.runFor(55_000);
    expect(await page.isVisible(".card-region")).toBe(true);
    await page.clock.runFor(7_000);
    expect(await page.isVisible(".card-panel")).toBe(true);
});
