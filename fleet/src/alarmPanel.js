// The alarms above the table: announced once, acknowledged one by one or all together.

import { byId, element, setText } from "./page.js";
import { locale, span, text } from "./texts.js";
import { lengthText } from "./units.js";

const MOST_SHOWN = 50;
const MOST_SPOKEN = 3;
const COLLECT_MS = 300;

export class AlarmPanel {
    #waiting = [];
    #drawn = "";

    constructor(alarms, fleet, { onOpen }) {
        this.alarms = alarms;
        this.fleet = fleet;
        alarms.onAnnounce = (alarm) => this.#announce(alarm);
        byId("acknowledgeAll").addEventListener("click", () => this.#acknowledge());
        byId("alarmList").addEventListener("click", (event) => {
            const { key, open } = event.target.dataset;
            if (key !== undefined) this.#acknowledge([key]);
            else if (open !== undefined && fleet.sensors.has(open)) onOpen(fleet.sensors.get(open));
        });
    }

    /// Draws the list if it has changed; in any case after a change of the language.
    draw() {
        const state = `${this.alarms.changes} ${locale()}`;
        if (state === this.#drawn) return;
        this.#drawn = state;
        const list = this.alarms.sorted();
        const open = list.filter((alarm) => !alarm.isAcknowledged).length;
        document.title = `${open > 0 ? `(${open}) ` : ""}${text("title")}`;
        byId("alarms").hidden = list.length === 0;
        setText(byId("alarmCount"), `${text("alarms")}: ${list.length}`);
        byId("acknowledgeAll").hidden = open === 0;
        const focused = document.activeElement?.dataset?.key;
        byId("alarmList").replaceChildren(...list.slice(0, MOST_SHOWN).map((alarm) => this.#item(alarm)));
        if (focused !== undefined) (byId("alarmList").querySelector("button[data-key]") ?? byId("search")).focus();
    }

    #item(alarm) {
        const sentence = this.#sentence(alarm);
        const name = element("button", { type: "button", className: "name" }, sentence);
        name.dataset.open = alarm.id;
        const time = text("alarmSince", new Date(alarm.since).toLocaleTimeString(locale()));
        const notes = [time, alarm.isOver && text("alarmOver"), alarm.isAcknowledged && text("acknowledged")];
        const item = element("li", { className: alarm.isAcknowledged ? "acknowledged" : alarm.isOver ? "over" : "" },
            name, element("span", { className: "quiet" }, notes.filter(Boolean).join(", ")));
        if (!alarm.isAcknowledged) {
            const button = element("button", { type: "button" }, text("acknowledge"));
            button.ariaLabel = text("acknowledgeOne", sentence);
            button.dataset.key = alarm.key;
            item.append(button);
        }
        return item;
    }

    #sentence({ kind, id, measured }) {
        const sensor = this.fleet.sensors.get(id);
        const name = sensor ? `${sensor.name} (${sensor.gateway.name})` : id;
        if (kind === "silent") return text("alarmSilent", name, span(this.alarms.limits.get(id).silent_s));
        const unit = sensor?.current?.unit;
        const limit = this.alarms.limits.get(id)[`${kind}_mm`];
        const sentence = kind === "low" ? "alarmLow" : "alarmHigh";
        return text(sentence, name, lengthText(measured, unit), lengthText(limit, unit));
    }

    #acknowledge(keys) {
        this.alarms.acknowledge(keys);
        this.draw();
    }

    /// Many alarms at once are one announcement.
    #announce(alarm) {
        if (this.#waiting.push(this.#sentence(alarm)) > 1) return;
        setTimeout(() => {
            const more = this.#waiting.length - MOST_SPOKEN;
            const spoken = this.#waiting.slice(0, MOST_SPOKEN).join(". ");
            byId("announcement").textContent = more > 0 ? `${spoken}. ${text("alarmMore", more)}` : spoken;
            this.#waiting = [];
        }, COLLECT_MS);
    }
}
