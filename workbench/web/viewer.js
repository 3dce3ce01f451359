// An image that can be zoomed and moved, with drawings and buttons on it.

import {el, svg, button, newId} from "./dom.js";
import {fitView, keptInside, panBy, toImage, toScreen, viewOfOther, zoomAt} from "./coords.js";

const mostScale = 40; // CSS pixels for a pixel of the image

export class Viewer {
    // label  what a screen reader says
    constructor(label) {
        this.image = null; // {url, width, height}
        this.view = {x: 0, y: 0, scale: 1};
        this.fitted = true;
        this.listeners = []; // of the view
        this.clicked = () => {};
        this.others = [];
        this.pointers = new Map();
        this.below = svg("image", {preserveAspectRatio: "none"});
        this.after = svg("image", {preserveAspectRatio: "none"});
        this.drawing = svg("g", {class: "drawing"});
        const clip = newId("clip");
        this.clipRect = svg("rect", {x: 0, y: 0, width: 0, height: 0});
        this.moved = svg("g", {}, this.below);
        this.movedAfter = svg("g", {}, this.after);
        this.movedDrawing = svg("g", {}, this.drawing);
        this.canvas = svg("svg", {"aria-hidden": "true"},
            svg("clipPath", {id: clip}, this.clipRect),
            this.moved, svg("g", {"clip-path": `url(#${clip})`}, this.movedAfter), this.movedDrawing);
        this.over = el("div", {class: "over"});
        this.stage = el("div", {class: "stage", tabindex: 0, role: "group", "aria-label":
            `${label}. Plus and minus zoom, 0 shows all, the arrow keys move.`}, this.canvas, this.over);
        this.caption = el("figcaption", {});
        this.zoomText = el("span", {class: "zoom"});
        this.element = el("figure", {class: "viewer"}, this.stage, el("div", {class: "bar"},
            this.caption, this.zoomText,
            button("−", () => this.zoom(1 / 1.5), {class: "quiet", "aria-label": `${label}: zoom out`}),
            button("+", () => this.zoom(1.5), {class: "quiet", "aria-label": `${label}: zoom in`}),
            button("Fit", () => this.fit(), {class: "quiet", "aria-label": `${label}: show all`})));
        this.listen();
        new ResizeObserver(() => this.resized()).observe(this.stage);
    }

    // Shows an image; the view stays if the new one has the same size. Null: nothing.
    setImage(image) {
        const same = this.image && image && this.image.width === image.width &&
            this.image.height === image.height;
        this.image = image;
        this.place(this.below, image);
        this.stage.classList.toggle("empty", !image);
        if (image) {
            this.stage.style.aspectRatio = `${image.width} / ${image.height}`;
        }
        if (!same) {
            this.fit();
        }
    }

    // A second image over the first one, stretched to its size.
    setAfter(image) {
        this.place(this.after, image && this.image ? {...this.image, url: image.url} : null);
    }

    // From which CSS pixel on the second image covers the first one.
    setDivider(x) {
        const {width, height} = this.box();
        for (const [name, value] of Object.entries({x, y: 0, width: Math.max(0, width - x), height})) {
            this.clipRect.setAttribute(name, value);
        }
    }

    place(element, image) {
        if (!image) {
            element.removeAttribute("href");
            return;
        }
        for (const [name, value] of Object.entries(
            {href: image.url, x: -0.5, y: -0.5, width: image.width, height: image.height})) {
            element.setAttribute(name, value);
        }
    }

    box() {
        return {width: this.stage.clientWidth || 1, height: this.stage.clientHeight || 1};
    }

    onView(listener) {
        this.listeners.push(listener);
    }

    // What gets the point of the image that is clicked without a drag.
    onClick(clicked) {
        this.clicked = clicked;
    }

    // Zooms and moves another viewer with this one, while `when` says so.
    link(other, when = () => true) {
        this.others.push({other, when});
        other.others.push({other: this, when});
    }

    fit() {
        if (this.image) {
            this.fitted = true;
            this.apply(fitView(this.box(), this.image));
            this.tellOthers((other) => {
                other.fitted = true;
                other.apply(fitView(other.box(), other.image));
            });
        }
    }

    resized() {
        if (this.image && this.fitted) {
            this.apply(fitView(this.box(), this.image));
        } else if (this.image) {
            this.apply(this.view);
        }
    }

