// Points on a viewer that are moved by mouse, touch and keys.

import {el, button, svg} from "./dom.js";
import {followDrag} from "./drag.js";
import {round} from "./state.js";
import {Magnifier} from "./magnifier.js";

const arrows = {ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1]};

// How far an arrow key moves a point, in pixels of the image.
export function stepOf(event) {
    if (event.shiftKey) {
        return 10;
    }
    return event.altKey || event.ctrlKey ? 0.1 : 1;
}

export class Handles {
    // names     what screen readers call the points; so many there are
    // closed    whether a line joins them
    // onChange  gets the points after each step
    constructor(viewer, {names, kind = "marked", closed = true, onChange}) {
        this.viewer = viewer;
        this.names = names;
        this.onChange = onChange;
        this.points = [];
        this.magnifier = new Magnifier(viewer);
        this.outline = svg(closed ? "polygon" : "polyline", {class: `outline ${kind}`});
        if (closed) {
            viewer.drawing.append(this.outline);
        }
        this.buttons = names.map((name, i) => this.makeButton(name, i, kind));
        viewer.over.append(...this.buttons);
        viewer.onView(() => this.draw());
    }

    makeButton(name, i, kind) {
        const badge = el("span", {class: "badge", "aria-hidden": "true"}, String(i + 1));
        const handle = button(badge, () => {}, {class: `handle ${kind}`, hidden: true,
            "aria-roledescription": "point to move", "aria-keyshortcuts": "ArrowLeft ArrowRight ArrowUp ArrowDown"});
        let drag = null; // where the pointer and the point were
        followDrag(handle, {
            begin: (event) => {
                handle.focus({preventScroll: true});
                drag = {from: [event.clientX, event.clientY], point: this.points[i]};
                this.magnifier.show(this.points[i]);
                event.preventDefault();
            },
            move: (event) => {
                const {scale} = this.viewer.view;
                this.move(i, [drag.point[0] + (event.clientX - drag.from[0]) / scale,
                    drag.point[1] + (event.clientY - drag.from[1]) / scale]);
            },
            end: () => this.magnifier.hide(),
        });
        handle.addEventListener("keydown", (event) => {
            const arrow = arrows[event.key];
            if (arrow) {
                event.preventDefault();
                const step = stepOf(event);
                this.move(i, [this.points[i][0] + arrow[0] * step, this.points[i][1] + arrow[1] * step]);
            }
        });
        handle.addEventListener("blur", () => this.magnifier.hide());
        return handle;
    }

    // Null takes the points away. onChange is not called.
    set(points) {
        this.points = points ? points.map((point) => [...point]) : [];
        this.draw();
    }

    move(i, [x, y]) {
        this.points[i] = [round(x), round(y)];
        this.draw();
        this.magnifier.show(this.points[i]);
        this.onChange(this.points.map((point) => [...point]));
    }

    // Moves a point to where was clicked; the keys then move it on.
    place(i, point) {
        this.buttons[i].focus({preventScroll: true});
        this.move(i, point);
    }

    draw() {
        const there = this.points.length > 0 && this.viewer.image !== null;
        this.outline.setAttribute("points", there ? this.points.map((p) => p.join(",")).join(" ") : "");
        this.buttons.forEach((handle, i) => {
            handle.hidden = !there;
            if (there) {
                const [x, y] = this.viewer.toScreen(this.points[i]);
                handle.style.left = `${x}px`;
                handle.style.top = `${y}px`;
                handle.setAttribute("aria-label",
                    `${this.names[i]}: x ${this.points[i][0]}, y ${this.points[i][1]}`);
            }
        });
    }
}

// How to move the points, for people.
export function handlesHelp() {
    return el("p", {class: "hint"}, "Drag the corners, or move them with the arrow keys: 1 pixel a " +
        "step, 10 with Shift, a tenth with Alt or Ctrl.");
}
