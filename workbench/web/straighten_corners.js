// The four corners as numbers, and what the program proposes for them.

import {el, button, panel, svg} from "./dom.js";
import {handlesHelp} from "./handles.js";
import {round} from "./state.js";

export const cornerNames = ["Corner 1", "Corner 2", "Corner 3", "Corner 4"];

export class CornerFields {
    // onChange  gets the points
    // onPropose is called when proposals are asked for
    constructor(viewer, {onChange, onPropose}) {
        this.viewer = viewer;
        this.onChange = onChange;
        this.fields = cornerNames.map((name) => ["x", "y"].map((axis) => el("input", {type: "number",
            step: 0.1, "aria-label": `${name}, ${axis}`, oninput: () => this.typed()})));
        this.hint = svg("polygon", {class: "outline hint"});
        viewer.drawing.append(this.hint);
        this.proposals = el("div", {class: "row", role: "group", "aria-label": "Proposals"});
        this.said = el("p", {class: "hint", role: "status"});
        this.element = panel("Corners", handlesHelp(),
            el("table", {class: "corners"}, el("thead", {}, el("tr", {}, el("th", {}, "Corner"),
                el("th", {}, "x"), el("th", {}, "y"))),
            el("tbody", {}, this.fields.map((pair, i) => el("tr", {}, el("td", {}, String(i + 1)),
                pair.map((field) => el("td", {}, field)))))),
            el("div", {class: "row"}, button("Propose corners", onPropose)), this.said, this.proposals);
    }

    typed() {
        const points = this.fields.map((pair) => pair.map((field) =>
            (field.value === "" ? NaN : Number(field.value))));
        if (points.flat().every(Number.isFinite)) {
            this.onChange(points);
        }
    }

    set(points) {
        this.fields.forEach((pair, i) => pair.forEach((field, axis) => {
            const value = points ? String(points[i][axis]) : "";
            if (document.activeElement !== field) {
                field.value = value;
            }
        }));
    }

    say(text) {
        this.said.textContent = text;
        this.proposals.replaceChildren();
    }

    showProposals(list) {
        this.said.textContent = list.length === 1 ? "One proposal:" : `${list.length} proposals:`;
        this.proposals.replaceChildren(...list.map(({kind, score, corners}) => {
            const points = corners.map((corner) => corner.map(round));
            const outline = (shown) => this.hint.setAttribute("points",
                shown ? points.map((point) => point.join(",")).join(" ") : "");
            return button(`${kind}, ${Math.round(score * 100)} % on edges`, () => this.onChange(points), {
                onpointerenter: () => outline(true), onpointerleave: () => outline(false),
                onfocus: () => outline(true), onblur: () => outline(false)});
        }));
        this.hint.setAttribute("points", "");
    }
}
