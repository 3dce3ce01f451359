// The state in the address, without a step in the browser's history.

const period = 100; // ms

// Browsers ignore changes beyond some 200 in ten seconds, and a drag has more. So a change is written at once, and those
// that follow closely are written together.
export class Address {
    // write  replaces what is in the address
    constructor(write = (hash) => history.replaceState(null, "", hash)) {
        this.write = write;
        this.next = null;
        this.waits = false;
        window.addEventListener("pagehide", () => this.flush());
    }

    keep(hash) {
        this.next = hash;
        if (!this.waits) {
            this.flush();
            this.waits = true;
            setTimeout(() => {
                this.waits = false;
                if (this.next !== null) {
                    this.keep(this.next);
                }
            }, period);
        }
    }

    // Writes what waits.
    flush() {
        if (this.next !== null) {
            this.write(this.next);
            this.next = null;
        }
    }

    // Forgets what waits: the address is another one by now.
    drop() {
        this.next = null;
    }
}
