#!/usr/bin/env python3
"""Checks a program for macOS from outside: check_program.py [--probe] PROGRAM. With --probe it is macprobe,
else Veilpane. Complaints are lines on standard output; with one the exit status is 1."""

import re
import sys
import tempfile

import expectations
import macho


def complaints_about_imports(part):
    imports, unbound = part.imports()
    for line in unbound:
        yield f"bound to no library: {line.strip()}"
    for symbol, library in imports:
        if library == "libSystem":
            if symbol.startswith(expectations.FORBIDDEN_OF_SYSTEM):
                yield f"{symbol} is the system's C++ library"
        elif symbol not in expectations.EXPORTS.get(library, set()):
            yield f"{library} is not known to export {symbol}"


def complaints_about_contents(part, texts):
    strings = part.strings()
    for name in texts:
        if not any(name in text for text in strings):
            yield f"'{name}' is missing"
    for text in strings:
        for path in re.findall(r"(?:^|[^\w.])(/(?:[\w.+-]+/)+[\w.+-]*)", text):
            if not path.startswith(tuple(expectations.PATHS)):
                yield f"holds the path {path}"


def complaints_about_layout(part, largest):
    page = expectations.PAGE_SIZES[part.architecture]
    for name, memory, file in part.segments():
        if memory % page or name != "__LINKEDIT" and file % page:
            yield f"the segment {name} ends within a page"
    if part.section_size("__objc_imageinfo") != 8:
        yield "has not one entry in __objc_imageinfo"
    if part.function_starts() == 0:
        yield "tells no starts of functions"
    if len(part.bytes) > largest:
        yield f"has {len(part.bytes)} bytes"


def complaints_about_slice(part, kind):
    if part.oldest_system() != expectations.OLDEST_SYSTEM:
        yield f"starts on macOS {part.oldest_system()}"
    if part.sdk() != expectations.SDK:
        yield f"is linked against the SDK {part.sdk()}"
    if part.libraries() != expectations.LIBRARIES:
        yield f"loads {', '.join(part.libraries())}"
    if part.run_paths():
        yield "has run paths"
    if not {"PIE", "TWOLEVEL", "DYLDLINK"} <= part.flags():
        yield f"has the flags {' '.join(sorted(part.flags()))}"
    if part.weak_definitions():
        yield "shares weak definitions with the system's libraries"
    for symbol in part.weak_bindings():
        yield f"takes {symbol} from whatever library defines it"
    for section in sorted({"__mod_init_func", "__init_offsets"} & set(part.sections())):
        yield f"runs code before main ({section})"
    surprising = [name for name in part.exports() if name != "__mh_execute_header"]
    if surprising:
        yield f"exports {', '.join(surprising)}"
    fault = part.signature_fault()
    if fault:
        yield fault
    yield from complaints_about_layout(part, kind.largest_slice)
    yield from complaints_about_imports(part)
    yield from complaints_about_contents(part, kind.texts)


def complaints(program, kind=expectations.PROGRAM):
    found = macho.architectures(program)
    if found != expectations.ARCHITECTURES:
        yield f"is for {', '.join(found)}"
    with tempfile.TemporaryDirectory() as directory:
        for architecture in found:
            part = macho.Slice(program, architecture, directory)
            for complaint in complaints_about_slice(part, kind):
                yield f"{architecture}: {complaint}"


def main(arguments):
    kind = expectations.PROGRAM
    if arguments[:1] == ["--probe"]:
        kind, arguments = expectations.PROBE, arguments[1:]
    if len(arguments) != 1:
        print("usage: check_program.py [--probe] PROGRAM", file=sys.stderr)
        return 2
    found = list(complaints(arguments[0], kind))
    for complaint in found:
        print(complaint)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
