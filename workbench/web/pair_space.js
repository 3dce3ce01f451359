// A rectified pair: the same point is in the same row of both images, and clicked in both it is a
// point in space.

import * as api from "./api.js";
import {CommandLine} from "./command_line.js";
import {startCorners} from "./coords.js";
import {el, button, labelled, panel, svg} from "./dom.js";
import {Handles} from "./handles.js";
import {latestOnly} from "./latest.js";
import {Messages} from "./messages.js";
import {distance, notMetric, pointText} from "./space.js";
import {Viewer} from "./viewer.js";

const shownPixels = 4000000;
const rowLines = 12;

export class PairSpace {
    constructor(page) {
        this.select = el("select", {onchange: () => this.change()});
        this.unit = el("input", {type: "text", value: "mm", oninput: () => this.measure()});
        this.views = ["Left, rectified", "Right, rectified"].map((label) => new Viewer(label));
        this.views[0].link(this.views[1]);
        this.rows = this.views.map((view) => {
            const group = svg("g", {class: "rowlines"});
            view.drawing.append(group);
            return group;
        });
        this.handles = this.views.map((view, i) => new Handles(view, {
            names: [`The point, ${i === 0 ? "left" : "right"}`], closed: false,
            kind: i === 0 ? "marked" : "target", onChange: () => this.moved(i)}));
        this.views.forEach((view, i) => view.onClick((point) => {
            if (this.handles[i].points.length > 0) {
                this.handles[i].place(0, point);
            }
        }));
        this.messages = new Messages();
        this.line = new CommandLine();
        this.current = el("p", {class: "count", role: "status"});
        this.points = [];
        this.table = el("tbody", {});
        // A point that is asked for does not take the place of a pair that waits.
        this.working = new Set();
        const queue = (run) => latestOnly(run, (failure) => page.fail(failure), (idle) => this.showBusy(run, !idle));
        this.askPair = queue((pair, signal) => this.rectify(pair, signal));
        this.askPoint = queue((points, signal) => this.locate(points, signal));
        this.element = panel("Measure in the rectified pair", labelled("Pair", this.select),
            labelled("Unit", this.unit),
            el("p", {class: "hint"}, "Click a point in the left image, then the same point in the right one, or move " +
                "the two. They stay in one row."),
            el("div", {class: "pair"}, this.views.map((view) => view.element)), this.messages.element, this.current,
            el("div", {class: "row"}, button("Keep this point", () => this.keep()),
                button("Clear", () => this.clear())),
            el("div", {class: "scroll"}, el("table", {class: "points"}, el("thead", {}, el("tr", {},
                ["Point", "x", "y", "z", "From the one before"].map((title) => el("th", {}, title)))), this.table)),
            this.line.element);
    }

    // metric  whether the calibration's lengths have a unit
    show(folder, pairs, metric) {
        this.folder = folder;
        this.pairs = pairs;
        this.metric = metric;
        this.unit.disabled = !metric;
        this.select.replaceChildren(...pairs.map((pair, i) => el("option", {value: i}, pair.join(", "))));
        this.clear();
        this.change();
    }

    showBusy(run, working) {
        this.working[working ? "add" : "delete"](run);
        this.element.setAttribute("aria-busy", String(this.working.size > 0));
    }

    change() {
        this.askPair.drop();
        this.askPoint.drop();
        this.askPair(this.pairs[Number(this.select.value)]);
    }

    async rectify(pair, signal) {
        this.wasMoved = false;
        this.point = null;
        this.current.textContent = "";
        this.handles.forEach((handles) => handles.set(null));
        for (const [i, view] of this.views.entries()) {
            const answer = await api.run({command: "rectify", images: [pair[i]],
                options: {calib: {result: this.folder.id}, camera: i + 1}}, signal);
            if (!this.messages.showAnswer(answer)) {
                return;
            }
            const shown = await api.resultToShow(answer.results.find(({kind}) => kind === "image"), shownPixels,
                undefined, signal);
            const before = view.image;
            view.setImage(shown);
            before?.release();
            view.caption.textContent = pair[i];
            this.drawRows(i, shown);
        }
        const [, , [right, bottom]] = startCorners(this.views[0].image);
        const middle = [Math.round(right * 0.6), Math.round(bottom * 0.6)];
        this.handles[0].set([middle]);
        this.handles[1].set([[middle[0] - Math.round(right * 0.05), middle[1]]]);
    }

    drawRows(i, {width, height}) {
        this.rows[i].replaceChildren(...Array.from({length: rowLines}, (_, row) => {
            const y = (row + 0.5) * height / rowLines - 0.5;
            return svg("line", {x1: -0.5, x2: width - 0.5, y1: y, y2: y});
        }));
    }

    // The other point follows into the row.
    moved(i) {
        this.wasMoved = true;
        const other = this.handles[1 - i];
        other.set([[other.points[0][0], this.handles[i].points[0][1]]]);
        this.measure();
    }

    measure() {
        const [p1, p2] = this.handles.map((handles) => handles.points[0]);
        if (p1 && p2 && this.wasMoved) {
            this.askPoint([p1, p2]);
        }
    }

    async locate([p1, p2], signal) {
        const options = {calib: {result: this.folder.id}, p1, p2};
        if (this.metric && this.unit.value.trim()) {
            options.unit = this.unit.value.trim();
        }
        const answer = await api.run({command: "measure", images: [], options}, signal);
        this.line.show(answer.commandLine);
        const unsaid = answer.data?.metric === false && answer.messages.length === 0;
        const done = this.messages.showAnswer(answer, unsaid ? [notMetric] : []);
        this.point = done ? answer.data : null;
        this.current.textContent = done ? `Point in space: ${pointText(answer.data)}` : "";
    }

    keep() {
        if (this.point) {
            this.points.push(this.point);
            this.drawTable();
        }
    }

    clear() {
        this.points = [];
        this.drawTable();
    }

    drawTable() {
        this.table.replaceChildren(...this.points.map((point, i) => el("tr", {}, el("td", {}, String(i + 1)),
            ["x", "y", "z"].map((axis) => el("td", {}, point[axis]?.toFixed(2) ?? "infinitely far")),
            el("td", {}, i === 0 ? "" : distance(this.points[i - 1], point)))));
    }
}
