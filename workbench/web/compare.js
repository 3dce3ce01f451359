// An image before and after: with a divider over both, or side by side, zoomed and moved together.

import {el, button} from "./dom.js";
import {followDrag} from "./drag.js";
import {Viewer} from "./viewer.js";

export class Compare {
    constructor(beforeLabel, afterLabel) {
        this.before = new Viewer(beforeLabel);
        this.after = new Viewer(afterLabel);
        this.before.link(this.after, () => this.fits());
        this.beside = false;
        this.afterImage = null;
        this.range = el("input", {type: "range", min: 0, max: 100, step: 0.5, value: 50, class: "divide",
            "aria-label": "Divider between before and after", oninput: () => this.place()});
        this.line = el("div", {class: "divider", hidden: true});
        this.before.over.append(this.line);
        this.dragLine();
        this.choice = [button("Divider", () => this.choose(false)), button("Side by side", () => this.choose(true))];
        this.modes = el("div", {class: "row", role: "group", "aria-label": "How to compare"}, this.choice);
        this.left = el("div", {class: "stack"}, this.before.element, this.range);
        this.pair = el("div", {class: "pair"}, this.left, this.after.element);
        this.element = el("div", {class: "compare"}, this.modes, this.pair);
        this.before.onView(() => this.place());
        this.draw();
    }

    choose(beside) {
        this.beside = beside;
        this.draw();
    }

    dragLine() {
        followDrag(this.line, {
            begin: (event) => event.stopPropagation(),
            move: (event) => {
                this.range.value = 100 * this.before.placeOf(event)[0] / this.before.box().width;
                this.place();
            },
        });
    }

    place() {
        const x = this.before.box().width * Number(this.range.value) / 100;
        this.line.style.left = `${x}px`;
        this.before.setDivider(x);
    }

    setBefore(image) {
        this.before.setImage(image);
        this.setAfter(null);
    }

    setAfter(image) {
        this.afterImage = image;
        this.draw();
    }

    // An image of another shape cannot lie on the first one.
    fits() {
        const [a, b] = [this.before.image, this.afterImage];
        return Boolean(a && b) && Math.abs(a.width / a.height - b.width / b.height) < 0.01 &&
            Math.abs(Math.log(a.width / b.width)) < 0.7;
    }

    draw() {
        const there = Boolean(this.afterImage);
        const divided = there && this.fits() && !this.beside;
        this.modes.hidden = !(there && this.fits());
        this.choice.forEach((choice, i) => choice.setAttribute("aria-pressed", String((i === 1) === this.beside)));
        this.range.hidden = !divided;
        this.line.hidden = !divided;
        this.before.setAfter(divided ? this.afterImage : null);
        this.after.element.hidden = !there || divided;
        this.after.setImage(there && !divided ? this.afterImage : null);
        this.element.classList.toggle("one", !there || divided);
        this.place();
    }
}
