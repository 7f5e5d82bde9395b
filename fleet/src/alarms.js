// Limits that a user has set for sensors, and the alarms that follow. An alarm is announced once, stays until it is
// both over and acknowledged, and comes anew only after that. Knows nothing of the page.

/// A value must be inside its limits for so long before an alarm is over, so that noise at a limit is one alarm.
const SETTLE_MS = 3000;

export const LIMIT_KEYS = ["low_mm", "high_mm", "silent_s"];

/// Limits as they are kept and exchanged, or null for what is none.
export function readLimits(object) {
    if (object === null || typeof object !== "object" || object.orvex !== "limits" || object.v !== 1) return null;
    const limits = new Map();
    for (const [id, row] of Object.entries(object.sensors ?? {})) {
        const entry = {};
        for (const key of LIMIT_KEYS) if (Number.isFinite(row?.[key])) entry[key] = row[key];
        if (Object.keys(entry).length > 0) limits.set(id, entry);
    }
    return limits;
}

export function writeLimits(limits) {
    return { orvex: "limits", v: 1, sensors: Object.fromEntries(limits) };
}

export class Alarms {
    constructor() {
        this.limits = new Map(); // sensor's id: { low_mm, high_mm, silent_s }
        this.list = new Map(); // `${kind} ${id}`: alarm
        this.changes = 0;
        this.onAnnounce = () => {};
    }

    setLimits(id, entry) {
        if (Object.keys(entry).length > 0) this.limits.set(id, entry);
        else this.limits.delete(id);
        for (const [kind, key] of [["low", "low_mm"], ["high", "high_mm"], ["silent", "silent_s"]]) {
            if (entry[key] === undefined && this.list.delete(`${kind} ${id}`)) this.changes += 1;
        }
    }

    setAllLimits(limits) {
        for (const id of new Set([...this.limits.keys(), ...limits.keys()])) this.setLimits(id, limits.get(id) ?? {});
    }

    /// All alarms go, the limits stay.
    clear() {
        this.list.clear();
        this.changes += 1;
    }

    /// A distance has come.
    takeValue(id, mm, now) {
        const limits = this.limits.get(id);
        if (!limits || mm === null) return;
        if (limits.low_mm !== undefined) this.#judge("low", id, mm < limits.low_mm, mm, now);
        if (limits.high_mm !== undefined) this.#judge("high", id, mm > limits.high_mm, mm, now);
    }

    /// Called for every sensor with limits from time to time; `silence_s` since its last distance.
    takeSilence(id, silence_s, now) {
        const limit = this.limits.get(id)?.silent_s;
        if (limit !== undefined) this.#judge("silent", id, silence_s > limit, silence_s, now);
    }

    acknowledge(keys = [...this.list.keys()]) {
        for (const key of keys) {
            const alarm = this.list.get(key);
            if (!alarm) continue;
            if (alarm.isOver) this.list.delete(key);
            else alarm.isAcknowledged = true;
            this.changes += 1;
        }
    }

    /// What is not acknowledged first, then the newest.
    sorted() {
        return [...this.list.values()].sort(
            (a, b) => a.isAcknowledged - b.isAcknowledged || a.isOver - b.isOver || b.since - a.since);
    }

    /// "alarm", "acknowledged" or "" for a sensor.
    stateOf(id) {
        let state = "";
        for (const kind of ["low", "high", "silent"]) {
            const alarm = this.list.get(`${kind} ${id}`);
            if (alarm && !alarm.isAcknowledged) return "alarm";
            if (alarm) state = "acknowledged";
        }
        return state;
    }

    #judge(kind, id, isWrong, measured, now) {
        const key = `${kind} ${id}`;
        const alarm = this.list.get(key);
        if (isWrong && !alarm) {
            const times = { since: now, lastWrong: now };
            const raised = { key, kind, id, ...times, measured, isOver: false, isAcknowledged: false };
            this.list.set(key, raised);
            this.changes += 1;
            this.onAnnounce(raised);
        } else if (isWrong) {
            alarm.lastWrong = now;
            if (kind === "silent" || alarm.isOver) alarm.measured = measured;
            if (alarm.isOver) this.changes += 1;
            alarm.isOver = false;
        } else if (alarm && !alarm.isOver && now - alarm.lastWrong >= SETTLE_MS) {
            alarm.isOver = true;
            if (alarm.isAcknowledged) this.list.delete(key);
            this.changes += 1;
        }
    }
}