    setView(view) {
        if (!this.image) {
            return;
        }
        this.fitted = false;
        this.apply(keptInside(view, this.box(), this.image));
        this.tellOthers((other) => {
            other.fitted = false;
            other.apply(viewOfOther(this.view, this.image, other.image));
        });
    }

    tellOthers(action) {
        this.others.filter(({other, when}) => other.image && when()).forEach(({other}) => action(other));
    }

    apply(view) {
        this.view = view;
        const {x, y, scale} = view;
        for (const group of [this.moved, this.movedAfter, this.movedDrawing]) {
            group.setAttribute("transform", `scale(${scale}) translate(${-x} ${-y})`);
        }
        this.canvas.classList.toggle("coarse", scale > 3);
        this.stage.classList.toggle("zoomed", !this.fitted);
        this.zoomText.textContent = this.image ? `${Math.round(scale * 100)} %` : "";
        this.listeners.forEach((listener) => listener(view));
    }

    zoom(factor, place) {
        const {width, height} = this.box();
        const limits = {least: this.image ? fitView(this.box(), this.image).scale / 2 : 0.01, most: mostScale};
        this.setView(zoomAt(this.view, place ?? [width / 2, height / 2], factor, limits));
    }

    placeOf(event) {
        const rect = this.stage.getBoundingClientRect();
        return [event.clientX - rect.left - this.stage.clientLeft,
            event.clientY - rect.top - this.stage.clientTop];
    }

    toScreen(point) {
        return toScreen(this.view, point);
    }

    listen() {
        const {stage} = this;
        stage.addEventListener("wheel", (event) => {
            if (this.image && (event.ctrlKey || stage.contains(document.activeElement))) {
                event.preventDefault();
                this.zoom(Math.exp(-event.deltaY / 400), this.placeOf(event));
            }
        }, {passive: false});
        stage.addEventListener("pointerdown", (event) => {
            if (event.button !== 0 || event.target.closest("button")) {
                return;
            }
            this.pressed = this.pointers.size === 0 ? this.placeOf(event) : null;
            this.pointers.set(event.pointerId, this.placeOf(event));
            stage.setPointerCapture(event.pointerId);
        });
        stage.addEventListener("pointerup", (event) => {
            const [x, y] = this.placeOf(event);
            if (this.image && this.pressed && Math.hypot(x - this.pressed[0], y - this.pressed[1]) < 4) {
                this.clicked(toImage(this.view, [x, y]));
            }
            this.pressed = null;
        });
        stage.addEventListener("pointermove", (event) => this.pointerMoved(event));
        for (const name of ["pointerup", "pointercancel", "lostpointercapture"]) {
            stage.addEventListener(name, (event) => this.pointers.delete(event.pointerId));
        }
        stage.addEventListener("keydown", (event) => this.keyPressed(event));
    }

    // One pointer moves the image, two pinch it.
    pointerMoved(event) {
        const before = this.pointers.get(event.pointerId);
        if (event.buttons === 0) { // let go where nobody told us
            this.pointers.delete(event.pointerId);
            return;
        }
        if (!before || !this.image) {
            return;
        }
        const now = this.placeOf(event);
        const other = [...this.pointers].find(([id]) => id !== event.pointerId)?.[1];
        this.pointers.set(event.pointerId, now);
        if (other) {
            const apart = (place) => Math.hypot(place[0] - other[0], place[1] - other[1]) || 1;
            this.zoom(apart(now) / apart(before), [(now[0] + other[0]) / 2, (now[1] + other[1]) / 2]);
        } else {
            this.setView(panBy(this.view, now[0] - before[0], now[1] - before[1]));
        }
    }

    keyPressed(event) {
        if (event.target !== this.stage || event.altKey || event.ctrlKey || event.metaKey) {
            return;
        }
        const moves = {ArrowLeft: [40, 0], ArrowRight: [-40, 0], ArrowUp: [0, 40], ArrowDown: [0, -40]};
        if (event.key === "+" || event.key === "=") {
            this.zoom(1.5);
        } else if (event.key === "-") {
            this.zoom(1 / 1.5);
        } else if (event.key === "0") {
            this.fit();
        } else if (moves[event.key]) {
            this.setView(panBy(this.view, ...moves[event.key]));
        } else {
            return;
        }
        event.preventDefault();
    }
}
