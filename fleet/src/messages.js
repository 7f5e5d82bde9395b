// Reads what gateways publish. Nothing of it is trusted: an unknown version, a wrong type or a number that is none
// leaves the message, or the one value, out. Times become milliseconds since 1970.

const LONGEST_TEXT = 200;
const MOST_ROWS = 1000;
const LARGEST_PAYLOAD = 1 << 20;
const decoder = new TextDecoder();

/// The parts of a topic below the prefix, or null: { gateway, sensor, what }; `sensor` is "" for the gateway's own.
export function readTopic(topic, prefix) {
    if (!topic.startsWith(`${prefix}/`)) return null;
    const parts = topic.slice(prefix.length + 1).split("/");
    if (parts.length === 2) return { gateway: parts[0], sensor: "", what: parts[1] };
    if (parts.length === 3) return { gateway: parts[0], sensor: parts[1], what: parts[2] };
    return null;
}

/// The object of a payload, or null if it is not one of version 1.
export function readPayload(bytes) {
    if (bytes.length > LARGEST_PAYLOAD) return null;
    try {
        const object = JSON.parse(decoder.decode(bytes));
        return object !== null && typeof object === "object" && object.v === 1 ? object : null;
    } catch {
        return null;
    }
}

export function readString(value) {
    if (typeof value === "number" || typeof value === "boolean") return String(value);
    return typeof value === "string" ? value.slice(0, LONGEST_TEXT) : "";
}

function readNumber(value) {
    return Number.isFinite(value) ? value : null;
}

function readCount(value) {
    return Number.isFinite(value) && value > 0 ? Math.trunc(value) : 0;
}

function readTime(value) {
    const time = typeof value === "string" ? Date.parse(value) : NaN;
    return Number.isNaN(time) ? null : time;
}

function rows(value) {
    const some = Array.isArray(value) ? value.slice(0, MOST_ROWS) : [];
    return some.filter((row) => row !== null && typeof row === "object");
}

function fields(value) {
    return value !== null && typeof value === "object" && !Array.isArray(value) ? value : {};
}

function readOne(object, unit) {
    const time = readTime(object.time);
    if (time === null) return null;
    const kind = object.kind === undefined ? "distance" : readString(object.kind);
    const isDistance = kind === "distance";
    const value = isDistance ? readNumber(object.value) : null;
    if (isDistance && value === null) return null;
    return {
        time,
        kind,
        value,
        mm: isDistance ? readNumber(object.mm) : null,
        unit: object.unit === undefined ? unit : readString(object.unit),
        run: readCount(object.run),
        seq: readCount(object.seq),
        historical: object.historical === true,
    };
}

/// The values of a message, one or a batch.
export function readValues(object) {
    const unit = readString(object.unit);
    if (!Array.isArray(object.values)) return [readOne(object, unit)].filter(Boolean);
    return object.values.map((row) => readOne(fields(row), unit)).filter(Boolean);
}

export function readStatus(object) {
    return { time: readTime(object.time), online: object.online === true, version: readString(object.version) };
}

const CONNECTIONS = ["connected", "no answer", "no port"];

export function readState(object) {
    const account = fields(object.account);
    const identity = fields(object.identity);
    const journal = fields(object.journal);
    return {
        time: readTime(object.time),
        connection: CONNECTIONS.includes(object.connection) ? object.connection : "unknown",
        reason: readString(object.reason),
        measuring: object.measuring === true,
        temperature: readNumber(object.temperature),
        lastValue: readTime(object.lastValue),
        identity: Object.entries(identity).slice(0, 20).map(([name, value]) => [readString(name), readString(value)]),
        account: Object.fromEntries(ACCOUNT_KEYS.map((key) => [key, readCount(account[key])])),
        recording: journal.recording === true,
        recordingReason: readString(journal.reason),
        waiting: readCount(journal.waiting),
        dropped: readCount(journal.dropped),
    };
}

/// What an account counts, in the order in which it is shown.
export const ACCOUNT_KEYS = [
    "bytes", "received", "valid", "noEcho", "tempError", "damaged", "shown", "recorded", "passedOver", "unwritten",
    "lineLost", "clockJumps", "longestGap_ms",
];

export function readParameters(object) {
    return {
        time: readTime(object.time),
        serial: readString(object.serial),
        rows: rows(object.parameters).map((row) => ({
            code: readString(row.code),
            name: readString(row.name),
            value: readString(row.text) || readString(row.value),
            unit: readString(row.unit),
        })),
    };
}

export function readEvent(object) {
    return {
        time: readTime(object.time),
        run: readCount(object.run),
        seq: readCount(object.seq),
        event: readString(object.event),
        details: Object.entries(fields(object.details)).slice(0, 20)
            .map(([name, value]) => [readString(name), readString(value)]),
    };
}
