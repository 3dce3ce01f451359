"""try_breaches.py ROOT COMPILE_COMMANDS FOLDER...: tries to break the rule of the layers.

For one operation of each folder, its own compile command is run on a source that includes a header the operation
must not know. Each must fail because the header is not found. The same command must compile a source that includes a
header of the folder, so that a failure means what it says. Also no source of the folder names such a header, or one
of another folder, in an #include. The folder common/ is held to the same, and may not know OpenCV either.
"""

import concurrent.futures
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(sys.argv[1])
COMMANDS = json.loads(pathlib.Path(sys.argv[2]).read_text())
FOLDERS = [pathlib.Path(folder) for folder in sys.argv[3:]]
BREACHES = [
    "<afx.h>", "<afxwin.h>", "<afxcoll.h>", "<MorvelDib.h>", "<tarvix/tarvix.h>",
    '"platform/system/paths.h"', '"platform/system/files.h"',
    *(f'"bridge/{header.name}"' for header in sorted((ROOT / "bridge").glob("*.h"))),
    '"../bridge/dib_bridge.h"', '"../bridge/guard.h"',
]
if os.name == "posix" and "mingw" not in COMMANDS[0]["command"]:
    BREACHES += ["<windows.h>", "<shlwapi.h>"]  # a real Windows has them everywhere
ALLOWED = re.compile(r'<(opencv2/|common/)|<[a-z_]+>$|<omp\.h>|"[a-z0-9_]+\.h"$')
ALLOWED_IN_COMMON = re.compile(r'<common/|<[a-z_]+>$')


def is_common(folder):
    return folder.name == "common"


def headers(folder):
    return sorted(folder.rglob("*.h"))


def own_header(folder):
    name = headers(folder)[0].name
    return f"<common/{name}>" if is_common(folder) else f'"{name}"'


def breaches(folder):
    return BREACHES + ["<opencv2/core.hpp>"] * is_common(folder)


def syntax_check(folder, include):
    """The compiler's status and messages for a source of this folder with this #include."""
    entry = next(e for e in COMMANDS if pathlib.Path(e["file"]).parent == folder
                 and pathlib.Path(e["file"]).name != "exports.cpp")
    words = shlex.split(entry["command"])
    if pathlib.Path(words[0]).name == "ccache":
        words = words[1:]
    for option in ["-o", "-MF", "-MT"]:
        if option in words:
            del words[words.index(option) : words.index(option) + 2]
    words = [word for word in words if word not in ("-c", "-MD", entry["file"])]
    # The source stands for one in the folder: a quoted #include is looked up there first.
    text = f"#include {include}\nint probe();\nint probe() {{ return 1; }}\n"
    with tempfile.NamedTemporaryFile("w", suffix=".cpp") as source:
        source.write(text)
        source.flush()
        run = subprocess.run([*words, "-iquote", str(folder), "-fsyntax-only", source.name], cwd=entry["directory"],
                             capture_output=True, text=True)
    return run.returncode, run.stderr


def try_one(folder, include, expect_failure):
    status, messages = syntax_check(folder, include)
    if not expect_failure:
        return status == 0, f"{folder.name}: #include {include} should compile:\n{messages}"
    missing = re.search(r"fatal error: .*(No such file|not found)", messages)
    return status != 0 and missing, f"{folder.name}: #include {include} should not be found\n{messages[:500]}"


def main():
    failures = []
    for folder in FOLDERS:
        allowed = ALLOWED_IN_COMMON if is_common(folder) else ALLOWED
        for source in [*headers(folder), *sorted(folder.glob("*.cpp"))]:
            if source.name == "exports.cpp":
                continue
            for include in re.findall(r"^\s*#\s*include\s+(\S+)", source.read_text(), re.M):
                if not allowed.match(include):
                    failures.append(f"{source.relative_to(ROOT)}: #include {include} is not an operation's")
    own = [(folder, own_header(folder), False) for folder in FOLDERS]
    tries = own + [(folder, include, True) for folder in FOLDERS for include in breaches(folder)]
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for good, message in pool.map(lambda t: try_one(*t), tries):
            if not good:
                failures.append(message)
    print("\n".join(failures) or f"{len(tries)} includes tried in {len(FOLDERS)} folders: each as it should be")
    return 1 if failures or len(FOLDERS) < 6 else 0


sys.exit(main())
