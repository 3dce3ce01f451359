"""check_pages.py ROOT: checks that the pages tell the truth about the sources.

- every link leads somewhere, and every page can be reached from docs/README.md
- the README stays short
- every C++ and CMake example is in a program under docs/examples, which is compiled and run
- every message of the program tarvix and of its preview window is in docs/troubleshooting.md
- every export is on its family's page, in docs/exports.md, which is made of the sources, and in the table of the tests
  that put all exports through the same
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(sys.argv[1]).resolve()
sys.dont_write_bytecode = True
sys.path.insert(0, str(ROOT / "scripts"))
import exports_page

PAGES = sorted([*ROOT.glob("*.md"), *ROOT.glob("docs/*.md"), *ROOT.glob("bench/*.md")])
complaints = []


def complain(page, text):
    complaints.append(f"{page.relative_to(ROOT)}: {text}")


def links(page):
    for target in re.findall(r"\]\(([^)#]+)(?:#[^)]*)?\)", page.read_text()):
        if not re.match(r"[a-z]+:", target):
            yield (page.parent / target).resolve()


def words(text):
    return " ".join(text.split())


def check_links():
    for page in PAGES:
        for target in links(page):
            if not target.exists():
                complain(page, f"a link to {target.name}, which does not exist")
    start = ROOT / "docs/README.md"
    for page in set(ROOT.glob("docs/*.md")) - {start} - set(links(start)):
        complain(page, "no link to it in docs/README.md")


def check_length():
    readme = ROOT / "README.md"
    lines = len(readme.read_text().splitlines())
    if lines > 120:
        complain(readme, f"{lines} lines, more than 120: the rest belongs into docs/")


def check_examples():
    programs = [words(path.read_text()) for path in (ROOT / "docs/examples").iterdir() if path.is_file()]
    renamed = [re.sub(r"example_(\w+)", r"\1", program) for program in programs]
    for page in PAGES:
        for kind, example in re.findall(r"^```(cpp|cmake)\n(.*?)^```", page.read_text(), re.M | re.S):
            # Parts of a program may be omitted: at empty lines, and between CMake's commands.
            for part in re.split(r"\n\s*\n" if kind == "cpp" else "\n", example.strip()):
                if not any(words(part) in program for program in programs + renamed):
                    complain(page, f"an example that no program of docs/examples has: {words(part)}")
        for line in re.findall(r"^    .*;(?: *//.*)?$", re.sub(r"^```.*?^```", "", page.read_text(), flags=re.M | re.S), re.M):
            complain(page, f"code that nobody compiles (fence it with ```cpp): {line.strip()}")


def calls(text, name):
    """Yields the argument lists of the calls of that name."""
    for match in re.finditer(rf"\b{name}\(", text):
        depth, end = 1, match.end()
        while depth:
            if text[end] == '"':
                end = re.compile(r'"(?:[^"\\]|\\.)*"').match(text, end).end()
                continue
            depth += {"(": 1, ")": -1}.get(text[end], 0)
            end += 1
        yield text[match.end() : end - 1]


def check_messages():
    page = ROOT / "docs/troubleshooting.md"
    known = words(page.read_text())
    found = 0
    preview = list(ROOT.glob("platform/system/preview_window_*.cpp"))
    if not preview:
        complain(page, "no sources of the preview window were found")
    for source in sorted([*ROOT.glob("host/**/*.cpp"), *preview]):
        text = source.read_text()
        for name in ["Failure", "BadUsage", "take", "failed", "runtime_error"]:
            for arguments in calls(text, name):
                joined = re.sub(r'"\s*\n?\s*"', "", arguments)
                for literal in re.findall(r'"((?:[^"\\]|\\.)*)"', joined):
                    message = literal.strip(" ':;,()")
                    found += 1
                    if " " in message and message not in known:
                        complain(page, f"the message '{message}' of {source.name} is missing")
    if found < 40:
        complain(page, f"only {found} texts of messages were found in host/")


def check_exports():
    symbols = (ROOT / "tests/module/exports.txt").read_text()
    family_page = {}  # of the header's name, but for calib.h
    for header in ROOT.glob("include/tarvix/*.h"):
        page = ROOT / f"docs/{header.stem.replace('calib', 'calibration')}.md"
        family_page.update(dict.fromkeys(re.findall(r"^(?! *//).*\b(tx_\w+)", header.read_text(), re.M), page))
    for name in sorted(set(re.findall(r"^(tx_\w+)", symbols, re.M))):
        table = ROOT / "tests/support/export_calls.cpp"
        if not re.search(rf'^ *\{{\.name = "{name}"', table.read_text(), re.M):
            complain(table, f"no row for {name}")
        if name not in family_page:
            complain(ROOT / "include/tarvix", f"{name} is in no header")
        elif name not in re.findall(r"\w+", family_page[name].read_text()):
            complain(family_page[name], f"nothing about {name}")
    if exports_page.page(ROOT) != (ROOT / "docs/exports.md").read_text():
        complain(ROOT / "docs/exports.md", "not up to date: run python3 scripts/exports_page.py .")


check_links()
check_length()
check_examples()
check_messages()
check_exports()
print("\n".join(complaints) or f"{len(PAGES)} pages")
sys.exit(1 if complaints else 0)
