"""Writes a source with all its changes in it, each switched by its number (mutants.h).

A site is a stretch of a file that is replaced. Sites nest as the syntax does: a site's text is made from the text of
the sites within it."""
import re

BEGINS_OR_ENDS = re.compile(r'/\*<(\d+)\*/|/\*(\d+)>\*/')


class Site:
    """Replaces file[start:end]. `make(number, text, inner)` gives the new text: `text` is the site's own with the sites
    within it made, `inner(start, end)` that of any part of it."""

    def __init__(self, start, end, kind, change, make):
        self.start, self.end, self.kind, self.change, self.make = start, end, kind, change, make
        self.number = 0


def written(source, sites, constants, dropped_names):
    """The source with all sites made. Those that overlap without nesting are left out."""
    edits = [Site(s, e, 'constexpr', '', lambda n, t, i, w=word: w) for s, e, name, word, _ in constants
             if name not in dropped_names]
    rank = {'constexpr': 0, 'dropped': 0, 'condition': 1, 'arguments': 2, 'operator': 3} # of those with the same ends
    everything = sorted(sites + edits, key=lambda s: (s.start, -s.end, rank.get(s.kind, 4)))
    root, stack = [], []
    for site in everything:
        while stack and stack[-1].end <= site.start:
            stack.pop()
        if stack and site.end > stack[-1].end:
            continue
        (stack[-1].inside if stack else root).append(site)
        site.inside = []
        stack.append(site)

    def render(start, end, inside):
        parts, at = [], start
        for site in inside:
            if site.start < at or site.end > end:
                continue
            parts.append(source[at:site.start])
            parts.append(made(site))
            at = site.end
        parts.append(source[at:end])
        return ''.join(parts)

    def made(site):
        text = site.make(site.number, render(site.start, site.end, site.inside),
                         lambda start, end: render(start, end, site.inside))
        return f'/*<{site.number}*/{text}/*{site.number}>*/' if site.number else text

    return render(0, len(source), root)


def innermost(text, offset):
    """The number of the innermost change around an offset of a written source, 0 if there is none."""
    stack = []
    for found in BEGINS_OR_ENDS.finditer(text, 0, offset + 1):
        if found[1]:
            stack.append(int(found[1]))
        elif stack:
            stack.pop()
    return stack[-1] if stack else 0
