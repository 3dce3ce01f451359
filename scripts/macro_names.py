"""Names that windows.h defines as macros and that a source uses as names of its own.

Whether such a macro is in force at a given line depends on who includes what before it: OpenCV's headers undefine `small`,
for example. So no source may use these names at all, and what a compiler happens to see does not count.
"""

import re

# Comments and texts, raw ones first, too: what is in them is no name.
SKIPPED = re.compile(r'R"([^()\\ ]*)\(.*?\)\1"|//(?:\\\n|[^\n])*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"'
                     r"|(?<![0-9A-Za-z_])'(?:\\.|[^'\\\n])+'", re.DOTALL)
NAME = re.compile(r"[A-Za-z_]\w*")


def defined(macros):
    """Of the macros that a compiler lists (-dM), the plain lower-case ones that stand for one word or for none: they look
    like a variable's name. Functions with two forms (lstrlen) stand for more, and Windows sources may call them."""
    return set(re.findall(r"^#define ([a-z]+)(?: \w*)?$", macros, re.MULTILINE))


def used(text, names):
    """(line, name) wherever the source has one of the names."""
    blank = lambda skipped: re.sub(r"[^\n]", " ", skipped.group())
    code = SKIPPED.sub(blank, text)
    return [(code.count("\n", 0, found.start()) + 1, found.group()) for found in NAME.finditer(code) if found.group() in names]
