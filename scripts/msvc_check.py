"""msvc_check.py ROOT BUILDS CACHE JOBS: what scripts/msvc_check.sh runs, on the folders x64, stand_in and x86 in BUILDS
that it has configured.

Every source is compiled with clang-cl, without making an object; silent runs are remembered in CACHE, as run_cache.py
says. The class library is included first in every source, in the operations, too: names that windows.h defines as macros
would stop a host that includes one. What a source sees of these macros depends on the order of the headers, so their names
are also looked for in the text of every source, as macro_names.py says. The sources of the exports are also compiled to
objects, for the names that they export.
"""

import concurrent.futures
import pathlib
import re
import subprocess
import sys
import tempfile
import time

import macro_names
from run_cache import RunCache, content, digest, entries_of, rule_files

ROOT, BUILDS, CACHE = (pathlib.Path(argument) for argument in sys.argv[1:4])
JOBS = int(sys.argv[4])
SHAPES = ROOT / "tests" / "msvc"
# Visual Studio has no such warning at the level that it is told.
SPARED = ["-Wno-unused-private-field"]
CLASS_LIBRARY_FIRST = ["/FIafxwin.h", "-D_AFXDLL", "-D_MBCS", "-DNOMINMAX"]


def run(words, directory):
    return subprocess.run(words, cwd=directory, capture_output=True, text=True)


def compile_words(entry):
    """The command without what makes an object."""
    words = [word for word in entry["words"] if word not in ("/c", "-c", "--", entry["file"])
             and not re.match(r"[-/](F[od]|showIncludes)", word)]
    if "/FIafxwin.h" not in words and "-FIafxwin.h" not in words:
        words[1:1] = CLASS_LIBRARY_FIRST
    return words + SPARED


def precompiled_kind_of(entry, build):
    """The name of the shared headers that the source takes, or None. It must see their folder. They are not compiled for
    OpenMP, and clang 14 crashes when the two meet."""
    source, words = pathlib.Path(entry["file"]), entry["words"]
    if source.is_relative_to(build) or "/openmp" in words or not any(word.endswith(f"{build}/headers") for word in words):
        return None
    return {"host": "host", "tests": "tests", "bench": "tests"}.get(source.relative_to(ROOT).parts[0])


def plain_name(readable):
    """A name that Visual Studio decorated, read back by llvm-undname, as exports.txt has it, after its calling convention.
    The result's type is part of the decoration, too; module.abi holds that."""
    text = re.sub(r"\b(class|struct) ", "", readable)
    text = text.replace("ATL::CStringT<char, StrTraitMFC_DLL<char, ATL::ChTraitsCRT<char>>>", "CString")
    return re.sub(r"^.*(?=__(?:cdecl|thiscall) )", "", re.sub(r" ([&*])", r"\1", text)).replace("(void)", "()")


class Precompiled:
    """The shared headers of one kind of source, compiled with the options that all of its sources have."""

    def __init__(self, kind, entries, build, folder):
        commands = [compile_words(entry) for entry in entries]
        words = [word for word in commands[0] if all(word in other for other in commands)]
        header = SHAPES / "precompiled" / f"{kind}.h"
        self.file, rule = folder / f"{kind}.pch", folder / f"{kind}.d"
        result = run([*words, "/c", "-Xclang", "-emit-pch", f"/Fo{self.file}", "/clang:-MD",
                      f"/clang:-MF{rule}", "/clang:-MTx", "--", str(header)], build)
        if result.returncode != 0:
            sys.exit(f"tarvix: {header} does not compile\n{result.stdout}{result.stderr}")
        self.files = rule_files(rule.read_text(), build)
        self.words = ["-Xclang", "-include-pch", "-Xclang", str(self.file)]


