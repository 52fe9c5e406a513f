#!/usr/bin/env python3
"""Makes the Homebrew cask of a zip: make_cask.py FILE.zip VERSION FILE.rb

The zip is called Veilpane-VERSION.zip, with a mark before the ending if builds differ. The cask's URL
ends in the same name, as the hash is that of no other file.
"""

import hashlib
import pathlib
import sys

TEMPLATE = pathlib.Path(__file__).resolve().parent / "Homebrew" / "veilpane.rb.in"


def build_mark(archive, version):
    name = pathlib.Path(archive).name
    start = f"Veilpane-{version}"
    if not (name.startswith(start) and name.endswith(".zip")):
        raise ValueError(f"{name} is not called {start}.zip or {start}-MARK.zip")
    return name[len(start):-len(".zip")]


def make_cask(archive, version, file):
    values = {"@VERSION@": version, "@BUILD@": build_mark(archive, version)}
    values["@SHA256@"] = hashlib.sha256(pathlib.Path(archive).read_bytes()).hexdigest()
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
