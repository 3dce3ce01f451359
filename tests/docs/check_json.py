"""check_json.py ROOT PROGRAM PHOTOS [START_SERVER]: runs the commands of the program tarvix with --json and compares what they
print with the schema of docs/json.md. With the library START_SERVER, the program is loaded once.
"""

import copy
import json
import pathlib
import re
import sys
import tempfile

import jsonschema

ROOT, PROGRAM, PHOTOS = (pathlib.Path(argument) for argument in sys.argv[1:4])
sys.dont_write_bytecode = True
sys.path.insert(0, str(ROOT / "tests/support"))
from start_server import StartServer

SQUARE = "--from 0,0 9,0 9,9 0,9 --to 0,0 20,0 20,20 0,20"
PAIRS = " ".join(f"{side}{n}.jpg" for n in ("01", "03", "05", "07") for side in ("left", "right"))
USUAL = "home.jpg -o out.png"  # for commands that are not in the table
# In this order: the calibrations come before what uses them.
LINES = {
    "denoise": "home.jpg -o out.png --template 3 --search 3",
    "patch": "home.jpg -o out.png --width 41 --height 30 --center 80.5,60",
    "lines": "building.jpg",
    "chessboard": "left01.jpg --board 9x6",
    "faces": "messi5.jpg",
    "converge": "home.jpg -o out.png --corners 370,300 435,280 443,345 378,357 --focal 30",
    "converge-scaled": f"home.jpg -o out.png {SQUARE}",
    "align": f"home.jpg building.jpg -o out.png {SQUARE}",
    "warp": f"home.jpg -o out.png {SQUARE}",
    "mask": f"home.jpg -o out.png {SQUARE}",
    "calib": "left01.jpg left03.jpg left05.jpg left07.jpg --board 9x6 -o camera",
    "undistort": "left01.jpg -o out.png --calib camera",
    "stereo-calib": f"{PAIRS} --board 9x6 --square 25 -o pair",
    "rectify": "left01.jpg -o out.png --calib pair",
    "measure": "--calib pair --p1 300,200 --p2 280,200",
    "match": "box.png home.jpg -o out.png",
    "register": "aloeL.jpg aloeR.jpg -o set",
    "register-to": "aloeR.jpg --reference aloeL.jpg -o out.png",
    "board": "--board 9x6 --square 25 -o board.svg",
    "batch": "lines home.jpg building.jpg --manifest lines.jsonl",
    "batch-summary": "lines.jsonl",
    "stitch": "view1.png view2.png -o out.png",
}
NOT_RUN = {"track", "gallery", "import-calib", "workbench"}  # a camera, minutes, a file of another tool, a browser
# Again: finding nothing, or more.
AGAIN = [
    ("lines", "grey.png"),
    ("faces", "grey.png"),
    ("converge", "sudoku.png -o out.png --auto"),
    ("stereo-calib", f"{PAIRS} --board 9x6 --square 25 --metric -o metric"),
    ("register", "aloeL.jpg aloeR.jpg home.jpg -o set --crop --save table.json"),
    ("register", "aloeL.jpg aloeR.jpg home.jpg -o set --apply table.json"),
    ("stitch", "view1.png home.jpg view2.png -o out.png"),
    ("chessboard", "left01.jpg --board 9x6 --for-calib"),
    ("batch", "chessboard left01.jpg left03.jpg left05.jpg --board 9x6 --for-calib --manifest corners.jsonl"),
    ("calib", "--from-corners corners.jsonl --board 9x6 -o camera"),
]

page = (ROOT / "docs/json.md").read_text()
schema = json.loads(re.search(r"^```json\n(.*?)^```", page, re.M | re.S).group(1))
failed = []


def schema_of(name):
    return name if name in schema["$defs"] else "image"


def complaints(name, answer):
    validator = jsonschema.Draft202012Validator({**schema, "$ref": f"#/$defs/{schema_of(name)}"})
    return [error.message for error in validator.iter_errors(answer)]


def required(definition):
    """The members that it wants, with those of the definitions that it takes up."""
    taken = [schema["$defs"][part["$ref"].rsplit("/", 1)[1]] for part in definition.get("allOf", [])]
    return sum((required(part) for part in taken), definition.get("required", []))


def check(runner, folder, name, line):
    run = runner.run([name, *line.split(), "--json"], folder)
    if run.returncode or run.stdout.count("\n") != 1:
        failed.append(f"{name} {line}: status {run.returncode}: {run.stdout}{run.stderr}")
        return
    answer = json.loads(run.stdout)
    failed.extend(f"{name} {line}: {text}" for text in complaints(name, answer))
    # The schema tells an answer from one that lacks a member.
    for member in answer:
        less = copy.deepcopy(answer)
        del less[member]
        wanted = schema["$defs"][schema_of(name)]
        if (member in required(wanted)) != bool(complaints(name, less)):
            failed.append(f"{name}: the schema does not miss {member}")


with tempfile.TemporaryDirectory() as name, StartServer(PROGRAM, "".join(sys.argv[4:])) as runner:
    folder = pathlib.Path(name)
    for photo in PHOTOS.iterdir():
        (folder / photo.name).symlink_to(photo)
    (folder / "grey.png").write_bytes(b"P5 40 40 255\n" + b"\x63" * 1600)  # the content tells the format
    for view, center in [("view1.png", "240,290"), ("view2.png", "420,310")]:
        runner.run(["patch", "building.jpg", "-o", view, *f"--width 440 --height 400 --center {center}".split()], folder)
    listed = re.search(r"^Subcommands:\n(.*?)(?:\n\n|\Z)", runner.run(["--help"], folder).stdout, re.M | re.S)
    commands = set(re.findall(r"^  ([a-z][a-z-]*) ", listed.group(1), re.M))
    for command in sorted((LINES.keys() | NOT_RUN) - commands):
        failed.append(f"{command}: not in the program")
    for command in sorted(commands - LINES.keys() - NOT_RUN):
        LINES[command] = USUAL
    for command, line in [*LINES.items(), *AGAIN]:
        if command in commands:
            check(runner, folder, command, line)
print("\n".join(failed) or f"{len(LINES)} commands print what docs/json.md says")
sys.exit(1 if failed else 0)
