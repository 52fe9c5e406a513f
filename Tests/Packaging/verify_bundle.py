#!/usr/bin/env python3
"""Judges an ad-hoc sealed bundle, or a zip of one and the probe: verify_bundle.py BUNDLE|ZIP [ARCHITECTURE…]

As a Mac does, and more strictly: a localisation may not be missing, and modes have to be right. Without
ARCHITECTUREs the program has to be for arm64 and x86_64. Complaints are lines on standard output; with
one the exit status is 1.
"""

import hashlib
import os
import pathlib
import plistlib
import stat
import sys
import tempfile
import zipfile

import verify_signature

ARCHITECTURES = ["arm64", "x86_64"]

NESTED = ("^(Frameworks|SharedFrameworks|PlugIns|Plug-ins|XPCServices|Helpers|MacOS"
          "|Library/(Automator|Spotlight|LoginItems))/")

# Pattern, weight, and what becomes of a file that it fits.
RULES = {
    "rules": [
        ("^Resources/", 1, None),
        (r"^Resources/.*\.lproj/", 1000, "optional"),
        (r"^Resources/.*\.lproj/locversion.plist$", 1100, "omit"),
        (r"^Resources/Base\.lproj/", 1010, None),
        ("^version.plist$", 1, None)],
    "rules2": [
        ("^.*", 1, None),
        (NESTED, 10, "nested"),
        ("^[^/]+$", 10, "nested"),
        (r".*\.dSYM($|/)", 11, None),
        (r"^Info\.plist$", 20, "omit"),
        ("^PkgInfo$", 20, "omit"),
        ("^Resources/", 20, None),
        (r"^embedded\.provisionprofile$", 20, None),
        (r"^version\.plist$", 20, None),
        (r"^Resources/.*\.lproj/", 1000, "optional"),
        (r"^Resources/Base\.lproj/", 1010, None),
        (r"^Resources/.*\.lproj/locversion.plist$", 1100, "omit"),
        (r"^(.*/)?\.DS_Store$", 2000, "omit")],
}


def rule_as_written(weight, flag):
    rule = {flag: True} if flag else {}
    return {**rule, "weight": weight} if weight != 1 else rule or True


def about_rules(seal):
    for name, rules in RULES.items():
        expected = {pattern: rule_as_written(weight, flag) for pattern, weight, flag in rules}
        if seal.get(name) != expected:
            yield f"CodeResources has other {name} than codesign's"


def is_localised(path):
    """macOS lets a user remove what lies in such folders, but for the base of all localisations."""
    return ".lproj/" in path and not path.startswith("Resources/Base.lproj/")


def entries(contents, path):
    """What each list has to say about a file among the resources; None: nothing."""
    optional = {"optional": True} if is_localised(path) else {}
    if (contents / path).is_symlink():
        return {"files": None, "files2": {"symlink": os.readlink(contents / path), **optional}}
    data = (contents / path).read_bytes()
    old = hashlib.sha1(data).digest()
    return {"files": {"hash": old, **optional} if optional else old,
            "files2": {"hash2": hashlib.sha256(data).digest(), **optional}}


def about_lists(contents, seal, resources):
    found = {"files": {}, "files2": {}}
    for path in resources:
        for name, entry in entries(contents, path).items():
            if entry is not None:
                found[name][path] = entry
    for name, expected in found.items():
        listed = seal.get(name, {})
        for path in sorted(expected.keys() - listed.keys()):
            yield f"{path} is not in {name} of CodeResources"
        for path in sorted(listed.keys() - expected.keys()):
            yield f"{path} is missing, or is no regular file"
        for path in sorted(expected.keys() & listed.keys()):
            if expected[path] != listed[path]:
                yield f"{path} was changed after sealing"


def files_below(folder):
    """Paths relative to it of all but folders."""
    return sorted(path.relative_to(folder).as_posix() for path in folder.rglob("*")
                  if path.is_symlink() or not path.is_dir())


def about_link(contents, path):
    target = os.readlink(contents / path)
    if target.startswith(("/System/", "/Library/")):
        return
    folder, found = (contents / "Resources").resolve(), (contents / path).resolve()
    inside = found == folder or folder in found.parents
    if os.path.isabs(target) or not inside or not found.exists():
        yield f"{path} is a link to nothing among the resources"


def about_mode(contents, path):
    """The seal keeps no modes, but a program or script that nobody may start serves nobody."""
    with open(contents / path, "rb") as stream:
        is_script = stream.read(2) == b"#!"
    expected = 0o555 if is_script or path.startswith("MacOS/") else 0o444
    if (contents / path).stat().st_mode & expected != expected:
        yield f"{path} may not be {'executed' if expected == 0o555 else 'read'} by everyone"


