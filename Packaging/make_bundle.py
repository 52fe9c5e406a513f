#!/usr/bin/env python3
"""Makes Veilpane.app: make_bundle.py PROGRAM VERSION OLDEST_SYSTEM FOLDER

The program is copied byte for byte. Sealing the bundle is for seal_bundle.py, last of all.
"""

import os
import pathlib
import shutil
import sys

PACKAGING = pathlib.Path(__file__).resolve().parent


def write_plist(contents, version, oldest_system):
    template = (PACKAGING / "Info.plist.in").read_text(encoding="utf-8")
    text = template.replace("@VERSION@", version).replace("@OLDEST_SYSTEM@", oldest_system)
    (contents / "Info.plist").write_text(text, encoding="utf-8")


def add(source, target, mode):
    target.parent.mkdir(parents=True, exist_ok=True)
    shutil.copyfile(source, target)
    os.chmod(target, mode)


def make_bundle(program, version, oldest_system, folder):
    bundle = pathlib.Path(folder) / "Veilpane.app"
    shutil.rmtree(bundle, ignore_errors=True)
    contents = bundle / "Contents"
    resources = contents / "Resources"
    add(program, contents / "MacOS" / "Veilpane", 0o755)
    add(PACKAGING / "Veilpane.icns", resources / "Veilpane.icns", 0o644)
    add(PACKAGING / "zh-Hans.lproj" / "InfoPlist.strings",
        resources / "zh-Hans.lproj" / "InfoPlist.strings", 0o644)
    for command in ("veilpane", "veilpane-login", "veilpane-uninstall"):
        add(PACKAGING / command, resources / "bin" / command, 0o755)
    add(PACKAGING / "veilpane.1", resources / "man" / "man1" / "veilpane.1", 0o644)
    add(PACKAGING / "veilpane.zh_CN.1", resources / "man" / "zh_CN.UTF-8" / "man1" / "veilpane.1", 0o644)
    add(PACKAGING.parent / "LICENSE", resources / "LICENSE", 0o644)
    for completion in ("veilpane.bash", "_veilpane", "veilpane.fish"):
        add(PACKAGING / "completions" / completion, resources / "completions" / completion, 0o644)
    write_plist(contents, version, oldest_system)
    (contents / "PkgInfo").write_text("APPL????", encoding="ascii")
    return bundle


if __name__ == "__main__":
    if len(sys.argv) != 5:
        print("usage: make_bundle.py PROGRAM VERSION OLDEST_SYSTEM FOLDER", file=sys.stderr)
        sys.exit(2)
    make_bundle(*sys.argv[1:])
