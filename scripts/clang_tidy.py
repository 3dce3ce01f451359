"""clang_tidy.py ROOT BUILD CACHE JOBS [PATH...]: what scripts/clang_tidy.sh runs.

Silent runs are remembered in CACHE, as run_cache.py says. A NOLINT in a comment counts.
"""

import concurrent.futures
import json
import pathlib
import re
import subprocess
import sys
import tempfile
import time

from run_cache import RunCache, content, digest, entries_of, rule_files

ROOT, BUILD, CACHE = (pathlib.Path(argument) for argument in sys.argv[1:4])
JOBS = int(sys.argv[4])
WANTED = [ROOT / path for path in sys.argv[5:]] or [ROOT]


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
    words, flags = without_precompiled_headers(entry["words"])[1:], []
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
    return rule_files(run.stdout, entry["directory"])


def header_filter():
    """The one of .clang-tidy, bound to this checkout: its own path may hold a folder of such a name, too."""
    pattern = re.search(r"^HeaderFilterRegex: *'(.*)'$", (ROOT / ".clang-tidy").read_text(), re.MULTILINE)
    return f"^{re.escape(str(ROOT))}{pattern[1]}"


def own_settings(source):
    """The settings of the folders between the root and the source."""
    folders = [ROOT / folder for folder in pathlib.Path(source).relative_to(ROOT).parents]
    return [content(str(folder / ".clang-tidy")) for folder in folders
            if folder != ROOT and (folder / ".clang-tidy").exists()]


def check(entry, settings, database, cache):
    """Returns "unchanged", "silent" or the warnings."""
    words = without_precompiled_headers(entry["words"])
    base = digest(settings, *own_settings(entry["file"]), *map(cache.portable, [entry["file"], *words[1:]]))
    if cache.is_silent(base):
        return "unchanged"
    started = time.time()
    files = included_files(entry)
    command = ["clang-tidy", "--quiet", "-p", str(database), f"--header-filter={header_filter()}", entry["file"]]
    run = subprocess.run(command, capture_output=True, text=True)
    if run.returncode != 0 or "warning:" in run.stdout or "error:" in run.stdout:
        how = f"signal {-run.returncode}" if run.returncode < 0 else f"status {run.returncode}"
        return run.stdout or f"{entry['file']}: clang-tidy ended with {how}\n{run.stderr}"
    if files is not None:
        cache.remember(base, files, started)
    return "silent"


def main():
    cache = RunCache(ROOT, BUILD, CACHE)
    version = subprocess.run(["clang-tidy", "--version"], capture_output=True, text=True, check=True).stdout
    # The line with the processor's name would split the cache between machines for nothing.
    version = "\n".join(line for line in version.splitlines() if "CPU" not in line)
    settings = digest(version, content(str(ROOT / ".clang-tidy")))
    entries = {source: entry for source, entry in entries_of(BUILD).items()
               if any(map(pathlib.Path(source).is_relative_to, WANTED)) and not pathlib.Path(source).is_relative_to(BUILD)}
    for path in WANTED:
        if not any(pathlib.Path(source).is_relative_to(path) for source in entries):
            sys.exit(f"tarvix: no source of {path} in {BUILD}/compile_commands.json")

    counts = {"unchanged": 0, "silent": 0}
    bad = 0
    shown = set()
    with tempfile.TemporaryDirectory() as database, concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
        commands = [{"directory": entry["directory"], "file": entry["file"],
                     "arguments": without_precompiled_headers(entry["words"])} for entry in entries.values()]
        (pathlib.Path(database) / "compile_commands.json").write_text(json.dumps(commands))
        futures = [pool.submit(check, entry, settings, database, cache) for entry in entries.values()]
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