def about_file(contents, path):
    file = contents / path
    if path.rpartition("/")[2].startswith("._"):
        yield f"{path} is a leftover of Finder"
    if file.is_symlink():
        yield from about_link(contents, path)
    elif file.is_file():
        yield from about_mode(contents, path)
    else:
        yield f"{path} is neither a file nor a link"


def about_place(contents, path, program):
    if path in ("Info.plist", "PkgInfo", program, "_CodeSignature/CodeResources"):
        if (contents / path).is_symlink():
            yield f"{path} may not be a link"
    elif not path.startswith("Resources/"):
        yield f"{path} lies where nothing but signed code may"


def about_files(contents, seal, program):
    paths = files_below(contents)
    for path in paths:
        yield from about_file(contents, path)
        yield from about_place(contents, path, program)
    # Reading anything else, such as a pipe, would wait for ever.
    yield from about_lists(contents, seal, [
        path for path in paths if path.startswith("Resources/")
        and ((contents / path).is_symlink() or (contents / path).is_file())])


def about_folders(bundle, contents):
    for name in sorted(set(os.listdir(bundle)) - {"Contents"}):
        yield f"{name} lies beside Contents"
    for folder in (contents, contents / "MacOS", contents / "Resources", contents / "_CodeSignature"):
        if folder.is_symlink() or not folder.is_dir():
            yield f"{folder.name} is no folder"


def about_properties(contents, properties):
    if properties.get("CFBundlePackageType") != "APPL":
        yield "Info.plist is not that of an application"
    if (contents / "PkgInfo").read_bytes() != b"APPL????":
        yield "PkgInfo is not that of an application"


def about_bundle(bundle, architectures):
    contents = bundle / "Contents"
    yield from about_folders(bundle, contents)
    info = (contents / "Info.plist").read_bytes()
    resources = (contents / "_CodeSignature" / "CodeResources").read_bytes()
    properties, seal = plistlib.loads(info), plistlib.loads(resources, fmt=plistlib.FMT_XML)
    program = "MacOS/" + properties["CFBundleExecutable"]
    yield from about_properties(contents, properties)
    if seal.keys() != {"files", "files2", "rules", "rules2"}:
        yield f"CodeResources holds {', '.join(sorted(seal))}"
    yield from about_rules(seal)
    yield from about_files(contents, seal, program)
    covered = {"identifier": properties["CFBundleIdentifier"], "Info.plist": info,
               "CodeResources": resources}
    for complaint in verify_signature.complaints((contents / program).read_bytes(), architectures,
                                                 covered):
        yield f"{program}: {complaint}"


def unpack(archive, folder):
    """As a Mac does: with modes and links, which Python's own unpacking leaves out."""
    for entry in archive.infolist():
        mode, file = entry.external_attr >> 16, folder / entry.filename
        if entry.filename.startswith("/") or ".." in entry.filename.split("/") or os.path.lexists(file):
            yield f"{entry.filename} leads out of the zip, or is in it twice"
            continue
        file.parent.mkdir(parents=True, exist_ok=True)
        if stat.S_ISLNK(mode):
            file.symlink_to(archive.read(entry).decode())
        else:
            file.write_bytes(archive.read(entry))
            file.chmod(stat.S_IMODE(mode))


def about_probe(program, architectures):
    """It lies in no bundle, so that its own signature is all there is."""
    if program.is_symlink() or not program.is_file():
        yield "macprobe is no regular file"
        return
    if program.stat().st_mode & 0o555 != 0o555:
        yield "macprobe may not be executed by everyone"
    covered = {"identifier": "io.github.veilpane.macprobe"}
    for complaint in verify_signature.complaints(program.read_bytes(), architectures, covered):
        yield f"macprobe: {complaint}"


def about_zip(file, architectures):
    with tempfile.TemporaryDirectory() as folder, zipfile.ZipFile(file) as archive:
        yield from unpack(archive, pathlib.Path(folder))
        if sorted(os.listdir(folder)) != ["Veilpane.app", "macprobe"]:
            yield f"the zip holds {', '.join(sorted(os.listdir(folder)))}"
        yield from about_bundle(pathlib.Path(folder) / "Veilpane.app", architectures)
        yield from about_probe(pathlib.Path(folder) / "macprobe", architectures)


def complaints(path, architectures=tuple(ARCHITECTURES)):
    """Everything that is wrong with a bundle or a zip of one, until there is no more to be read."""
    about = about_bundle if os.path.isdir(path) else about_zip
    try:
        yield from about(pathlib.Path(path), architectures)
    except Exception as error:  # a parser of broken files fails in many ways, and each is a complaint
        yield f"cannot be read on: {error!r}"


def main(arguments):
    if not arguments:
        print("usage: verify_bundle.py BUNDLE|ZIP [ARCHITECTURE…]", file=sys.stderr)
        return 2
    found = list(complaints(arguments[0], arguments[1:] or ARCHITECTURES))
    for complaint in found:
        print(f"{arguments[0]}: {complaint}")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
