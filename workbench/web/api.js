// The server's interface. Every failure becomes an Error whose message is a sentence for people.

async function answerOf(response) {
    if (response.ok) {
        return response;
    }
    let sentence = `The workbench answered ${response.status}.`;
    try {
        sentence = (await response.json()).error ?? sentence;
    } catch {
        // what is not JSON has no sentence for people
    }
    throw Object.assign(new Error(sentence), {status: response.status});
}

async function ask(path, options = {}) {
    let response;
    try {
        response = await fetch(path, {credentials: "same-origin", ...options});
    } catch (failure) {
        if (failure.name === "AbortError") {
            throw failure;
        }
        throw new Error("The workbench does not answer. Is the program still running?");
    }
    return answerOf(response);
}

async function getJson(path) {
    return (await ask(path)).json();
}

async function postJson(path, body, signal) {
    return (await ask(path, {
        signal,
        method: "POST",
        headers: {"Content-Type": "application/json"},
        body: JSON.stringify(body),
    })).json();
}

export const about = () => getJson("/api/about");
export const commands = () => getJson("/api/commands");
export const images = (from, count, filter) =>
    getJson(`/api/images?${new URLSearchParams({from, count, filter})}`);
export const thumbnailUrl = (name) => `/api/thumbnail?${new URLSearchParams({name})}`;
// signal  ends the run if nobody wants its answer any more
export const run = (request, signal) => postJson("/api/run", request, signal);
export const save = (request) => postJson("/api/save", request);
// Copies a result into the output folder.
export const keep = (result, name) =>
    postJson(`${resultUrl(result.id)}/save?${new URLSearchParams({name})}`, {});
export const savedUrl = (name) => `/api/saved/${name.split("/").map(encodeURIComponent).join("/")}`;
export const resultUrl = (id) => `/api/result/${encodeURIComponent(id)}`;
export const downloadUrl = (id) => `${resultUrl(id)}?download=1`;

export async function upload(file) {
    return (await ask(`/api/upload?${new URLSearchParams({name: file.name})}`,
        {method: "POST", headers: {"Content-Type": "application/octet-stream"}, body: file})).json();
}

// An image to show. It is to be released when it is no longer shown.
//   width, height  of the image itself, which may be larger than what was loaded
class Shown {
    constructor(blob, width, height) {
        this.blob = blob;
        this.url = URL.createObjectURL(blob);
        this.width = width;
        this.height = height;
        this.decoded = null;
    }

    // The pixels that were loaded, for the magnifier.
    bitmap() {
        this.decoded ??= createImageBitmap(this.blob);
        return this.decoded;
    }

    release() {
        URL.revokeObjectURL(this.url);
        this.decoded?.then((bitmap) => bitmap.close(), () => {});
    }
}

export async function imageToShow(name, pixels, signal) {
    return shownOf(await ask(`/api/image?${new URLSearchParams({name, pixels})}`, {signal}));
}

// size  [width, height] of what the result is a reduced copy of; without it, the result's own
export async function resultToShow(result, pixels, size, signal) {
    return shownOf(await ask(`${resultUrl(result.id)}?${new URLSearchParams({pixels})}`, {signal}), size);
}

async function shownOf(response, size) {
    const own = ["Width", "Height"].map((axis) => Number(response.headers.get(`X-Image-${axis}`)));
    return new Shown(await response.blob(), ...(size ?? own));
}

const pause = (milliseconds) => new Promise((resolve) => {
    setTimeout(resolve, milliseconds);
});

// How far a job is. A question that gets no answer is asked again.
async function stateOfJob(id) {
    for (let tries = 1; ; tries += 1) {
        try {
            return await getJson(`/api/job/${id}`);
        } catch (failure) {
            const passes = failure.status === undefined || failure.status === 503;
            if (!passes || tries === 5) {
                throw failure;
            }
            await pause(1000);
        }
    }
}

// Runs a long command, which ends with the page.
//   onStart     gets a function that ends the job
//   onProgress  gets {state, done, total, what}
export async function job(request, {onProgress, onStart}) {
    const {id} = await postJson("/api/job", request);
    const stop = `/api/job/${id}/stop`;
    const leave = () => navigator.sendBeacon(stop);
    addEventListener("pagehide", leave);
    try {
        onStart?.(() => postJson(stop, {}));
        for (;;) {
            const state = await stateOfJob(id);
            onProgress?.(state);
            if (state.state === "done") {
                return state.answer;
            }
            await pause(200);
        }
    } finally {
        removeEventListener("pagehide", leave);
    }
}
