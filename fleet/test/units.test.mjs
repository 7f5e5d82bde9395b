// The parts of the page that need no browser.

import assert from "node:assert/strict";
import { test } from "node:test";
import { Alarms, readLimits, writeLimits } from "../src/alarms.js";
import { ClockOffset } from "../src/clock.js";
import { checkAddress } from "../src/connection.js";
import { Fleet } from "../src/fleet.js";
import { rowsOf } from "../src/rows.js";
import { MOST_VALUES, Series, keyOf } from "../src/series.js";
import { allTexts } from "../src/texts.js";
import { readTyped } from "../src/units.js";

const NOW = Date.parse("2026-11-22T12:00:00Z");
const iso = (ms) => new Date(ms).toISOString();
const encode = (string) => new TextEncoder().encode(string);
const bytes = (object) => encode(JSON.stringify({ v: 1, ...object }));
const valueAt = (time, seq, changes = {}) => (
    { time: iso(time), run: 1, seq, kind: "distance", mm: 1000 + seq, value: 1 + seq / 1000, unit: "m", ...changes });

test("a late value takes its place, and one that comes twice is dropped", () => {
    const series = new Series();
    for (const [time, seq] of [[1000, 1], [4000, 4], [5000, 5]]) assert.ok(series.add(time, seq, keyOf(1, seq)));
    assert.ok(series.add(3000, 3, keyOf(1, 3)));
    assert.ok(!series.add(4000.4, 4, keyOf(1, 4)), "again, with the time of the recording");
    assert.ok(series.add(4000, 4, keyOf(2, 4)), "another run");
    assert.ok(series.add(5000, 5, 0) && series.add(5000, 5, 0), "without a name nothing is known of it");
    assert.deepEqual([...series.values.subarray(0, series.length)], [1, 3, 4, 4, 5, 5, 5]);
});

test("a full series lets the oldest go and keeps nothing older", () => {
    const series = new Series();
    for (let i = 1; i <= MOST_VALUES + 1; i += 1) series.add(i * 1000, i, keyOf(1, i));
    assert.ok(series.length <= MOST_VALUES && series.values[series.length - 1] === MOST_VALUES + 1);
    while (series.length < MOST_VALUES) series.add(1e9 + series.length, 0, 0);
    const oldest = series.times[0];
    series.add(1000, 1, keyOf(0, 1));
    assert.deepEqual([series.length, series.times[0]], [MOST_VALUES, oldest]);
});

test("values of a clock that was ahead are neither shown nor kept, and the right ones are", () => {
    const fleet = new Fleet();
    const DAY_MS = 86400000;
    let came = NOW;
    let seq = 0;
    const send = (ahead) => {
        came += 50;
        seq += 1;
        fleet.take("orvex/g/s/value", bytes(valueAt(came + ahead, seq)), "orvex", came);
    };
    for (let i = 0; i < 1200; i += 1) send(DAY_MS);
    for (let i = 0; i < 210; i += 1) send(0);
    const sensor = fleet.sensors.get("g/s");
    assert.equal(sensor.age(came), 0, "after ten seconds it is clear that the clock has been put back");
    const [row] = rowsOf(fleet.sensors.values(), { sort: "course", isDown: false, state: "measuring", search: "" }, came);
    assert.ok(row);
    assert.deepEqual(sensor.series.range(came - 300000, came), { low: 2201, high: 2410 });
    for (let i = 0; i < MOST_VALUES - 1410 + 1; i += 1) send(0);
    const { times, length } = sensor.series;
    assert.ok(times[length - 1] === came && length === MOST_VALUES + 1 - 1200, "what was ahead has gone, nothing else");
});

test("what the network has held up is not a clock put back", () => {
    const rows = {
        "a burst after 14.5 s": (i) => [i * 50, i < 100 || i >= 390 ? i * 50 : 390 * 50],
        "single messages": (i) => [i * 50 - (i % 4 === 0 ? 6000 : 0), i * 50],
    };
    for (const [name, timesOf] of Object.entries(rows)) {
        const clock = new ClockOffset();
        for (let i = 1; i < 400; i += 1) {
            clock.take(...timesOf(i));
            assert.equal(clock.ms, 0, `${name}, message ${i}`);
        }
    }
});

test("a curve is interrupted by a missing value and by a pause", () => {
    const series = new Series();
    for (const [time, value] of [[0, 1], [1000, 2], [2000, NaN], [3000, 4], [63000, 5], [64000, 6], [99000, 7]]) {
        series.add(time, value, 0);
    }
    assert.deepEqual(series.curve(1500, 64000, 10000),
        { times: [1000, 2000, 3000, 8000, 63000, 64000], values: [2, null, 4, null, 5, 6] });
});

