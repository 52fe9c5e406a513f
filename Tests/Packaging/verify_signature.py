"""Judges the ad-hoc signature inside of a program as a Mac does, from the file alone.

Shares nothing with what makes the signature. Every function yields complaints, a line each.
"""

import hashlib

PAGE = 0x1000
MEMORY_PAGE = 0x4000
PROCESSORS = {(0x01000007, 3): "x86_64", (0x0100000C, 0): "arm64"}
FEATURES = 0xFF000000  # of a processor's kind

# Load commands that point at data in __LINKEDIT: in each, where a place and a size or a count of
# entries stand, and an entry's size.
POINTERS = {
    0x02: [(8, 12, 16), (16, 20, 1)],                     # symbols, their names
    0x0B: [(56, 60, 4)],                                  # indirect symbols
    0x22: [(8 * n, 8 * n + 4, 1) for n in range(1, 6)],   # what the loader binds, and exports
    0x26: [(8, 12, 1)],                                   # starts of functions
    0x29: [(8, 12, 1)],                                   # data among code
    0x33: [(8, 12, 1)],                                   # exports
    0x34: [(8, 12, 1)],                                   # chained fixups
}
REQUIRED = 0x80000000  # the loader may not pass over a command with this bit

BLOBS = {0: 0xFADE0C02, 2: 0xFADE0C01, 0x10000: 0xFADE0B01}


class Unreadable(Exception):
    """So wrong that there is no more to look at."""


def number(data, place, size, order):
    if place + size > len(data):
        raise Unreadable("ends too early")
    return int.from_bytes(data[place:place + size], order)


def big(data, place, size=4):
    return number(data, place, size, "big")


def little(data, place, size=4):
    return number(data, place, size, "little")


def next_page(place):
    return (place + MEMORY_PAGE - 1) // MEMORY_PAGE * MEMORY_PAGE


