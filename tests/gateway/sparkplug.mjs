// Reads the payloads that sparkplugPayloads has written into a folder, and writes commands for it:
// node sparkplug.mjs FOLDER
import assert from "node:assert/strict";
import { readFileSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { join } from "node:path";

const folder = process.argv[2];
const sparkplug = createRequire(join(process.cwd(), "package.json"))("sparkplug-payload").get("spBv1.0");
const now = Date.parse("2026-11-22T22:00:00.122Z");
const whole = (value) => (value === null || value === undefined ? value : Number(value));

function read(name) {
  const payload = sparkplug.decodePayload(readFileSync(join(folder, name)));
  return { ...payload, seq: whole(payload.seq), timestamp: whole(payload.timestamp) };
}

function metricsOf(payload) {
  return new Map(payload.metrics.map((metric) => [metric.name, metric]));
}

const death = metricsOf(read("NDEATH")), nodeBirth = read("NBIRTH"), node = metricsOf(nodeBirth);
assert.equal(whole(death.get("bdSeq").value), 300 % 256);
assert.equal(whole(node.get("bdSeq").value), 300 % 256);
assert.equal(node.get("bdSeq").type, "Int64");
assert.equal(node.get("Node Control/Rebirth").value, false);
assert.equal(node.get("Version").value, "1.2");
assert.equal(nodeBirth.seq, 0);
assert.equal(nodeBirth.timestamp, now);

const deviceBirth = read("DBIRTH"), device = metricsOf(deviceBirth);
assert.equal(deviceBirth.seq, 1);
assert.equal(device.get("Connection").value, "connected");
assert.equal(device.get("Measuring").value, true);
assert.equal(device.get("Temperature").value, 23.5);
assert.equal(device.get("Temperature").properties.engUnit.value, "°C");
assert.equal(device.get("Distance").type, "Double");
assert.equal(device.get("Distance").value, null);
assert.equal(device.get("Identity/serial").value, "Ä 7");
assert.equal(whole(device.get("Account/bytes").value), 5 * 2 ** 32);
assert.equal(device.get("Parameters/701 Offset").value, "0");
assert.equal(whole(device.get("Last value").value), now);
assert.equal(deviceBirth.metrics.length, device.size, "no name comes twice");

const data = read("DDATA");
assert.equal(data.seq, 2);
assert.deepEqual(
  data.metrics.map((metric) => [metric.name, typeof metric.value === "object" ? whole(metric.value) : metric.value]),
  [["Distance", -1234], ["Kind", "distance"], ["Run", 300], ["Sequence", 7],
    ["Distance", null], ["Kind", "no echo"], ["Run", 300], ["Sequence", 8]]);
for (const metric of data.metrics) {
  assert.equal(metric.isHistorical, true);
  assert.equal(whole(metric.timestamp), now);
}
assert.equal(read("DDEATH").seq, 3);

function write(name, metric) {
  writeFileSync(join(folder, name), sparkplug.encodePayload({ timestamp: now, metrics: [metric] }));
}

write("NCMD", { name: "Node Control/Rebirth", type: "Boolean", value: true });
write("DCMD", { name: "Command", type: "String", value: JSON.stringify({ id: "ü", command: "stop" }) });
console.log("all payloads are as expected");
