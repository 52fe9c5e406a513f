#!/usr/bin/env python3
"""Packs a folder, and files beside it, so that the same files give the same bytes:
make_zip.py FOLDER FILE.zip SECONDS [FILE...]

Every file gets the time SECONDS (since 1970, UTC) and one of two modes. A link stays one, as a copy
of what it leads to would break a bundle's seal.
"""

import os
import pathlib
import stat
import sys
import time
import zipfile


def entry(root, path, moment):
    info = zipfile.ZipInfo(str(path.relative_to(root)), moment)
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


def make_zip(folder, file, seconds, *beside):
    folder = pathlib.Path(folder)
    files = [(folder.parent, path) for path in files_below(folder)]
    files += [(path.parent, path) for path in map(pathlib.Path, beside)]
    moment = time.gmtime(max(int(seconds), 315532800))[:6]  # the format begins in 1980
    unfinished = f"{file}.new"
    with zipfile.ZipFile(unfinished, "w") as archive:
        for root, path in files:
            archive.writestr(entry(root, path, moment), content(path), compresslevel=9)
    os.replace(unfinished, file)


if __name__ == "__main__":
    if len(sys.argv) < 4:
        print("usage: make_zip.py FOLDER FILE.zip SECONDS [FILE...]", file=sys.stderr)
        sys.exit(2)
    make_zip(*sys.argv[1:])
