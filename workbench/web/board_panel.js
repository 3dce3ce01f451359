// A board to print, of the size that is calibrated with.

import * as api from "./api.js";
import {CommandLine} from "./command_line.js";
import {el, button, labelled} from "./dom.js";
import {Messages} from "./messages.js";

export class BoardPanel {
    // board  returns the inner corners, such as "9x6"
    constructor(board) {
        this.board = board;
        this.square = el("input", {type: "number", min: 1, step: "any", value: 25});
        this.messages = new Messages();
        this.line = new CommandLine();
        this.made = el("p", {role: "status"});
        this.element = el("details", {}, el("summary", {}, "A board to print"), el("div", {class: "fields"},
            labelled("Edge of a square", this.square, "mm"),
            el("div", {class: "row"}, button("Make it", () => this.make())), this.made, this.messages.element,
            this.line.element));
    }

    async make() {
        this.made.replaceChildren();
        try {
            const answer = await api.run({command: "board", images: [],
                options: {board: this.board(), square: Number(this.square.value)}});
            this.line.show(answer.commandLine);
            if (this.messages.showAnswer(answer)) {
                const [{id, name}] = answer.results;
                this.made.append(el("a", {href: api.downloadUrl(id), download: name}, name),
                    `: ${answer.data.label} Paper: ${answer.data.paper}.`);
            }
        } catch (failure) {
            this.messages.show([failure.message], "failed");
        }
    }
}
