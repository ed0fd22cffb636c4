"use strict";

/** An element. A child that is a string becomes text, whatever is in it. */
function element(name, attributes, ...children) {
    const made = document.createElement(name);
    for (const [key, value] of Object.entries(attributes || {})) made.setAttribute(key, value);
    made.append(...children.filter((child) => child !== null));
    return made;
}

/** A text from outside: its direction of writing stays its own. */
function foreign(text) {
    return element("bdi", {}, text);
}

function heading(level, text) {
    return element("h" + level, {}, text);
}

function note(text) {
    return text ? element("p", {class: "note"}, joined(text)) : null;
}

/** Keeps a number and its unit on one line. */
function joined(text) {
    return text.replace(/(\d) (?=(?:%|°C|IOPS|[kMGTPE]?B|h|min|s|d)(?![a-z]))/g, "$1\u00a0");
}

/** Pairs of a label and a text. */
function facts(lines) {
    return element("dl", {}, ...lines.flatMap(([label, text]) =>
        [element("dt", {}, label), element("dd", {}, joined(text))]));
}

function row(columns, cells, headings) {
    return element("tr", {}, ...cells.map((cell, i) => {
        const kind = [columns[i].number ? "number" : "", columns[i].prose ? "prose" : ""].join(" ").trim();
        const attributes = kind ? {class: kind} : {};
        if (headings) return element("th", {...attributes, scope: "col"}, cell);
        return i === 0 ? element("th", {...attributes, scope: "row"}, cell) : element("td", attributes, cell);
    }));
}

/** A table that scrolls within the page, by keys as well, when it is too wide for it. */
function table(caption, columns, rows) {
    const made = element("table", {}, element("caption", {}, element("span", {}, caption)),
        element("thead", {}, row(columns, columns.map((column) => column.heading || "Remark"), true)),
        element("tbody", {}, ...rows.map((cells) => row(columns, cells, false))));
    return element("div", {class: "wide", role: "region", "aria-label": caption, tabindex: "0"}, made);
}

/** What is behind a summary is made when somebody opens it: there may be thousands of rows. */
function details(summary, make) {
    const made = element("details", {}, element("summary", {}, summary));
    made.addEventListener("toggle", () => made.append(...make()), {once: true});
    return made;
}

const kSvg = "http://www.w3.org/2000/svg";

/** The signs that tell the marks of a chart apart, also without colours. */
const kSigns = {
    point: ["circle", {cx: 14, cy: 8, r: 5, fill: "currentColor"}],
    ring: ["circle", {cx: 14, cy: 8, r: 6, fill: "none", stroke: "currentColor", "stroke-width": 2}],
    line: ["path", {d: "M0 8H28", stroke: "currentColor", "stroke-width": 2}],
    dashes: ["path", {d: "M0 8H28", stroke: "currentColor", "stroke-width": 2, "stroke-dasharray": "7 4"}],
    dots: ["path", {d: "M1 8H28", stroke: "currentColor", "stroke-width": 2, "stroke-dasharray": "2 4"}],
    band: ["rect", {x: 0, y: 2, width: 28, height: 12, fill: "currentColor", opacity: 0.3}],
};

/** @param entries [sign, name of the colour, text] each */
function legend(entries) {
    return element("ul", {class: "legend"}, ...entries.map(([sign, colour, text]) => {
        const drawn = document.createElementNS(kSvg, "svg");
        const attributes = {width: 28, height: 16, "aria-hidden": "true", style: `color: var(--${colour})`};
        for (const [key, value] of Object.entries(attributes)) drawn.setAttribute(key, value);
        const mark = document.createElementNS(kSvg, kSigns[sign][0]);
        for (const [key, value] of Object.entries(kSigns[sign][1])) mark.setAttribute(key, value);
        drawn.append(mark);
        return element("li", {}, drawn, text);
    }));
}
