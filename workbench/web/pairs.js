// Which photographs belong together as left and right. Pure.

const side = /(left|right)|(?:^|[^a-z])([lr])(?=[^a-z]|$)/i;

// A name without its side, and which side that is: "a/left01.jpg" -> {key: "a/*01.jpg", right: false}
function sideOf(name) {
    const slash = name.lastIndexOf("/") + 1;
    const base = name.slice(slash);
    const found = side.exec(base);
    if (!found) {
        return null;
    }
    const word = (found[1] ?? found[2]).toLowerCase();
    const at = found.index + found[0].length - word.length;
    const key = `${name.slice(0, slash)}${base.slice(0, at)}*${base.slice(at + word.length)}`;
    return {key, right: word.startsWith("r")};
}

// The names as [left, right] by what their names say, and those that have no partner.
export function pairsOf(names) {
    const partners = new Map();
    const single = [];
    for (const name of [...names].sort()) {
        const found = sideOf(name);
        const entry = found ? partners.get(found.key) ?? [null, null] : null;
        if (!entry || entry[found.right ? 1 : 0] !== null) {
            single.push(name);
        } else {
            entry[found.right ? 1 : 0] = name;
            partners.set(found.key, entry);
        }
    }
    const all = [...partners.values()];
    const pairs = all.filter((pair) => pair.every((name) => name !== null));
    single.push(...all.filter((pair) => pair.includes(null)).flat().filter((name) => name !== null));
    return {pairs, single};
}
