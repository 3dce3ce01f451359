"""run_commands.py ROOT PROGRAM PHOTOS [START_SERVER]: runs the command lines of the program tarvix that the pages show.

Each page's commands run in their order, in a folder where the images that they name are photographs. A comment
that begins with a digit must be what the command prints. With the library START_SERVER, the program is loaded once.
"""

import pathlib
import re
import shlex
import sys
import tempfile

ROOT, PROGRAM, PHOTOS = (pathlib.Path(argument) for argument in sys.argv[1:4])
sys.path.insert(0, str(ROOT / "tests/support"))
from start_server import StartServer
IMAGES = {
    "photo.jpg": "messi5.jpg",
    "image.jpg": "left05.jpg",
    "building.jpg": "building.jpg",
    "facade.jpg": "building.jpg",
    "board.jpg": "left01.jpg",
    "first.jpg": "aloeL.jpg",
    "second.jpg": "aloeR.jpg",
    "third.jpg": "aloeL.jpg",
    "a.jpg": "aloeL.jpg",
    "b.jpg": "aloeR.jpg",
    "left.jpg": "left03.jpg",
    "right.jpg": "right03.jpg",
    "photos/": "left??.jpg",
    "scene/": "aloe?.jpg",
    "pairs/": "left??.jpg right??.jpg",
}


def commands(page):
    """The code of the page's blocks, and in-line code that is a whole command line."""
    text = page.read_text().replace("\\\n", " ")
    blocks = re.findall(r"^(?:    |)(tarvix .*)$", text, re.M)
    return blocks + re.findall(r"`(tarvix [^`]* -o [^`]*)`", text.replace("\n", " "))


def prepare(folder):
    for name, source in IMAGES.items():
        target = folder / name
        if name.endswith("/"):
            target.mkdir()
            for pattern in source.split():
                for photo in PHOTOS.glob(pattern):
                    (target / photo.name).symlink_to(photo)
        else:
            target.symlink_to(PHOTOS / source)


count = 0
failed = 0
with StartServer(PROGRAM, "".join(sys.argv[4:])) as runner:
    for page in sorted([ROOT / "README.md", *ROOT.glob("docs/*.md")]):
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            prepare(folder)
            for command in commands(page):
                if "COMMAND" in command or "..." in command:
                    continue  # a pattern, not a command line
                count += 1
                run = runner.run(shlex.split(command, comments=True)[1:], folder)
                shown = re.search(r"# (\d.*)$", command)
                if run.returncode or (shown and shown.group(1) not in run.stdout):
                    failed += 1
                    print(f"{page.name}: {command}\n  status {run.returncode}: {run.stdout}{run.stderr}")
print(f"{count} command lines, {failed} failed")
sys.exit(1 if failed or count < 12 else 0)
