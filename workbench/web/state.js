// The state of the page in its address: "#straighten?image=a.jpg&scale=1.5". Pure functions.

// The tab and its values, all of them text.
export function parseState(hash) {
    const text = hash.replace(/^#/, "");
    const cut = text.indexOf("?");
    const tab = cut < 0 ? text : text.slice(0, cut);
    const values = cut < 0 ? {} : Object.fromEntries(new URLSearchParams(text.slice(cut + 1)));
    return {tab, values};
}

// Values that are empty are left out. Slashes, commas and semicolons stay readable.
export function formatState(tab, values) {
    const pairs = new URLSearchParams();
    for (const [name, value] of Object.entries(values)) {
        if (value !== undefined && value !== null && value !== "" && value !== false) {
            pairs.set(name, value === true ? "1" : String(value));
        }
    }
    const text = pairs.toString().replaceAll("%2C", ",").replaceAll("%3B", ";").replaceAll("%2F", "/")
        .replaceAll("%7C", "|");
    return `#${tab}${text ? `?${text}` : ""}`;
}

// "1,2;3,4" and points, to a tenth of a pixel.
export function formatPoints(points) {
    return points.map(([x, y]) => `${round(x)},${round(y)}`).join(";");
}

// The points, or null if the text does not have so many.
export function parsePoints(text, count) {
    const points = (text ?? "").split(/[;\s]+/).filter((part) => part !== "")
        .map((pair) => pair.split(",").map((number) => (number.trim() === "" ? NaN : Number(number))));
    const whole = points.length === count &&
        points.every((point) => point.length === 2 && point.every(Number.isFinite));
    return whole ? points : null;
}

// Many names in one text.
export function formatNames(names) {
    return names.map((name) => name.replaceAll("%", "%25").replaceAll("|", "%7C")).join("|");
}

export function parseNames(text) {
    return (text ?? "").split("|").filter((part) => part !== "")
        .map((part) => part.replaceAll("%7C", "|").replaceAll("%25", "%"));
}

// The name in the list that a path of the program is or ends with, the longest one, or the path's
// last part.
export function nameOfPath(path, names) {
    const plain = path.replaceAll("\\", "/");
    const ends = names.filter((name) => plain === name || plain.endsWith(`/${name}`));
    return ends.sort((a, b) => b.length - a.length)[0] ?? plain.split("/").at(-1);
}

// The step of the finest key: a tenth of a pixel.
export function round(value) {
    return Math.round(value * 10) / 10;
}
