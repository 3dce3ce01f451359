// Calibrating: photographs of a board, the fit, how good it is, and what it is used for.

import * as api from "./api.js";
import {BoardPanel} from "./board_panel.js";
import {CommandLine} from "./command_line.js";
import {report} from "./calibration_report.js";
import {el, button, labelled, panel} from "./dom.js";
import {LongRun} from "./long_run.js";
import {pairsOf} from "./pairs.js";
import {PairSpace} from "./pair_space.js";
import {Saving} from "./saving.js";
import {formatNames, parseNames} from "./state.js";
import {UndistortPanel} from "./undistort_panel.js";

export class Calibrate {
    constructor(page) {
        this.page = page;
        this.names = [];
        this.kind = el("select", {onchange: () => this.changed()}, el("option", {value: "one"}, "one camera"),
            el("option", {value: "pair"}, "a pair of cameras"));
        const count = (label) => el("input", {type: "number", min: 2, max: 100, "aria-label": label,
            oninput: () => this.changed()});
        this.across = count("Inner corners per row");
        this.down = count("Inner corners per column");
        this.square = el("input", {type: "number", min: 0, step: "any", oninput: () => this.changed()});
        this.metric = el("input", {type: "checkbox", onchange: () => this.changed()});
        this.pairFields = el("div", {class: "fields"}, labelled("Edge of a square", this.square, "mm"),
            labelled("Metric: measured points are lengths", this.metric));
        this.print = new BoardPanel(() => this.board());
        this.chosen = el("p", {class: "hint", role: "status"});
        this.run = new LongRun("Calibrate", {request: () => this.request(), onDone: (...all) => this.done(...all)});
        this.line = new CommandLine();
        this.result = el("div", {class: "work"});
        this.undistort = new UndistortPanel(page);
        this.space = new PairSpace(page);
        this.keeping = new Saving(() => this.folder, () => {}, {label: "Keep the calibration's folder as",
            save: (folder, name) => api.keep(folder, name)});
        this.element = el("div", {class: "work calibrate"},
            panel("Photographs of a chessboard", el("p", {class: "hint"},
                "Choose ten to twenty photographs in the list: the whole board in each, tilted to all sides, in all " +
                "corners of the image. Those of a pair are put together by their names, such as left01 and right01."),
            el("div", {class: "fields"}, labelled("Calibrate", this.kind),
                el("div", {class: "field", role: "group", "aria-label": "Inner corners of the board"},
                    el("span", {class: "label"}, "Inner corners of the board"),
                    el("span", {class: "size"}, this.across, "×", this.down)), this.pairFields),
            this.print.element, this.chosen, this.run.element, this.line.element), this.result);
    }

    choose(names) {
        this.names = names;
        this.changed();
    }

    show(values) {
        this.kind.value = values.kind === "pair" ? "pair" : "one";
        [this.across.value, this.down.value] = /^\d+x\d+$/.test(values.board ?? "") ? values.board.split("x") : [9, 6];
        this.square.value = values.square ?? 25;
        this.metric.checked = values.metric !== "0";
        this.names = parseNames(values.images);
        this.page.showChosen(this, this.names, true);
        this.changed();
    }

    changed() {
        const pair = this.kind.value === "pair";
        this.pairFields.hidden = !pair;
        this.page.keep(this, {image: this.page.carried().image, kind: pair ? "pair" : "", board: this.board(),
            square: pair ? this.square.value : "", metric: pair && !this.metric.checked ? "0" : "",
            images: formatNames(this.names)});
        const {pairs, single} = pairsOf(this.names);
        const without = single.length > 0 ? ` Without a partner: ${single.join(", ")}.` : "";
        this.chosen.textContent = pair ? `${pairs.length} pairs are chosen.${without}`
            : `${this.names.length} photographs are chosen.`;
    }

    board() {
        return `${this.across.value}x${this.down.value}`;
    }

    // What to run, or why it cannot be.
    request(use = null) {
        const options = {board: this.board(), report: true};
        if (this.kind.value === "one") {
            const images = this.names.filter((name) => !use || use.has(name));
            return images.length > 0 ? {command: "calib", images, options}
                : "Choose photographs of the board in the list";
        }
        const pairs = pairsOf(this.names).pairs.filter(([left]) => !use || use.has(left));
        if (pairs.length === 0) {
            return "Choose the photographs of both cameras, named like left01 and right01";
        }
        return {command: "stereo-calib", images: pairs.flat(),
            options: {...options, square: Number(this.square.value), metric: this.metric.checked}};
    }

    done(answer, request) {
        const {data, results} = answer;
        const folder = results.find(({kind}) => kind === "folder");
        const page = results.find(({kind}) => kind === "page");
        const {element, use} = report(data, {names: request.images, page});
        const again = new LongRun("Fit again",
            {request: () => this.request(use), onDone: (...all) => this.done(...all)});
        element.append(again.element,
            button("Choose these photographs only", () => this.keepOnly(use), {class: "quiet"}));
        element.append(this.keeping.element);
        this.folder = folder;
        this.keeping.suggest(folder.name);
        this.line.show(answer.commandLine);
        if (request.command === "calib") {
            this.result.replaceChildren(element, this.undistort.element);
            this.undistort.show(folder, request.images);
        } else {
            const {pairs} = pairsOf(request.images);
            this.result.replaceChildren(element, this.space.element);
            this.space.show(folder, pairs, data.metric);
        }
    }

    keepOnly(use) {
        this.names = this.kind.value === "one" ? [...use]
            : pairsOf(this.names).pairs.filter(([left]) => use.has(left)).flat();
        this.page.showChosen(this, this.names, true);
        this.changed();
    }
}
