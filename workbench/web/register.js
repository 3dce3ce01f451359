// Registering images of one scene onto the first one, and joining photographs into a panorama.

import * as api from "./api.js";
import {Blink} from "./blink.js";
import {CommandLine} from "./command_line.js";
import {el, labelled, panel} from "./dom.js";
import {LongRun} from "./long_run.js";
import {sentence} from "./messages.js";
import {formatNames, nameOfPath, parseNames} from "./state.js";
import {Viewer} from "./viewer.js";

const shownPixels = 4000000;

export class Register {
    constructor(page) {
        this.page = page;
        this.names = [];
        this.kind = el("select", {onchange: () => this.changed()},
            el("option", {value: "register"}, "Register onto the first"),
            el("option", {value: "stitch"}, "Join into a panorama"));
        this.crop = el("input", {type: "checkbox", onchange: () => this.changed()});
        this.cropField = labelled("Cut to what all images show", this.crop);
        this.order = el("ol", {class: "order"});
        this.run = new LongRun("Run", {request: () => this.request(), onDone: (...all) => this.done(...all)});
        this.line = new CommandLine();
        this.result = el("div", {class: "work"});
        this.blink = new Blink();
        this.panorama = new Viewer("The panorama");
        this.element = el("div", {class: "work register"}, panel("Images of one scene",
            el("p", {class: "hint"}, "Choose the images in the list. The first one gives the frame."),
            labelled("What to do", this.kind), this.cropField, this.order, this.run.element, this.line.element),
        this.result);
    }

    choose(names) {
        this.names = names;
        this.changed();
    }

    show(values) {
        this.kind.value = values.kind === "stitch" ? "stitch" : "register";
        this.crop.checked = values.crop === "1";
        this.names = parseNames(values.images);
        this.page.showChosen(this, this.names, true);
        this.changed();
    }

    changed() {
        const stitch = this.kind.value === "stitch";
        this.cropField.hidden = stitch;
        this.page.keep(this, {image: this.page.carried().image, kind: stitch ? "stitch" : "",
            crop: !stitch && this.crop.checked ? "1" : "", images: formatNames(this.names)});
        this.order.replaceChildren(...this.names.map((name) => el("li", {}, name)));
    }

    request() {
        if (this.names.length < 2) {
            return "Choose two images at least";
        }
        const options = this.kind.value === "register" && this.crop.checked ? {crop: true} : {};
        return {command: this.kind.value, images: this.names, options};
    }

    async done(answer, request) {
        this.line.show(answer.commandLine);
        const images = answer.results.filter(({kind}) => kind === "image");
        if (request.command === "stitch") {
            const shown = await api.resultToShow(images[0], shownPixels);
            this.panorama.image?.release();
            this.panorama.setImage(shown);
            this.panorama.caption.textContent = `${shown.width} × ${shown.height}`;
            this.result.replaceChildren(this.panorama.element, downloads(images));
            return;
        }
        const kept = answer.data.images.filter(({output}) => output !== null);
        const named = kept.map(({input}, i) => ({name: nameOfPath(input, request.images), result: images[i]}));
        this.result.replaceChildren(leftOut(answer.data.images, request.images), this.blink.element, downloads(images));
        await this.blink.show(named);
    }
}

// Which images are not in the result, and why.
function leftOut(images, names) {
    const out = images.filter(({output}) => output === null);
    return el("ul", {class: "findings", "aria-label": "Left out"}, out.length === 0
        ? el("li", {class: "good"}, "Every image was registered.")
        : out.map(({input, reason}) => el("li", {class: "mind"}, el("span", {class: "photo"},
            el("img", {src: api.thumbnailUrl(nameOfPath(input, names)), alt: ""}),
            `Left out: ${nameOfPath(input, names)}. ${sentence(reason ?? "")}`))));
}

function downloads(images) {
    return panel("Download", el("ul", {}, images.map(({id, name}) =>
        el("li", {}, el("a", {href: api.downloadUrl(id), download: name}, name)))));
}
