"""exports_page.py ROOT: writes docs/exports.md, the list of all exports, from the declarations and from the tests' table of
exports.
"""

import pathlib
import re
import sys

HEAD = """# All exports

This list is made by `scripts/exports_page.py` from the declarations and from the table of exports that the tests use
(`tests/support/export_calls.cpp`), which holds each export to its row. Do not edit it.

- **OpenCV refuses**: what becomes of an exception of OpenCV. It propagates to the host, its text is shown as a message
  and the export returns NULL or 0, or the call fails silently.
- **everything else**: the same of any other failure, such as no memory.

| export | what it does | OpenCV refuses | everything else |
|---|---|---|---|
"""


def declared(root):
    """The exports in the order of the headers: name, family's page, first sentence of the comment."""
    for header in sorted(root.glob("include/tarvix/*.h")):
        page = f"{header.stem.replace('calib', 'calibration')}.md"
        comment = []
        for line in header.read_text().splitlines():
            if line.startswith("//"):
                comment.append(line[2:].strip())
                continue
            name = re.search(r"TARVIX_API\b.*?\b(tx_\w+)", line)
            if name:
                said = re.match(r".*?[^.]\.(?= |$)", " ".join(comment))
                yield name.group(1), page, said.group(0) if said else ""
            comment = []


def passed(root):
    """What each export lets pass, by the tests' table."""
    text = (root / "tests/support/export_calls.cpp").read_text()
    table = text[text.index("constexpr Export table[]") :]
    for row in re.split(r"\n    \{(?=\.name)", table)[1:]:
        passes = re.search(r"\.passes = ([^,]*),", row)
        yield re.search(r'\.name = "(\w+)"', row).group(1), passes.group(1) if passes else "", ".isMute = true" in row


def page(root):
    passes = {name: (what, mute) for name, what, mute in passed(root)}
    rows = []
    for name, family, said in declared(root):
        what, mute = passes.get(name, ("", False))  # docs.pages names what the tests' table lacks
        refused = "silent" if mute else "propagates" if re.search("passAll|passOpenCv", what) else "message"
        other = "propagates" if re.search("passAll|passMemory", what) else "silent"
        rows.append(f"| [`{name}`]({family}) | {said} | {refused} | {other} |\n")
    return HEAD + "".join(rows)


if __name__ == "__main__":
    root = pathlib.Path(sys.argv[1])
    (root / "docs/exports.md").write_text(page(root))
