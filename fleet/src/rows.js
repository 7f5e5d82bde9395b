// The columns of the table, and which sensors it shows in which order.

import { STATES } from "./fleet.js";
import { count, fixed, span, text } from "./texts.js";
import { millimetresOf, valueText } from "./units.js";

/// How much of the past the small curves show.
export const COURSE_MS = 300000;

function accountColumn(key) {
    return {
        key,
        isNumber: true,
        cell: (sensor) => (sensor.state ? count(sensor.state.account[key]) : "–"),
        order: (sensor) => sensor.state?.account[key] ?? null,
    };
}

/// `key` is also the text of the heading; `order` gives what is sorted by, null for what stands last in any direction.
/// `state`, `sensor`, `value` and `course` are drawn by the table itself.
export const COLUMNS = [
    { key: "state", order: (sensor, now) => STATES.indexOf(sensor.condition(now)) },
    { key: "sensor", order: (sensor) => sensor.name.toLowerCase() },
    { key: "gateway", cell: (sensor) => sensor.gateway.name, order: (sensor) => sensor.gateway.name.toLowerCase() },
    {
        key: "value",
        isNumber: true,
        cell: (sensor) => valueText(sensor.current),
        order: (sensor) => (sensor.current ? millimetresOf(sensor.current) : null),
    },
    {
        key: "age",
        isNumber: true,
        cell: (sensor, now) => ageText(sensor.age(now)),
        order: (sensor, now) => sensor.age(now),
    },
    { key: "course", order: (sensor, now) => courseWidth(sensor, now) },
    {
        key: "temperature",
        isNumber: true,
        cell: (sensor) => temperatureText(sensor.state?.temperature ?? null),
        order: (sensor) => sensor.state?.temperature ?? null,
    },
    accountColumn("valid"),
    accountColumn("noEcho"),
    accountColumn("damaged"),
    accountColumn("lineLost"),
];

function courseWidth(sensor, now) {
    const until = now - sensor.gateway.clock.ms;
    const range = sensor.series.range(until - COURSE_MS, until);
    return range && range.high - range.low;
}

export function ageText(age_ms) {
    return age_ms === null ? "–" : span(age_ms / 1000);
}

export function temperatureText(celsius) {
    return celsius === null ? "–" : `${fixed(celsius, 1)} °C`;
}

const collator = new Intl.Collator(undefined, { numeric: true });

function compare(a, b) {
    return typeof a === "string" ? collator.compare(a, b) : a - b;
}

/// The sensors that match a search and a state, sorted by a column. `view` is { sort, isDown, state, search }; every
/// word of the search must be in the name of the sensor or of its gateway.
export function rowsOf(sensors, view, now) {
    const words = view.search.toLowerCase().split(/\s+/).filter(Boolean);
    const { order } = COLUMNS.find((column) => column.key === view.sort) ?? COLUMNS[1];
    const rows = [];
    for (const sensor of sensors) {
        if (view.state !== "" && sensor.condition(now) !== view.state) continue;
        if (words.every((word) => sensor.order.includes(word))) rows.push({ sensor, by: order(sensor, now) });
    }
    const way = view.isDown ? -1 : 1;
    rows.sort((a, b) => {
        if (a.by === null || b.by === null) {
            if (a.by !== b.by) return a.by === null ? 1 : -1;
        } else {
            const difference = compare(a.by, b.by);
            if (difference !== 0) return way * difference;
        }
        return collator.compare(a.sensor.order, b.sensor.order);
    });
    return rows.map((row) => row.sensor);
}

/// How many sensors are in each state.
export function countStates(sensors, now) {
    const counts = Object.fromEntries(STATES.map((state) => [state, 0]));
    for (const sensor of sensors) counts[sensor.condition(now)] += 1;
    return counts;
}

/// The heading of a column as a screen reader says it.
export function headingLabel(column) {
    return text("sortHint", text(column.key));
}
