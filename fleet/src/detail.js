// Everything about one sensor in a dialog: limits, identity, account, parameters, events; the chart is in chart.js.

import { Chart } from "./chart.js";
import { latest } from "./fleet.js";
import { ACCOUNT_KEYS } from "./messages.js";
import { byId, element, setText, textTable } from "./page.js";
import { ageText, temperatureText } from "./rows.js";
import { count, fixed, moment, text } from "./texts.js";
import { decimalsOf, fromMillimetres, knownUnit, readTyped, toMillimetres, valueText } from "./units.js";

const DRAW_MS = 500;
const IDENTITY_TEXTS = {
    __proto__: null,
    type: "type",
    serial: "serial",
    version: "softwareVersion",
    build: "softwareBuild",
    date: "softwareDate",
    attenuator: "attenuator",
    laser: "laser",
};
const LASER_TEXTS = { __proto__: null, on: "laserOn", off: "laserOff" };
const ACCOUNT_TEXTS = { __proto__: null, lineLost: "lineLostLong" };
const EVENT_TEXTS = {
    __proto__: null,
    "line lost": "eventLineLost",
    "line back": "eventLineBack",
    refused: "eventRefused",
    changed: "eventChanged",
    dropped: "eventDropped",
    "recording failed": "eventRecordingFailed",
};

export class Detail {
    #sensor = null;
    #drawn = -Infinity;
    #shown = {}; // what the sections have been made of

    /// `onLimits()` after limits have been changed.
    constructor(alarms, { onLimits }) {
        this.alarms = alarms;
        this.dialog = byId("detail");
        this.chart = new Chart(byId("chart"));
        byId("detailClose").addEventListener("click", () => this.dialog.close());
        byId("span").addEventListener("change", () => this.refresh());
        this.dialog.addEventListener("close", () => {
            this.chart.clear();
            this.#sensor = null;
        });
        byId("limitsForm").addEventListener("submit", (event) => {
            event.preventDefault();
            if (this.#applyLimits()) onLimits();
        });
    }

    show(sensor) {
        this.#sensor = sensor;
        this.#fillLimits();
        this.refresh();
        if (!this.dialog.open) this.dialog.showModal();
        this.draw(Date.now());
    }

    /// Everything is drawn anew: the language, the colours or the width have changed.
    refresh() {
        this.#shown = {};
        this.#drawn = -Infinity;
        this.chart.clear();
    }

    draw(now) {
        const sensor = this.#sensor;
        if (!sensor || now - this.#drawn < DRAW_MS) return;
        this.#drawn = now;
        const condition = sensor.condition(now);
        setText(byId("detailName"), sensor.name);
        setText(byId("detailGateway"), sensor.gateway.name);
        setText(byId("detailValue"), valueText(sensor.current));
        setText(byId("detailUnit"), sensor.current?.value == null ? "" : sensor.current.unit);
        byId("detailState").className = `state s-${condition}`;
        setText(byId("detailState").lastElementChild, text(condition));
        this.chart.draw(sensor, this.alarms.limits.get(sensor.id), byId("span").value * 1000, now);
        this.#drawFacts("identity", this.#identityRows(sensor, now));
        this.#drawFacts("account", accountRows(sensor));
        this.#drawOnce("parameters", sensor.parameters, () => parametersTable(sensor.parameters));
        const events = latest([...sensor.events, ...sensor.gateway.events]);
        const state = `${events.length} ${events[0]?.time} ${events.at(-1)?.time}`;
        this.#drawOnce("events", state, () => eventsTable(events));
    }

    /// The names of the rows stay; only the texts beside them change.
    #drawFacts(id, rows) {
        const names = rows.map((row) => row[0]).join("\n");
        if (this.#shown[id] !== names) {
            this.#shown[id] = names;
            byId(id).replaceChildren(...rows.flatMap(([name]) => [element("dt", {}, name), element("dd")]));
        }
        const values = byId(id).querySelectorAll("dd");
        rows.forEach(([, value], i) => setText(values[i], value));
    }

    #drawOnce(id, source, make) {
        if (this.#shown[id] === (source ?? null)) return;
        this.#shown[id] = source ?? null;
        byId(id).replaceChildren(make());
    }

    #identityRows(sensor, now) {
        const { state } = sensor;
        const rows = [
            [text("lastValue"), sensor.current ? moment(sensor.current.time) : "–"],
            [text("age"), ageText(sensor.age(now))],
        ];
        if (!state) return rows;
        if (state.reason !== "") rows.push([text("reason"), state.reason]);
        // Without a connection the gateway says no identity; the parameters know which sensor it was.
        const serial = sensor.parameters?.serial ?? "";
        const identity = state.identity.length > 0 ? state.identity : [["serial", serial]];
        for (const [name, value] of identity.filter((row) => row[1] !== "")) {
            const shown = name === "laser" && LASER_TEXTS[value] ? text(LASER_TEXTS[value]) : value;
            rows.push([IDENTITY_TEXTS[name] ? text(IDENTITY_TEXTS[name]) : name, shown]);
        }
        const recording = text(state.recording ? "recordingOn" : "recordingOff");
        rows.push(
            [text("temperatureLong"), temperatureText(state.temperature)],
            [text("recording"), state.recordingReason === "" ? recording : `${recording}: ${state.recordingReason}`],
            [text("waitingValues"), count(state.waiting)],
            [text("droppedValues"), count(state.dropped)]);
        return rows;
    }

