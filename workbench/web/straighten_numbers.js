// The angles and the focal length that were found.

import {el} from "./dom.js";

const degrees = (value) => `${value.toFixed(2)}°`;

const rows = [
    ["Pitch", (data) => degrees(data.pitch_deg)],
    ["Yaw", (data) => degrees(data.yaw_deg)],
    ["Roll", (data) => degrees(data.roll_deg)],
    ["Focal length", (data) => `${data.focal_mm.toFixed(2)} mm, ${data.focal_source}`],
    ["Right angles missed by", (data) => `${degrees(data.missed_right_angles_deg)} in sum`],
];

export class StraightenNumbers {
    constructor() {
        this.values = rows.map(([name]) => el("dd", {"data-number": name}, "–"));
        this.element = el("dl", {class: "numbers"},
            rows.map(([name], i) => el("div", {}, el("dt", {}, name), this.values[i])));
    }

    // A number that the program does not have is null.
    show(data) {
        rows.forEach(([, format], i) => {
            let text = "–";
            try {
                text = format(data);
            } catch {
                // not known
            }
            this.values[i].textContent = text;
        });
    }

    clear() {
        this.show(null);
    }
}
