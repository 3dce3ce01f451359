// Fields for the options of a command.

import {el, labelled} from "./dom.js";
import {offered, sliderRange, startText} from "./option_values.js";

const shortNames = {l2: "L2 norm", gray: "Grey bitmap", strip: "Leave out metadata", quality: "Quality (JPEG, WebP)"};

function titleOf({name}) {
    const words = name.replaceAll("-", " ");
    return shortNames[name] ?? words.charAt(0).toUpperCase() + words.slice(1);
}

// Each maker returns {element, get, set}; texts go in and out.
function numberField(option, onChange) {
    const field = el("input", {type: "number", min: option.minimum ?? option.above, max: option.maximum,
        step: option.kind === "integer" ? option.step ?? 1 : "any", title: option.help});
    const range = sliderRange(option);
    const slider = range ? el("input", {type: "range", ...range, "aria-label": titleOf(option)}) : null;
    field.addEventListener("input", () => {
        if (slider) {
            slider.value = field.value;
        }
        onChange();
    });
    slider?.addEventListener("input", () => {
        field.value = slider.value;
        onChange();
    });
    return {
        element: el("div", {class: "option"}, labelled(titleOf(option), field, option.unit), slider),
        get: () => (field.validity.badInput ? "?" : field.value), // what is typed is no number
        set: (text) => {
            field.value = text;
            if (slider) {
                slider.value = text === "" ? slider.min : text;
            }
        },
    };
}

function boardField(option, onChange) {
    const part = (label) => el("input", {type: "number", min: 2, max: 100, "aria-label": label, oninput: onChange});
    const [across, down] = [part("Inner corners per row"), part("Inner corners per column")];
    return {
        element: el("div", {class: "field", role: "group", "aria-label": option.help},
            el("span", {class: "label"}, "Inner corners"), el("span", {class: "size"}, across, "×", down)),
        get: () => (across.value && down.value ? `${across.value}x${down.value}` : ""),
        set: (text) => {
            [across.value, down.value] = /^\d+x\d+$/.test(text) ? text.split("x") : ["", ""];
        },
    };
}

function plainField(option, onChange, control, asText) {
    control.title = option.help;
    control.addEventListener("input", onChange);
    return {element: labelled(titleOf(option), control, option.unit), ...asText};
}

function makeField(option, onChange) {
    if (option.kind === "integer" || option.kind === "number") {
        return numberField(option, onChange);
    }
    if (option.kind === "board") {
        return boardField(option, onChange);
    }
    if (option.kind === "flag") {
        const box = el("input", {type: "checkbox"});
        return plainField(option, onChange, box, {get: () => (box.checked ? "1" : ""),
            set: (text) => {
                box.checked = text === "1";
            }});
    }
    const control = option.kind === "choice"
        ? el("select", {}, option.choices.map((choice) => el("option", {}, String(choice))))
        : el("input", {type: "text", class: "name", spellcheck: "false", autocomplete: "off"});
    return plainField(option, onChange, control, {get: () => control.value,
        set: (text) => {
            control.value = text;
        }});
}

export class Form {
    // onChange gets the texts by the options' names
    constructor(command, texts, onChange) {
        this.fields = new Map(offered(command).map((option) =>
            [option.name, makeField(option, () => onChange(this.texts()))]));
        for (const option of offered(command)) {
            this.fields.get(option.name).set(texts[option.name] ?? startText(option));
        }
        const rare = new Set(["quality", "strip", "gray"]);
        const elements = (isRare) => [...this.fields].filter(([name]) => rare.has(name) === isRare)
            .map(([, field]) => field.element);
        const more = elements(true);
        this.element = el("div", {class: "fields"}, elements(false), more.length === 0 ? null
            : el("details", {}, el("summary", {}, "Of the file"), el("div", {class: "fields"}, more)));
    }

    texts() {
        return Object.fromEntries([...this.fields].map(([name, field]) => [name, field.get()]));
    }

    set(name, text) {
        this.fields.get(name)?.set(text);
    }
}
