// A magnified part of an image beside the point that is being moved.

import {el} from "./dom.js";
import {magnified} from "./coords.js";

const size = 144; // CSS pixels
const zoom = 8;

export class Magnifier {
    constructor(viewer) {
        this.viewer = viewer;
        this.canvas = el("canvas", {class: "magnifier", hidden: true, "aria-hidden": "true"});
        viewer.over.append(this.canvas);
        this.shown = null;
    }

    async show(point) {
        this.shown = point;
        const {image} = this.viewer;
        const bitmap = await image?.bitmap?.().catch(() => null);
        if (this.shown !== point || !bitmap) {
            return;
        }
        const [x, y] = this.viewer.toScreen(point);
        const {width, height} = this.viewer.box();
        this.canvas.style.left = x < width / 2 ? "auto" : "6px";
        this.canvas.style.right = x < width / 2 ? "6px" : "auto";
        this.canvas.style.top = y < height / 2 ? "auto" : "6px";
        this.canvas.style.bottom = y < height / 2 ? "6px" : "auto";
        this.canvas.hidden = false;
        this.paint(bitmap, magnified(point, size, zoom, image, bitmap));
    }

    paint(bitmap, {x, y, edge}) {
        const edgeOnScreen = size * (window.devicePixelRatio || 1);
        this.canvas.width = edgeOnScreen;
        this.canvas.height = edgeOnScreen;
        const painter = this.canvas.getContext("2d");
        painter.imageSmoothingEnabled = false;
        painter.fillStyle = "#888";
        painter.fillRect(0, 0, edgeOnScreen, edgeOnScreen);
        painter.drawImage(bitmap, x, y, edge, edge, 0, 0, edgeOnScreen, edgeOnScreen);
        const middle = edgeOnScreen / 2;
        for (const [colour, width] of [["#000", 3], ["#fff", 1]]) {
            painter.strokeStyle = colour;
            painter.lineWidth = width;
            painter.beginPath();
            painter.moveTo(middle, 0);
            painter.lineTo(middle, edgeOnScreen);
            painter.moveTo(0, middle);
            painter.lineTo(edgeOnScreen, middle);
            painter.stroke();
        }
    }

    hide() {
        this.shown = null;
        this.canvas.hidden = true;
    }
}
