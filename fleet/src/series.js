// Values of one sensor in the order of their times, as many as the page keeps. A value that comes late is put in its
// place; one that comes twice, which MQTT allows, is told by its key.

const FIRST_SIZE = 256;
export const MOST_VALUES = 4096;
// A value may come with a slightly different time when it is read from a recording.
const SAME_VALUE_MS = 1500;

export class Series {
    constructor() {
        this.length = 0;
        this.newestKey = 0;
        this.#reserve(FIRST_SIZE);
    }

    /// Adds a value, NaN for none; `key` names it for good and grows, 0 has no name. False if it is there already. What
    /// is older than everything of a full series is not kept. `now` is the clock that the times are from.
    add(time, value, key, now = Infinity) {
        if (key !== 0 && key <= this.newestKey && this.#holds(time, key)) return false;
        if (this.length === MOST_VALUES) {
            this.length = this.after(now); // values of a clock that was ahead and has been put back go first
            if (this.length === MOST_VALUES && time < this.times[0]) return true;
            if (this.length === MOST_VALUES) this.#dropOldest(MOST_VALUES / 4);
        }
        if (this.length === this.times.length) this.#reserve(this.times.length * 2);
        const at = this.length === 0 || time >= this.times[this.length - 1] ? this.length : this.after(time);
        for (const [array, item] of [[this.times, time], [this.values, value], [this.keys, key]]) {
            if (at < this.length) array.copyWithin(at + 1, at, this.length);
            array[at] = item;
        }
        this.length += 1;
        if (key > this.newestKey) this.newestKey = key;
        return true;
    }

    /// The first index whose time is later than `time`.
    after(time) {
        let low = 0;
        let high = this.length;
        while (low < high) {
            const middle = (low + high) >> 1;
            if (this.times[middle] <= time) low = middle + 1;
            else high = middle;
        }
        return low;
    }

    /// The smallest and largest value after `from` and not after `until`, or null.
    range(from, until) {
        let low = Infinity;
        let high = -Infinity;
        const end = this.after(until);
        for (let i = this.after(from); i < end; i += 1) {
            const value = this.values[i];
            if (value < low) low = value;
            if (value > high) high = value;
        }
        return low <= high ? { low, high } : null;
    }

    /// The times and values from the last one before `from` until `until`, as a curve needs them: null where it is
    /// interrupted, because a value is missing or none has come for longer than `pause_ms`.
    curve(from, until, pause_ms) {
        const times = [];
        const values = [];
        const end = this.after(until);
        for (let i = Math.max(0, this.after(from) - 1); i < end; i += 1) {
            const time = this.times[i];
            if (times.length > 0 && time - times.at(-1) > pause_ms) {
                times.push(times.at(-1) + pause_ms / 2);
                values.push(null);
            }
            times.push(time);
            values.push(Number.isNaN(this.values[i]) ? null : this.values[i]);
        }
        return { times, values };
    }

    #holds(time, key) {
        const end = this.after(time + SAME_VALUE_MS);
        for (let i = this.after(time - SAME_VALUE_MS); i < end; i += 1) if (this.keys[i] === key) return true;
        return false;
    }

    #dropOldest(count) {
        for (const array of [this.times, this.values, this.keys]) array.copyWithin(0, count, this.length);
        this.length -= count;
    }

    #reserve(size) {
        for (const name of ["times", "values", "keys"]) {
            const grown = new Float64Array(size);
            if (this[name]) grown.set(this[name]);
            this[name] = grown;
        }
    }
}

/// The key of a value: grows with the run and, in a run, with the sequence number. 0: it was not recorded.
export function keyOf(run, seq) {
    return seq === 0 ? 0 : (run % 2 ** 20) * 2 ** 32 + (seq % 2 ** 32);
}
