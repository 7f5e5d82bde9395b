// Chromium and the page in it, with its files from a small server on loopback.

import { existsSync, readFileSync } from "node:fs";
import { createServer } from "node:http";
import { join } from "node:path";
import { chromium } from "playwright-core";

export const CHROMIUM = process.env.ORVEX_CHROMIUM ?? "/usr/bin/chromium";
const TYPES = { html: "text/html; charset=utf-8", js: "text/javascript", css: "text/css", json: "application/json" };

/// Serves a folder; `extra` are files that are not there, by name.
export async function serve(folder, extra = {}) {
    const server = createServer((request, answer) => {
        const name = new URL(request.url, "http://x").pathname.slice(1) || "index.html";
        const path = join(folder, name);
        const body = extra[name] ?? (/^[a-z.]+$/.test(name) && existsSync(path) && readFileSync(path));
        answer.writeHead(body ? 200 : 404, { "Content-Type": TYPES[name.split(".").pop()] ?? "text/plain" });
        answer.end(body || "");
    }).listen(0, "127.0.0.1");
    await new Promise((done) => server.once("listening", done));
    return { address: `http://127.0.0.1:${server.address().port}/`, end: () => server.close() };
}

export function launch() {
    return chromium.launch({ executablePath: CHROMIUM, args: ["--no-sandbox", "--disable-gpu"] });
}

/// Fills in the form of the connection.
export async function logIn(page, address, user, password) {
    await page.locator("#address").fill(address);
    await page.locator("#user").fill(user);
    await page.locator("#password").fill(password);
    await page.locator("#connectionForm button[type=submit]").click();
}
