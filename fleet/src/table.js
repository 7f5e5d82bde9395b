// The table of sensors. Only the rows that can be seen exist, and of these only what has changed is written. A row
// belongs to a sensor as long as it is seen, so that it keeps the focus when the order changes.

import { element } from "./page.js";
import { COLUMNS, ageText, headingLabel } from "./rows.js";
import { drawSparkline, stepOf } from "./sparkline.js";
import { text } from "./texts.js";

const SPARE_ROWS = 4; // above and below, so that a small scroll shows no blank
// The same as in style.css: a narrow row has two lines, a wide one a long curve.
const NARROW_REM = 40;
const WIDE_REM = 100;

/// One row and what it shows.
class Row {
    constructor() {
        this.sensor = null;
        this.shown = {};
        this.step = -1;
        this.nodes = {};
        this.name = element("button", { type: "button", className: "name" }, this.#text("sensor"));
        this.canvas = element("canvas", { "aria-hidden": "true" });
        const cells = {
            state: ["td", element("span", { className: "dot" }), element("span", {}, this.#text("state"))],
            sensor: ["th", this.name, element("small", {}, this.#text("place"))],
            value: ["td", element("span", {}, this.#text("value")), element("span", { className: "unit" },
                this.#text("unit")), element("small", {}, this.#text("smallAge"))],
            course: ["td", this.canvas],
        };
        this.element = element("tr", {}, ...COLUMNS.map(({ key, isNumber }) => {
            const [tag, ...children] = cells[key] ?? ["td", this.#text(key)];
            const cell = element(tag, { className: `c-${key}${isNumber ? " number" : ""}` }, ...children);
            if (tag === "th") cell.scope = "row";
            return cell;
        }));
    }

    bind(sensor) {
        this.sensor = sensor;
        this.step = -1;
        this.set("sensor", sensor.name);
        this.name.title = sensor.name;
    }

    set(key, string) {
        if (this.shown[key] === string) return;
        this.shown[key] = string;
        this.nodes[key].data = string;
    }

    setClass(state) {
        if (this.shown.class === state) return;
        this.shown.class = state;
        this.element.className = state;
    }

    setIndex(index) {
        if (this.shown.index === index) return;
        this.shown.index = index;
        this.element.ariaRowIndex = index + 2; // the heading is the first
    }

    #text(key) {
        this.nodes[key] = document.createTextNode("");
        return this.nodes[key];
    }
}

export class Table {
    #sensors = [];
    #rows = new Map(); // sensor: Row
    #free = [];

    /// `onOpen(sensor)`; `onSort(key)` when a heading is pressed; `alarmState(sensor)` gives a class.
    constructor(scroll, table, { onOpen, onSort, alarmState }) {
        this.scroll = scroll;
        this.table = table;
        this.alarmState = alarmState;
        this.onOpen = onOpen;
        this.top = element("tr", { className: "spacer", ariaHidden: "true" }, element("td"));
        this.bottom = this.top.cloneNode(true);
        table.tBodies[0].append(this.top, this.bottom);
        this.#buildHead(onSort);
        this.measure();
        scroll.addEventListener("scroll", () => this.onScroll?.(), { passive: true });
        table.tBodies[0].addEventListener("click", (event) => this.#open(event.target));
        table.tBodies[0].addEventListener("keydown", (event) => this.#key(event));
    }

    /// Sizes that follow from the size of the letters and the width of the window.
    measure() {
        const rem = parseFloat(getComputedStyle(document.documentElement).fontSize);
        const width = this.scroll.clientWidth;
        this.isNarrow = width <= NARROW_REM * rem;
        this.rowHeight = Math.round((this.isNarrow ? 3.2 : 2.1) * rem);
        this.table.style.setProperty("--row", `${this.rowHeight}px`);
        const course = this.isNarrow ? 4.5 : width >= WIDE_REM * rem ? 20 : 8;
        this.course = { width: Math.round(course * rem), height: Math.round(1.6 * rem) };
        this.table.style.setProperty("--course", `${this.course.width}px`);
        this.height = this.scroll.clientHeight;
        this.head = this.table.tHead.offsetHeight;
        for (const row of this.#rows.values()) row.step = -1;
    }

    showSort(key, isDown) {
        this.headings.forEach((heading, i) => {
            if (COLUMNS[i].key !== key) heading.removeAttribute("aria-sort");
            else heading.setAttribute("aria-sort", isDown ? "descending" : "ascending");
        });
    }

    translate() {
        this.headings.forEach((heading, i) => {
            const button = heading.firstChild;
            button.textContent = text(COLUMNS[i].key);
            button.title = COLUMNS[i].key === "course" ? text("courseHint") : headingLabel(COLUMNS[i]);
        });
    }

    setSensors(sensors) {
        this.#sensors = sensors;
        this.table.ariaRowCount = sensors.length + 1;
    }

    /// Writes what has changed in the rows that are seen.
    draw(now) {
        this.#place();
        for (const row of this.#rows.values()) {
            this.colour ??= getComputedStyle(row.canvas).color;
            this.#fill(row, now);
        }
    }

    /// The colours have changed.
    recolour() {
        this.colour = null;
        for (const row of this.#rows.values()) row.step = -1;
    }

    #buildHead(onSort) {
        this.headings = COLUMNS.map(({ key, isNumber }) => {
            const button = element("button", { type: "button" });
            button.addEventListener("click", () => onSort(key));
            const heading = element("th", { className: `c-${key}${isNumber ? " number" : ""}` }, button);
            heading.scope = "col";
            return heading;
        });
        this.table.querySelector("colgroup").append(
            ...COLUMNS.map(({ key }) => element("col", { className: `c-${key}` })));
        this.table.tHead.append(element("tr", { ariaRowIndex: 1 }, ...this.headings));
    }

    /// Puts the rows where the scrolling wants them.
    #place() {
        const first = Math.max(0, Math.floor(this.scroll.scrollTop / this.rowHeight) - SPARE_ROWS);
        const seen = Math.ceil(this.height / this.rowHeight) + 2 * SPARE_ROWS;
        const last = Math.min(this.#sensors.length, first + seen);
        const wanted = new Set(this.#sensors.slice(first, last));
        const focused = this.table.contains(document.activeElement) ? document.activeElement : null;
        for (const [sensor, row] of this.#rows) {
            if (wanted.has(sensor)) continue;
            if (row.element.contains(focused)) this.scroll.focus({ preventScroll: true });
            this.#rows.delete(sensor);
            this.#free.push(row);
        }
        let cursor = this.top.nextSibling;
        for (let index = first; index < last; index += 1) {
            const sensor = this.#sensors[index];
            let row = this.#rows.get(sensor);
            if (!row) {
                row = this.#free.pop() ?? new Row();
                row.bind(sensor);
                this.#rows.set(sensor, row);
            }
            row.setIndex(index);
            if (row.element === cursor) cursor = cursor.nextSibling;
            else this.table.tBodies[0].insertBefore(row.element, cursor);
        }
        for (const row of this.#free) row.element.remove();
        this.#space(this.top, first);
        this.#space(this.bottom, this.#sensors.length - last);
        // A row that is moved in the document loses the focus.
        if (focused?.isConnected && focused !== document.activeElement) focused.focus({ preventScroll: true });
    }

    #space(spacer, rows) {
        const height = `${rows * this.rowHeight}px`;
        if (spacer.shown === height) return;
        spacer.shown = height;
        spacer.firstChild.style.height = height;
        spacer.hidden = rows === 0;
    }

    #fill(row, now) {
        const { sensor } = row;
        const condition = sensor.condition(now);
        row.setClass(`s-${condition} ${this.alarmState(sensor)}`);
        row.set("state", text(condition));
        row.set("place", this.isNarrow ? `${text(condition)} · ${sensor.gateway.name}` : sensor.gateway.name);
        for (const column of COLUMNS) if (column.cell) row.set(column.key, column.cell(sensor, now));
        row.set("unit", sensor.current?.value == null ? "" : sensor.current.unit);
        if (this.isNarrow) row.set("smallAge", ageText(sensor.age(now)));
        const time = now - sensor.gateway.clock.ms;
        const step = Math.floor(time / stepOf(this.course.width));
        if (row.step === step && row.late === sensor.late) return;
        row.step = step;
        row.late = sensor.late;
        this.#drawCourse(row, time);
    }

    #drawCourse({ canvas, sensor }, time) {
        const scale = window.devicePixelRatio || 1;
        const width = Math.round(this.course.width * scale);
        const height = Math.round(this.course.height * scale);
        if (canvas.width !== width) canvas.width = width;
        if (canvas.height !== height) canvas.height = height;
        drawSparkline(canvas, sensor.series, time, sensor.pause_ms, this.colour);
    }

    #sensorOf(node) {
        const tr = node.closest("tr");
        for (const row of this.#rows.values()) if (row.element === tr) return row.sensor;
        return null;
    }

    #open(target) {
        const sensor = this.#sensorOf(target);
        if (!sensor) return;
        this.#rows.get(sensor).name.focus({ preventScroll: true });
        this.onOpen(sensor);
    }

    #key(event) {
        const page = Math.max(1, Math.floor((this.height - this.head) / this.rowHeight) - 1);
        const steps = { ArrowDown: 1, ArrowUp: -1, PageDown: page, PageUp: -page, Home: -Infinity, End: Infinity };
        const step = steps[event.key];
        const sensor = this.#sensorOf(event.target);
        if (step === undefined || !sensor) return;
        event.preventDefault();
        const index = this.#sensors.indexOf(sensor) + step;
        this.#focus(Math.max(0, Math.min(this.#sensors.length - 1, index)));
    }

    #focus(index) {
        const top = index * this.rowHeight;
        const bottom = top + this.rowHeight + this.head - this.height;
        if (this.scroll.scrollTop > top) this.scroll.scrollTop = top;
        else if (this.scroll.scrollTop < bottom) this.scroll.scrollTop = bottom;
        this.#place();
        this.#rows.get(this.#sensors[index])?.name.focus({ preventScroll: true });
    }
}
