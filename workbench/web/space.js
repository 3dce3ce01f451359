// Points in space as text. Pure.

export const notMetric = "this calibration is not metric: the numbers are no lengths";

const axes = ["x", "y", "z"];

function unitOf({metric, unit}) {
    return metric && unit ? ` ${unit}` : "";
}

export function pointText(point) {
    if (axes.some((axis) => point[axis] === null)) {
        return "infinitely far";
    }
    return axes.map((axis) => point[axis].toFixed(2)).join(", ") + unitOf(point);
}

export function distance(a, b) {
    if (axes.some((axis) => a[axis] === null || b[axis] === null)) {
        return "–";
    }
    return Math.hypot(...axes.map((axis) => a[axis] - b[axis])).toFixed(2) +
        (a.metric && b.metric ? unitOf(b) : ", not a length");
}
