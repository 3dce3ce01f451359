// The command line that makes what the page shows, with a button that copies it.

import {el, button} from "./dom.js";

export class CommandLine {
    constructor() {
        this.text = el("code", {});
        this.box = el("pre", {tabindex: 0, "aria-label": "The same on the command line"}, this.text);
        this.copied = el("span", {class: "hint", role: "status"});
        this.element = el("div", {class: "commandline", hidden: true},
            el("h3", {}, "The same on the command line"), this.box,
            el("div", {class: "row"}, button("Copy", () => this.copy(), {class: "quiet"}), this.copied));
    }

    show(line) {
        this.text.textContent = line ?? "";
        this.copied.textContent = "";
        this.element.hidden = !line;
    }

    async copy() {
        try {
            await navigator.clipboard.writeText(this.text.textContent);
            this.copied.textContent = "Copied.";
        } catch {
            getSelection().selectAllChildren(this.text);
            this.copied.textContent = "Selected: copy it with the keys.";
        }
    }
}
