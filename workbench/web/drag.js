// Dragging with one pointer: the main button of a mouse, a finger, a pen.

// Calls begin(event), move(event) and, however it ends, end().
export function followDrag(element, {begin, move, end = () => {}}) {
    let pointer = null;
    const stop = () => {
        if (pointer !== null) {
            pointer = null;
            end();
        }
    };
    element.addEventListener("pointerdown", (event) => {
        if (event.button === 0 && pointer === null) {
            pointer = event.pointerId;
            element.setPointerCapture(pointer);
            begin(event);
        }
    });
    element.addEventListener("pointermove", (event) => {
        if (event.pointerId !== pointer) {
            return;
        }
        if (event.buttons === 0) { // let go where nobody told us
            stop();
        } else {
            move(event);
        }
    });
    for (const name of ["pointerup", "pointercancel", "lostpointercapture"]) {
        element.addEventListener(name, (event) => event.pointerId === pointer && stop());
    }
}
