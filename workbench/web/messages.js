// What the program says about a result: why there is none, and what to mind.

import {el} from "./dom.js";

export function sentence(text) {
    const trimmed = text.trim();
    const first = trimmed.charAt(0).toUpperCase() + trimmed.slice(1);
    return /[.!?:]$/.test(first) ? first : `${first}.`;
}

export class Messages {
    constructor() {
        this.element = el("ul", {class: "findings", role: "status"});
    }

    clear() {
        this.element.replaceChildren();
    }

    // kind  "failed", "mind" or "good"
    show(texts, kind) {
        this.element.replaceChildren(...texts.map((text) => el("li", {class: kind}, sentence(text))));
    }

    // The answer of a run. Returns whether there is a result.
    showAnswer(answer, remarks = []) {
        const done = answer.status === 0;
        const texts = done ? [...answer.messages, ...remarks] : answer.messages;
        this.show(done || texts.length > 0 ? texts : ["It failed, and the program does not say why"],
            done ? "mind" : "failed");
        return done;
    }
}
