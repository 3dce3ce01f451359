// A queue of one: never more than one call under way, and the last one asked for wins.

// Returns a function that asks for run(request, signal). While a call is under way, only the newest
// request waits; those between are never run. Its drop() ends the call that is under way, by the
// signal, and forgets the one that waits. onIdle(true or false) follows the work.
export function latestOnly(run, onFailure, onIdle = () => {}) {
    let busy = false;
    let next = null;
    let under = null;

    async function work() {
        busy = true;
        onIdle(false);
        while (next) {
            const {request} = next;
            next = null;
            under = new AbortController();
            try {
                await run(request, under.signal);
            } catch (failure) {
                if (failure.name !== "AbortError") {
                    onFailure(failure);
                }
            }
        }
        busy = false;
        under = null;
        onIdle(true);
    }

    const ask = (request) => {
        next = {request};
        if (!busy) {
            work();
        }
    };
    ask.drop = () => {
        next = null;
        under?.abort();
    };
    return ask;
}
