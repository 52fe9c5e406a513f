#!/usr/bin/env python3
"""Signs a program ad hoc that lies in no bundle, as codesign does on a Mac: sign_program.py PROGRAM IDENTIFIER

Whatever is changed afterwards breaks the signature. The same program always gives the same bytes, so a
signed one may be signed again.
"""

import hashlib
import pathlib
import sys

import program_signature
import seal_bundle
from seal_error import SealError

# There is no property list to vouch for, but the requirements stand behind its place.
COVERED = [bytes(program_signature.SHA256_SIZE),
           hashlib.sha256(program_signature.NO_REQUIREMENTS).digest()]


def sign(program, identifier):
    program = pathlib.Path(program)
    if not (identifier and identifier.isascii() and identifier.isprintable()):
        raise SealError("the identifier is no name in ASCII")
    signed = program_signature.signed_program(program.read_bytes(), identifier, COVERED)
    seal_bundle.replace({program: signed})


def main(arguments):
    if len(arguments) != 2:
        print("usage: sign_program.py PROGRAM IDENTIFIER", file=sys.stderr)
        return 2
    try:
        sign(*arguments)
    except (OSError, SealError) as error:
        print(f"sign_program.py: {arguments[0]}: {error}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
