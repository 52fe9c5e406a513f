#!/usr/bin/env python3
"""Signs a bundle ad hoc and seals its files, as codesign does on a Mac: seal_bundle.py BUNDLE

The last step of making a bundle: whatever is changed afterwards breaks the seal. The same files always
give the same bytes, so a sealed bundle may be sealed again.
"""

import hashlib
import os
import pathlib
import plistlib
import shutil
import stat
import sys

import program_signature
import resource_seal
from seal_error import SealError


def names_in(folder):
    return sorted(os.listdir(folder)) if folder.is_dir() else []


def check_is_regular(contents, path):
    """The system follows no link to what a signature is about, and none may lead out of the bundle."""
    folder, _, _ = path.rpartition("/")
    if (contents / folder).is_symlink():
        raise SealError(f"{folder} is a link")
    file = contents / path
    if not os.path.lexists(file):
        raise SealError(f"there is no Contents/{path}")
    if not stat.S_ISREG(file.lstat().st_mode):
        raise SealError(f"{path} is no regular file")


def check_layout(bundle):
    """macOS refuses a bundle with anything beside Contents, or beside the list of its files."""
    contents = bundle / "Contents"
    if not bundle.is_dir() or contents.is_symlink() or not contents.is_dir():
        raise SealError("no bundle: there is no folder Contents in it")
    for folder, expected in ((bundle, "Contents"), (contents / "_CodeSignature", "CodeResources")):
        for name in names_in(folder):
            if name != expected:
                raise SealError(f"{name!r} may not lie beside {expected}")
    if (contents / "_CodeSignature").is_symlink() or (contents / "_CodeSignature").is_file():
        raise SealError("_CodeSignature is no folder")
    if os.path.lexists(contents / "_CodeSignature" / "CodeResources"):
        check_is_regular(contents, "_CodeSignature/CodeResources")


def read_properties(contents):
    """The bytes of Info.plist, which the signature covers, and what they say."""
    check_is_regular(contents, "Info.plist")
    data = (contents / "Info.plist").read_bytes()
    try:
        properties = plistlib.loads(data)
    except Exception as error:  # a parser's, an iterator's, a number's: there are too many kinds
        raise SealError("Info.plist is no property list") from error
    if not isinstance(properties, dict):
        raise SealError("Info.plist is no dictionary")
    return data, properties


def name_in(properties, key):
    """The signature names the program in ASCII, and neither name may lead to another folder."""
    name = properties.get(key)
    if not (isinstance(name, str) and name and name.isascii() and name.isprintable()
            and "/" not in name and name not in (".", "..")):
        raise SealError(f"Info.plist gives no name as {key}")
    return name


def find_program(contents, properties):
    name = name_in(properties, "CFBundleExecutable")
    check_is_regular(contents, f"MacOS/{name}")
    if not os.access(contents / "MacOS" / name, os.X_OK):
        raise SealError(f"MacOS/{name} may not be executed")
    return contents / "MacOS" / name


def sealed_files(bundle):
    """What sealing writes: the bytes of each file, by its path."""
    check_layout(bundle)
    contents = bundle / "Contents"
    info, properties = read_properties(contents)
    program = find_program(contents, properties)
    resources = resource_seal.code_resources(contents, program)
    covered = (info, program_signature.NO_REQUIREMENTS, resources)
    signed = program_signature.signed_program(
        program.read_bytes(), name_in(properties, "CFBundleIdentifier"),
        [hashlib.sha256(data).digest() for data in covered])
    return {contents / "_CodeSignature" / "CodeResources": resources, program: signed}


def write_beside(file, data, unfinished):
    """Proves that the folder may be written to, too, before anything in it is replaced."""
    file.parent.mkdir(exist_ok=True)
    unfinished.write_bytes(data)
    if file.exists():
        shutil.copymode(file, unfinished)
    else:
        unfinished.chmod(0o644)


def remove_unfinished(files):
    for unfinished in files.values():
        unfinished.unlink(missing_ok=True)
    for folder in {file.parent for file in files}:
        if folder.is_dir() and not any(folder.iterdir()):
            folder.rmdir()


def replace(contents_by_file):
    """Nothing is replaced unless all is written: half of a seal is a broken one."""
    files = {file: file.with_name(f".{file.name}.unfinished") for file in contents_by_file}
    try:
        for file, unfinished in files.items():
            write_beside(file, contents_by_file[file], unfinished)
        for file, unfinished in files.items():
            os.replace(unfinished, file)
    finally:
        remove_unfinished(files)


def seal(bundle):
    bundle = pathlib.Path(bundle)
    changed = {file: data for file, data in sealed_files(bundle).items()
               if not file.exists() or file.read_bytes() != data}
    replace(changed)


def main(arguments):
    if len(arguments) != 1:
        print("usage: seal_bundle.py BUNDLE", file=sys.stderr)
        return 2
    try:
        seal(arguments[0])
    except (OSError, SealError) as error:
        print(f"seal_bundle.py: {arguments[0]}: {error}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
