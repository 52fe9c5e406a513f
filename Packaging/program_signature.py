"""The ad-hoc code signature inside of a program: Mach-O files, universal or for one architecture.

Laid out as codesign does it, to the byte. Numbers are little-endian in a Mach-O file, big-endian in
a universal file's header and in a signature. Sizes and places are in bytes.
"""

import hashlib
import struct

from seal_error import SealError

UNIVERSAL_MAGIC = 0xCAFEBABE
MACHO_MAGIC = 0xFEEDFACF
HEADER_SIZE = 32
EXECUTABLE = 2
SEGMENT, CODE_SIGNATURE = 0x19, 0x1D
COMMAND_SIZE = 16  # of LC_CODE_SIGNATURE

SLICE_ALIGNMENT = 14  # a power of 2, for every architecture: a memory page of Apple silicon
SEGMENT_PAGE = 1 << SLICE_ALIGNMENT
HASHED_PAGE = 12  # a power of 2; Intel Macs take no other, Macs with Apple silicon take it as well
CERTIFICATE_ROOM = 18000  # codesign leaves it for a certificate's signature, and here to zeros

CODE_DIRECTORY_SLOT, REQUIREMENTS_SLOT, CERTIFICATE_SLOT = 0, 2, 0x10000
CODE_DIRECTORY_VERSION = 0x20400
FIXED_SIZE = 88  # of that version, up to the identifier
# Nothing else: neither made by a linker, which is a promise of no bundle around the program, nor with
# the hardened runtime, which macOS asks for only where a certificate vouches for the program.
AD_HOC = 0x2
MAIN_PROGRAM = 0x1
SHA256, SHA256_SIZE = 2, 32
NO_REQUIREMENTS = struct.pack(">III", 0xFADE0C01, 12, 0)
NO_CERTIFICATE = struct.pack(">II", 0xFADE0B01, 8)


