// Plays gateways: publishes sensors as rvqd does, on plain topics as JSON. By hand, with a broker on this machine:
//     node gateways.mjs mqtt://127.0.0.1:1883 [sensors] [values a second] [user password]

import mqtt from "mqtt";
import { fileURLToPath } from "node:url";

const GATEWAYS = 5;
const UNITS = [["m", 1000, 3], ["mm", 1, 0], ["ft", 304.8, 4]];

export class Gateways {
    constructor(address, { user, password, prefix = "orvex", sensors = 500, perSecond = 2, allMeasure = false } = {}) {
        Object.assign(this, { prefix, perSecond });
        this.client = mqtt.connect(address, { username: user, password, reconnectPeriod: 200, queueQoSZero: false });
        this.client.on("error", () => {});
        this.client.on("connect", () => this.tellAll());
        this.sensors = Array.from({ length: sensors }, (_, i) => ({
            gateway: `halle${1 + (i % GATEWAYS)}`,
            name: `silo-${String(i + 1).padStart(3, "0")}`,
            index: i,
            seq: 0,
            unit: UNITS[i % 7 === 3 ? 1 : i % 11 === 5 ? 2 : 0],
            connection: (!allMeasure && { 17: "no answer", 33: "no port" }[i % 50]) || "connected",
            measuring: allMeasure || i % 25 !== 9,
        }));
    }

    async ready() {
        if (!this.client.connected) await new Promise((done) => this.client.once("connect", done));
    }

    /// Sends a message below the prefix; the promise is kept when the broker has it.
    send(topic, object, retain = false, qos = 1) {
        const payload = object === null ? "" : JSON.stringify({ v: 1, ...object });
        return this.client.publishAsync(`${this.prefix}/${topic}`, payload, { qos, retain });
    }

    /// Everything that is retained.
    async tellAll() {
        const time = new Date().toISOString();
        const sent = [];
        for (const gateway of new Set(this.sensors.map((sensor) => sensor.gateway))) {
            sent.push(this.send(`${gateway}/status`, { online: true, time, version: "0.1.0" }, true));
        }
        for (const sensor of this.sensors) {
            sent.push(this.tellState(sensor));
            if (sensor.index < 3) sent.push(this.#tellParameters(sensor, time));
        }
        await Promise.allSettled(sent);
    }

    tellState(sensor, changes = {}) {
        const { seq } = sensor;
        return this.send(`${sensor.gateway}/${sensor.name}/state`, {
            time: new Date().toISOString(),
            connection: sensor.connection,
            measuring: sensor.measuring,
            temperature: 20 + (sensor.index % 130) / 10,
            lastValue: null,
            identity: { serial: String(100000 + sensor.index), type: "7", version: "2.05", laser: "off" },
            account: {
                bytes: seq * 7, received: seq + 3, valid: seq, noEcho: sensor.index % 5, tempError: 0,
                damaged: sensor.index % 3, shown: seq, recorded: seq, passedOver: 0, unwritten: 0,
                lineLost: sensor.index % 4, clockJumps: 0, longestGap_ms: 512,
            },
            journal: { recording: true, waiting: 0, dropped: 0 },
            ...(sensor.connection === "no port" ? { reason: "no such file or directory" } : {}),
            ...changes,
        }, true);
    }

    /// A value as it is measured now, or as given.
    valueOf(sensor, changes = {}) {
        sensor.seq += 1;
        const [unit, factor, decimals] = sensor.unit;
        const now = Date.now();
        const wave = Math.sin(now / (20000 + 300 * sensor.index));
        const mm = Math.round(4000 + 30 * sensor.index + 900 * wave + 6 * Math.random());
        return {
            time: new Date(now).toISOString(), run: 1, seq: sensor.seq, kind: "distance", mm,
            value: Number((mm / factor).toFixed(decimals)), unit, ...changes,
        };
    }

    sendValue(sensor, changes = {}, qos = 1) {
        return this.send(`${sensor.gateway}/${sensor.name}/value`, this.valueOf(sensor, changes), false, qos);
    }

    /// Sends the values of all measuring sensors, spread evenly over the time.
    start() {
        const active = this.sensors.filter((sensor) => sensor.connection === "connected" && sensor.measuring);
        const began = Date.now();
        let sent = 0;
        this.timer = setInterval(() => {
            const due = Math.floor(((Date.now() - began) / 1000) * this.perSecond * active.length);
            sent = Math.max(sent, due - active.length); // after a pause, nothing is made up for
            for (; sent < due; sent += 1) {
                const sensor = active[sent % active.length];
                const isEcho = (sent * 7919) % 997 !== 0;
                const changes = isEcho ? {} : { kind: "no echo", mm: undefined, value: undefined };
                if (this.client.connected) this.sendValue(sensor, changes, 0).catch(() => {});
            }
        }, 20);
    }

    async end() {
        clearInterval(this.timer);
        await this.client.endAsync(true);
    }

    #tellParameters(sensor, time) {
        return this.send(`${sensor.gateway}/${sensor.name}/parameters`, {
            time, serial: String(100000 + sensor.index),
            parameters: [
                { code: "302", name: "TimeOut", value: "1", text: "25" },
                { code: "701", name: "Offset", value: String(sensor.index), unit: "mm" },
            ],
        }, true);
    }
}

if (process.argv[1] === fileURLToPath(import.meta.url)) {
    const [address, sensors = "500", perSecond = "2", user, password] = process.argv.slice(2);
    const gateways = new Gateways(address, { sensors: Number(sensors), perSecond: Number(perSecond), user, password });
    await gateways.ready();
    gateways.start();
    process.once("SIGINT", () => gateways.end().then(() => process.exit(0)));
}
