// What a command found, as a count and a table.

import {el} from "./dom.js";

const mostRows = 1000;

const kinds = {
    segments: {
        one: "segment", many: "segments", columns: ["x1", "y1", "x2", "y2"], row: (segment) => segment,
    },
    corners: {
        one: "corner", many: "corners", columns: ["x", "y"],
        row: (corner) => corner.map((value) => value.toFixed(2)),
    },
    faces: {
        one: "face", many: "faces", columns: ["left", "top", "right", "bottom"],
        row: ({left, top, right, bottom}) => [left, top, right, bottom],
    },
};

const listOf = (data) => Object.entries(kinds).find(([name]) => Array.isArray(data?.[name]));

const number = (count, one, many) => `${count} ${count === 1 ? one : many}`;

// What is only drawn, as a sentence, or null.
function drawnSentence({keypoints, matches} = {}) {
    if (matches !== undefined) {
        return `${number(matches, "match", "matches")} drawn, of ${keypoints[0]} and ${keypoints[1]} keypoints.`;
    }
    return Number.isInteger(keypoints) ? `${number(keypoints, "keypoint", "keypoints")} drawn.` : null;
}

// The count and the table, or null if the command makes no list.
export function listElement(data) {
    const found = listOf(data);
    if (!found) {
        const sentence = drawnSentence(data ?? {});
        return sentence ? el("p", {class: "count"}, sentence) : null;
    }
    const [name, kind] = found;
    const list = data[name];
    const rows = list.slice(0, mostRows).map((item, i) =>
        el("tr", {}, el("td", {}, String(i + 1)), kind.row(item).map((value) => el("td", {}, String(value)))));
    return el("div", {},
        el("p", {class: "count"}, `${number(list.length, kind.one, kind.many)} found` +
            (list.length > mostRows ? `; the first ${mostRows}:` : ".")),
        list.length === 0 ? null : el("div",
            {class: "scroll", tabindex: 0, role: "region", "aria-label": "What was found"},
            el("table", {}, el("thead", {}, el("tr", {}, ["", ...kind.columns].map((title) => el("th", {}, title)))),
                el("tbody", {}, rows))));
}
