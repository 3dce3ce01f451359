// A command's options, as text in fields and in the address, and as values of a request. Pure.

import {formatPoints, parsePoints} from "./state.js";

// Options that name files, the format of standard output and records for a calibration, which come
// without an image, are not for a page.
const ofFiles = new Set(["file", "folder", "image", "images"]);
const ofOthers = new Set(["format", "for-calib"]);

export function offered(command) {
    return command.options.filter(({name, kind}) => !ofFiles.has(kind) && !ofOthers.has(name));
}

export const pointsIn = (option) => ({point: 1, corners: 4})[option.kind] ?? 0;

// Lists of numbers stand in brackets in the table.
const defaultText = (option) => String(option.default ?? "").replace(/^\[(.*)\]$/, "$1");

// The text of an option that is not set: its default, or something to begin with.
export function startText(option) {
    if (option.default !== undefined && option.default !== null) {
        return defaultText(option);
    }
    if (!option.required) {
        return "";
    }
    if (option.kind === "integer" || option.kind === "number") {
        return String(Math.min(200, option.maximum ?? 200));
    }
    return {board: "9x6", choice: String(option.choices?.[0] ?? "")}[option.kind] ?? "";
}

// The value that a request has for a text, undefined if the option is not to be given, or null if
// the text is not a value of it.
export function valueOf(option, text) {
    const given = text ?? startText(option);
    if (option.kind === "flag") {
        return given === "1" ? true : undefined;
    }
    if (given === "" || (!option.required && given === defaultText(option))) {
        return undefined;
    }
    if (option.kind === "integer" || option.kind === "number") {
        const number = given.trim() === "" ? NaN : Number(given);
        return Number.isFinite(number) && (option.kind === "number" || Number.isInteger(number)) ? number : null;
    }
    const count = pointsIn(option);
    if (count > 0) {
        const points = parsePoints(given, count);
        return points && count === 1 ? points[0] : points;
    }
    if (option.kind === "colour") {
        const parts = given.split(",").map((part) => (part.trim() === "" ? NaN : Number(part)));
        return parts.length === 3 && parts.every((part) => Number.isInteger(part) && part >= 0 && part <= 255)
            ? parts : null;
    }
    return given;
}

const wanted = {
    integer: "a whole number",
    number: "a number",
    point: "a point, such as 20,10",
    corners: "four points, such as 0,0;90,0;90,60;0,60",
    colour: "three numbers from 0 to 255, such as 255,0,0",
    board: "the inner corners of a board, such as 9x6",
};

// The options of a request, or a sentence that says which one is not set.
export function requestOptions(command, texts) {
    const options = {};
    for (const option of offered(command)) {
        const value = valueOf(option, texts[option.name]);
        if (value === null || (value === undefined && option.required)) {
            return `The option '${option.name}' takes ${wanted[option.kind] ?? "a text"}`;
        }
        if (value !== undefined) {
            options[option.name] = value;
        }
    }
    return options;
}

// What of the texts is worth keeping in the address.
export function keptTexts(command, texts) {
    return Object.fromEntries(offered(command)
        .filter(({name}) => texts[name] !== undefined)
        .filter((option) => texts[option.name] !== defaultText(option))
        .map(({name}) => [name, texts[name]]));
}

// The ends of an option's slider, or null if a slider makes no sense. A wide range is cut off where
// nobody drags to; the field beside it still takes all of it.
export function sliderRange(option) {
    const least = option.minimum ?? option.above ?? null;
    const start = Number(option.default ?? NaN);
    if (least === null || !(option.kind === "integer" || option.kind === "number")) {
        return null;
    }
    const usual = Number.isFinite(start) && start > 0 ? start * 6 : 1000;
    const most = Math.min(option.maximum ?? usual, Math.max(usual, 20));
    const fine = Math.max(0.01, 10 ** Math.floor(Math.log10((most - least) / 100)));
    const step = option.step ?? (option.kind === "integer" ? 1 : fine);
    return most > least ? {min: least, max: most, step} : null;
}

export const pointsText = (points) => formatPoints(points);
