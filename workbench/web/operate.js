// Every operation on one image or two: its options as fields, its result beside the image.

import * as api from "./api.js";
import {CommandLine} from "./command_line.js";
import {Compare} from "./compare.js";
import {startCorners} from "./coords.js";
import {el, button, labelled, panel} from "./dom.js";
import {Form} from "./form.js";
import {latestOnly} from "./latest.js";
import {listElement} from "./lists.js";
import {Messages} from "./messages.js";
import {keptTexts, offered, pointsIn, pointsText, requestOptions} from "./option_values.js";
import {PointOptions} from "./point_options.js";
import {nameFor, Saving} from "./saving.js";
import {Viewer} from "./viewer.js";

const previewPixels = 1000000;
const shownPixels = 4000000;
const elsewhere = new Set(["converge", "undistort", "rectify", "track", "gallery"]);

// The operations of this workplace.
function operations(commands) {
    return commands.filter(({name, takes}) => !elsewhere.has(name) && (takes === "image" || takes === "two images"));
}

// A window of so many pixels covers more of the scene on a copy with fewer.
const reducedHint = (command) => (command === "denoise"
    ? "Shown on a reduced copy, where it smooths more: this is not what saving gives."
    : "Shown as a reduced copy; saving works in full size.");

export class Operate {
    constructor(page) {
        this.page = page;
        this.commands = operations(page.commands);
        this.texts = {};
        this.images = ["", ""];
        this.slot = 0; // which of two images the list chooses
        this.select = el("select", {class: "operation", "aria-label": "Operation",
            onchange: () => this.changeCommand(this.select.value)}, this.families());
        this.about = el("p", {class: "hint"});
        this.slots = el("select", {onchange: () => {
            this.slot = Number(this.slots.value);
            this.showChosen();
        }}, el("option", {value: 0}, "first"), el("option", {value: 1}, "second"));
        this.slotField = labelled("The list chooses the image that is", this.slots);
        this.formPlace = el("div", {});
        this.compare = new Compare("The image", "The result");
        this.second = new Viewer("The second image");
        this.points = new PointOptions(this.compare.before, this.second,
            (name, points) => this.pointsMoved(name, points));
        this.messages = new Messages();
        this.found = el("div", {class: "found"});
        this.line = new CommandLine();
        this.saving = new Saving(() => this.request(), (answer) => this.line.show(answer.commandLine));
        this.ask = latestOnly((request, signal) => this.run(request, signal), (failure) => page.fail(failure),
            (idle) => this.showBusy(!idle));
        this.busy = el("div", {class: "row late", hidden: true}, el("span", {}, "Working."),
            button("Stop", () => this.stop(), {class: "quiet"}));
        this.element = el("div", {class: "work operate"},
            el("div", {class: "work side"},
                panel("Operation", this.select, this.about, this.slotField, this.formPlace),
                panel("Result", this.found, this.messages.element, this.busy),
                panel("Save", this.saving.element, this.line.element)),
            this.compare.element);
        this.compare.left.after(this.second.element);
    }

    families() {
        const names = [...new Set(this.commands.map(({family}) => family))];
        return names.map((family) => el("optgroup", {label: family}, this.commands
            .filter((command) => command.family === family).map(({name}) => el("option", {value: name}, name))));
    }

    choose([image]) {
        const images = [...this.images];
        images[this.slot] = image;
        this.page.go("operate", this.stateOf({...this.texts}, images));
    }

    stateOf(texts, images = this.images) {
        const kept = images[0] === this.images[0] ? keptTexts(this.command, texts)
            : Object.fromEntries(Object.entries(keptTexts(this.command, texts)).filter(([name]) =>
                !offered(this.command).some((option) => option.name === name && pointsIn(option) > 0)));
        return {image: images[0], second: images[1], op: this.command.name, ...kept};
    }

    changeCommand(op) {
        this.page.go("operate", {image: this.images[0], second: this.images[1], op});
    }

    async show(values) {
        const command = this.commands.find(({name}) => name === values.op) ??
            this.commands.find(({name}) => name === "canny") ?? this.commands[0];
        this.texts = {...values};
        this.takesTwo = command.takes === "two images";
        this.slotField.hidden = !this.takesTwo;
        this.second.element.hidden = !this.takesTwo;
        this.compare.element.classList.toggle("two", this.takesTwo);
        if (!this.takesTwo) {
            this.slot = 0;
            this.slots.value = "0";
        }
        this.command = command;
        this.select.value = command.name;
        this.about.textContent = `${command.help.replace(/ and print them.*$/, "")}.`; // a page lists them
        this.form = new Form(command, values, (texts) => this.formChanged(texts));
        this.formPlace.replaceChildren(this.form.element);
        this.saving.suggest(values.image ? nameFor(values.image, command.name) : "");
        this.images = [values.image ?? "", values.second ?? ""];
        this.showChosen();
        this.ask.drop();
        this.showing = (this.showing ?? 0) + 1;
        if (await this.loadImages(this.showing)) {
            this.startPoints();
            this.formChanged(this.form.texts());
        }
    }

