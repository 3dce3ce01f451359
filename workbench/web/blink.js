// Two registered images one over the other: shown in turn, or one through the other.

import * as api from "./api.js";
import {el, button, labelled, panel} from "./dom.js";
import {sentence} from "./messages.js";
import {Viewer} from "./viewer.js";

const shownPixels = 4000000;
const turn = 600; // milliseconds

export class Blink {
    constructor() {
        this.viewer = new Viewer("Two registered images, one over the other");
        this.pick = ["Below", "Above"].map((label) => el("select", {"aria-label": label, onchange: () => this.load()}));
        this.opacity = el("input", {type: "range", min: 0, max: 100, value: 50, oninput: () => {
            this.setBlinking(false);
            this.showOpacity(this.opacity.value / 100);
        }});
        this.blinking = button("Blink", () => this.setBlinking(!this.timer), {"aria-pressed": "false"});
        this.said = el("p", {class: "failed", role: "status"});
        this.element = panel("Compare", el("div", {class: "row"}, labelled("Below", this.pick[0]),
            labelled("Above", this.pick[1]), this.blinking),
        labelled("How much of the upper one is seen", this.opacity), this.said, this.viewer.element);
        this.shown = [];
    }

    // list  {name, result} of each registered image, the reference first
    async show(list) {
        this.list = list;
        this.pick.forEach((select, i) => {
            select.replaceChildren(...list.map(({name}, at) => el("option", {value: at}, name)));
            select.value = String(Math.min(i, list.length - 1));
        });
        await this.load();
    }

    async load() {
        this.loading = (this.loading ?? 0) + 1;
        const {loading} = this;
        try {
            const shown = await Promise.all(this.pick.map((select) =>
                api.resultToShow(this.list[Number(select.value)].result, shownPixels)));
            if (loading !== this.loading) { // others were chosen meanwhile
                shown.forEach((late) => late.release());
                return;
            }
            this.viewer.setImage(shown[0]);
            this.viewer.setAfter(shown[1]);
            this.viewer.setDivider(0);
            this.shown.forEach((old) => old.release());
            this.shown = shown;
            this.said.textContent = "";
            this.showOpacity(this.opacity.value / 100);
        } catch (failure) {
            if (loading !== this.loading) {
                return;
            }
            this.said.textContent = sentence(failure.message);
        }
    }

    showOpacity(value) {
        this.viewer.setDivider(0);
        this.viewer.after.setAttribute("opacity", value);
    }

    setBlinking(on) {
        clearInterval(this.timer);
        this.timer = null;
        this.blinking.setAttribute("aria-pressed", String(on));
        if (on) {
            let upper = true;
            this.timer = setInterval(() => {
                upper = !upper && this.element.isConnected;
                this.showOpacity(upper ? 1 : 0);
            }, turn);
        } else {
            this.showOpacity(this.opacity.value / 100);
        }
    }
}
