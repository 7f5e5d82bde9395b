// Checks what a subscriber has got of service.sh, lines "topic hex"; or writes the command for a rebirth.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { createRequire } from "node:module";
import { join } from "node:path";

const sparkplug = createRequire(join(process.cwd(), "package.json"))("sparkplug-payload").get("spBv1.0");
if (process.argv[2] === "rebirth") {
  const metric = { name: "Node Control/Rebirth", type: "Boolean", value: true };
  process.stdout.write(sparkplug.encodePayload({ timestamp: Date.now(), metrics: [metric] }));
  process.exit(0);
}

const values = new Map([["silo-1", new Map()], ["crane", new Map()]]); // number to millimetres
let historical = 0, ofSparkplug = 0, next = null, births = 0;

function take(sensor, run, sequence, mm) {
  assert.equal(run, 1);
  const known = values.get(sensor).get(sequence);
  assert.ok(known === undefined || known === mm, `${sensor} ${sequence}: ${known} and ${mm}`);
  values.get(sensor).set(sequence, mm);
}

for (const line of readFileSync(0, "latin1").trim().split("\n")) {
  const at = line.lastIndexOf(" ");
  const levels = line.slice(0, at).split("/"), bytes = Buffer.from(line.slice(at + 1), "hex");
  if (levels[0] === "orvex" && levels[3] === "value") {
    const message = JSON.parse(bytes);
    for (const value of message.values ?? [message]) {
      take(levels[2], value.run, value.seq, value.mm);
      historical += value.historical ? 1 : 0;
    }
  } else if (levels[0] === "spBv1.0") {
    const payload = sparkplug.decodePayload(bytes), seq = Number(payload.seq);
    if (["NDEATH", "NCMD"].includes(levels[2])) {
      continue;
    }
    births += levels[2] === "NBIRTH" ? 1 : 0;
    assert.equal(seq, levels[2] === "NBIRTH" ? 0 : next, `the number of ${line.slice(0, at)}`);
    next = (seq + 1) % 256;
    const of = (name) => payload.metrics.filter((metric) => metric.name === name).map((metric) => Number(metric.value));
    if (levels[2] === "DDATA" && of("Sequence").length > 0) {
      const mm = of("Distance");
      of("Sequence").forEach((sequence, i) => take(levels[4], of("Run")[i], sequence, Math.round(mm[i])));
      ofSparkplug += mm.length;
    }
  }
}
assert.ok(historical > 20 && ofSparkplug > 40 && births === 2, `${historical}, ${ofSparkplug}, ${births}`);
for (const [sensor, all] of values) {
  const numbers = [...all.keys()].sort((a, b) => a - b);
  assert.equal(numbers.at(-1), numbers.length, `${sensor}: numbers are missing`);
  const mm = numbers.map((number) => all.get(number));
  assert.ok(mm.every((one, i) => i === 0 || one > mm[i - 1]), `${sensor}: the sensor counts its values`);
}
console.log(`${values.get("crane").size} values of one sensor, ${historical} historical, ${ofSparkplug} by Sparkplug`);
