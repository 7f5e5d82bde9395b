// The small curve of the last minutes in a row: a stroke from the smallest to the largest value of each column.

import { COURSE_MS } from "./rows.js";

/// How often the curve moves by one column.
export function stepOf(width) {
    return COURSE_MS / Math.max(1, width);
}

/// Draws the values before `now` (the gateway's clock), interrupted where none came for longer than `pause_ms`. The
/// canvas has its size already.
export function drawSparkline(canvas, series, now, pause_ms, colour) {
    const context = canvas.getContext("2d");
    const { width, height } = canvas;
    context.clearRect(0, 0, width, height);
    const step = stepOf(width);
    const from = (Math.floor(now / step) + 1) * step - COURSE_MS;
    const until = from + COURSE_MS;
    const range = series.range(from, until);
    if (!range) return;
    const inner = height - 4;
    const scale = range.high > range.low ? inner / (range.high - range.low) : 0;
    const bottom = scale === 0 ? height / 2 : height - 2;
    context.strokeStyle = colour;
    context.lineWidth = Math.max(1, height / 18);
    context.lineJoin = "round";
    context.beginPath();
    let isDown = false;
    let column = -1;
    let low = 0;
    let high = 0;
    const put = () => {
        if (column < 0) return;
        const top = bottom - (high - range.low) * scale;
        if (isDown) context.lineTo(column + 0.5, top);
        else context.moveTo(column + 0.5, top);
        context.lineTo(column + 0.5, bottom - (low - range.low) * scale + 0.01);
        isDown = true;
        column = -1;
    };
    const end = series.after(until);
    const first = series.after(from);
    for (let i = first; i < end; i += 1) {
        const value = series.values[i];
        if (i > first && series.times[i] - series.times[i - 1] > pause_ms) {
            put();
            isDown = false;
        }
        const at = Math.floor((series.times[i] - from) / step);
        if (Number.isNaN(value)) {
            put();
            isDown = false; // a gap
        } else if (at === column) {
            if (value < low) low = value;
            if (value > high) high = value;
        } else {
            put();
            column = at;
            low = value;
            high = value;
        }
    }
    put();
    context.stroke();
}