test("what is no message of version 1 changes nothing", () => {
    const fleet = new Fleet();
    const rows = [
        ["g/s/value", "{"], ["g/s/value", "null"], ["g/s/value", "[1]"], ["g/s/value", '{"v":2}'],
        ["g/s/constructor", '{"v":1}'], ["g", '{"v":1}'], ["g/s/t/value", '{"v":1}'],
        ["g/s/value", `{"v":1,"x":"${"x".repeat(1 << 20)}"}`],
    ];
    for (const [topic, payload] of rows) {
        const isTaken = fleet.take(`orvex/${topic}`, encode(payload), "orvex", NOW);
        assert.equal(isTaken, false, topic + payload.slice(0, 20));
    }
    assert.equal(fleet.take("orvexx/g/s/value", bytes(valueAt(NOW, 1)), "orvex", NOW), false);
    assert.equal(fleet.sensors.size, 0);
});

test("a series goes on in the same unit when that of the sensor changes", () => {
    const fleet = new Fleet();
    const feet = { mm: undefined, value: 10, unit: "ft" };
    for (const [seq, changes] of [[1, { mm: 3000, value: 3 }], [2, feet], [3, { mm: undefined, value: 1, unit: "?" }]]) {
        fleet.take("orvex/g/s/value", bytes(valueAt(NOW + seq, seq, changes)), "orvex", NOW);
    }
    assert.deepEqual(fleet.sensors.get("g/s").series.curve(NOW, NOW + 9, 10000).values, [3000, 3048, null]);
});

test("a wrong field leaves out only itself", () => {
    const fleet = new Fleet();
    const wrong = [null, 5, { time: "soon" }, valueAt(NOW, 1, { value: "1" }), valueAt(NOW, 2, { value: null })];
    const state = { connection: 7, account: [1], identity: "x", temperature: "hot" };
    fleet.take("orvex/g/s/value", bytes({ unit: "m", values: [...wrong, valueAt(NOW, 3)] }), "orvex", NOW);
    fleet.take("orvex/g/s/state", bytes(state), "orvex", NOW);
    fleet.take("orvex/g/s/parameters", bytes({ parameters: [null, { code: {}, value: 5 }] }), "orvex", NOW);
    const sensor = fleet.sensors.get("g/s");
    assert.equal(sensor.series.length, 1);
    const { connection, account, temperature } = sensor.state;
    assert.deepEqual([connection, account.valid, temperature], ["unknown", 0, null]);
    assert.deepEqual(sensor.parameters.rows, [{ code: "", name: "", value: "5", unit: "" }]);
});

test("an event or an answer alone makes no sensor, and there is a bound of gateways", () => {
    const fleet = new Fleet();
    for (const what of ["event", "answer", "command"]) {
        const isTaken = fleet.take(`orvex/g/ghost/${what}`, bytes({ id: "1", event: "refused" }), "orvex", NOW);
        assert.equal(isTaken, false, what);
    }
    assert.deepEqual([fleet.sensors.size, fleet.gateways.size], [0, 0]);
    for (let i = 0; i < 3000; i += 1) fleet.take(`orvex/g${i}/status`, bytes({ online: true }), "orvex", NOW, true);
    assert.equal(fleet.gateways.size, 1000);
    assert.equal(fleet.take("orvex/new/s/value", bytes(valueAt(NOW, 1)), "orvex", NOW), false);
    assert.ok(fleet.take("orvex/g7/s/value", bytes(valueAt(NOW, 1)), "orvex", NOW));
});

test("the state of a sensor in one word", () => {
    const connected = { connection: "connected", measuring: true };
    const rows = [
        ["measuring", connected, NOW - 1000, null],
        ["stale", connected, NOW - 11000, null],
        ["stale", connected, null, null],
        ["idle", { ...connected, measuring: false }, NOW - 11000, null],
        ["noAnswer", { connection: "no answer", measuring: true }, NOW, null],
        ["noPort", { connection: "no port", measuring: true }, NOW, null],
        ["offline", connected, NOW, { online: false }],
        ["measuring", connected, NOW, { online: true }],
        ["unknown", null, null, null],
    ];
    for (const [expected, state, last, status] of rows) {
        const fleet = new Fleet();
        if (status) fleet.take("orvex/g/status", bytes(status), "orvex", NOW, true);
        if (state) fleet.take("orvex/g/s/state", bytes({ ...state, lastValue: last && iso(last) }), "orvex", NOW, true);
        else fleet.take("orvex/g/s/parameters", bytes({ parameters: [] }), "orvex", NOW, true);
        assert.equal(fleet.sensors.get("g/s").condition(NOW), expected, JSON.stringify([state, last, status]));
    }
});

test("a value's age is right when the gateway's clock is not, and slow sensors are not stale", () => {
    const fleet = new Fleet();
    for (let i = 0; i < 5; i += 1) {
        const came = NOW + i * 20000;
        fleet.take("orvex/g/s/value", bytes(valueAt(came - 3600000, i + 1)), "orvex", came);
    }
    const sensor = fleet.sensors.get("g/s");
    assert.equal(sensor.age(NOW + 95000), 15000);
    assert.equal(sensor.condition(NOW + 95000), "measuring");
    assert.equal(sensor.condition(NOW + 80000 + 61000), "stale");
});

