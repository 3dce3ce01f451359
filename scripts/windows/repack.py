#!/usr/bin/env python3
"""Writes an archive anew, so that the same files make the same bytes: entries in the order of their names, no dates, no
owners. The files of the folder debug/ go to an archive of their own in FOLDER, <name>-debug.zip.

    repack.py ARCHIVE.zip FOLDER
"""
import os
import sys
import zipfile

EPOCH = (1980, 1, 1, 0, 0, 0)  # the first date that the format has
FILE_MODE = 0o644
PROGRAM_MODE = 0o755


def is_debug_file(name):
    parts = name.split("/")
    return len(parts) > 2 and parts[1] == "debug"


def write(source, names, path):
    half = path + ".half"
    with zipfile.ZipFile(half, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as archive:
        for name in sorted(names):
            entry = zipfile.ZipInfo(name, EPOCH)
            entry.create_system = 3  # the modes are Unix's
            mode = PROGRAM_MODE if name.endswith((".exe", ".dll")) else FILE_MODE
            entry.external_attr = (0o100000 | mode) << 16
            entry.compress_type = zipfile.ZIP_DEFLATED
            archive.writestr(entry, source.read(name))
    os.replace(half, path)


def main(path, folder):
    with zipfile.ZipFile(path) as source:
        files = [name for name in source.namelist() if not name.endswith("/")]
        debug = [name for name in files if is_debug_file(name)]
        if debug:
            name = os.path.basename(path).removesuffix(".zip") + "-debug.zip"
            write(source, debug, os.path.join(folder, name))
        write(source, [name for name in files if name not in debug], path)


if len(sys.argv) != 3:
    sys.exit(__doc__)
main(*sys.argv[1:])