    #fillLimits() {
        const limits = this.alarms.limits.get(this.#sensor.id) ?? {};
        const unit = this.#unit();
        const shown = (mm) => (mm === undefined ? "" : fixed(fromMillimetres(mm, unit), decimalsOf(unit)));
        byId("low").value = shown(limits.low_mm);
        byId("high").value = shown(limits.high_mm);
        byId("silent").value = limits.silent_s === undefined ? "" : String(limits.silent_s);
        for (const node of byId("limitsForm").querySelectorAll(".unit")) setText(node, unit);
        setText(byId("limitsProblem"), "");
        this.typedUnit = unit;
    }

    /// Limits are typed in the unit of the values; in metres while none, or an unknown one, is there.
    #unit() {
        return knownUnit(this.#sensor.current?.unit);
    }

    #applyLimits() {
        const entry = {};
        for (const [id, key] of [["low", "low_mm"], ["high", "high_mm"], ["silent", "silent_s"]]) {
            const typed = byId(id).value;
            const number = readTyped(typed);
            if (Number.isNaN(number)) {
                byId(id).focus();
                return this.#sayLimits(text("notANumber", typed), false);
            }
            if (number !== null) entry[key] = key === "silent_s" ? number : toMillimetres(number, this.typedUnit);
        }
        if (entry.low_mm > entry.high_mm) return this.#sayLimits(text("lowAboveHigh"), false);
        this.alarms.setLimits(this.#sensor.id, entry);
        return this.#sayLimits(text("saved"), true);
    }

    #sayLimits(sentence, isGood) {
        const node = byId("limitsProblem");
        node.className = isGood ? "quiet" : "problem";
        setText(node, sentence);
        return isGood;
    }
}

function accountRows({ state }) {
    if (!state) return [];
    return ACCOUNT_KEYS.map((key) => [
        text(ACCOUNT_TEXTS[key] ?? key),
        key === "longestGap_ms" ? `${fixed(state.account[key] / 1000, 1)} s` : count(state.account[key]),
    ]);
}

function parametersTable(parameters) {
    if (!parameters || parameters.rows.length === 0) return element("p", { className: "quiet" }, text("noParameters"));
    const rows = parameters.rows.map((row) => [row.code, row.name, row.unit ? `${row.value} ${row.unit}` : row.value]);
    return textTable([text("code"), text("name"), text("parameterValue")], rows);
}

function eventsTable(events) {
    if (events.length === 0) return element("p", { className: "quiet" }, text("noEvents"));
    const rows = events.map((event) => [
        event.time === null ? "–" : moment(event.time),
        EVENT_TEXTS[event.event] ? text(EVENT_TEXTS[event.event]) : event.event,
        event.details.map(([name, value]) => `${name}: ${value}`).join(", "),
    ]);
    return textTable([text("time"), text("event"), text("details")], rows);
}
