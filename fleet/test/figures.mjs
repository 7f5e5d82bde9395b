// Measures the page with 500 sensors at 2 values a second each: the processor time that it takes with and without
// drawing the values, and the tasks of its main thread over 50 ms while the table scrolls. The processor time is that
// of a browser that nothing is attached to, as the system counts it: a debugger would make every message dearer.
// scripts/fleet-page-figures calls it.

import { spawn } from "node:child_process";
import { mkdtempSync, readFileSync, readdirSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { Broker } from "./broker.mjs";
import { CHROMIUM, launch, serve } from "./browser.mjs";
import { Gateways } from "./gateways.mjs";

const [pageFolder, seconds = "30", rounds = "3"] = process.argv.slice(2);
const WARM_UP_MS = 15000;
const TICKS_PER_SECOND = 100; // of the times in /proc
const wait = (ms) => new Promise((done) => setTimeout(done, ms));
const mean = (list) => list.reduce((sum, one) => sum + one, 0) / list.length;

/// The processes that descend from one: [id, is it a page's].
function processesOf(root) {
    const found = new Map([[root, false]]);
    const ids = readdirSync("/proc").filter((name) => /^\d+$/.test(name)).map(Number).sort((a, b) => a - b);
    for (const id of ids) {
        try {
            const parent = Number(readFileSync(`/proc/${id}/stat`, "utf8").split(") ")[1].split(" ")[1]);
            const isPage = readFileSync(`/proc/${id}/cmdline`, "utf8").includes("--type=renderer");
            if (found.has(parent)) found.set(id, isPage);
        } catch {
            // It has ended.
        }
    }
    return [...found];
}

/// Processor seconds of the pages and of everything.
function processorTime(root) {
    const total = { page: 0, browser: 0 };
    for (const [id, isPage] of processesOf(root)) {
        const fields = readFileSync(`/proc/${id}/stat`, "utf8").split(") ")[1].split(" ");
        const used = (Number(fields[11]) + Number(fields[12])) / TICKS_PER_SECOND;
        total.browser += used;
        if (isPage) total.page += used;
    }
    return total;
}

/// Opens the page in a browser of its own; per cent of one processor that it takes.
async function measure(address, folder) {
    const profile = mkdtempSync(join(folder, "profile-"));
    const browser = spawn(CHROMIUM, ["--headless=new", "--no-sandbox", "--disable-gpu", "--remote-debugging-port=0",
        "--no-first-run", "--window-size=1920,1080", `--user-data-dir=${profile}`, address], { stdio: "ignore" });
    try {
        await wait(WARM_UP_MS);
        const before = processorTime(browser.pid);
        const began = performance.now();
        await wait(Number(seconds) * 1000);
        const passed = (performance.now() - began) / 1000;
        const after = processorTime(browser.pid);
        const share = (key) => (100 * (after[key] - before[key])) / passed;
        return { page: share("page"), browser: share("browser") };
    } finally {
        const ended = new Promise((done) => browser.once("exit", done));
        browser.kill("SIGTERM");
        await ended;
    }
}

/// Scrolls with the wheel over the whole table and back; the durations of all tasks of the main thread and how much of
/// each it was running: on a busy machine it may have to wait in the middle of a task.
async function scroll(address, folder) {
    const browser = await launch();
    try {
        const page = await browser.newPage({ viewport: { width: 1920, height: 1080 } });
        await page.goto(address);
        await page.waitForFunction(() => document.querySelector("#table").ariaRowCount === "501");
        await wait(WARM_UP_MS);
        const trace = join(folder, "trace.json");
        await browser.startTracing(page, { path: trace, categories: ["toplevel", "devtools.timeline"] });
        await page.mouse.move(700, 500);
        for (let i = 0; i < 200; i += 1) {
            await page.mouse.wheel(0, i < 100 ? 180 : -180);
            await wait(50);
        }
        await browser.stopTracing();
        return mainTasks(JSON.parse(readFileSync(trace, "utf8")).traceEvents);
    } finally {
        await browser.close();
    }
}

function mainTasks(events) {
    const mains = new Set(events.filter((event) => event.name === "thread_name" && event.args.name === "CrRendererMain")
        .map((event) => `${event.pid} ${event.tid}`));
    return events
        .filter((event) => event.name === "ThreadControllerImpl::RunTask" && mains.has(`${event.pid} ${event.tid}`))
        .map((event) => ({ ms: (event.dur ?? 0) / 1000, running_ms: (event.tdur ?? 0) / 1000 }));
}

const folder = mkdtempSync(join(tmpdir(), "orvex-fleet-"));
const broker = await Broker.nats(folder, { isOpen: true });
await broker.start();
const files = await serve(pageFolder, { "fleet.json": JSON.stringify({ address: broker.address }) });
const gateways = new Gateways(`mqtt://127.0.0.1:${broker.mqttPort}`, { allMeasure: true });
try {
    await gateways.ready();
    gateways.start();
    const drawn = [];
    const held = [];
    for (let i = 0; i < Number(rounds); i += 1) {
        drawn.push(await measure(files.address, folder));
        held.push(await measure(`${files.address}?hold`, folder));
    }
    console.log(`500 sensors at 2 values/s each, 1920 x 1080, mean of ${rounds} x ${seconds} s; % of a processor`);
    for (const [key, name] of [["page", "process of the page"], ["browser", "all processes of the browser"]]) {
        const [full, bare] = [mean(drawn.map((one) => one[key])), mean(held.map((one) => one[key]))];
        const factor = (full / bare).toFixed(2);
        console.log(`${name}: ${full.toFixed(1)} drawn, ${bare.toFixed(1)} not drawn, ${factor} times`);
    }
    const tasks = await scroll(files.address, folder);
    const longest = (key) => Math.max(...tasks.map((task) => task[key])).toFixed(0);
    const over = (key) => tasks.filter((task) => task[key] > 50).length;
    console.log(`${tasks.length} tasks in 10 s of scrolling; over 50 ms: ${over("ms")}, longest ${longest("ms")} ms; ` +
        `without waiting for a processor: ${over("running_ms")}, longest ${longest("running_ms")} ms`);
} finally {
    files.end();
    await gateways.end();
    await broker.stop();
    rmSync(folder, { recursive: true, force: true });
}
