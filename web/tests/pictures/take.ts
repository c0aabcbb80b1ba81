// Makes one picture; started by script/pictures with its name.
import { execFileSync } from "node:child_process";
import { readFileSync } from "node:fs";
import { join } from "node:path";
import type { Page } from "playwright-core";
import { openBrowser, signIn, until } from "../support/browser";
import { chapters, linesOf, type Line } from "./terminal";

const kPage = { width: 1280, height: 860 };
const kColumns = 110;
const kCheckout = "/home/me/webgui";
const kChapters = ["One change of several settings", "Panel, cooling unit and database after"];

function needed(name: string): string {
    const value = process.env[name];
    if (!value) throw new Error(`${name} is not set: pictures are made by script/pictures`);
    return value;
}

// Signed in and past the set-up, with a few changes in the log.
async function showPage(page: Page): Promise<void> {
    const run = needed("ORVANE_RUN");
    const password = readFileSync(join(run, "redfish/first-password"), "utf8").trim();
    await signIn(page, needed("ORVANE_REDFISH"), "admin", password);
    await page.waitForSelector(".wizard");
    for (let step = 1; step <= 4; step += 1) await page.click('[data-action="next"]');
    await page.waitForSelector(".dot[data-live]");
    const field = (name: string) => page.locator(`[data-setting="${name}"]`);
    await field("ScreenBrightness").locator("input").fill("6");
    await field("InactivityTimer").locator("select").selectOption("30 Minutes");
    const orvanectl = join(needed("ORVANE_ROOT"), "build/release/orvanectl");
    execFileSync(orvanectl, ["set", "HiLoPeriod=12 Hours"]);
    await until("the change of someone else", async () =>
        (await page.locator(".log li").allTextContents()).join("").includes("Someone else"),
    );
    await until(
        "everything saved",
        async () => (await page.locator(".progress.saving").count()) === 0,
    );
    await page.evaluate(() => {
        (document.activeElement as HTMLElement | null)?.blur();
        window.scrollTo(0, 0);
    });
}

const kStyles: Record<string, string> = { "1": "bold", "2": "dim", "36": "command" };

function markup(lines: Line[]): string {
    const escaped = (text: string) =>
        text.replaceAll("&", "&amp;").replaceAll("<", "&lt;").replaceAll(">", "&gt;");
    return lines
        .map((line) =>
            line
                .map(
                    ({ text, style }) =>
                        `<span class="${kStyles[style] ?? ""}">${escaped(text)}</span>`,
                )
                .join(""),
        )
        .join("\n");
}

async function showTerminal(page: Page): Promise<void> {
    const output = readFileSync(join(needed("ORVANE_RUN"), "terminal.log"), "utf8")
        .replaceAll(needed("ORVANE_ROOT"), kCheckout)
        .replace(/^Script started.*\n/, "")
        .replace(/\nScript done[^]*$/, "\n");
    const typed: Line = [
        { text: "me@desk:~/webgui$ ", style: "1" },
        { text: "script/run", style: "" },
    ];
    const lines = [typed, ...chapters(linesOf(output), kChapters)];
    await page.setContent(`<style>
        body { margin: 0; background: #16191d }
        pre { display: inline-block; width: ${kColumns}ch; margin: 0; padding: 16px 20px; color: #d5d9de;
              font: 13px/1.38 "DejaVu Sans Mono", monospace; white-space: pre-wrap; word-break: break-all }
        .bold { color: #fff; font-weight: bold } .dim { color: #7d858f } .command { color: #6cc3d5 }
        </style><pre>${markup(lines)}</pre>`);
}

async function main(): Promise<void> {
    const path = needed("ORVANE_PICTURE");
    const browser = await openBrowser({ viewport: kPage });
    try {
        const page = await browser.context.newPage();
        if (process.argv.includes("page")) {
            await showPage(page);
            await page.screenshot({ path });
        } else {
            await showTerminal(page);
            await page.locator("pre").screenshot({ path });
        }
    } finally {
        await browser.close();
    }
}

await main();
