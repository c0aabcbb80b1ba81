// Debian's Chromium, headless with its own profile; collects what a page must not do.
import { mkdtemp, rm } from "node:fs/promises";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { chromium, type BrowserContext, type Page } from "playwright-core";

const kChromium = process.env["CHROMIUM"] ?? "/usr/bin/chromium";
// Nothing but the page under test is fetched.
const kFlags = [
    "--no-sandbox",
    "--disable-gpu",
    "--disable-quic",
    "--no-first-run",
    "--disable-background-networking",
    "--disable-component-update",
    "--disable-sync",
];
export const kDesk = { width: 1280, height: 860 };
export const kPanel = { width: 480, height: 272 };

export interface OpenedBrowser {
    context: BrowserContext;
    close(): Promise<void>;
}

export async function openBrowser(
    options: {
        viewport?: { width: number; height: number };
        light?: boolean;
        locale?: string;
    } = {},
): Promise<OpenedBrowser> {
    const profile = await mkdtemp(join(tmpdir(), "orvane-web-"));
    const context = await chromium.launchPersistentContext(profile, {
        executablePath: kChromium,
        headless: true,
        args: kFlags,
        viewport: options.viewport ?? kDesk,
        colorScheme: options.light ? "light" : "dark",
        locale: options.locale ?? "en-GB",
        timezoneId: "Europe/Berlin",
        ignoreHTTPSErrors: true,
    });
    context.setDefaultTimeout(10_000);
    return {
        context,
        close: async () => {
            await context.close();
            await rm(profile, { recursive: true, force: true });
        },
    };
}

// Script errors, violations of the security policy and requests to other servers. Responses of 4xx and
// 5xx do not count.
export function complaintsOf(page: Page, origin: string): string[] {
    const found: string[] = [];
    page.on("pageerror", (error) => found.push(`error: ${error.message}`));
    page.on("console", (message) => {
        const text = message.text();
        const ofStatus = /^Failed to load resource/.test(text);
        if (message.type() === "error" && !ofStatus) found.push(`console: ${text}`);
    });
    page.on("request", (request) => {
        if (!request.url().startsWith(origin)) found.push(`request: ${request.url()}`);
    });
    return found;
}

export async function signIn(page: Page, address: string, user = "admin", password = "secret") {
    await page.goto(address);
    await page.fill('input[name="username"]', user);
    await page.fill('input[name="password"]', password);
    await page.click('button[type="submit"]');
}

// Waits until the condition holds; on time-out the error names it.
export async function until(
    what: string,
    condition: () => boolean | Promise<boolean>,
    limitMs = 10_000,
): Promise<number> {
    const start = performance.now();
    while (!(await condition())) {
        if (performance.now() - start > limitMs)
            throw new Error(`not within ${limitMs} ms: ${what}`);
        await new Promise((resolve) => setTimeout(resolve, 10));
    }
    return performance.now() - start;
}
