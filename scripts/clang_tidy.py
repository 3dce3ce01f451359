"""clang_tidy.py ROOT BUILD CACHE JOBS [PATH...]: what scripts/clang_tidy.sh runs.

A silent run is remembered as an empty file in CACHE whose name is the hash of everything the run depends on.
The files that a source includes are listed beside it, from the compiler; headers are hashed once per process.
Files are hashed as they are, comments and all: a NOLINT counts. Paths inside ROOT and BUILD are hashed relative
to them, so that every checkout shares the cache.
"""

import concurrent.futures
import functools
import hashlib
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile
import time

ROOT, BUILD, CACHE = (pathlib.Path(argument) for argument in sys.argv[1:4])
JOBS = int(sys.argv[4])
WANTED = [ROOT / path for path in sys.argv[5:]] or [ROOT]
KEEP_SECONDS = 60 * 24 * 3600


def digest(*parts):
    return hashlib.sha256("\0".join(parts).encode()).hexdigest()


def portable(text):
    # The build folder first: it usually lies in the root.
    return text.replace(str(BUILD), "@BUILD@").replace(str(ROOT), "@ROOT@")


def absolute(text):
    return text.replace("@BUILD@", str(BUILD)).replace("@ROOT@", str(ROOT))


@functools.lru_cache(maxsize=None)
def content(path):
    try:
        return hashlib.sha256(pathlib.Path(path).read_bytes()).hexdigest()
    except OSError:
        return "missing"


def command_of(entry):
    words = entry["arguments"] if "arguments" in entry else shlex.split(entry["command"])
    if pathlib.Path(words[0]).name == "ccache":
        words = words[1:]
    return without_precompiled_headers(words)


def without_precompiled_headers(words):
    """clang cannot read g++'s, and a source must include what it uses all the same."""
    kept = []
    for word in words:
        if kept and kept[-1] == "-include" and pathlib.Path(word).name.startswith("cmake_pch."):
            kept.pop()
        elif word not in ("-Winvalid-pch", "-fpch-preprocess"):
            kept.append(word)
    return kept


def included_files(entry):
    """Every file that the source reads, from the preprocessor; None when it cannot say."""
    words, flags = command_of(entry)[1:], []
    skip = False
    for word in words:
        if skip:
            skip = False
        elif word in ("-o", "-MF", "-MT", "-MQ"):
            skip = True
        elif word not in ("-c", "-MD", "-MMD"):
            flags.append(word)
    run = subprocess.run(["clang++", "-w", "-M", *flags], cwd=entry["directory"], capture_output=True, text=True)
    if run.returncode != 0:
        return None
    names = shlex.split(run.stdout.replace("\\\n", " "))[1:]
    return sorted({os.path.normpath(os.path.join(entry["directory"], name)) for name in names})


def key_of(base, files):
    return digest(base, *(f"{portable(name)} {content(name)}" for name in files))


def header_filter():
    """The one of .clang-tidy, bound to this checkout: its own path may hold a folder of such a name, too."""
    pattern = re.search(r"^HeaderFilterRegex: *'(.*)'$", (ROOT / ".clang-tidy").read_text(), re.MULTILINE)
    return f"^{re.escape(str(ROOT))}{pattern[1]}"


def own_settings(source):
    """The settings of the folders between the root and the source."""
    folders = [ROOT / folder for folder in pathlib.Path(source).relative_to(ROOT).parents]
    return [content(str(folder / ".clang-tidy")) for folder in folders
            if folder != ROOT and (folder / ".clang-tidy").exists()]


def check(entry, settings, database):
    """Returns "unchanged", "silent" or the warnings."""
    base = digest(settings, *own_settings(entry["file"]), portable(entry["file"]), *map(portable, command_of(entry)[1:]))
    listing = CACHE / f"{base}.files"
    if listing.exists():
        files = [absolute(line) for line in listing.read_text().splitlines()]
        result = CACHE / key_of(base, files)
        if result.exists():
            os.utime(listing)
            os.utime(result)
            return "unchanged"
    files = included_files(entry)
    key = key_of(base, files) if files is not None else None
    command = ["clang-tidy", "--quiet", "-p", str(database), f"--header-filter={header_filter()}", entry["file"]]
    run = subprocess.run(command, capture_output=True, text=True)
    if run.returncode != 0 or "warning:" in run.stdout or "error:" in run.stdout:
        how = f"signal {-run.returncode}" if run.returncode < 0 else f"status {run.returncode}"
        return run.stdout or f"{entry['file']}: clang-tidy ended with {how}\n{run.stderr}"
    if key is not None:
        # Written whole under a name of its own first: other checkouts may be at it, too.
        half = CACHE / f"{key}.{os.getpid()}"
        half.write_text("".join(f"{portable(name)}\n" for name in files))
        half.replace(listing)
        (CACHE / key).touch()
    return "silent"


def main():
    CACHE.mkdir(parents=True, exist_ok=True)
    for old in CACHE.iterdir():
        if old.stat().st_mtime < time.time() - KEEP_SECONDS:
            old.unlink(missing_ok=True)
    version = subprocess.run(["clang-tidy", "--version"], capture_output=True, text=True, check=True).stdout
    # The line with the processor's name would split the cache between machines for nothing.
    version = "\n".join(line for line in version.splitlines() if "CPU" not in line)
    settings = digest(version, content(str(ROOT / ".clang-tidy")))
    entries = {}
    for entry in json.loads((BUILD / "compile_commands.json").read_text()):
        entry["file"] = os.path.normpath(os.path.join(entry["directory"], entry["file"]))
        source = pathlib.Path(entry["file"])
        if any(map(source.is_relative_to, WANTED)) and not source.is_relative_to(BUILD):
            entries.setdefault(entry["file"], entry)
    for path in WANTED:
        if not any(pathlib.Path(source).is_relative_to(path) for source in entries):
            sys.exit(f"tarvix: no source of {path} in {BUILD}/compile_commands.json")

    counts = {"unchanged": 0, "silent": 0}
    bad = 0
    shown = set()
    with tempfile.TemporaryDirectory() as database, concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
        commands = [{"directory": entry["directory"], "file": entry["file"], "arguments": command_of(entry)}
                    for entry in entries.values()]
        (pathlib.Path(database) / "compile_commands.json").write_text(json.dumps(commands))
        futures = [pool.submit(check, entry, settings, database) for entry in entries.values()]
        for future in concurrent.futures.as_completed(futures):
            result = future.result()
            if result in counts:
                counts[result] += 1
                continue
            bad += 1
            if result not in shown:
                shown.add(result)
                print(result, end="", flush=True)
    checked = counts["silent"] + bad
    print(f"==> clang-tidy: {len(entries)} sources, {checked} checked, {counts['unchanged']} unchanged, "
          f"{bad} not silent")
    return 1 if bad else 0


sys.exit(main())
