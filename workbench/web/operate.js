// Every operation on one image or two: its options as fields, its result beside the image.

import * as api from "./api.js";
import {CommandLine} from "./command_line.js";
import {Compare} from "./compare.js";
import {startCorners} from "./coords.js";
import {el, labelled, panel} from "./dom.js";
import {Form} from "./form.js";
import {latestOnly} from "./latest.js";
import {drawingsOf, listElement} from "./lists.js";
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
            this.page.chooser.show([this.images[this.slot]], false);
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
        this.ask = latestOnly((request) => this.run(request), (failure) => page.fail(failure),
            (idle) => this.element.setAttribute("aria-busy", String(!idle)));
        this.element = el("div", {class: "work operate"},
            el("div", {class: "work side"},
                panel("Operation", this.select, this.about, this.slotField, this.formPlace),
                panel("Result", this.found, this.messages.element),
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
        await this.loadImages([values.image ?? "", values.second ?? ""]);
        this.page.chooser.show(this.images[this.slot] ? [this.images[this.slot]] : [], false);
        this.startPoints();
        this.formChanged(this.form.texts());
    }

    async loadImages(names) {
        const viewers = [this.compare, this.second];
        const places = [(image) => this.compare.setBefore(image), (image) => this.second.setImage(image)];
        this.clearResult();
        for (const slot of this.takesTwo ? [0, 1] : [0]) {
            if (names[slot] !== this.images[slot] || !viewers[slot].shown) {
                this.images[slot] = names[slot];
                const shown = names[slot] ? await this.load(names[slot]) : null;
                viewers[slot].shown?.release();
                viewers[slot].shown = shown;
                places[slot](shown);
                const viewer = slot === 0 ? this.compare.before : this.second;
                viewer.caption.textContent = shown ? `${names[slot]}, ${shown.width} × ${shown.height}`
                    : "Choose an image from the list.";
            }
        }
    }

    async load(name) {
        try {
            return await api.imageToShow(name, shownPixels);
        } catch (failure) {
            this.page.fail(failure);
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
        this.page.keep(this.stateOf(texts));
        const request = this.request();
        if (request) {
            this.ask(request);
        }
    }

    request() {
        const options = requestOptions(this.command, this.texts);
        const images = this.takesTwo ? this.images : this.images.slice(0, 1);
        return options && images.every((name) => name !== "") ? {command: this.command.name, images, options} : null;
    }

    clearResult() {
        this.compare.setAfter(null);
        this.compare.before.drawing.querySelectorAll(".found").forEach((drawing) => drawing.remove());
        this.found.replaceChildren();
        this.messages.clear();
        this.line.show("");
    }

    async run(request) {
        const answer = await api.run({...request, pixels: previewPixels});
        if (request.command !== this.command.name || request.images[0] !== this.images[0]) {
            return;
        }
        this.page.fine();
        const image = answer.results.find(({kind}) => kind === "image");
        const shown = image ? await api.resultToShow(image, shownPixels, answer.data?.size) : null;
        this.clearResult();
        this.line.show(answer.commandLine);
        if (!this.messages.showAnswer(answer)) {
            return;
        }
        this.result?.release();
        this.result = shown;
        this.compare.setAfter(shown);
        if (!shown) {
            const drawings = drawingsOf(answer.data);
            drawings.forEach((drawing) => drawing.classList.add("found"));
            this.compare.before.drawing.append(...drawings);
        }
        this.describe(answer, image, shown);
    }

    describe(answer, image, shown) {
        this.saving.suggestOf(image);
        const list = listElement(answer.data);
        this.found.replaceChildren(...[list,
            image ? el("p", {}, `${shown.width} × ${shown.height} pixels. `, answer.reduced
                ? "Shown as a reduced copy; saving works in full size."
                : el("a", {href: api.downloadUrl(image.id), download: image.name}, "Download")) : null,
            el("p", {class: "hint"}, `${answer.seconds.toFixed(2)} s`)].filter(Boolean));
        this.compare.after.caption.textContent = "The result";
    }
}
