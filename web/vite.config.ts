// How the page is built, served with hot reload, and tested. Nothing may be inlined into
// index.html or as data: into a style sheet: the content security policy allows only the server's files.
import { readdir, readFile, writeFile } from "node:fs/promises";
import { join } from "node:path";
import { gzipSync } from "node:zlib";
import type { Plugin } from "vite";
import { defineConfig } from "vitest/config";

// The Redfish server to which `script/web --dev` passes requests on.
const server = process.env["ORVANE_REDFISH"] ?? "https://127.0.0.1:8443";

// Puts a compressed copy beside each file, for clients that accept it.
const packed: Plugin = {
    name: "packed",
    apply: "build",
    async writeBundle({ dir = "dist" }) {
        for (const name of await readdir(dir, { recursive: true })) {
            if (!/\.(html|js|css|svg)$/.test(name)) continue;
            const file = join(dir, name);
            await writeFile(`${file}.gz`, gzipSync(await readFile(file), { level: 9 }));
        }
    },
};

export default defineConfig({
    base: "./",
    plugins: [packed],
    build: {
        target: "es2022",
        assetsInlineLimit: 0,
        modulePreload: { polyfill: false },
        reportCompressedSize: true,
    },
    server: {
        host: "127.0.0.1",
        // The server's certificate is self-signed.
        proxy: { "/redfish": { target: server, secure: false, changeOrigin: true } },
    },
    test: {
        // Every file of the browser tests starts a browser.
        fileParallelism: false,
        projects: [
            { test: { name: "unit", include: ["tests/unit/**/*.test.ts"] } },
            {
                test: {
                    name: "browser",
                    include: ["tests/browser/**/*.test.ts"],
                    testTimeout: 30_000,
                    hookTimeout: 60_000,
                },
            },
            {
                test: {
                    name: "stack",
                    include: ["tests/stack/**/*.test.ts"],
                    testTimeout: 60_000,
                    hookTimeout: 120_000,
                },
            },
        ],
    },
});