def rounded_up(size, unit):
    return -(-size // unit) * unit


def read(layout, data, place):
    """struct.unpack_from, of a file that may be cut short."""
    if place + struct.calcsize(layout) > len(data):
        raise SealError("the program is cut off")
    return struct.unpack_from(layout, data, place)


class Slice:
    """A program for one architecture, and the places in it that a signature changes."""

    def __init__(self, image):
        self.image = bytearray(image)
        self.signature = None
        self.segments = {}
        self.first_section = len(image)
        self._check_header()
        self._read_commands()
        self._check_layout()

    def _check_header(self):
        magic, _, _, kind, self.count, self.size = read("<6I", self.image, 0)
        if magic != MACHO_MAGIC:
            raise SealError("the program is no 64-bit Mach-O file")
        if kind != EXECUTABLE:
            raise SealError("the program is a Mach-O file that cannot be started")

    def _read_commands(self):
        place, end = HEADER_SIZE, HEADER_SIZE + self.size
        for _ in range(self.count):
            command, size = read("<II", self.image, place)
            if size < 8 or place + size > min(end, len(self.image)):
                raise SealError("the program's load commands are cut off")
            self._read_command(command, place, size)
            place += size
        if place != end:
            raise SealError("the program's load commands have another size than its header says")

    def _read_command(self, command, place, size):
        if command == SEGMENT:
            self._read_segment(place, size)
        elif command == CODE_SIGNATURE:
            if size != COMMAND_SIZE or self.signature is not None:
                raise SealError("the program's signature is not as linkers or codesign write it")
            self.signature = place

    def _read_segment(self, place, size):
        name, = read("<16s", self.image, place + 8)
        count, = read("<I", self.image, place + 64)
        if 72 + 80 * count > size:
            raise SealError("the program's load commands are cut off")
        self.segments[name.rstrip(b"\0")] = place
        for section in range(place + 72, place + 72 + 80 * count, 80):
            start, = read("<I", self.image, section + 48)
            if start:  # a section of zeros has no place in the file
                self.first_section = min(self.first_section, start)

    def _check_layout(self):
        if not {b"__TEXT", b"__LINKEDIT"} <= self.segments.keys():
            raise SealError("the program has no __TEXT or no __LINKEDIT")
        if max(self.segments, key=self._address) != b"__LINKEDIT":
            raise SealError("the program has something behind its __LINKEDIT, which is to grow")
        start, size = self.file_range(b"__LINKEDIT")
        if start < HEADER_SIZE + self.size or start + size != len(self.image):
            raise SealError("the program does not end with its __LINKEDIT, or is cut off")
        if self.signature is not None:
            self._check_signature(start)

    def _check_signature(self, linkedit):
        place, size = read("<II", self.image, self.signature + 8)
        if place % 16 or place < linkedit or place + size != len(self.image):
            raise SealError("the program's signature is not at its end")

    def _address(self, segment):
        return read("<Q", self.image, self.segments[segment] + 24)

    def file_range(self, segment):
        """Where it starts in the file, and its size there."""
        return read("<QQ", self.image, self.segments[segment] + 40)

    def make_room(self, size_with):
        """Points the load commands at a signature to come, and cuts off what lies in its place.

        `size_with` tells the signature's size, given its place. Returns the place and the room for it,
        which then are the file's end.
        """
        if self.signature is None:
            self._add_command()
            place = rounded_up(len(self.image), 16)
        else:
            place, = read("<I", self.image, self.signature + 8)
        room = rounded_up(size_with(place) + CERTIFICATE_ROOM, 16)
        struct.pack_into("<4I", self.image, self.signature, CODE_SIGNATURE, COMMAND_SIZE, place, room)
        self._extend_linkedit(place + room)
        del self.image[place:]
        self.image.extend(bytes(place - len(self.image)))
        return place, room

    def _add_command(self):
        place = HEADER_SIZE + self.size
        free = self.image[place:place + COMMAND_SIZE]
        if place + COMMAND_SIZE > self.first_section or any(free):
            raise SealError("the program has no room for a load command: link it with -headerpad")
        self.signature, self.count, self.size = place, self.count + 1, self.size + COMMAND_SIZE
        struct.pack_into("<II", self.image, 16, self.count, self.size)

    def _extend_linkedit(self, end):
        """A segment is mapped by pages; those of Intel Macs are smaller, but codesign rounds alike."""
        linkedit = self.segments[b"__LINKEDIT"]
        size = end - self.file_range(b"__LINKEDIT")[0]
        struct.pack_into("<Q", self.image, linkedit + 32, rounded_up(size, SEGMENT_PAGE))
        struct.pack_into("<Q", self.image, linkedit + 48, size)


def page_hashes(image, end):
    """The last page is hashed as far as it goes."""
    page = 1 << HASHED_PAGE
    return [hashlib.sha256(image[start:min(start + page, end)]).digest()
            for start in range(0, end, page)]


def code_directory(part, identifier, special, end):
    """The hashes of everything that the signature vouches for.

    `special` are those of Info.plist, of the requirements and of CodeResources, numbered from -1 down.
    The code ends where the signature begins.
    """
    name = identifier.encode("ascii") + b"\0"
    hashes = special[::-1] + page_hashes(part.image, end)
    first_page = FIXED_SIZE + len(name) + SHA256_SIZE * len(special)
    size = FIXED_SIZE + len(name) + SHA256_SIZE * len(hashes)
    return struct.pack(
        ">9I4B4I4Q",
        0xFADE0C02, size, CODE_DIRECTORY_VERSION, AD_HOC, first_page, FIXED_SIZE,
        len(special), len(hashes) - len(special), end,
        SHA256_SIZE, SHA256, 0, HASHED_PAGE,
        0, 0, 0, 0,  # spare, scatter, team, spare
        0, *part.file_range(b"__TEXT"), MAIN_PROGRAM) + name + b"".join(hashes)


def joined(blobs):
    """One blob of those in the slots given, one after the other."""
    start = 12 + 8 * len(blobs)
    index = b""
    for slot, blob in blobs.items():
        index += struct.pack(">II", slot, start)
        start += len(blob)
    return struct.pack(">III", 0xFADE0CC0, start, len(blobs)) + index + b"".join(blobs.values())


def signature_of(part, identifier, special, end):
    return joined({CODE_DIRECTORY_SLOT: code_directory(part, identifier, special, end),
                   REQUIREMENTS_SLOT: NO_REQUIREMENTS,
                   CERTIFICATE_SLOT: NO_CERTIFICATE})


def signed_slice(image, identifier, special):
    part = Slice(image)
    place, room = part.make_room(
        lambda end: len(signature_of(part, identifier, special, end)))
    # Only now, as the load commands are among what is hashed.
    return bytes(part.image) + signature_of(part, identifier, special, place).ljust(room, b"\0")


def slices_of(program):
    """(processor, its kind, bytes) of each program in a universal one."""
    _, count = read(">II", program, 0)
    for place in range(8, 8 + 20 * count, 20):
        processor, kind, start, size, _ = read(">5I", program, place)
        yield processor, kind, program[start:start + size]


def universal_program(parts):
    """Each part at a multiple of the alignment, with zeros between them."""
    head = struct.pack(">II", UNIVERSAL_MAGIC, len(parts))
    body = b""
    for processor, kind, part in parts:
        body = body.ljust(rounded_up(len(body), SEGMENT_PAGE), b"\0")
        head += struct.pack(">5I", processor, kind, SEGMENT_PAGE + len(body), len(part),
                            SLICE_ALIGNMENT)
        body += part
    return head.ljust(SEGMENT_PAGE, b"\0") + body


def signed_program(program, identifier, special):
    """The program with an ad-hoc signature in each architecture's part, in place of any older one.

    `special` are SHA-256 hashes: of Info.plist, of the requirements, of CodeResources.
    """
    if read(">I", program, 0)[0] != UNIVERSAL_MAGIC:
        return signed_slice(program, identifier, special)
    parts = [(processor, kind, signed_slice(image, identifier, special))
             for processor, kind, image in slices_of(program)]
    if not parts:
        raise SealError("the program is for no processor")
    return universal_program(parts)
