#!/usr/bin/env python3
"""Packs a folder so that the same files give the same bytes: make_zip.py FOLDER FILE.zip SECONDS

Every file gets the time SECONDS (since 1970, UTC) and one of two modes. A link stays one, as a copy
of what it leads to would break a bundle's seal.
"""

import os
import pathlib
import stat
import sys
import time
import zipfile


def entry(folder, path, moment):
    info = zipfile.ZipInfo(str(path.relative_to(folder.parent)), moment)
    info.create_system = 3  # modes are Unix's
    mode = 0o755 if path.is_symlink() or os.access(path, os.X_OK) else 0o644
    kind = stat.S_IFLNK if path.is_symlink() else stat.S_IFREG
    info.external_attr = (kind | mode) << 16
    info.compress_type = zipfile.ZIP_DEFLATED
    return info


def content(path):
    return os.readlink(path).encode() if path.is_symlink() else path.read_bytes()


def files_below(folder):
    return sorted(path for path in folder.rglob("*") if path.is_symlink() or path.is_file())


def make_zip(folder, file, seconds):
    folder = pathlib.Path(folder)
    moment = time.gmtime(max(int(seconds), 315532800))[:6]  # the format begins in 1980
    unfinished = f"{file}.new"
    with zipfile.ZipFile(unfinished, "w") as archive:
        for path in files_below(folder):
            archive.writestr(entry(folder, path, moment), content(path), compresslevel=9)
    os.replace(unfinished, file)


if __name__ == "__main__":
    if len(sys.argv) != 4:
        print("usage: make_zip.py FOLDER FILE.zip SECONDS", file=sys.stderr)
        sys.exit(2)
    make_zip(*sys.argv[1:])
