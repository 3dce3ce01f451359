// Straightening: four corners on the photograph, and the corrected image beside it.

import * as api from "./api.js";
import {CommandLine} from "./command_line.js";
import {startCorners} from "./coords.js";
import {el, panel, svg} from "./dom.js";
import {Handles} from "./handles.js";
import {latestOnly} from "./latest.js";
import {Messages} from "./messages.js";
import {nameFor, Saving} from "./saving.js";
import {formatPoints, parsePoints, round} from "./state.js";
import {CornerFields, cornerNames} from "./straighten_corners.js";
import {StraightenNumbers} from "./straighten_numbers.js";
import {optionsOf, StraightenOptions} from "./straighten_options.js";
import {Viewer} from "./viewer.js";

const previewPixels = 1000000;
const sharpPixels = 24000000; // for the magnifier

export class Straighten {
    constructor(page) {
        this.page = page;
        this.image = "";
        this.photograph = new Viewer("The photograph");
        this.corrected = new Viewer("The corrected image");
        this.outline = svg("polygon", {class: "outline corrected"});
        this.corrected.drawing.append(this.outline);
        this.handles = new Handles(this.photograph, {names: cornerNames,
            onChange: (points) => this.setCorners(points)});
        this.fields = new CornerFields(this.photograph, {
            onChange: (points) => this.setCorners(points, true),
            onPropose: () => this.propose()});
        this.options = new StraightenOptions((values) => {
            this.values = values;
            this.changed();
        });
        this.numbers = new StraightenNumbers();
        this.messages = new Messages();
        this.line = new CommandLine();
        this.saving = new Saving(() => this.request(), (answer) => this.line.show(answer.commandLine));
        this.ask = latestOnly((request, signal) => this.preview(request, signal), (failure) => page.fail(failure),
            (idle) => this.showBusy(!idle));
        this.proposing = 0; // searches under way
        this.hint = el("p", {class: "hint"}, "Choose an image, or drop one onto the page.");
        this.element = el("div", {class: "work straighten"}, this.hint,
            el("div", {class: "pair"}, this.photograph.element, this.corrected.element),
            el("div", {class: "panels"},
                el("div", {class: "work"}, panel("Found", this.numbers.element, this.messages.element),
                    panel("Save", this.saving.element, this.line.element)),
                panel("Options", this.options.element),
                this.fields.element));
    }

    choose([image]) {
        this.page.go("straighten", {image});
    }

    // Shows the state of the address.
    async show(values) {
        this.page.showChosen(this, values.image ? [values.image] : [], false);
        this.options.set(values);
        this.values = this.options.values();
        if (!values.image) {
            return;
        }
        if (values.image !== this.image) {
            this.loading = this.load(values.image);
        }
        if (!await this.loading) {
            return;
        }
        this.hint.hidden = true;
        const corners = parsePoints(values.corners, 4);
        this.setCorners(corners ?? startCorners(this.shown), true);
        if (!corners) {
            await this.propose(true);
        }
    }

    // Loads the photograph. Returns whether that is still wanted and done.
    async load(image) {
        this.image = image;
        this.ask.drop();
        this.search?.abort();
        this.search = null;
        this.corners = null;
        this.handles.set(null);
        this.fields.set(null);
        this.corrected.setImage(null);
        this.numbers.clear();
        this.messages.clear();
        this.fields.say("");
        this.saving.suggest(nameFor(image, "converge"));
        try {
            await this.showPhotograph(image, previewPixels);
        } catch (failure) {
            if (this.image === image) {
                this.image = "";
                this.photograph.setImage(null);
                this.page.fail(failure);
            }
            return false;
        }
        if (this.image === image && this.shown.width * this.shown.height > previewPixels) {
            this.showPhotograph(image, sharpPixels).catch((failure) => this.page.fail(failure));
        }
        return this.image === image;
    }

    async showPhotograph(image, pixels) {
        const shown = await api.imageToShow(image, pixels);
        if (this.image !== image) {
            shown.release();
            return;
        }
        this.shown?.release();
        this.shown = shown;
        this.photograph.setImage(shown);
        this.photograph.caption.textContent = `${image}, ${shown.width} × ${shown.height}`;
    }

    setCorners(points, draw = false) {
        this.corners = points.map((point) => point.map(round));
        if (draw) {
            this.handles.set(this.corners);
        }
        this.fields.set(this.corners);
        this.changed();
    }

    // What to run, or why it cannot be.
    request() {
        if (!this.image || !this.corners) {
            return this.image ? "The image is not loaded yet" : "Choose an image in the list";
        }
        return {command: "converge", images: [this.image],
            options: optionsOf(this.values, this.corners)};
    }

    changed() {
        const request = this.request();
        if (typeof request !== "string") {
            this.page.keep(this, {image: this.image, corners: formatPoints(this.corners), ...this.values});
            this.ask(request);
        }
    }

    // One step: runs the correction on a reduced copy and shows what comes of it.
    async preview(request, signal) {
        const answer = await api.run({...request, pixels: previewPixels}, signal);
        if (request.images[0] !== this.image) {
            return;
        }
        this.page.fine(this);
        this.line.show(answer.commandLine);
        const remarks = (answer.data?.remarks ?? []).map((remark) => remark.text);
        const done = this.messages.showAnswer(answer, remarks);
        this.corrected.element.classList.toggle("stale", !done);
        if (!done) {
            this.numbers.clear();
            return;
        }
        this.numbers.show(answer.data);
        await this.showCorrected(answer, request, signal);
    }

    async showCorrected({data, results, reduced}, {images: [image], options}, signal) {
        const result = results.find(({kind}) => kind === "image");
        const {width, height} = data;
        const shown = await api.resultToShow(result, previewPixels, [width, height], signal);
        const waiting = new Image();
        waiting.src = shown.url;
        await waiting.decode();
        if (image !== this.image) {
            shown.release();
            return;
        }
        this.result?.release();
        this.result = shown;
        this.corrected.setImage(shown);
        const about = reduced && (options.crop || options.fit) ? "about " : ""; // reckoned from the copy
        this.corrected.caption.textContent = `Corrected, ${about}${width} × ${height}`;
        this.outline.setAttribute("points", data.corners.map((point) => point.join(",")).join(" "));
    }

    // Asks for proposals. If nothing was marked yet, the best one is taken.
    async propose(take = false) {
        const {image} = this;
        if (!image || !this.corners) { // none, or not loaded
            return;
        }
        const before = formatPoints(this.corners);
        this.fields.say("Looking for a rectangle.");
        this.search?.abort();
        const search = new AbortController();
        this.search = search;
        this.proposing += 1;
        this.showBusy();
        try {
            const answer = await api.run({command: "converge", images: [image],
                options: {auto: true}, pixels: previewPixels}, search.signal);
            const proposals = answer.data?.proposals ?? [];
            if (this.search !== search) {
                return;
            }
            if (proposals.length === 0) {
                this.fields.say("No rectangle stands out. Mark the corners yourself.");
            } else {
                this.fields.showProposals(proposals);
                if (take && formatPoints(this.corners) === before) {
                    this.setCorners(proposals[0].corners, true);
                }
            }
        } catch (failure) {
            if (this.search === search) {
                this.fields.say("");
                this.page.fail(failure);
            }
        } finally {
            this.proposing -= 1;
            this.showBusy();
        }
    }

    showBusy(working = this.working) {
        this.working = working;
        this.element.setAttribute("aria-busy", String(Boolean(working || this.proposing > 0)));
    }
}
