// The page and the service itself, so that a field which one of them renames is seen. Needs rvqd and rvqsim.

import { strict as assert } from "node:assert";
import { spawn } from "node:child_process";
import { mkdirSync, mkdtempSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { test } from "node:test";
import { Broker } from "./broker.mjs";
import { launch, logIn, serve } from "./browser.mjs";

const bin = process.env.ORVEX_BIN;

test("the page shows what a real gateway says", { skip: !bin && "there is no ORVEX_BIN" }, async (context) => {
    const folder = mkdtempSync(join(tmpdir(), "orvex-service-"));
    const broker = await Broker.mosquitto(folder), children = [];
    const run = (program, ...options) => {
        children.push(spawn(join(bin, program), options, { stdio: "ignore" }));
        return children.at(-1);
    };
    mkdirSync(join(folder, "gateway"));
    writeFileSync(join(folder, "gateway.ini"), `[GATEWAY]\nName=hall\nFolder=${folder}/gateway\n[BROKER]\n` +
        `Port=${broker.mqttPort}\n[SENSOR silo]\nPort=${folder}/line/s001\nTemperature=15\n`);
    let files, browser;
    try {
        try {
            await broker.start();
        } catch {
            context.skip("mosquitto with WebSockets is missing");
            return;
        }
        run("rvqsim", "--many", "1", "--link", join(folder, "line"), "--values", "20", "--count");
        const gateway = run("rvqd", "--config", join(folder, "gateway.ini"));
        files = await serve(process.env.ORVEX_FLEET_PAGE);
        browser = await launch();
        const page = await (await browser.newContext({ locale: "en-GB" })).newPage();
        const shows = (where, words) => page.locator(where, { hasText: words }).first().waitFor({ timeout: 20000 });
        await page.goto(files.address);
        await logIn(page, broker.address, "", "");
        await shows("#table tbody tr", "measuring");
        await shows("#table tbody .c-value", /\d/);
        const before = parseFloat(await page.locator("td.c-value").first().textContent());
        await page.waitForFunction((value) => parseFloat(document.querySelector("td.c-value").textContent) > value, before);
        await shows("#table tbody tr .c-temperature", /\d/);
        await page.locator("#table button.name").click();
        await shows("#identity", "100001");
        await shows("#parameters", "Offset");
        await page.locator("#detailClose").click();
        gateway.kill("SIGTERM");
        await shows("#table tbody tr", "gateway offline");
        assert.deepEqual(await page.locator("#table button.name").allTextContents(), ["silo"]);
    } finally {
        await browser?.close();
        files?.end();
        const ended = children.map((child) => new Promise((done) => child.once("exit", done).kill("SIGTERM") || done()));
        await Promise.all(ended);
        await broker.stop();
        rmSync(folder, { recursive: true, force: true });
    }
});
