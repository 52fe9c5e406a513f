#!/usr/bin/env python3
"""Makes the Homebrew cask of a zip: make_cask.py FILE.zip VERSION FILE.rb

The zip is called Veilpane-VERSION.zip. The cask's URL ends in the same name, and its hash is the zip's.
"""

import hashlib
import pathlib
import sys

TEMPLATE = pathlib.Path(__file__).resolve().parent / "Homebrew" / "veilpane.rb.in"


def check_name(archive, version):
    name, expected = pathlib.Path(archive).name, f"Veilpane-{version}.zip"
    if name != expected:
        raise ValueError(f"{name} is not called {expected}")


def make_cask(archive, version, file):
    check_name(archive, version)
    values = {"@VERSION@": version,
              "@SHA256@": hashlib.sha256(pathlib.Path(archive).read_bytes()).hexdigest()}
    text = TEMPLATE.read_text(encoding="utf-8")
    for name, value in values.items():
        text = text.replace(name, value)
    pathlib.Path(file).write_text(text, encoding="utf-8")


if __name__ == "__main__":
    if len(sys.argv) != 4:
        print("usage: make_cask.py FILE.zip VERSION FILE.rb", file=sys.stderr)
        sys.exit(2)
    try:
        make_cask(*sys.argv[1:])
    except (OSError, ValueError) as error:
        sys.exit(f"make_cask.py: {error}")
