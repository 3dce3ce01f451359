"""clang_tidy.py ROOT BUILD CACHE JOBS [PATH...]: what scripts/clang_tidy.sh runs.

Silent runs are remembered in CACHE, as run_cache.py says. A NOLINT in a comment counts.
"""

import collections
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
TOGETHER = 12  # sources in one run
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


def header_filter():
    """The one of .clang-tidy, bound to this checkout: its own path may hold a folder of such a name, too."""
    pattern = re.search(r"^HeaderFilterRegex: *'(.*)'$", (ROOT / ".clang-tidy").read_text(), re.MULTILINE)
    return f"^{re.escape(str(ROOT))}{pattern[1]}"


def own_settings(source):
    """The settings of the folders between the root and the source."""
    folders = [ROOT / folder for folder in pathlib.Path(source).relative_to(ROOT).parents]
    return [content(str(folder / ".clang-tidy")) for folder in folders
            if folder != ROOT and (folder / ".clang-tidy").exists()]


class Source:
    def __init__(self, entry, settings, cache):
        self.entry, self.file = entry, entry["file"]
        self.words = without_precompiled_headers(entry["words"])
        self.own = own_settings(self.file)
        self.base = digest(settings, *self.own, *map(cache.portable, [self.file, *self.words[1:]]))
        self.is_unchanged = cache.is_silent(self.base)

    def flags(self):
        """What the compiler is told, but for the names of this source and of what is made of it."""
        kept, skip = [], False
        for word in self.words[1:]:
            if skip:
                skip = False
            elif word in ("-o", "-MF", "-MT", "-MQ"):
                skip = True
            elif word not in ("-c", "-MD", "-MMD", self.file):
                kept.append(word)
        return tuple(kept)

    def remember(self, cache, started):
        """With every file that the source reads, from the preprocessor."""
        run = subprocess.run(["clang++", "-w", "-M", *self.flags(), self.file], cwd=self.entry["directory"],
                             capture_output=True, text=True)
        if run.returncode == 0:
            cache.remember(self.base, rule_files(run.stdout, self.entry["directory"]), started)


def tidy(name, arguments):
    """Warnings, or nothing."""
    command = ["clang-tidy", "--quiet", f"--header-filter={header_filter()}", *arguments]
    run = subprocess.run(command, capture_output=True, text=True)
    if run.returncode != 0 or "warning:" in run.stdout or "error:" in run.stdout:
        how = f"signal {-run.returncode}" if run.returncode < 0 else f"status {run.returncode}"
        return run.stdout or f"{name}: clang-tidy ended with {how}\n{run.stderr}"
    return ""


def check(source, database, cache):
    """The warnings of one source."""
    started = time.time()
    warnings = tidy(source.file, ["-p", str(database), source.file])
    if not warnings:
        source.remember(cache, started)
    return warnings


def written_as_one(sources, path):
    """One source of several. With #line, all of them is the main file, which is checked throughout."""
    path.write_text("".join(f'#line 1 "{source.file}"\n{pathlib.Path(source.file).read_text()}\n' for source in sources))
    return [str(path), "--", *sources[0].flags(), "-iquote", str(pathlib.Path(sources[0].file).parent)]


def check_together(sources, folder, cache):
    """The warnings of each source. Most of the time goes into the headers of the libraries, which several sources of
    the same folder and flags read once together. Those that define a name that one before them has come next."""
    warnings = []
    while sources:
        batch, later = sources, []
        path = folder / f"{sources[0].base}.cpp"
        while len(batch) > 1:
            words = written_as_one(batch, path)
            run = subprocess.run(["clang++", "-fsyntax-only", "-w", "-ferror-limit=0", *words[2:], words[0]],
                                 cwd=batch[0].entry["directory"], capture_output=True, text=True)
            wrong = {match[1] for match in re.finditer(r"^([^:\n]+):\d+:\d+: (?:fatal )?error:", run.stderr, re.MULTILINE)}
            clashing = [source for source in batch if source.file in wrong] or (batch[1:] if run.returncode else [])
            if not clashing:
                break
            later += clashing
            batch = [source for source in batch if source not in clashing] or [later.pop(0)]
        started = time.time()
        settings = ["--config-file", str(ROOT / ".clang-tidy"), "--checks=-readability-duplicate-include"]
        if len(batch) > 1 and not tidy(path.name, [*settings, *written_as_one(batch, path)]):
            for source in batch:
                source.remember(cache, started)
        else:
            warnings += [check(source, folder, cache) for source in batch]
        sources = later
    return warnings


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

    sources = [Source(entry, settings, cache) for entry in entries.values()]
    changed = [source for source in sources if not source.is_unchanged]
    groups = collections.defaultdict(list)
    for source in changed:
        groups[pathlib.Path(source.file).parent, source.flags(), source.file if source.own else ""].append(source)
    batches = [group[i:i + TOGETHER] for group in groups.values() for i in range(0, len(group), TOGETHER)]
    bad = 0
    shown = set()
    with tempfile.TemporaryDirectory() as folder, concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
        commands = [{"directory": source.entry["directory"], "file": source.file, "arguments": source.words}
                    for source in sources]
        (pathlib.Path(folder) / "compile_commands.json").write_text(json.dumps(commands))
        futures = [pool.submit(check_together, batch, pathlib.Path(folder), cache)
                   for batch in sorted(batches, key=len, reverse=True)]
        for future in concurrent.futures.as_completed(futures):
            for warnings in filter(None, future.result()):
                bad += 1
                if warnings not in shown:
                    shown.add(warnings)
                    print(warnings, end="", flush=True)
    print(f"==> clang-tidy: {len(sources)} sources, {len(changed)} checked, {len(sources) - len(changed)} unchanged, "
          f"{bad} not silent")
    return 1 if bad else 0


sys.exit(main())
