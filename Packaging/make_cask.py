#!/usr/bin/env python3
"""Makes the Homebrew cask of a zip: make_cask.py FILE.zip VERSION FILE.rb"""

import hashlib
import pathlib
import sys

TEMPLATE = pathlib.Path(__file__).resolve().parent / "Homebrew" / "veilpane.rb.in"


def make_cask(archive, version, file):
    digest = hashlib.sha256(pathlib.Path(archive).read_bytes()).hexdigest()
    text = TEMPLATE.read_text(encoding="utf-8")
    pathlib.Path(file).write_text(
        text.replace("@VERSION@", version).replace("@SHA256@", digest), encoding="utf-8")


if __name__ == "__main__":
    if len(sys.argv) != 4:
        print("usage: make_cask.py FILE.zip VERSION FILE.rb", file=sys.stderr)
        sys.exit(2)
    make_cask(*sys.argv[1:])
