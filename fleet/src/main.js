// The fleet page: shows what all gateways publish. Messages change the fleet as they come; the page is drawn from it a
// few times a second, and only where it is seen.

import { AlarmPanel } from "./alarmPanel.js";
import { Alarms, readLimits, writeLimits } from "./alarms.js";
import { Connection } from "./connection.js";
import { ConnectionForm } from "./connectionForm.js";
import { Detail } from "./detail.js";
import { Fleet, STATES } from "./fleet.js";
import { recall, remember } from "./keep.js";
import { byId, element, setText, translate } from "./page.js";
import { countStates, rowsOf } from "./rows.js";
import { Table } from "./table.js";
import { count, currentLanguage, setLanguage, text } from "./texts.js";
import { millimetresOf } from "./units.js";

const DRAW_MS = 250;
const ORDER_MS = 1000;
const SILENCE_MS = 1000;
const POINTER_REST_MS = 1500;

const asked = new URLSearchParams(location.search);
const view = {
    sort: "sensor", isDown: false, theme: "auto", isLarge: false, language: navigator.language.slice(0, 2),
    ...recall("view", {}), state: "", search: "",
};
for (const [name, key] of [["lang", "language"], ["theme", "theme"]]) if (asked.has(name)) view[key] = asked.get(name);
if (asked.has("large")) view.isLarge = asked.get("large") !== "0";

const fleet = new Fleet();
const alarms = new Alarms();
fleet.onValue = (sensor, value) => {
    if (value.kind === "distance" && !value.historical) alarms.takeValue(sensor.id, millimetresOf(value), Date.now());
};

let isHeld = asked.has("hold");
let prefix = "orvex";
let source = ""; // what the sensors shown come from
let connectedSince = null; // null: not connected
let lostAt = null;
let lastOrder = -Infinity;
let lastDraw = -Infinity;
let lastPointer = -Infinity;
let drawnMembership = -1;

const detail = new Detail(alarms, { onLimits: keepLimits });
const panel = new AlarmPanel(alarms, fleet, { onOpen: (sensor) => detail.show(sensor) });
const table = new Table(byId("scroll"), byId("table"), {
    onOpen: (sensor) => detail.show(sensor),
    onSort: (key) => {
        view.isDown = view.sort === key ? !view.isDown : false;
        view.sort = key;
        keepView();
        table.showSort(view.sort, view.isDown);
        order();
    },
    alarmState: (sensor) => alarms.stateOf(sensor.id),
});
const connection = new Connection({
    onStatus: (status, address) => {
        const now = Date.now();
        if (status === "connected") connectedSince = now;
        else if (connectedSince !== null && status !== "denied") [connectedSince, lostAt] = [null, now];
        if (status === "connected" || status === "closed") lostAt = null;
        form.showStatus(status, address, lostAt);
        byId("scroll").classList.toggle("past", lostAt !== null);
    },
    onMessage: (topic, payload, isRetained) => fleet.take(topic, payload, prefix, Date.now(), isRetained),
});
const form = new ConnectionForm({
    onOpen: (choice) => {
        const chosen = `${choice.address} ${choice.prefix}`;
        if (chosen !== source) {
            fleet.clear();
            alarms.clear();
            source = chosen;
            alarms.setAllLimits(readLimits(recall(limitsName(), null)) ?? new Map());
            byId("limits").disabled = false;
        }
        prefix = choice.prefix;
        connection.open(choice);
    },
    onClose: () => connection.close(),
});

function keepView() {
    const { sort, isDown, theme, isLarge, language } = view;
    remember("view", { sort, isDown, theme, isLarge, language });
}

/// Limits belong to a broker: another one may have other sensors of the same names.
function limitsName() {
    return `limits ${source}`;
}

function keepLimits() {
    remember(limitsName(), writeLimits(alarms.limits));
}

// Drawing.

/// Which sensors are shown in which order, and how many are in each state.
function order(now = Date.now()) {
    lastOrder = now;
    drawnMembership = fleet.membership;
    const sensors = [...fleet.sensors.values()];
    const rows = rowsOf(sensors, view, now);
    table.setSensors(rows);
    drawStates(countStates(sensors, now), sensors.length);
    setText(byId("shownCount"), text("shownCount", count(rows.length), count(sensors.length)));
    byId("nothing").hidden = rows.length > 0;
    setText(byId("nothing"), text(sensors.length === 0 ? "waiting" : "none"));
    table.draw(now);
}

function drawStates(counts, total) {
    const buttons = byId("states").children;
    ["", ...STATES].forEach((state, i) => {
        const number = state === "" ? total : counts[state];
        setText(buttons[i].firstElementChild.nextSibling, `${text(state || "all")} `);
        setText(buttons[i].lastElementChild, count(number));
        buttons[i].hidden = number === 0 && view.state !== state && state !== "";
        buttons[i].ariaPressed = String(view.state === state);
    });
}

function draw() {
    const now = Date.now();
    if (now - lastDraw >= DRAW_MS - 10) {
        lastDraw = now;
        if (!isHeld) {
            const isDue = now - lastOrder >= ORDER_MS && now - lastPointer >= POINTER_REST_MS;
            if (isDue || (fleet.membership !== drawnMembership && now - lastOrder >= DRAW_MS)) order(now);
            else table.draw(now);
        }
        panel.draw();
        detail.draw(now);
    }
    setTimeout(() => requestAnimationFrame(draw), DRAW_MS);
}

