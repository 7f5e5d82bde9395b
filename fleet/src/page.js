// Small helpers for the page. Text goes in as text only: nothing here, or anywhere else, writes HTML.

import { text } from "./texts.js";

export const byId = (id) => document.getElementById(id);

/// An element with properties and children; strings become text.
export function element(name, properties = {}, ...children) {
    const made = document.createElement(name);
    for (const [key, value] of Object.entries(properties)) {
        if (key in made) made[key] = value;
        else made.setAttribute(key, value);
    }
    made.append(...children);
    return made;
}

/// Writes only what differs, so that nothing is laid out in vain and no selection is lost.
export function setText(node, string) {
    if (node.textContent !== string) node.textContent = string;
}

/// Fills in the texts of everything below a node that names one.
export function translate(root = document) {
    for (const node of root.querySelectorAll("[data-text]")) setText(node, text(node.dataset.text));
    for (const node of root.querySelectorAll("[data-title]")) node.title = text(node.dataset.title);
    for (const node of root.querySelectorAll("[data-label]")) node.setAttribute("aria-label", text(node.dataset.label));
    for (const node of root.querySelectorAll("[data-placeholder]")) node.placeholder = text(node.dataset.placeholder);
}

/// A table of plain texts.
export function textTable(headings, rows) {
    const cells = (name, row) => row.map((cell) => element(name, {}, cell));
    return element("table", {},
        element("thead", {}, element("tr", {}, ...cells("th", headings))),
        element("tbody", {}, ...rows.map((row) => element("tr", {}, ...cells("td", row)))));
}
