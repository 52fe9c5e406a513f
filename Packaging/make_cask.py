#!/usr/bin/env python3
"""Makes the Homebrew cask of a zip: make_cask.py FILE.zip VERSION FILE.rb [--notarized]

The zip is called Veilpane-VERSION.zip. The cask's URL ends in the same name, and its hash is the zip's.
"""

import hashlib
import pathlib
import sys

TEMPLATE = pathlib.Path(__file__).resolve().parent / "Homebrew" / "veilpane.rb.in"

FIRST_START = """    Veilpane is signed ad hoc and not notarized. Before its first start:
      xattr -dr com.apple.quarantine #{appdir}/Veilpane.app
    or open it once and allow it in System Settings, Privacy & Security.

"""


def check_name(archive, version):
    name, expected = pathlib.Path(archive).name, f"Veilpane-{version}.zip"
    if name != expected:
        raise ValueError(f"{name} is not called {expected}")


def make_cask(archive, version, file, notarized=False):
    check_name(archive, version)
    values = {"@VERSION@": version, "@FIRST_START@": "" if notarized else FIRST_START,
              "@SHA256@": hashlib.sha256(pathlib.Path(archive).read_bytes()).hexdigest()}
    text = TEMPLATE.read_text(encoding="utf-8")
    for name, value in values.items():
        text = text.replace(name, value)
    pathlib.Path(file).write_text(text, encoding="utf-8")


if __name__ == "__main__":
    arguments = [word for word in sys.argv[1:] if word != "--notarized"]
    if len(arguments) != 3:
        print("usage: make_cask.py FILE.zip VERSION FILE.rb [--notarized]", file=sys.stderr)
        sys.exit(2)
    try:
        make_cask(*arguments, notarized="--notarized" in sys.argv)
    except (OSError, ValueError) as error:
        sys.exit(f"make_cask.py: {error}")
