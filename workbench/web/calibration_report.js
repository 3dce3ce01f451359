// How good a calibration is: sentences, numbers, each photograph's error, and where the corners are.

import * as api from "./api.js";
import {el, panel, svg} from "./dom.js";
import {sentence} from "./messages.js";
import {nameOfPath} from "./state.js";

const fixed = (value, digits) => (Number.isFinite(value) ? value.toFixed(digits) : "–");

function findings(data) {
    return el("ul", {class: "findings"}, (data.findings ?? []).map(({good, sentence: text}) =>
        el("li", {class: good ? "good" : "mind"}, sentence(text))));
}

function numbers(rows) {
    return el("dl", {class: "numbers"}, rows.filter(([, value]) => value !== null).map(([name, value]) =>
        el("div", {}, el("dt", {}, name), el("dd", {"data-number": name}, value))));
}

function bar(value, largest) {
    const width = largest > 0 ? Math.max(1, 100 * value / largest) : 0;
    return svg("svg", {class: "errorbar", viewBox: "0 0 100 10", preserveAspectRatio: "none", "aria-hidden": "true"},
        svg("rect", {x: 0, y: 0, width, height: 10}));
}

// A table of photographs or pairs. `use` holds those that take part in the next fit.
function errorTable(rows, use, label) {
    const largest = Math.max(...rows.map(({rms}) => rms ?? 0));
    return el("div", {class: "scroll"}, el("table", {}, el("caption", {}, label),
        el("thead", {}, el("tr", {}, ["Use", "Photograph", "rms, pixels", ""].map((title) => el("th", {}, title)))),
        el("tbody", {}, rows.map(({names, rms, reason}) => el("tr", {},
            el("td", {}, el("input", {type: "checkbox", checked: use.has(names[0]),
                "aria-label": `Use ${names.join(" and ")}`,
                onchange: (event) => (event.target.checked ? use.add(names[0]) : use.delete(names[0]))})),
            el("td", {}, el("span", {class: "photo"},
                el("img", {src: api.thumbnailUrl(names[0]), alt: "", loading: "lazy"}), names.join(", "))),
            el("td", {}, reason ? reason : fixed(rms, 3)),
            el("td", {class: "wide"}, reason ? null : bar(rms, largest)))))));
}

// Every corner that was found, in the frame of the image: where there are none, the lens is a guess.
function cornersDrawing({images, imageSize}) {
    const [width, height] = imageSize;
    const dots = images.flatMap(({corners}) => corners).map(([cx, cy]) => svg("circle", {cx, cy, r: width / 200}));
    return el("figure", {class: "drawn"}, svg("svg", {viewBox: `-0.5 -0.5 ${width} ${height}`, role: "img",
        "aria-label": "All corners of all photographs in the image"},
    svg("rect", {x: -0.5, y: -0.5, width, height, class: "frameline"}), dots),
    el("figcaption", {}, "All corners of all photographs. Where there are none, the lens is a guess."));
}

function parameterTable({parameters}) {
    return el("table", {}, el("caption", {}, "Parameters, with one standard deviation"), el("tbody", {},
        parameters.map(({name, value, deviation}) => el("tr", {}, el("td", {}, name), el("td", {}, fixed(value, 4)),
            el("td", {}, `± ${fixed(deviation, 4)}`)))));
}

// The photographs of an answer with their errors, those that were left out last.
function rowsOf(data, names) {
    const rows = data.pairs
        ? data.pairs.map(({left, right, rms}) => ({names: [left, right].map((path) => nameOfPath(path, names)), rms}))
        : (data.images ?? []).map(({file, rms}) => ({names: [nameOfPath(file, names)], rms}));
    for (const {file, reason, rms} of [...(data.leftOut ?? []), ...(data.dropped ?? [])]) {
        if (file) {
            rows.push({names: [nameOfPath(file, names)], reason: reason ?? `dropped, ${fixed(rms, 3)}`});
        }
    }
    return rows;
}

// The report as an element, and the set of photographs to use next, by the first name of each row.
export function report(data, {names, page}) {
    const rows = rowsOf(data, names);
    const use = new Set(rows.filter(({reason}) => !reason).map(({names: [first]}) => first));
    const camera = data.pairs ? null : data;
    const pixels = (value, digits) => (Number.isFinite(value) ? `${fixed(value, digits)} pixels` : null);
    const element = panel("The calibration", findings(data),
        numbers([["rms", pixels(data.rms, 3)],
            ["Focal length", pixels(camera?.CameraMatrix[0][0], 1)],
            ["Cross-validation", pixels(camera?.crossValidation?.otherRms, 3)],
            ["Row error (median)", pixels(data.rowError?.median, 3)],
            ["Distance of the cameras", Number.isFinite(data.baseline) ? fixed(data.baseline, 2) : null],
            ["Square, measured", Number.isFinite(data.square?.median) ? fixed(data.square.median, 3) : null]]),
        errorTable(rows, use, "Take the tick away to leave one out, then fit again."),
        el("div", {class: "panels"}, camera?.images && camera.imageSize ? cornersDrawing(camera) : null,
            camera?.parameters ? parameterTable(camera) : null),
        page ? el("p", {}, el("a", {href: api.resultUrl(page.id), target: "_blank", rel: "noopener"},
            "The whole report, with all drawings")) : null);
    return {element, use};
}