class Checker:
    def __init__(self, version):
        self.version = version
        self.counts = {"checked": 0, "unchanged": 0}
        self.bad = 0
        self.seen = set()

    def sources(self, name):
        """Compiles the sources of a build folder that no other had."""
        build = BUILDS / name
        cache = RunCache(ROOT, build, CACHE)
        entries = [entry for entry in entries_of(build).values()
                   if entry["file"].endswith(".cpp") and cache.portable(entry["file"]) not in self.seen]
        for entry in entries:
            words = map(cache.portable, [*compile_words(entry), entry["file"]])
            entry["base"] = digest(self.version, str(precompiled_kind_of(entry, build)), *words)
        due = [entry for entry in entries if not cache.is_silent(entry["base"])]
        self.counts["unchanged"] += len(entries) - len(due)
        with tempfile.TemporaryDirectory() as folder, concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
            folder = pathlib.Path(folder)
            started = time.time()
            kinds = {precompiled_kind_of(entry, build) for entry in due} - {None}
            of_kind = lambda kind: [entry for entry in entries if precompiled_kind_of(entry, build) == kind]
            shared = dict(zip(kinds, pool.map(lambda kind: Precompiled(kind, of_kind(kind), build, folder), kinds)))

            def check(numbered):
                number, entry = numbered
                rule = folder / f"{number}.d"
                headers = shared.get(precompiled_kind_of(entry, build))
                result = run([*compile_words(entry), *(headers.words if headers else []), "-fsyntax-only",
                              "-fno-color-diagnostics", "/clang:-MD", f"/clang:-MF{rule}", "/clang:-MTx", "--", entry["file"]],
                             entry["directory"])
                if result.returncode != 0 or result.stdout.strip() or result.stderr.strip():
                    return result.stdout + result.stderr or f"{entry['file']}: status {result.returncode}"
                files = rule_files(rule.read_text(), entry["directory"])
                cache.remember(entry["base"], sorted({*files, *(headers.files if headers else [])}), started)
                return None

            for output in pool.map(check, enumerate(due)):
                self.counts["checked"] += 1
                self.note(output)
        self.seen |= {cache.portable(entry["file"]) for entry in entries}

    def note(self, output):
        if output:
            self.bad += 1
            print(output, end="" if output.endswith("\n") else "\n", flush=True)

    def public_headers(self, name):
        """A host may include any of our headers first, with or without NOMINMAX, and the class library after it."""
        build = BUILDS / name
        entry = next(entry for source, entry in entries_of(build).items() if source.endswith("bridge/dib_bridge.cpp"))
        words = [word for word in compile_words(entry) if word not in ("/FIafxwin.h", "-DNOMINMAX")]
        with tempfile.TemporaryDirectory() as folder:
            for header in sorted((ROOT / "include" / "tarvix").glob("*.h")):
                for first in ([header.name], ["afxwin", header.name]):
                    source = pathlib.Path(folder) / "host.cpp"
                    lines = [f"#include <tarvix/{header.name}>", "#include <afxwin.h>"]
                    source.write_text("\n".join(lines if len(first) == 1 else lines[::-1]) + "\n")
                    result = run([*words, f"-I{ROOT}/include", f"-I{build}/include", "-fsyntax-only",
                                  "-fno-color-diagnostics", "--", str(source)], build)
                    self.counts["checked"] += 1
                    self.note(result.stdout + result.stderr)

    def names_of_macros(self, name):
        """No source has a name that windows.h defines as a macro and the standard library does not."""
        build = BUILDS / name
        entry = next(entry for source, entry in entries_of(build).items() if source.endswith("bridge/dib_bridge.cpp"))
        words = [word for word in compile_words(entry) if word != "/FIafxwin.h"]

        def listed(*headers):
            with tempfile.TemporaryDirectory() as folder:
                source = pathlib.Path(folder) / "headers.cpp"
                source.write_text("".join(f"#include <{header}>\n" for header in headers))
                result = run([*words, "/EP", "/clang:-dM", "--", str(source)], build)
                if result.returncode != 0:
                    self.note(result.stdout + result.stderr)
                return macro_names.defined(result.stdout)

        names = listed("afxwin.h") - listed("cctype", "cerrno", "cstdio", "cstdlib", "cstring", "cwchar")
        if not {"small", "near", "far"} <= names: # so that nothing is looked for
            self.note(f"windows.h defines only {' '.join(sorted(names))}")
        sources = [path for kind in ("*.h", "*.cpp") for folder in sorted(ROOT.iterdir())
                   if folder.is_dir() and not folder.name.startswith((".", "build")) for path in sorted(folder.rglob(kind))
                   if not path.is_relative_to(SHAPES)]
        for path in sources:
            for line, word in macro_names.used(path.read_text(), names):
                self.note(f"{path.relative_to(ROOT)}:{line}: '{word}' is a macro of windows.h; take another name")
        print(f"==> {name}: {len(sources)} files have none of the names {' '.join(sorted(names))}" if not self.bad else
              f"==> {name}: {len(sources)} files looked at")

    def tests(self, name):
        """Tests find in Visual Studio's build what they need: OpenCV's photographs, and no name as g++ decorates it."""
        photographs = re.search(r"^TARVIX_PHOTOS:PATH=(.*)$", (BUILDS / name / "CMakeCache.txt").read_text(), re.MULTILINE).group(1)
        if pathlib.Path(photographs) != BUILDS / "opencv_source" / "samples" / "data":
            self.note(f"the tests take photographs from {photographs}, and not from OpenCV's source archive")
        for folder in ("module", "windows"):
            for path in sorted((ROOT / "tests" / folder).iterdir()):
                if path.suffix in (".cpp", ".txt") and re.search(r"\b_ZN?\d", path.read_text()):
                    self.note(f"{path.relative_to(ROOT)} has a name as g++ decorates it")

    def exports(self, name):
        """The names that the objects of the module ask the linker to export are those of exports.txt, read back."""
        build = BUILDS / name
        found = set()
        reader = pathlib.Path(next(iter(entries_of(build).values()))["words"][0]).with_name("llvm-readobj")
        sources = [entry for entry in entries_of(build).values()
                   if "-Dtarvix_EXPORTS" in entry["words"] and entry["file"].endswith(".cpp")]

        def directives(entry, number, folder):
            target = pathlib.Path(folder) / f"{number}.obj"
            result = run([*compile_words(entry), "/c", "/Od", f"/Fo{target}", "--", entry["file"]], entry["directory"])
            if result.returncode != 0:
                return result.stdout + result.stderr, ""
            return None, run([str(reader), "--coff-directives", str(target)], folder).stdout

        with tempfile.TemporaryDirectory() as folder, concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
            for output, text in pool.map(lambda n: directives(sources[n], n, folder), range(len(sources))):
                self.note(output)
                found |= set(re.findall(r"/EXPORT:\"?([^\s\",]+)", text, re.IGNORECASE))
        readable = run([str(reader.with_name("llvm-undname")), *sorted(found)], build)
        names = {plain_name(line) for line in readable.stdout.splitlines() if line and line not in found}
        expected = {f"__thiscall {line}" if name == "x86" and "::" in line else f"__cdecl {line}"
                    for line in (ROOT / "tests" / "module" / "exports.txt").read_text().splitlines()}
        if readable.returncode != 0 or names != expected:
            self.note(readable.stderr + "".join(
                f"exported for {name} but not in exports.txt: {symbol}\n" for symbol in sorted(names - expected)) + "".join(
                f"in exports.txt but not exported for {name}: {symbol}\n" for symbol in sorted(expected - names)))
        print(f"==> {name}: {len(found)} exported names, from {len(sources)} sources")


def main():
    compiler = next(iter(entries_of(BUILDS / "x64").values()))["words"][0]
    version = subprocess.run([compiler, "--version"], capture_output=True, text=True, check=True).stdout
    checker = Checker(digest(version, content(str(SHAPES / "toolchain.cmake"))))
    checker.sources("x64")
    checker.sources("stand_in")
    checker.names_of_macros("x64")
    checker.tests("x64")
    for name in ("x64", "x86"):
        checker.public_headers(name)
        checker.exports(name)
    if not re.search(r'"builtin-baseline": "[0-9a-f]{40}"', (ROOT / "vcpkg.json").read_text()):
        checker.note("vcpkg.json names no baseline: vcpkg then refuses it")
    print(f"==> Visual Studio's dialect: {checker.counts['checked']} compiled, {checker.counts['unchanged']} unchanged, "
          f"{checker.bad} with faults")
    return 1 if checker.bad else 0


sys.exit(main())
