// Screenshots for people, in tests/.screens; each state is asserted too, so that a picture shows what
// its name says.
import { mkdirSync } from "node:fs";
import { join } from "node:path";
import { fileURLToPath } from "node:url";
import type { Page } from "playwright-core";
import { afterAll, beforeAll, expect, test } from "vitest";
import { kDesk, kPanel, openBrowser, signIn, until, type OpenedBrowser } from "../support/browser";
import { StandIn, type Settings } from "../support/stand_in";

const kFolder = fileURLToPath(new URL("../.screens", import.meta.url));
let browser: OpenedBrowser;

beforeAll(async () => {
    mkdirSync(kFolder, { recursive: true });
    browser = await openBrowser();
});
afterAll(() => browser.close());

async function on(
    settings: Settings,
    viewport: { width: number; height: number },
    body: (page: Page, server: StandIn) => Promise<void>,
): Promise<void> {
    const server = new StandIn(settings);
    await server.start();
    const page = await browser.context.newPage();
    await page.setViewportSize(viewport);
    try {
        await body(page, server);
    } finally {
        await page.close();
        await server.stop();
    }
}

const shoot = (page: Page, name: string) => page.screenshot({ path: join(kFolder, `${name}.png`) });

test("the sign-in, on a desk and on the panel", async () => {
    await on({}, kDesk, async (page, server) => {
        await page.goto(server.address);
        await page.waitForSelector("form");
        await shoot(page, "sign-in");
        await page.setViewportSize(kPanel);
        await shoot(page, "sign-in-panel");
        expect(await page.textContent("h1")).toBe("Sign in");
    });
});

test("the settings, dark and light, on a desk", async () => {
    await on({}, kDesk, async (page, server) => {
        await signIn(page, server.address);
        await page.waitForSelector(".log li");
        await page.click('.chip:has-text("3 min")');
        await until(
            "the change in the log",
            async () => (await page.locator(".log li").count()) === 2,
        );
        await shoot(page, "desk-dark");
        server.set({ Theme: "light", ScreenBrightness: 7, MeasurementSystem: "Imperial" });
        await page.waitForSelector('html[data-theme="light"]');
        await page.waitForTimeout(400);
        await shoot(page, "desk-light");
        await page.screenshot({ path: join(kFolder, "desk-light-full.png"), fullPage: true });
    });
});

test("every section on the panel itself", async () => {
    await on({}, kPanel, async (page, server) => {
        await signIn(page, server.address);
        for (const section of [
            "Panel",
            "Display",
            "Region",
            "Home screen",
            "System",
            "Event log",
        ]) {
            await page.click(`.rail button:has-text("${section}")`);
            await shoot(page, `panel-${section.toLowerCase().replace(" ", "-")}`);
            const wide = await page.evaluate(() => document.documentElement.scrollWidth);
            expect(wide).toBeLessThanOrEqual(kPanel.width);
        }
    });
});

test("the set-up, on a desk and on the panel", async () => {
    await on({ InitialBoot: true }, kDesk, async (page, server) => {
        await signIn(page, server.address);
        for (const step of ["language", "region", "display", "finish"]) {
            await page.waitForSelector(".wizard-step h2");
            await shoot(page, `set-up-${step}`);
            await page.setViewportSize(kPanel);
            await shoot(page, `set-up-${step}-panel`);
            await page.setViewportSize(kDesk);
            if (step !== "finish") await page.click('[data-action="next"]');
        }
        expect(await page.textContent(".wizard-count")).toBe("Step 4 of 4");
    });
});

test("a refused value, and a provider that is away", async () => {
    await on({}, kDesk, async (page, server) => {
        server.refused.set("Theme", "PropertyValueNotInList");
        await signIn(page, server.address);
        await page.click('.chip:has-text("Light")');
        await page.waitForSelector(".field-error:not(:empty)");
        await shoot(page, "refused");
        server.provider = "away";
        await page.waitForSelector(".notice");
        await shoot(page, "away");
        await page.setViewportSize(kPanel);
        await shoot(page, "away-panel");
        expect(await page.isVisible(".notice")).toBe(true);
    });
});

test("the other languages", async () => {
    for (const language of ["Deutsch", "Français", "Español"]) {
        await on({ Language: language, RoomAverage: false }, kDesk, async (page, server) => {
            await signIn(page, server.address);
            await page.waitForSelector(".lcd");
            await page.click('[data-action="turnOff"]');
            await page.waitForSelector(".lcd-touch[data-dark]");
            await page.waitForTimeout(400);
            await shoot(page, `language-${language.slice(0, 2).toLowerCase()}`);
            await page.setViewportSize(kPanel);
            await page.click(".lcd-touch");
            await page.waitForTimeout(400);
            await shoot(page, `language-${language.slice(0, 2).toLowerCase()}-panel`);
            expect(await page.getAttribute("html", "lang")).toMatch(/^(de|fr|es)$/);
        });
    }
});
