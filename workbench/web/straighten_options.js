// What can be set beside the corners, as fields, as values of the address, and as options of the
// command "converge".

import {el, labelled} from "./dom.js";

const canvases = {
    "": "in the same size",
    crop: "the rectangle cut out",
    fit: "enlarged, nothing cut off",
};

// The options of the command for the values of the address.
export function optionsOf(values, corners) {
    const options = {corners};
    const number = (text) => (text === undefined || text === "" ? NaN : Number(text));
    if (Number.isFinite(number(values.focal))) {
        options.focal = number(values.focal);
    }
    if (Number.isFinite(number(values.scale)) && number(values.scale) !== 1) {
        options.scale = number(values.scale);
    }
    const canvas = values.canvas in canvases ? values.canvas : "";
    const shift = [number(values.dx) || 0, number(values.dy) || 0];
    if (canvas === "" && (shift[0] !== 0 || shift[1] !== 0)) {
        options.offset = shift;
    }
    if (values.pitch && canvas !== "crop") {
        options["pitch-only"] = true;
    }
    if (canvas !== "") {
        options[canvas] = true;
    }
    return options;
}

export class StraightenOptions {
    // onChange gets the values
    constructor(onChange) {
        const changed = () => {
            this.follow();
            onChange(this.values());
        };
        const number = (attributes) => el("input", {type: "number", step: "any", oninput: changed, ...attributes});
        this.focal = number({min: 0, max: 10000, placeholder: "auto"});
        this.scale = number({min: 0.05, max: 10, step: 0.05, value: 1});
        this.scaleSlider = el("input", {type: "range", min: 0.2, max: 3, step: 0.05, value: 1,
            "aria-label": "Scale", oninput: () => {
                this.scale.value = this.scaleSlider.value;
                changed();
            }});
        this.dx = number({step: 1, value: 0});
        this.dy = number({step: 1, value: 0});
        this.canvas = el("select", {onchange: changed},
            ...Object.entries(canvases).map(([value, text]) => el("option", {value}, text)));
        this.pitch = el("input", {type: "checkbox", onchange: changed});
        this.element = el("div", {class: "fields"},
            labelled("Result", this.canvas),
            labelled("Focal length on 35 mm film", this.focal, "mm"),
            labelled("Scale", this.scale), this.scaleSlider,
            labelled("Shift right", this.dx, "pixels"), labelled("Shift down", this.dy, "pixels"),
            labelled("Straighten the verticals only", this.pitch));
    }

    values() {
        return {
            canvas: this.canvas.value,
            focal: this.focal.value,
            scale: this.scale.value === "1" ? "" : this.scale.value,
            dx: this.dx.value === "0" ? "" : this.dx.value,
            dy: this.dy.value === "0" ? "" : this.dy.value,
            pitch: this.pitch.checked ? "1" : "",
        };
    }

    set(values) {
        this.canvas.value = values.canvas in canvases ? values.canvas : "";
        this.focal.value = values.focal ?? "";
        this.scale.value = values.scale || "1";
        this.dx.value = values.dx || "0";
        this.dy.value = values.dy || "0";
        this.pitch.checked = Boolean(values.pitch);
        this.follow();
    }

    // What does not go together cannot be set.
    follow() {
        this.scaleSlider.value = this.scale.value;
        this.dx.disabled = this.canvas.value !== "";
        this.dy.disabled = this.canvas.value !== "";
        this.pitch.disabled = this.canvas.value === "crop";
    }
}
