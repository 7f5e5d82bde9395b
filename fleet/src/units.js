// Units of distances, and how a value is written.

import { fixed, text } from "./texts.js";

const UNITS = {
    __proto__: null,
    mm: { mm: 1, decimals: 0 },
    m: { mm: 1000, decimals: 3 },
    in: { mm: 25.4, decimals: 3 },
    ft: { mm: 304.8, decimals: 4 },
    yd: { mm: 914.4, decimals: 4 },
    mi: { mm: 1609344, decimals: 8 },
    nm: { mm: 1852000, decimals: 8 },
};

function unitOf(name) {
    return UNITS[name] ?? { mm: null, decimals: 3 };
}

export function decimalsOf(unit) {
    return unitOf(unit).decimals;
}

/// Millimetres of a number in a unit; null for a unit that is not known.
export function toMillimetres(number, unit) {
    const { mm } = unitOf(unit);
    return mm === null ? null : number * mm;
}

/// Millimetres as a number in a unit that is known.
export function fromMillimetres(mm, unit) {
    return mm / UNITS[unit].mm;
}

/// A unit itself if it is known, else metres: what limits and charts are in.
export function knownUnit(unit) {
    return UNITS[unit] ? unit : "m";
}

/// A length in millimetres as text in a unit, with it.
export function lengthText(mm, unit) {
    const known = knownUnit(unit);
    return `${fixed(fromMillimetres(mm, known), decimalsOf(known))} ${known}`;
}

/// Millimetres of a value as it was sent, exact where the gateway says them.
export function millimetresOf(value) {
    return value.mm ?? (value.value === null ? null : toMillimetres(value.value, value.unit));
}

/// A value without its unit, or why there is none.
export function valueText(value) {
    if (value === null) return "–";
    if (value.kind === "no echo") return text("kindNoEcho");
    if (value.kind === "temperature error") return text("kindTempError");
    return value.value === null ? value.kind : fixed(value.value, decimalsOf(value.unit));
}

/// A number as it is typed, with point or comma: null for none typed, NaN for what is none.
export function readTyped(string) {
    const typed = string.trim().replace(",", ".");
    return typed === "" ? null : /^[-+]?(\d+\.?\d*|\.\d+)$/.test(typed) ? Number(typed) : NaN;
}
