// Saving a result into the output folder, never over an existing file.

import * as api from "./api.js";
import {el, button, labelled} from "./dom.js";
import {sentence} from "./messages.js";

// "a/b.jpg", "converge" -> "b-converge.jpg", as in the command line that is shown
export function nameFor(image, what) {
    const base = image.split("/").at(-1);
    const dot = base.lastIndexOf(".");
    const stem = dot > 0 ? base.slice(0, dot) : base;
    return `${stem}-${what}${dot > 0 ? base.slice(dot) : ".png"}`;
}

export class Saving {
    // request    returns what to run, or a sentence that says why it cannot
    // onSaved    gets the answer
    // save       saves what `request` returns under a name, if that is not by running it
    constructor(request, onSaved = () => {}, {label = "Save in full size as", save = null} = {}) {
        this.request = request;
        this.onSaved = onSaved;
        this.copy = save;
        this.name = el("input", {type: "text", class: "name", autocomplete: "off", spellcheck: "false",
            oninput: () => {
                this.typed = true;
            }});
        this.button = button("Save", () => this.save(), {class: "main"});
        this.said = el("p", {role: "status", class: "said"});
        this.element = el("div", {class: "saving"}, labelled(label, this.name),
            this.button, this.said);
    }

    suggest(name) {
        this.name.value = name;
        this.typed = false;
        this.said.replaceChildren();
    }

    // The name that the program would take, unless a person has typed one.
    suggestOf(result) {
        if (!this.typed && result) {
            this.name.value = result.name;
        }
    }

    async save() {
        const request = this.request();
        if (typeof request === "string") {
            this.fail(request);
            return;
        }
        this.button.disabled = true;
        this.say("Saving.");
        try {
            const name = this.name.value.trim();
            if (this.copy) {
                this.say(`Saved as ${(await this.copy(request, name)).saved}.`);
                this.button.disabled = false;
                return;
            }
            const answer = await api.save({...request, name});
            if (answer.status === 0) {
                this.say("Saved as ", el("a", {href: api.savedUrl(answer.saved), target: "_blank",
                    rel: "noopener"}, answer.saved), ".");
                this.onSaved(answer);
            } else {
                this.fail(answer.messages.join(". "));
            }
        } catch (failure) {
            this.fail(failure.message);
        }
        this.button.disabled = false;
    }

    say(...what) {
        this.said.className = "said";
        this.said.replaceChildren(...what);
    }

    fail(text) {
        this.said.className = "said failed";
        this.said.replaceChildren(sentence(text));
    }
}
