#!/usr/bin/env python3
"""What fuzzers have found worth keeping: one text a fuzzer, one input a line.

    found_inputs.py unpack FILE FOLDER   writes each line's input as a file of the folder
    found_inputs.py pack FOLDER FILE     writes the inputs of the folder, without doubles, sorted

A line is the input's bytes, with the escapes of Python's texts for all that is not printable ASCII.
"""

import hashlib
import pathlib
import sys


def line_of(content):
    return content.decode("latin-1").encode("unicode_escape").decode("ascii")


def content_of(line):
    content = line.encode("ascii").decode("unicode_escape").encode("latin-1")
    if line_of(content) != line:
        raise ValueError("is not written as pack writes it")
    return content


def unpack(source, folder):
    contents = []
    for number, line in enumerate(source.read_text().splitlines(), 1):
        try:
            contents.append(content_of(line))
        except ValueError as error:
            sys.exit(f"{source}:{number}: {error}")
    folder.mkdir(parents=True, exist_ok=True)
    for content in contents:
        (folder / hashlib.sha1(content).hexdigest()).write_bytes(content)


def pack(folder, target):
    lines = {line_of(path.read_bytes()) for path in folder.iterdir()}
    target.write_text("".join(line + "\n" for line in sorted(lines)))


def main():
    actions = {"unpack": unpack, "pack": pack}
    if len(sys.argv) != 4 or sys.argv[1] not in actions:
        sys.exit(__doc__.split("\n\n")[1])
    try:
        actions[sys.argv[1]](pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3]))
    except OSError as error:
        sys.exit(f"{error.filename}: {error.strerror}")


if __name__ == "__main__":
    main()
