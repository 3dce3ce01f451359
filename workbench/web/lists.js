// What a command found, as a count, a table and drawings on the image.

import {el, svg} from "./dom.js";

const mostRows = 1000;

const kinds = {
    segments: {
        one: "segment", many: "segments", columns: ["x1", "y1", "x2", "y2"], row: (segment) => segment,
        draw: ([x1, y1, x2, y2]) => svg("line", {x1, y1, x2, y2, class: "outline"}),
    },
    corners: {
        one: "corner", many: "corners", columns: ["x", "y"],
        row: (corner) => corner.map((value) => value.toFixed(2)),
        draw: ([cx, cy]) => svg("circle", {cx, cy, r: 4, class: "outline"}),
    },
    faces: {
        one: "face", many: "faces", columns: ["left", "top", "right", "bottom"],
        row: ({left, top, right, bottom}) => [left, top, right, bottom],
        draw: ({left, top, right, bottom}) =>
            svg("rect", {x: left - 0.5, y: top - 0.5, width: right - left, height: bottom - top, class: "outline"}),
    },
};

const listOf = (data) => Object.entries(kinds).find(([name]) => Array.isArray(data?.[name]));

// The drawings of what was found, for a viewer.
export function drawingsOf(data) {
    const found = listOf(data);
    return found ? data[found[0]].map(found[1].draw) : [];
}

// The count and the table, or null if the command makes no list.
export function listElement(data) {
    const found = listOf(data);
    if (!found) {
        return null;
    }
    const [name, kind] = found;
    const list = data[name];
    const rows = list.slice(0, mostRows).map((item, i) =>
        el("tr", {}, el("td", {}, String(i + 1)), kind.row(item).map((value) => el("td", {}, String(value)))));
    return el("div", {},
        el("p", {class: "count"}, `${list.length} ${list.length === 1 ? kind.one : kind.many} found` +
            (list.length > mostRows ? `; the first ${mostRows}:` : ".")),
        list.length === 0 ? null : el("div",
            {class: "scroll", tabindex: 0, role: "region", "aria-label": "What was found"},
            el("table", {}, el("thead", {}, el("tr", {}, ["", ...kind.columns].map((title) => el("th", {}, title)))),
                el("tbody", {}, rows))));
}
