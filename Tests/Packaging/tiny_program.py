"""Programs for a Mac that no linker made, of a few pages.

Like a linker's, the part for Apple silicon comes with a signature of its own and the other one without.
"""

import struct

ARM64, X86_64 = (0x0100000C, 0), (0x01000007, 3)
HEADER = 32
TEXT_SIZE = 0x4000  # in the file, and of the first segment in memory
ADDRESS = 0x100000000
EXECUTABLE = 2
LINKER_SIGNATURE = struct.pack(">III", 0xFADE0CC0, 12, 0).ljust(48, b"\0")


def segment(name, address, memory, place, size, *sections):
    head = struct.pack("<II16s4Q4I", 0x19, 72 + 80 * len(sections), name, address, memory, place, size,
                       5, 5, len(sections), 0)
    return head + b"".join(sections)


def section(name, place, size):
    """One at place 0 is made of zeros and not in the file."""
    return struct.pack("<16s16s2QI28x", name, b"__TEXT", ADDRESS + place, size, place)


def commands(linkedit, signature, code):
    """The load commands for a __LINKEDIT of these bytes, the last of which are the signature."""
    symbols = struct.pack("<6I", 0x02, 24, TEXT_SIZE, 1, TEXT_SIZE + 16, 40)
    found = [segment(b"__TEXT", ADDRESS, TEXT_SIZE, 0, TEXT_SIZE,
                     section(b"__text", code, TEXT_SIZE - code), section(b"__zeros", 0, 16)),
             segment(b"__LINKEDIT", ADDRESS + TEXT_SIZE, 0x4000, TEXT_SIZE, len(linkedit)), symbols]
    if signature:
        found.append(struct.pack("<4I", 0x1D, 16, TEXT_SIZE + len(linkedit) - len(signature),
                                 len(signature)))
    return found


def tiny_slice(processor=X86_64, signature=b"", room=64, mark=b"", kind=EXECUTABLE):
    """A program for one processor, with so many bytes of room behind the load commands."""
    data = bytes(range(56))
    linkedit = data.ljust(64, b"\0") + signature if signature else data
    size = sum(map(len, commands(linkedit, signature, 0)))
    found = commands(linkedit, signature, HEADER + size + room)
    head = struct.pack("<8I", 0xFEEDFACF, *processor, kind, len(found), size, 0, 0)
    text = (head + b"".join(found)).ljust(HEADER + size + room, b"\0") + mark
    return text.ljust(TEXT_SIZE, b"\xc3") + linkedit


def universal(*slices):
    """Programs in one file, each of which is aligned as linkers align it."""
    head = struct.pack(">II", 0xCAFEBABE, len(slices))
    body = b""
    for image in slices:
        body = body.ljust((len(body) + 0x3FFF) & ~0x3FFF, b"\0")
        processor = struct.unpack_from("<II", image, 4)
        head += struct.pack(">5I", *processor, 0x4000 + len(body), len(image), 14)
        body += image
    return head.ljust(0x4000, b"\0") + body


def tiny_program(mark=b""):
    return universal(tiny_slice(X86_64, mark=mark),
                     tiny_slice(ARM64, signature=LINKER_SIGNATURE, mark=mark))
