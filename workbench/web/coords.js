// Maps between an image and the part of the screen that shows it. Pure functions.
//
// A point of an image is in pixels, with the origin at the centre of the top left one, as the
// command line has it: the image reaches from -0.5 to its width - 0.5. A view {x, y, scale} shows
// the point p at (p - (x, y)) * scale, in CSS pixels from the top left of the box.

export function toScreen(view, [x, y]) {
    return [(x - view.x) * view.scale, (y - view.y) * view.scale];
}

export function toImage(view, [x, y]) {
    return [x / view.scale + view.x, y / view.scale + view.y];
}

// The whole image in the middle of the box.
export function fitView(box, image) {
    const scale = Math.min(box.width / image.width, box.height / image.height);
    return {
        scale,
        x: image.width / 2 - 0.5 - box.width / 2 / scale,
        y: image.height / 2 - 0.5 - box.height / 2 / scale,
    };
}

// Zooms so that what is at a place of the screen stays there.
export function zoomAt(view, place, factor, {least, most}) {
    const scale = Math.min(most, Math.max(least, view.scale * factor));
    const [x, y] = toImage(view, place);
    return {scale, x: x - place[0] / scale, y: y - place[1] / scale};
}

export function panBy(view, dx, dy) {
    return {scale: view.scale, x: view.x - dx / view.scale, y: view.y - dy / view.scale};
}

// Keeps the middle of the box on the image.
export function keptInside(view, box, image) {
    const halfWidth = box.width / 2 / view.scale;
    const halfHeight = box.height / 2 / view.scale;
    const clamp = (value, size) => Math.min(size - 0.5, Math.max(-0.5, value));
    return {
        scale: view.scale,
        x: clamp(view.x + halfWidth, image.width) - halfWidth,
        y: clamp(view.y + halfHeight, image.height) - halfHeight,
    };
}

// The same part of another image, which may have another size.
export function viewOfOther(view, image, other) {
    const factor = other.width / image.width;
    const move = (value) => (value + 0.5) * factor - 0.5;
    return {scale: view.scale / factor, x: move(view.x), y: move(view.y)};
}

// What a magnifier of size x size CSS pixels shows around a point: a rectangle of the loaded
// pixels, which may be fewer than those of the image.
export function magnified(point, size, zoom, image, loaded) {
    const factor = loaded.width / image.width;
    const edge = size / zoom * factor;
    return {
        x: (point[0] + 0.5) * factor - edge / 2,
        y: (point[1] + 0.5) * factor - edge / 2,
        edge,
    };
}

// A rectangle to begin with: a sixth from each edge.
export function startCorners({width, height}) {
    const [left, top] = [Math.round(width / 6), Math.round(height / 6)];
    const [right, bottom] = [width - 1 - left, height - 1 - top];
    return [[left, top], [right, top], [right, bottom], [left, bottom]];
}
