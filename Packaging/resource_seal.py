"""The seal over a bundle's files: what goes into _CodeSignature/CodeResources.

macOS looks every file of the bundle up in it, and every entry of it in the bundle.
"""

import hashlib
import os
import pathlib
import plistlib
import re
import stat

from seal_error import SealError

# The rules that codesign writes. Others are refused by a strict look at the bundle, as a rule that
# leaves files out would leave them unprotected.
OLD_RULES = {
    r"^Resources/": True,
    r"^Resources/.*\.lproj/": {"optional": True, "weight": 1000.0},
    r"^Resources/.*\.lproj/locversion.plist$": {"omit": True, "weight": 1100.0},
    r"^Resources/Base\.lproj/": {"weight": 1010.0},
    r"^version.plist$": True,
}
RULES = {
    r".*\.dSYM($|/)": {"weight": 11.0},
    r"^(.*/)?\.DS_Store$": {"omit": True, "weight": 2000.0},
    r"^(Frameworks|SharedFrameworks|PlugIns|Plug-ins|XPCServices|Helpers|MacOS|"
    r"Library/(Automator|Spotlight|LoginItems))/": {"nested": True, "weight": 10.0},
    r"^.*": True,
    r"^Info\.plist$": {"omit": True, "weight": 20.0},
    r"^PkgInfo$": {"omit": True, "weight": 20.0},
    r"^Resources/": {"weight": 20.0},
    r"^Resources/.*\.lproj/": {"optional": True, "weight": 1000.0},
    r"^Resources/.*\.lproj/locversion.plist$": {"omit": True, "weight": 1100.0},
    r"^Resources/Base\.lproj/": {"weight": 1010.0},
    r"^[^/]+$": {"nested": True, "weight": 10.0},
    r"^embedded\.provisionprofile$": {"weight": 20.0},
    r"^version\.plist$": {"weight": 20.0},
}

# What codesign never lists: the seal itself, and a shop's receipt, which comes after the signature.
NEVER_LISTED = ("_CodeSignature/", "_MASReceipt/")

# A link may lead out of the bundle only to what no program can replace.
SYSTEM_FOLDERS = ("/System/", "/Library/")


def governing_rule(rules, path):
    """The heaviest rule that fits, as a dictionary; None if none does."""
    fitting = [{} if rule is True else rule for pattern, rule in rules.items()
               if re.search(pattern, path)]
    return max(fitting, key=lambda rule: rule.get("weight", 1.0), default=None)


def entries_of(folder):
    """All files and links below it; a link is never followed."""
    for entry in sorted(os.scandir(folder), key=lambda entry: entry.name):
        if entry.is_dir(follow_symlinks=False):
            yield from entries_of(entry.path)
        else:
            yield pathlib.Path(entry.path)


def check_name(path):
    """Archives and file systems change the form of other characters, and the seal is by the name."""
    if not (path.isascii() and path.isprintable()):
        raise SealError(f"{path!r} has a name that is not plain ASCII")
    # On a Mac these are attributes of another file, and a strict look at the bundle refuses them.
    if path.rpartition("/")[2].startswith("._"):
        raise SealError(f"{path} holds a file's attributes, not a file")


def check_link(contents, path):
    """macOS accepts no link whose target may change without breaking the seal."""
    target = os.readlink(contents / path)
    if target.startswith(SYSTEM_FOLDERS) and ".." not in target.split("/"):
        return
    resolved = (contents / path).parent / target
    resources = os.path.realpath(contents / "Resources")
    inside = os.path.realpath(resolved) + "/"
    if os.path.isabs(target) or not inside.startswith(resources + "/") or not resolved.exists():
        raise SealError(f"{path} is a link to {target!r}, which is nothing among the resources")


def check_kind(contents, path, rule):
    mode = (contents / path).lstat().st_mode
    if rule.get("nested"):
        raise SealError(f"{path} lies where only signed code may")
    if stat.S_ISLNK(mode):
        check_link(contents, path)
    elif not stat.S_ISREG(mode):
        raise SealError(f"{path} is no regular file")


def entry_of(file, rule):
    """A file's entry in the list that every macOS since 10.9 reads."""
    if file.is_symlink():
        entry = {"symlink": os.readlink(file)}
    else:
        entry = {"hash2": hashlib.sha256(file.read_bytes()).digest()}
    return {**entry, "optional": True} if rule.get("optional") else entry


def old_entry_of(file, rule):
    """A file's entry in the list of older systems, which codesign still writes beside the other."""
    digest = hashlib.sha1(file.read_bytes()).digest()
    return {"hash": digest, "optional": True} if rule.get("optional") else digest


def listed(contents, paths, rules):
    """The paths that the rules do not leave out, each with the rule that governs it."""
    for path in paths:
        rule = governing_rule(rules, path)
        if rule is not None and not rule.get("omit"):
            yield contents / path, path, rule


def files_to_seal(contents, program):
    """The program is not in the list, as its signature covers the list."""
    for file in entries_of(contents):
        path = file.relative_to(contents).as_posix()
        if file != program and not path.startswith(NEVER_LISTED):
            check_name(path)
            yield path


def code_resources(contents, program):
    """The bytes of CodeResources for the files of the folder Contents as they are now."""
    paths = list(files_to_seal(contents, program))
    entries, old_entries = {}, {}
    for file, path, rule in listed(contents, paths, RULES):
        check_kind(contents, path, rule)
        entries[path] = entry_of(file, rule)
    for file, path, rule in listed(contents, paths, OLD_RULES):
        if not file.is_symlink():
            old_entries[path] = old_entry_of(file, rule)
    text = plistlib.dumps({"files": old_entries, "files2": entries,
                           "rules": OLD_RULES, "rules2": RULES})
    # A whole number is written without a fraction, as codesign does, so that both give the same file.
    return re.sub(rb"<real>(\d+)\.0</real>", rb"<real>\1</real>", text)