test("a historical value is not the shown one, and a retained state that is taken back removes the sensor", () => {
    const fleet = new Fleet();
    fleet.take("orvex/g/s/value", bytes(valueAt(NOW, 9)), "orvex", NOW);
    fleet.take("orvex/g/s/value", bytes(valueAt(NOW - 5000, 4, { historical: true })), "orvex", NOW);
    const sensor = fleet.sensors.get("g/s");
    assert.deepEqual([sensor.current.mm, sensor.series.length, sensor.age(NOW)], [1009, 2, 0]);
    fleet.take("orvex/g/s/state", new Uint8Array(), "orvex", NOW);
    assert.equal(fleet.sensors.size, 0);
});

test("an alarm is announced once and goes when it is over and acknowledged", () => {
    const alarms = new Alarms();
    const announced = [];
    alarms.onAnnounce = (alarm) => announced.push(alarm.kind);
    alarms.setLimits("g/s", { low_mm: 1000, high_mm: 2000, silent_s: 10 });
    for (const [mm, at] of [[1500, 0], [999, 1], [1001, 2], [998, 3]]) alarms.takeValue("g/s", mm, NOW + at * 1000);
    assert.deepEqual(announced, ["low"], "noise at the limit");
    assert.equal(alarms.stateOf("g/s"), "alarm");
    alarms.takeValue("g/s", 1500, NOW + 7000);
    assert.ok(alarms.sorted()[0].isOver, "over, but nobody has seen it");
    alarms.acknowledge();
    assert.equal(alarms.list.size, 0);
    alarms.takeValue("g/s", 2001, NOW + 8000);
    alarms.acknowledge();
    assert.equal(alarms.stateOf("g/s"), "acknowledged");
    alarms.takeSilence("g/s", 11, NOW + 20000);
    alarms.takeValue("g/s", 1500, NOW + 21000);
    assert.deepEqual(announced, ["low", "high", "silent"]);
    assert.deepEqual([...alarms.list.values()].map((alarm) => alarm.kind), ["silent"]);
    alarms.setLimits("g/s", {});
    assert.equal(alarms.list.size, 0);
});

test("limits go into a file and back; nothing else is taken for them", () => {
    const limits = new Map([["g/s", { low_mm: -5, silent_s: 60 }]]);
    assert.deepEqual(readLimits(JSON.parse(JSON.stringify(writeLimits(limits)))), limits);
    for (const junk of [null, [], "x", {}, { orvex: "limits", v: 2 }]) assert.equal(readLimits(junk), null);
    assert.equal(readLimits({ orvex: "limits", v: 1, sensors: { a: null, b: { low_mm: "1" }, c: 5 } }).size, 0);
});

test("rows are sorted by length whatever the unit, with what has no value last in both directions", () => {
    const fleet = new Fleet();
    for (const [name, value] of [["s10", { mm: 3000, value: 3, unit: "m" }], ["s9", { mm: 20, value: 20, unit: "mm" }],
        ["s8", { kind: "no echo", mm: undefined, value: undefined }], ["Bunker", { mm: 500, value: 0.5, unit: "m" }]]) {
        fleet.take(`orvex/halle/${name}/value`, bytes(valueAt(NOW, 1, value)), "orvex", NOW);
    }
    const all = { sort: "sensor", isDown: false, state: "", search: "" };
    const names = (view) => rowsOf(fleet.sensors.values(), { ...all, ...view }, NOW).map(({ name }) => name).join(" ");
    assert.equal(names({}), "Bunker s8 s9 s10");
    assert.equal(names({ sort: "value" }), "s9 Bunker s10 s8");
    assert.equal(names({ sort: "value", isDown: true }), "s10 Bunker s9 s8");
    assert.equal(names({ search: " HALLE unk" }), "Bunker");
    assert.equal(names({ state: "stale" }), "");
});

test("addresses and numbers are read as people type them", () => {
    const rows = [
        ["ws://h:1/mqtt", "ws://h:1/mqtt"], [" h:8080/mqtt ", "ws://h:8080/mqtt"], ["wss://u:p@h/", "wss://h"],
        ["http://h", null], ["javascript:alert(1)", null], ["", null],
    ];
    for (const [typed, address] of rows) assert.equal(checkAddress(typed), address, typed);
    assert.equal(checkAddress("h", true), "wss://h");
    for (const [typed, number] of [["", null], ["1,5", 1.5], ["-.5", -0.5], ["1e3", NaN], ["1.000,5", NaN]]) {
        assert.deepEqual(readTyped(typed), number, typed);
    }
});

test("both languages of a text have the same places for what is filled in", () => {
    for (const [key, [german, english]] of Object.entries(allTexts)) {
        const places = (string) => (string.match(/%\d/g) ?? []).sort().join();
        assert.equal(places(german), places(english), key);
    }
});
