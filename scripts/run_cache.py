"""What scripts that run a tool over every source share: runs that found nothing are remembered.

A silent run is an empty file in the cache whose name is the hash of everything the run depends on. The files that a
source includes are listed beside it. Headers are hashed once per process, as they are, comments and all. Paths inside
the checkout and the build folder are hashed relative to them, so that every checkout shares the cache.
"""

import functools
import hashlib
import json
import os
import pathlib
import shlex
import time

KEEP_SECONDS = 60 * 24 * 3600


def digest(*parts):
    return hashlib.sha256("\0".join(parts).encode()).hexdigest()


@functools.lru_cache(maxsize=None)
def content(path):
    try:
        return hashlib.sha256(pathlib.Path(path).read_bytes()).hexdigest()
    except OSError:
        return "missing"


def entries_of(build):
    """The compile commands of a build folder, by source, each once, without the launcher of the compiler cache."""
    entries = {}
    for entry in json.loads((build / "compile_commands.json").read_text()):
        entry["file"] = os.path.normpath(os.path.join(entry["directory"], entry["file"]))
        entry["words"] = entry["arguments"] if "arguments" in entry else shlex.split(entry["command"])
        if pathlib.Path(entry["words"][0]).name == "ccache":
            del entry["words"][0]
        entries.setdefault(entry["file"], entry)
    return entries


def rule_files(text, directory):
    """The files that a make rule of a compiler names."""
    names = shlex.split(text.replace("\\\n", " "))[1:]
    return sorted({os.path.normpath(os.path.join(directory, name)) for name in names})


class RunCache:
    def __init__(self, root, build, folder):
        self.root, self.build, self.folder = root, build, folder
        folder.mkdir(parents=True, exist_ok=True)
        for old in folder.iterdir():
            if old.stat().st_mtime < time.time() - KEEP_SECONDS:
                old.unlink(missing_ok=True)

    def portable(self, text):
        # The build folder first: it usually is in the root.
        return text.replace(str(self.build), "@BUILD@").replace(str(self.root), "@ROOT@")

    def _absolute(self, text):
        return text.replace("@BUILD@", str(self.build)).replace("@ROOT@", str(self.root))

    def _key(self, base, files):
        return digest(base, *(f"{self.portable(name)} {content(name)}" for name in files))

    def files(self, base):
        """The files that the remembered run of this base read, or None."""
        listing = self.folder / f"{base}.files"
        return [self._absolute(line) for line in listing.read_text().splitlines()] if listing.exists() else None

    def is_silent(self, base):
        """True if the same run was silent before."""
        files = self.files(base)
        if files is None:
            return False
        result = self.folder / self._key(base, files)
        if not result.exists():
            return False
        os.utime(self.folder / f"{base}.files")
        os.utime(result)
        return True

    def remember(self, base, files, started):
        """Remembers a silent run, unless a file was edited since it started."""
        if any(os.stat(name).st_mtime >= started for name in files):
            return
        key = self._key(base, files)
        # Written whole under a name of its own first: other checkouts may be at it, too.
        half = self.folder / f"{key}.{os.getpid()}"
        half.write_text("".join(f"{self.portable(name)}\n" for name in files))
        half.replace(self.folder / f"{base}.files")
        (self.folder / key).touch()
