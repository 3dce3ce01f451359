// A queue of one: never more than one call under way, and the last one asked for wins.

// Returns a function that asks for run(request). While a call is under way, only the newest
// request waits; those between are never run. onIdle(true or false) follows the work.
export function latestOnly(run, onFailure, onIdle = () => {}) {
    let busy = false;
    let next = null;

    async function work() {
        busy = true;
        onIdle(false);
        while (next) {
            const {request} = next;
            next = null;
            try {
                await run(request);
            } catch (failure) {
                onFailure(failure);
            }
        }
        busy = false;
        onIdle(true);
    }

    return (request) => {
        next = {request};
        if (!busy) {
            work();
        }
    };
}