/// Sensors that say nothing. While the page itself is not connected, nobody's silence counts.
function watchSilence() {
    const now = Date.now();
    panel.draw(); // also when the page is hidden and nothing else is drawn: the title tells the number of alarms
    if (connectedSince === null) return;
    for (const id of alarms.limits.keys()) {
        const sensor = fleet.sensors.get(id);
        const last = Math.max(sensor?.lastDistance ?? 0, connectedSince);
        alarms.takeSilence(id, (now - last) / 1000, now);
    }
}

// Controls.

function buildStates() {
    byId("states").append(...["", ...STATES].map((state) => {
        const button = element("button", { type: "button", className: `s-${state || "all"}` },
            element("span", { className: "dot" }), "", element("b"));
        button.insertBefore(document.createTextNode(""), button.lastElementChild);
        button.addEventListener("click", () => {
            view.state = view.state === state ? "" : state;
            order();
        });
        return button;
    }));
}

function applyTheme() {
    document.documentElement.dataset.theme = view.theme;
    byId("theme").value = view.theme;
    table.recolour();
    detail.refresh();
}

function applySize() {
    document.documentElement.classList.toggle("large", view.isLarge);
    byId("large").ariaPressed = String(view.isLarge);
    table.measure();
    detail.refresh();
}

function applyLanguage() {
    setLanguage(view.language);
    document.documentElement.lang = currentLanguage();
    translate();
    table.translate();
    form.translate();
    panel.draw();
    detail.refresh();
    order();
}

function changeView(changes, apply) {
    Object.assign(view, changes);
    keepView();
    apply();
}

function applyHold() {
    byId("hold").ariaPressed = String(isHeld);
    byId("scroll").classList.toggle("held", isHeld);
}

function wireControls() {
    byId("language").addEventListener("click", () => {
        changeView({ language: currentLanguage() === "de" ? "en" : "de" }, applyLanguage);
    });
    byId("theme").addEventListener("change", () => changeView({ theme: byId("theme").value }, applyTheme));
    byId("large").addEventListener("click", () => changeView({ isLarge: !view.isLarge }, applySize));
    byId("hold").addEventListener("click", () => {
        isHeld = !isHeld;
        applyHold();
    });
    byId("search").addEventListener("input", () => {
        view.search = byId("search").value;
        byId("scroll").scrollTop = 0;
        order();
    });
    byId("limits").addEventListener("click", () => {
        setText(byId("limitsResult"), text("limitsCount", alarms.limits.size));
        byId("limitsDialog").showModal();
    });
    byId("limitsClose").addEventListener("click", () => byId("limitsDialog").close());
    byId("exportLimits").addEventListener("click", saveLimits);
    byId("importLimits").addEventListener("click", () => byId("limitsFile").click());
    byId("limitsFile").addEventListener("change", () => loadLimits(byId("limitsFile").files[0]));
    byId("scroll").addEventListener("pointermove", () => { lastPointer = Date.now(); }, { passive: true });
    matchMedia("(prefers-color-scheme: dark)").addEventListener("change", applyTheme);
    new ResizeObserver(() => table.measure()).observe(byId("scroll"));
}

function saveLimits() {
    const file = new Blob([JSON.stringify(writeLimits(alarms.limits), null, 2)], { type: "application/json" });
    const link = element("a", { href: URL.createObjectURL(file), download: "orvex-limits.json" });
    link.click();
    setTimeout(() => URL.revokeObjectURL(link.href), 10000);
}

async function loadLimits(file) {
    if (!file) return;
    let limits = null;
    try {
        limits = readLimits(JSON.parse(await file.text()));
    } catch {
        // It is said below.
    }
    byId("limitsFile").value = "";
    if (limits) {
        alarms.setAllLimits(limits);
        keepLimits();
    }
    setText(byId("limitsResult"), limits ? text("limitsCount", limits.size) : text("notLimits"));
}

/// What is given with the page: in "fleet.json" beside it or, which goes first, in its address. Never a password.
async function readPreset() {
    const preset = {};
    try {
        const answer = await fetch("fleet.json", { cache: "no-store" });
        const given = answer.ok ? await answer.json() : {};
        for (const key of ["address", "prefix"]) if (typeof given[key] === "string") preset[key] = given[key];
    } catch {
        // There need not be one.
    }
    preset.isTrusted = preset.address !== undefined && !asked.has("address");
    for (const key of ["address", "prefix"]) if (asked.has(key)) preset[key] = asked.get(key);
    return preset;
}

buildStates();
wireControls();
table.showSort(view.sort, view.isDown);
table.onScroll = () => {
    if (table.isDrawing) return;
    table.isDrawing = true;
    requestAnimationFrame(() => {
        table.isDrawing = false;
        table.draw(Date.now());
    });
};
applyTheme();
applySize();
applyHold();
applyLanguage();
setInterval(watchSilence, SILENCE_MS);
setTimeout(draw, 0);
readPreset().then((preset) => form.start(preset));
