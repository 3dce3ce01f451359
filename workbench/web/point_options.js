// Options that are points of an image, as handles on it.

import {Handles} from "./handles.js";
import {parsePoints} from "./state.js";
import {pointsIn} from "./option_values.js";

export class PointOptions {
    // onMoved gets the option's name and its points
    constructor(first, second, onMoved) {
        this.first = first;
        this.second = second;
        this.onMoved = onMoved;
        this.handles = new Map(); // name of the option and viewer -> its handles
        this.options = [];
    }

    // Where an option's points are: those "to" which others go are in the second image, if there is one.
    viewerOf(option, takesTwo) {
        return takesTwo && option.name === "to" ? this.second : this.first;
    }

    show(options, texts, takesTwo) {
        this.handles.forEach((handles) => handles.set(null));
        this.options = options;
        this.takesTwo = takesTwo;
        this.set(texts);
    }

    set(texts) {
        for (const option of this.options) {
            this.handlesOf(option).set(parsePoints(texts[option.name], pointsIn(option)));
        }
    }

    handlesOf(option) {
        const viewer = this.viewerOf(option, this.takesTwo);
        const key = `${option.name} ${viewer === this.second} ${option.kind}`;
        if (!this.handles.has(key)) {
            const count = pointsIn(option);
            const names = Array.from({length: count}, (_, i) => `Option ${option.name}, point ${i + 1}`);
            this.handles.set(key, new Handles(viewer, {names, closed: count > 1,
                kind: option.name === "to" ? "target" : "marked",
                onChange: (points) => this.onMoved(option.name, points)}));
        }
        return this.handles.get(key);
    }
}