class SliceCheck:
    """One architecture's program; `covered` is what else its signature has to vouch for."""

    def __init__(self, image, covered):
        self.image = image
        self.covered = covered
        self.segments = {}
        self.signatures = []
        self.data_ranges = []
        self.first_section = len(image)

    def complaints(self):
        if little(self.image, 0) != 0xFEEDFACF or little(self.image, 12) != 2:
            raise Unreadable("is no 64-bit program")
        self.read_commands()
        if len(self.signatures) != 1:
            raise Unreadable(f"has {len(self.signatures)} signatures")
        if not {"__TEXT", "__LINKEDIT"} <= self.segments.keys():
            raise Unreadable("has no __TEXT or no __LINKEDIT")
        self.start, self.room = self.signatures[0]
        yield from self.about_linkedit()
        yield from self.about_blobs()

    # The Mach-O file around the signature.

    def read_commands(self):
        place, end = 32, 32 + little(self.image, 20)
        for _ in range(little(self.image, 16)):
            size = little(self.image, place + 4)
            if size < 8 or size % 8 or place + size > end:
                raise Unreadable("has broken load commands")
            self.read_command(little(self.image, place), place, size)
            place += size
        if place != end or end > self.first_section:
            raise Unreadable("has load commands of another size than it says")

    def read_command(self, command, place, size):
        if command == 0x19:
            self.read_segment(place)
        elif command == 0x1D:
            if size != 16:
                raise Unreadable("has an odd LC_CODE_SIGNATURE")
            self.signatures.append((little(self.image, place + 8), little(self.image, place + 12)))
        for start, count, unit in POINTERS.get(command & ~REQUIRED, []):
            if little(self.image, place + count):
                first = little(self.image, place + start)
                self.data_ranges.append((first, first + unit * little(self.image, place + count)))

    def read_segment(self, place):
        name = self.image[place + 8:place + 24].rstrip(b"\0").decode("ascii", "replace")
        self.segments[name] = [little(self.image, place + at, 8) for at in (24, 32, 40, 48)]
        for index in range(little(self.image, place + 64)):
            start = little(self.image, place + 72 + 80 * index + 48)
            if start:
                self.first_section = min(self.first_section, start)

    def about_linkedit(self):
        address, memory, first, size = self.segments["__LINKEDIT"]
        if first + size != len(self.image):
            yield "__LINKEDIT does not end with the program"
        if memory != next_page(size):
            yield f"__LINKEDIT takes {memory:#x} bytes of memory for {size:#x}"
        if any(other > address for other, *_ in self.segments.values()):
            yield "__LINKEDIT is not the last segment"
        if not first <= self.start or self.start + self.room != len(self.image):
            yield "the signature is not at the end of __LINKEDIT"
        if self.start % 16:
            yield "the signature is not aligned"
        for begin, end in self.data_ranges:
            if begin < first or end > self.start:
                yield "data of the linker lies outside of __LINKEDIT or in the signature"

    # The signature's parts.

    def about_blobs(self):
        whole = self.image[self.start:self.start + self.room]
        if big(whole, 0) != 0xFADE0CC0:
            raise Unreadable("has no signature where the load command says")
        length, count = big(whole, 4), big(whole, 8)
        if count != len(BLOBS) or length > len(whole):
            raise Unreadable(f"has a signature of {count} parts, {length} bytes")
        if any(whole[length:]):
            yield "something lies behind the signature"
        blobs = self.read_blobs(whole[:length])
        if blobs[2] != bytes.fromhex("fade0c010000000c00000000"):
            yield "the requirements are not empty"
        if blobs[0x10000] != bytes.fromhex("fade0b0100000008"):
            yield "the certificate's signature is not empty"
        yield from self.about_code_directory(blobs[0], blobs[2])

    @staticmethod
    def read_blobs(signature):
        blobs, end = {}, 12 + 8 * len(BLOBS)
        for index, (slot, magic) in enumerate(BLOBS.items()):
            found, place = big(signature, 12 + 8 * index), big(signature, 16 + 8 * index)
            if found != slot or place != end or big(signature, place) != magic:
                raise Unreadable(f"has no part {slot:#x} where the signature's index says")
            end = place + big(signature, place + 4)
            blobs[slot] = signature[place:end]
        if end != len(signature):
            raise Unreadable("has a signature of another length than its parts")
        return blobs

    def about_code_directory(self, directory, requirements):
        pages = [self.image[at:min(at + PAGE, self.start)] for at in range(0, self.start, PAGE)]
        name = self.covered["identifier"].encode("ascii") + b"\0"
        special = self.special_slots(requirements)
        hashes = 88 + len(name) + 32 * len(special)
        for field, place, size, expected in self.fields(hashes, len(pages), len(special)):
            if big(directory, place, size) != expected:
                yield f"the code directory's {field} is {big(directory, place, size):#x}"
        if len(directory) != hashes + 32 * len(pages):
            raise Unreadable("has a code directory of another length than its hashes")
        if directory[88:88 + len(name)] != name:
            yield f"is signed under another name than {self.covered['identifier']}"
        expected = special + [(f"page {index}", hashlib.sha256(page).digest())
                              for index, page in enumerate(pages)]
        for index, (what, digest) in enumerate(expected):
            at = hashes + 32 * (index - len(special))
            if directory[at:at + 32] != digest:
                yield f"{what} was changed after signing"

    def special_slots(self, requirements):
        """What the hashes before the pages' are of, the last slot first. A program outside of a bundle
        has no property list, whose slot is then empty, and no list of resources."""
        slots = [("the requirements", hashlib.sha256(requirements).digest())]
        if "CodeResources" not in self.covered:
            return slots + [("the empty slot", bytes(32))]
        return ([("CodeResources", hashlib.sha256(self.covered["CodeResources"]).digest())] + slots
                + [("Info.plist", hashlib.sha256(self.covered["Info.plist"]).digest())])

    def fields(self, hashes, page_count, special_count):
        """Name, place, size and the only right value of each fixed field."""
        _, _, text_start, text_size = self.segments["__TEXT"]
        return [
            ("version", 8, 4, 0x20400), ("flags", 12, 4, 2), ("place of hashes", 16, 4, hashes),
            ("place of the identifier", 20, 4, 88), ("number of special slots", 24, 4, special_count),
            ("number of code slots", 28, 4, page_count), ("code limit", 32, 4, self.start),
            ("hash size", 36, 1, 32), ("hash type", 37, 1, 2), ("platform", 38, 1, 0),
            ("page size", 39, 1, 12), ("first spare", 40, 4, 0), ("scatter", 44, 4, 0),
            ("team", 48, 4, 0), ("second spare", 52, 4, 0), ("wide code limit", 56, 8, 0),
            ("place of __TEXT", 64, 8, text_start), ("size of __TEXT", 72, 8, text_size),
            ("kind of program", 80, 8, 1)]


def processor_of(kind, subkind):
    return PROCESSORS.get((kind, subkind & ~FEATURES), f"processor {kind:#x}")


def universal_parts(data):
    """(name, bytes) of each part, laid out as nothing else than codesign's tool lays it out."""
    end, count = 8 + 20 * big(data, 4), big(data, 4)
    for head in range(8, 8 + 20 * count, 20):
        start, size = big(data, head + 8), big(data, head + 12)
        name = processor_of(big(data, head), big(data, head + 4))
        if start != next_page(end) or any(data[end:start]) or big(data, head + 16) != 14:
            raise Unreadable(f"{name}: not where it has to begin")
        image = data[start:start + size]
        if [little(image, 4), little(image, 8)] != [big(data, head), big(data, head + 4)]:
            raise Unreadable(f"{name}: for another processor than its part of the file")
        end = start + size
        yield name, image
    if end != len(data):
        raise Unreadable("the last architecture does not end with the file")


def parts_of(data):
    if big(data, 0) == 0xCAFEBABE:
        return list(universal_parts(data))
    return [(processor_of(little(data, 4), little(data, 8)), data)]


def complaints(program, architectures, covered):
    """About a program's bytes. `covered` has the "identifier" as text, and of a program in a bundle the
    bytes of "Info.plist" and "CodeResources"."""
    parts = parts_of(program)
    names = sorted(name for name, _ in parts)
    if names != sorted(architectures):
        yield f"is for {', '.join(names)}, not for {', '.join(sorted(architectures))}"
    for name, image in parts:
        try:
            for complaint in SliceCheck(image, covered).complaints():
                yield f"{name}: {complaint}"
        except Unreadable as error:
            yield f"{name}: {error}"
