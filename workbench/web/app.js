// Starts the page: tabs, the list of images, and the address that holds the state.

import {Address} from "./address.js";
import * as api from "./api.js";
import {Chooser} from "./chooser.js";
import {el} from "./dom.js";
import {formatState, parseState} from "./state.js";
import {sentence} from "./messages.js";
import {Straighten} from "./straighten.js";
import {Operate} from "./operate.js";
import {Calibrate} from "./calibrate.js";
import {Register} from "./register.js";

const tabs = {
    straighten: {title: "Straighten", make: (page) => new Straighten(page)},
    operate: {title: "Filters and more", make: (page) => new Operate(page)},
    calibrate: {title: "Calibrate", make: (page) => new Calibrate(page)},
    register: {title: "Register", make: (page) => new Register(page)},
};

const byId = (id) => document.getElementById(id);

class Page {
    constructor() {
        this.workplaces = {};
        this.last = {}; // the state of each tab, as it was left
        this.address = new Address();
        this.problem = byId("problem");
        this.chooser = new Chooser(byId("images"), {
            onChoose: (names) => this.current?.choose(names),
            onFailure: (failure) => this.fail(failure),
        });
        this.links = Object.entries(tabs).map(([name, {title}]) => el("a", {href: `#${name}`,
            onclick: (event) => {
                event.preventDefault();
                this.go(name, {...this.last[name], ...this.carried()});
            }}, title));
        byId("tabs").append(...this.links);
        byId("skip").addEventListener("click", () => byId("work").focus());
        byId("theme").addEventListener("click", () => this.changeTheme());
        this.showTheme(localStorage.getItem("theme"));
        window.addEventListener("hashchange", () => {
            this.address.drop();
            this.showAddress();
        });
    }

    async start() {
        try {
            [this.about, this.commands] = await Promise.all([api.about(), api.commands()]);
        } catch (failure) {
            byId("work").replaceChildren();
            this.fail(failure);
            return;
        }
        document.title = `Tarvix workbench: ${this.about.folder}`;
        this.chooser.search(""); // a large folder takes a while; what the address says does not wait
        this.showAddress();
    }

    // The image that is worked on goes along to another tab.
    carried() {
        this.address.flush();
        const image = parseState(location.hash).values.image;
        return image ? {image} : {};
    }

    go(tab, values) {
        const hash = formatState(tab, values);
        this.address.flush();
        if (hash !== location.hash) {
            byId("work").setAttribute("aria-busy", "true");
            location.hash = hash;
        }
    }

    async showAddress() {
        const {tab: asked, values} = parseState(location.hash);
        const tab = asked in tabs ? asked : Object.keys(tabs)[0];
        this.workplaces[tab] ??= tabs[tab].make(this);
        this.current = this.workplaces[tab];
        this.links.forEach((link, i) => {
            if (Object.keys(tabs)[i] === tab) {
                link.setAttribute("aria-current", "page");
            } else {
                link.removeAttribute("aria-current");
            }
        });
        byId("work").replaceChildren(this.current.element);
        this.problem.hidden = true;
        this.last[tab] = values;
        this.showing = (this.showing ?? 0) + 1;
        const {showing} = this;
        byId("work").setAttribute("aria-busy", "true");
        try {
            await this.current.show(values);
        } catch (failure) {
            this.fail(failure);
        }
        if (showing === this.showing) {
            byId("work").setAttribute("aria-busy", "false");
        }
    }

    // Keeps the state of a tab: in the address if the tab is in sight.
    keep(place, values) {
        const tab = Object.keys(this.workplaces).find((name) => this.workplaces[name] === place);
        this.last[tab] = values;
        if (place === this.current) {
            this.address.keep(formatState(tab, values));
        }
    }

    // Marks in the list what a tab has chosen, if the tab is in sight.
    showChosen(place, names, many) {
        if (place === this.current) {
            this.chooser.show(names, many);
        }
    }

    // Shows a failure as its sentence.
    fail(failure) {
        this.problem.textContent = sentence(failure.message);
        this.problem.hidden = false;
    }

    // A tab has an answer again.
    fine(place) {
        if (place === this.current) {
            this.problem.hidden = true;
        }
    }

    changeTheme() {
        const dark = getComputedStyle(document.documentElement).colorScheme === "dark" ||
            (!document.documentElement.dataset.theme && matchMedia("(prefers-color-scheme: dark)").matches);
        const theme = dark ? "light" : "dark";
        localStorage.setItem("theme", theme);
        this.showTheme(theme);
    }

    showTheme(theme) {
        if (theme === "dark" || theme === "light") {
            document.documentElement.dataset.theme = theme;
        }
    }
}

new Page().start();
