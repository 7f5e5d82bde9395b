// All gateways and sensors as their messages have told of them, and what follows from it: the state of a sensor in one
// word and the age of its value. Knows nothing of the page.

import { ClockOffset } from "./clock.js";
import {
    readEvent, readParameters, readPayload, readState, readStatus, readTopic, readValues,
} from "./messages.js";
import { Series, keyOf } from "./series.js";
import { millimetresOf } from "./units.js";

const MOST_SENSORS = 5000;
const MOST_GATEWAYS = 1000;
const MOST_EVENTS = 100;
/// A value is stale when it is older than this and than three times the usual distance between two messages.
const STALE_MS = 10000;

/// The states in the order in which they are sorted and offered as filters, the worst first; `key` is also a text.
export const STATES = ["offline", "noPort", "noAnswer", "stale", "unknown", "idle", "measuring"];

export class Sensor {
    constructor(gateway, name, now) {
        this.gateway = gateway;
        this.name = name;
        this.id = `${gateway.name}/${name}`;
        this.order = this.id.toLowerCase();
        this.firstSeen = now;
        this.series = new Series(); // in millimetres, whatever the unit of each value
        this.current = null; // the value that is shown
        this.lastDistance = null; // the clock of this browser
        this.lastMessage = null; // of live values
        this.interval_ms = 0; // usual distance between two messages with live values
        this.state = null;
        this.parameters = null;
        this.events = [];
        this.late = 0; // grows with values that are put in their place in the past
    }

    /// How long ago the shown value was measured, in milliseconds, or null.
    age(now) {
        const time = this.current?.time ?? this.state?.lastValue ?? null;
        return time === null ? null : Math.max(0, now - this.gateway.clock.ms - time);
    }

    /// A pause between two values that is longer than this is not usual.
    get pause_ms() {
        return Math.max(STALE_MS, 3 * this.interval_ms);
    }

    /// One of STATES.
    condition(now) {
        if (this.gateway.status && !this.gateway.status.online) return "offline";
        const state = this.state;
        if (state?.connection === "no port") return "noPort";
        if (state?.connection === "no answer") return "noAnswer";
        if (state && !state.measuring) return "idle";
        const age = this.age(now);
        if (age === null) return state ? "stale" : "unknown";
        return age > this.pause_ms ? "stale" : "measuring";
    }

    /// Takes a value; false if it was there already.
    take(value, now) {
        const key = keyOf(value.run, value.seq);
        const gatewayNow = now - this.gateway.clock.ms;
        if (!this.series.add(value.time, millimetresOf(value) ?? NaN, key, gatewayNow)) return false;
        const isNewest = !value.historical || this.current === null || value.time > this.current.time;
        if (isNewest) this.current = value;
        if (value.historical) this.late += 1;
        if (!value.historical && value.kind === "distance") this.lastDistance = now;
        return true;
    }

    /// A message with live values has come.
    noteMessage(now) {
        if (this.lastMessage !== null) {
            const passed = Math.min(now - this.lastMessage, 600000);
            this.interval_ms += (passed - this.interval_ms) / (this.interval_ms === 0 ? 1 : 8);
        }
        this.lastMessage = now;
    }
}

/// Events of a sensor, or of a gateway, with the newest first and a new one added unless it is there already.
function withEvent(events, event) {
    const isKnown = event.seq !== 0 && events.some((one) => one.run === event.run && one.seq === event.seq);
    return isKnown ? events : latest([...events, event]);
}

/// The newest events of a list, in their order.
export function latest(events) {
    return events.sort((a, b) => (b.time ?? 0) - (a.time ?? 0)).slice(0, MOST_EVENTS);
}

export class Fleet {
    constructor() {
        this.gateways = new Map();
        this.sensors = new Map();
        this.changes = 0; // grows with everything taken
        this.membership = 0; // grows when a sensor comes or goes
        this.onValue = () => {};
    }

    /// Takes a message; `isRetained` says that the broker had kept it. False if it is not understood.
    take(topic, payload, prefix, now, isRetained = false) {
        const at = readTopic(topic, prefix);
        if (at === null) return false;
        if (payload.length === 0) return this.#forget(at); // a retained message that was taken back
        const reader = at.sensor === "" ? GATEWAY_READERS[at.what] : SENSOR_READERS[at.what];
        const object = reader ? readPayload(payload) : null;
        if (object === null) return false;
        const source = at.sensor === "" ? this.#gateway(at.gateway) : this.#sensor(at, now);
        if (source === null) return false;
        reader(this, source, object, now, isRetained);
        this.changes += 1;
        return true;
    }

    /// Forgets everything: it is another broker's.
    clear() {
        this.gateways.clear();
        this.sensors.clear();
        this.membership += 1;
    }

    #gateway(name) {
        let gateway = this.gateways.get(name);
        if (!gateway) {
            if (this.gateways.size >= MOST_GATEWAYS) return null;
            gateway = { name, status: null, clock: new ClockOffset(), events: [] };
            this.gateways.set(name, gateway);
        }
        return gateway;
    }

    /// The sensor of a topic. An event alone makes none: a command for a name that does not exist may be its cause.
    #sensor(at, now) {
        const id = `${at.gateway}/${at.sensor}`;
        const known = this.sensors.get(id);
        if (known) return known;
        if (at.what === "event" || this.sensors.size >= MOST_SENSORS) return null;
        const gateway = this.#gateway(at.gateway);
        if (gateway === null) return null;
        const sensor = new Sensor(gateway, at.sensor, now);
        this.sensors.set(id, sensor);
        this.membership += 1;
        return sensor;
    }

    #forget(at) {
        if (at.what !== "state" || !this.sensors.delete(`${at.gateway}/${at.sensor}`)) return false;
        this.membership += 1;
        this.changes += 1;
        return true;
    }
}

const GATEWAY_READERS = {
    __proto__: null,
    status(_, gateway, object) {
        gateway.status = readStatus(object);
    },
    event(_, gateway, object) {
        gateway.events = withEvent(gateway.events, readEvent(object));
    },
};

const SENSOR_READERS = {
    __proto__: null,
    value(fleet, sensor, object, now, isRetained) {
        const values = readValues(object);
        const live = isRetained ? [] : values.filter((value) => !value.historical);
        if (live.length > 0) {
            sensor.noteMessage(now);
            sensor.gateway.clock.take(live[live.length - 1].time, now);
        }
        for (const value of values) if (sensor.take(value, now)) fleet.onValue(sensor, value);
    },
    state(_, sensor, object, now, isRetained) {
        sensor.state = readState(object);
        if (!isRetained && sensor.state.time !== null) sensor.gateway.clock.take(sensor.state.time, now);
    },
    parameters(_, sensor, object) {
        sensor.parameters = readParameters(object);
    },
    event(_, sensor, object) {
        sensor.events = withEvent(sensor.events, readEvent(object));
    },
};
