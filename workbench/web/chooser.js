// The list of images beside the work: only the rows in sight exist, so a long list costs nothing.

import * as api from "./api.js";
import {el, button, labelled, newId} from "./dom.js";
import {ImageList} from "./image_list.js";

const rowHeight = 60;
const chosenLimit = 500;

export class Chooser {
    // onChoose  gets the names that are chosen: one, or any number in the mode for many
    constructor(root, {onChoose, onFailure}) {
        this.onChoose = onChoose;
        this.onFailure = onFailure;
        this.many = false;
        this.chosen = [];
        this.active = 0; // the index that the keys are at
        this.rows = new Map(); // index -> its element
        this.list = new ImageList(() => this.draw(), onFailure);
        this.build(root);
    }

    build(root) {
        this.filter = el("input", {type: "search", autocomplete: "off",
            oninput: () => this.search(this.filter.value)});
        this.space = el("div", {class: "rows"});
        this.box = el("div", {class: "list", role: "listbox", tabindex: 0, "aria-label": "Images of the folder",
            onkeydown: (event) => this.keyPressed(event)}, this.space);
        this.box.addEventListener("scroll", () => this.drawSoon());
        this.count = el("p", {class: "hint", role: "status"});
        this.file = el("input", {type: "file", accept: "image/*", multiple: true, class: "file",
            onchange: () => this.upload([...this.file.files])});
        this.all = button("Choose all shown", () => this.chooseAll(), {class: "quiet"});
        this.none = button("Choose none", () => this.choose([]), {class: "quiet"});
        this.manyBar = el("div", {class: "row", hidden: true}, this.all, this.none);
        this.details = el("details", {class: "images", open: true}, el("summary", {}, "Images"),
            labelled("Find", this.filter), this.count, this.manyBar, this.box,
            labelled("Add from this computer, or drop here", this.file));
        root.append(this.details);
        new ResizeObserver(() => this.draw()).observe(this.box);
        this.acceptDrops();
    }

    acceptDrops() {
        document.addEventListener("dragover", (event) => {
            event.preventDefault();
            document.body.classList.add("dropping");
        });
        document.addEventListener("dragleave", (event) => {
            if (!event.relatedTarget) {
                document.body.classList.remove("dropping");
            }
        });
        document.addEventListener("drop", (event) => {
            event.preventDefault();
            document.body.classList.remove("dropping");
            this.upload([...event.dataTransfer.files]);
        });
    }

    async upload(files) {
        const names = [];
        for (const file of files) {
            try {
                names.push((await api.upload(file)).name);
            } catch (failure) {
                this.onFailure(failure);
            }
        }
        this.file.value = "";
        if (names.length > 0) {
            await this.list.search(this.filter.value);
            this.choose(this.many ? [...this.chosen, ...names] : [names.at(-1)]);
        }
    }

    async search(text) {
        this.active = 0;
        this.box.scrollTop = 0;
        await this.list.search(text);
    }

    // Whether one image or many are chosen, and which.
    show(names, many) {
        this.many = many;
        this.chosen = [...names];
        this.manyBar.hidden = !many;
        this.giveWay();
        this.box.setAttribute("aria-multiselectable", String(many));
        this.draw();
    }

    choose(names) {
        this.chosen = names;
        this.giveWay();
        this.draw();
        this.onChoose([...names]);
    }

    // In a narrow window the work has the place once an image is chosen.
    giveWay() {
        if (matchMedia("(max-width: 900px)").matches) {
            this.details.open = this.many || this.chosen.length === 0;
        }
    }

    pick(index) {
        const name = this.list.at(index);
        this.active = index;
        if (name === undefined) {
            return;
        }
        if (!this.many) {
            this.choose([name]);
        } else if (this.chosen.includes(name)) {
            this.choose(this.chosen.filter((other) => other !== name));
        } else {
            this.choose([...this.chosen, name]);
        }
    }

    async chooseAll() {
        try {
            this.choose(await this.list.all(chosenLimit));
        } catch (failure) {
            this.onFailure(failure);
        }
    }

    keyPressed(event) {
        const page = Math.max(1, Math.floor(this.box.clientHeight / rowHeight) - 1);
        const last = this.list.total - 1;
        if (last < 0) {
            return;
        }
        const targets = {ArrowDown: this.active + 1, ArrowUp: this.active - 1, PageDown: this.active + page,
            PageUp: this.active - page, Home: 0, End: last};
        if (event.key in targets) {
            this.active = Math.min(last, Math.max(0, targets[event.key]));
            const top = this.active * rowHeight;
            const {scrollTop, clientHeight} = this.box;
            this.box.scrollTop = Math.max(top + rowHeight - clientHeight, Math.min(scrollTop, top));
            this.draw();
        } else if (event.key === "Enter" || event.key === " ") {
            this.pick(this.active);
        } else {
            return;
        }
        event.preventDefault();
    }

    drawSoon() {
        this.waiting ??= requestAnimationFrame(() => {
            this.waiting = null;
            this.draw();
        });
    }

    // Makes the rows in sight and drops the others.
    draw() {
        const {total} = this.list;
        this.space.style.height = `${total * rowHeight}px`;
        const part = this.list.whole ? "" : " in the part of the folder that was looked at";
        this.count.textContent = `${total} images${part}${this.many ? `, ${this.chosen.length} chosen` : ""}`;
        const first = Math.max(0, Math.floor(this.box.scrollTop / rowHeight) - 2);
        const end = Math.min(total, Math.ceil((this.box.scrollTop + this.box.clientHeight) / rowHeight) + 2);
        for (const [index, row] of this.rows) {
            if (index < first || index >= end || row.name !== this.list.at(index)) {
                row.element.remove();
                this.rows.delete(index);
            }
        }
        for (let index = first; index < end; index += 1) {
            this.drawRow(index);
        }
        const active = this.rows.get(this.active);
        if (active) {
            this.box.setAttribute("aria-activedescendant", active.element.id);
        } else {
            this.box.removeAttribute("aria-activedescendant");
        }
    }

    drawRow(index) {
        const name = this.list.at(index);
        let row = this.rows.get(index);
        if (!row) {
            const thumbnail = name === undefined ? null
                : el("img", {src: api.thumbnailUrl(name), alt: "", loading: "lazy", decoding: "async"});
            row = {name, element: el("div", {class: "image", role: "option", id: newId("image"),
                "aria-posinset": index + 1, onclick: () => this.pick(index)},
            el("span", {class: "thumbnail"}, thumbnail), el("span", {class: "name"}, name ?? ""))};
            row.element.style.top = `${index * rowHeight}px`;
            this.rows.set(index, row);
            this.space.append(row.element);
        }
        row.element.setAttribute("aria-setsize", this.list.total);
        row.element.setAttribute("aria-selected", String(this.chosen.includes(name)));
        row.element.classList.toggle("active", index === this.active);
    }
}