    showChosen() {
        this.page.showChosen(this, [this.images[this.slot]].filter(Boolean), false);
    }

    // Loads what is not there yet. Returns whether it is still wanted then.
    async loadImages(showing) {
        const places = [{owner: this.compare, viewer: this.compare.before}, {owner: this.second, viewer: this.second}];
        this.clearResult();
        for (const [slot, {owner, viewer}] of places.slice(0, this.takesTwo ? 2 : 1).entries()) {
            const name = this.images[slot];
            if (name === "" || owner.shown?.name !== name) {
                const shown = name ? await this.load(name, showing) : null;
                if (showing !== this.showing) {
                    shown?.release();
                    return false;
                }
                owner.shown?.release();
                owner.shown = shown;
                owner[slot === 0 ? "setBefore" : "setImage"](shown);
                viewer.caption.textContent = shown ? `${name}, ${shown.width} × ${shown.height}`
                    : "Choose an image from the list.";
            }
        }
        return true;
    }

    async load(name, showing) {
        try {
            return Object.assign(await api.imageToShow(name, shownPixels), {name});
        } catch (failure) {
            if (showing === this.showing) {
                this.page.fail(failure);
            }
            return null;
        }
    }

    // Points that are not set begin inside the image.
    startPoints() {
        const options = offered(this.command).filter((option) => pointsIn(option) > 0);
        for (const option of options) {
            const viewer = this.points.viewerOf(option, this.takesTwo);
            if (viewer.image && !this.texts[option.name]) {
                const corners = startCorners(viewer.image);
                const middle = [[Math.round(viewer.image.width / 2), Math.round(viewer.image.height / 2)]];
                this.form.set(option.name, pointsText(option.kind === "point" ? middle : corners));
            }
        }
        this.points.show(options, this.form.texts(), this.takesTwo);
    }

    pointsMoved(name, points) {
        this.form.set(name, pointsText(points));
        this.formChanged(this.form.texts(), true);
    }

    formChanged(texts, byHand = false) {
        this.texts = texts;
        if (!byHand) {
            this.points.set(texts);
        }
        this.page.keep(this, this.stateOf(texts));
        const request = this.request();
        if (typeof request === "string") {
            this.ask.drop();
            this.clearResult();
            this.messages.show([request], "mind");
        } else {
            this.ask(request);
        }
    }

    // What to run, or why it cannot be.
    request() {
        const options = requestOptions(this.command, this.texts);
        const images = this.takesTwo ? this.images : this.images.slice(0, 1);
        if (images.includes("")) {
            return images.length === 1 ? "Choose an image in the list" : "Choose both images in the list";
        }
        return typeof options === "string" ? options : {command: this.command.name, images, options};
    }

    // Whether a request is of the operation and the images that are in sight.
    isWanted({command, images}) {
        return command === this.command.name && images.every((name, i) => name === this.images[i]);
    }

    stop() {
        this.ask.drop();
        this.messages.show(["It was stopped"], "mind");
    }

    showBusy(working) {
        this.element.setAttribute("aria-busy", String(working));
        this.busy.hidden = !working;
    }

    clearResult() {
        this.compare.setAfter(null);
        this.found.replaceChildren();
        this.messages.clear();
        this.line.show("");
    }

    async run(request, signal) {
        const answer = await api.run({...request, pixels: previewPixels}, signal);
        const image = answer.results.find(({kind}) => kind === "image");
        const shown = image ? await api.resultToShow(image, shownPixels, answer.data?.size, signal) : null;
        if (!this.isWanted(request)) {
            shown?.release();
            return;
        }
        this.page.fine(this);
        this.clearResult();
        this.line.show(answer.commandLine);
        if (this.messages.showAnswer(answer)) {
            this.result?.release();
            this.result = shown;
            this.compare.setAfter(shown);
            this.describe(answer, image, shown);
        }
    }

    describe(answer, image, shown) {
        this.saving.suggestOf(image);
        const list = listElement(answer.data);
        this.found.replaceChildren(...[list,
            image ? el("p", {}, `${shown.width} × ${shown.height} pixels. `, answer.reduced
                ? reducedHint(this.command.name)
                : el("a", {href: api.downloadUrl(image.id), download: image.name}, "Download")) : null,
            el("p", {class: "hint"}, `${answer.seconds.toFixed(2)} s`)].filter(Boolean));
        this.compare.after.caption.textContent = "The result";
    }
}
