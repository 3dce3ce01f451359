// A long command: a button that starts it, one that stops it, and its progress with thumbnails.

import * as api from "./api.js";
import {el, button} from "./dom.js";
import {Messages} from "./messages.js";

export class LongRun {
    // request   returns what to run, or a sentence that says why it cannot
    // onDone    gets the answer of a command that ended well
    constructor(title, {request, onDone}) {
        this.request = request;
        this.onDone = onDone;
        this.start = button(title, () => this.run(), {class: "main"});
        this.stop = button("Stop", () => this.askToStop(), {hidden: true});
        this.bar = el("progress", {hidden: true, "aria-label": title});
        this.what = el("p", {class: "hint", role: "status"});
        this.strip = el("div", {class: "strip", "aria-hidden": "true"});
        this.messages = new Messages();
        this.element = el("div", {}, el("div", {class: "row"}, this.start, this.stop), this.bar, this.what,
            this.strip, this.messages.element);
    }

    async run() {
        const request = this.request();
        if (typeof request === "string") {
            this.messages.show([request], "failed");
            return;
        }
        this.showRunning(true);
        this.stopIt = null;
        this.stopAsked = false;
        this.messages.clear();
        this.strip.replaceChildren(...request.images.map((name) =>
            el("img", {src: api.thumbnailUrl(name), alt: "", loading: "lazy", "data-name": name})));
        try {
            const answer = await api.job(request, {
                onStart: (stop) => {
                    this.stopIt = stop;
                    this.stopIfAsked();
                },
                onProgress: (state) => this.showProgress(state),
            });
            if (this.messages.showAnswer(answer)) {
                await this.onDone(answer, request);
            }
        } catch (failure) {
            this.messages.show([failure.message], "failed");
        }
        this.showRunning(false);
    }

    // Also before the program has said that it begins.
    askToStop() {
        this.stopAsked = true;
        this.stop.disabled = true;
        this.stopIfAsked();
    }

    stopIfAsked() {
        if (this.stopAsked && this.stopIt) {
            this.stopIt().catch((failure) => {
                this.stop.disabled = false;
                this.messages.show([failure.message], "failed");
            });
        }
    }

    showRunning(running) {
        this.start.disabled = running;
        this.stop.hidden = !running;
        this.stop.disabled = false;
        this.bar.hidden = !running;
        this.what.textContent = "";
        this.bar.removeAttribute("value");
        this.element.setAttribute("aria-busy", String(running));
        if (!running) {
            this.strip.replaceChildren();
        }
    }

    showProgress({state, done = 0, total = 0, what = ""}) {
        if (total > 0) {
            this.bar.max = total;
            this.bar.value = done;
        }
        this.what.textContent = state === "waiting" ? "Waiting for other work."
            : [total > 0 ? `${done} of ${total}` : "", what].filter(Boolean).join(": ");
        [...this.strip.children].forEach((thumbnail, i) => {
            thumbnail.classList.toggle("done", i < done);
            thumbnail.classList.toggle("now", thumbnail.dataset.name === what);
        });
    }
}
