// Making elements. Text goes in as text, never as HTML.

const svgNames = "http://www.w3.org/2000/svg";

function fill(element, attributes, children) {
    for (const [name, value] of Object.entries(attributes)) {
        if (name.startsWith("on")) {
            element.addEventListener(name.slice(2), value);
        } else if (value === true) {
            element.setAttribute(name, "");
        } else if (value !== false && value !== undefined && value !== null) {
            element.setAttribute(name, value);
        }
    }
    element.append(...children.flat().filter((child) => child !== null && child !== undefined));
    return element;
}

// An HTML element. An attribute "onclick" takes a function; true and false set and omit one.
export function el(name, attributes = {}, ...children) {
    return fill(document.createElement(name), attributes, children);
}

export function svg(name, attributes = {}, ...children) {
    return fill(document.createElementNS(svgNames, name), attributes, children);
}

export function button(text, onclick, attributes = {}) {
    return el("button", {type: "button", onclick, ...attributes}, text);
}

let lastId = 0;

export function newId(prefix) {
    lastId += 1;
    return `${prefix}-${lastId}`;
}

// A control with a label that belongs to it.
export function labelled(text, control, unit = "") {
    control.id ||= newId("control");
    return el("div", {class: "field"}, el("label", {for: control.id}, text), control,
        unit ? el("span", {class: "unit"}, unit) : null);
}

export function panel(title, ...children) {
    return el("section", {class: "panel"}, title ? el("h2", {}, title) : null, ...children);
}
