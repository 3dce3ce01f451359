// An image before and after its lens distortion was removed by the calibration that was made.

import * as api from "./api.js";
import {CommandLine} from "./command_line.js";
import {Compare} from "./compare.js";
import {el, labelled, panel} from "./dom.js";
import {latestOnly} from "./latest.js";
import {Messages} from "./messages.js";

const shownPixels = 4000000;

export class UndistortPanel {
    constructor(page) {
        this.select = el("select", {onchange: () => this.change()});
        this.compare = new Compare("The photograph", "Undistorted");
        this.messages = new Messages();
        this.line = new CommandLine();
        this.ask = latestOnly((request, signal) => this.run(request, signal), (failure) => page.fail(failure),
            (idle) => this.element.setAttribute("aria-busy", String(!idle)));
        this.element = panel("Undistort", labelled("Image", this.select), this.compare.element,
            this.messages.element, this.line.element);
    }

    // folder  the result that holds the calibration
    show(folder, names) {
        this.folder = folder;
        this.select.replaceChildren(...names.map((name) => el("option", {}, name)));
        this.change();
    }

    change() {
        this.ask.drop();
        this.ask({command: "undistort", images: [this.select.value], options: {calib: {result: this.folder.id}}});
    }

    async run(request, signal) {
        const before = await api.imageToShow(request.images[0], shownPixels, signal);
        this.compare.setBefore(before);
        this.before?.release();
        this.before = before;
        this.compare.before.caption.textContent = request.images[0];
        const answer = await api.run(request, signal);
        this.line.show(answer.commandLine);
        if (this.messages.showAnswer(answer)) {
            const after = await api.resultToShow(answer.results.find(({kind}) => kind === "image"), shownPixels,
                undefined, signal);
            this.compare.setAfter(after);
            this.after?.release();
            this.after = after;
        }
    }
}
