// The chart of one sensor, with its limits as lines.

import uPlot from "uplot";
import { fixed, locale, text } from "./texts.js";
import { decimalsOf, fromMillimetres, knownUnit, lengthText } from "./units.js";

const HEIGHT = 260;

export class Chart {
    #plot = null;

    constructor(root) {
        this.root = root;
    }

    clear() {
        this.#plot?.destroy();
        this.#plot = null;
    }

    /// Draws the last `span_ms` of a sensor.
    draw(sensor, limits, span_ms, now) {
        const until = now - sensor.gateway.clock.ms;
        const { series } = sensor;
        const { times, values } = series.curve(until - span_ms, until, sensor.pause_ms);
        const unit = knownUnit(sensor.current?.unit);
        if (this.#plot && this.unit !== unit) this.clear();
        this.unit = unit;
        this.lines = [limits?.low_mm, limits?.high_mm]
            .filter((mm) => mm !== undefined).map((mm) => fromMillimetres(mm, unit));
        this.window = { min: (until - span_ms) / 1000, max: until / 1000 };
        this.#plot ??= this.#make(unit);
        if (this.#plot.width !== this.root.clientWidth && this.root.clientWidth > 0) {
            this.#plot.setSize({ width: this.root.clientWidth, height: HEIGHT });
        }
        const inUnit = (mm) => (mm === null ? null : fromMillimetres(mm, unit));
        this.#plot.setData([times.map((time) => time / 1000), values.map(inUnit)]);
        this.#describe(series, until - span_ms, until);
    }

    #make(unit) {
        const style = getComputedStyle(this.root);
        const decimals = decimalsOf(unit);
        const colour = style.color;
        const axis = {
            stroke: () => colour,
            grid: { stroke: () => style.borderTopColor, width: 1 },
            ticks: { stroke: () => style.borderTopColor, width: 1 },
            font: `12px ${style.fontFamily}`,
        };
        const clock = (time) => new Date(time * 1000).toLocaleTimeString(locale());
        const number = (value) => (value == null ? "–" : fixed(value, decimals));
        // Room for noise of the last digit; without it, a still sensor would fill the height with it.
        const least = 10 * 10 ** -decimals;
        return new uPlot({
            width: this.root.clientWidth || 600,
            height: HEIGHT,
            scales: {
                x: { range: () => [this.window.min, this.window.max] },
                y: {
                    range: (_, low, high) => {
                        if (low == null) return [0, 1];
                        const height = Math.max(high - low, least);
                        const near = this.lines.filter((line) => line > low - height && line < high + height);
                        const room = height * 0.1;
                        return [Math.min(low, ...near) - room, Math.max(high, ...near) + room];
                    },
                },
            },
            axes: [
                { ...axis, values: (_, times) => times.map(clock), space: 66 },
                {
                    ...axis, values: (_, list) => list.map(number), size: 16 + 7 * (decimals + 4),
                    label: unit, labelSize: 18, labelFont: axis.font,
                },
            ],
            series: [
                { label: text("time"), value: (_, time) => (time == null ? "–" : clock(time)) },
                {
                    label: text("value"), stroke: style.outlineColor, width: 1.5, points: { show: false },
                    value: (_, value) => (value == null ? "–" : `${number(value)} ${unit}`),
                },
            ],
            hooks: { draw: [(plot) => this.#drawLimits(plot, style.textDecorationColor)] },
        }, [[], []], this.root);
    }

    #drawLimits(plot, colour) {
        const { ctx, bbox } = plot;
        ctx.save();
        ctx.strokeStyle = colour;
        ctx.setLineDash([6, 4]);
        for (const line of this.lines) {
            const y = Math.round(plot.valToPos(line, "y", true)) + 0.5;
            if (y < bbox.top || y > bbox.top + bbox.height) continue;
            ctx.beginPath();
            ctx.moveTo(bbox.left, y);
            ctx.lineTo(bbox.left + bbox.width, y);
            ctx.stroke();
        }
        ctx.restore();
    }

    /// What a screen reader says of the chart.
    #describe(series, from, until) {
        const range = series.range(from, until);
        const label = range ? `${lengthText(range.low, this.unit)} – ${lengthText(range.high, this.unit)}` : "–";
        this.root.setAttribute("aria-label", `${text("chart")}: ${label}`);
    }
}
