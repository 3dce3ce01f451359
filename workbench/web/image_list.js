// The names of a folder's images, loaded by pages when they are needed.

import * as api from "./api.js";

const pageSize = 200;

export class ImageList {
    // onChange is called when more is known.
    constructor(onChange, onFailure) {
        this.onChange = onChange;
        this.onFailure = onFailure;
        this.filter = "";
        this.clear();
    }

    clear() {
        this.total = 0;
        this.whole = true; // or not all of a large folder was looked at
        this.pages = new Map(); // the number of a page -> its names, or null while it is loading
        this.generation = (this.generation ?? 0) + 1;
    }

    async search(filter) {
        this.filter = filter;
        this.clear();
        await this.load(0);
    }

    // The name at an index, or undefined if it is still to be loaded.
    at(index) {
        const page = Math.floor(index / pageSize);
        if (!this.pages.has(page)) {
            this.load(page);
        }
        return this.pages.get(page)?.[index % pageSize];
    }

    async load(page) {
        const {generation} = this;
        this.pages.set(page, null);
        try {
            const answer = await api.images(page * pageSize, pageSize, this.filter);
            if (generation === this.generation) {
                this.total = answer.total;
                this.whole = answer.whole;
                this.pages.set(page, answer.images.map((image) => image.name));
                this.onChange();
            }
        } catch (failure) {
            if (generation === this.generation) {
                this.pages.delete(page);
                this.onFailure(failure);
            }
        }
    }

    // All names that the filter lets through, at most `limit`.
    async all(limit) {
        const names = [];
        for (let from = 0; from < Math.min(this.total, limit); from += pageSize) {
            const answer = await api.images(from, pageSize, this.filter);
            names.push(...answer.images.map((image) => image.name));
        }
        return names.slice(0, limit);
    }

    indexOf(name) {
        for (const [page, names] of this.pages) {
            const index = names?.indexOf(name) ?? -1;
            if (index >= 0) {
                return page * pageSize + index;
            }
        }
        return -1;
    }
}
