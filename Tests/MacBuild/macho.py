"""Reads what a Mac's loader would read of a program: llvm's tools and the code signature."""

import hashlib
import re
import struct
import subprocess


def run(tool, *arguments):
    return subprocess.run([tool + "-19", *arguments], check=True, capture_output=True,
                          text=True).stdout


def architectures(program):
    return sorted(run("llvm-lipo", "-archs", program).split())


class Slice:
    """The part of a universal program for one architecture, as a file of its own."""

    def __init__(self, program, architecture, directory):
        self.architecture = architecture
        self.file = f"{directory}/{architecture}"
        if len(architectures(program)) > 1:
            run("llvm-lipo", program, "-thin", architecture, "-output", self.file)
        else:
            subprocess.run(["cp", program, self.file], check=True)
        with open(self.file, "rb") as stream:
            self.bytes = stream.read()
        self.header = run("llvm-objdump", "--macho", "--private-headers", self.file)

    def load_commands(self, name):
        commands = re.split(r"^Load command \d+\n", self.header, flags=re.MULTILINE)[1:]
        return [command for command in commands if re.search(rf"\bcmd {name}\n", command)]

    def oldest_system(self):
        return self._build_version("minos")

    def sdk(self):
        return self._build_version("sdk")

    def _build_version(self, field):
        commands = self.load_commands("LC_BUILD_VERSION")
        found = re.search(rf"{field} (\S+)", commands[0]) if commands else None
        return found.group(1) if found else "none"

    def segments(self):
        """Each segment's name, its size in memory and in the file, in bytes."""
        for command in self.load_commands("LC_SEGMENT_64"):
            name, = re.findall(r"^ +segname (\S+)$", command, re.MULTILINE)[:1]
            memory, = re.findall(r"^ +vmsize 0x(\w+)$", command, re.MULTILINE)
            file, = re.findall(r"^ +filesize (\d+)$", command, re.MULTILINE)
            yield name, int(memory, 16), int(file)

    def section_size(self, name):
        """The section's bytes; None if there is none of the name."""
        found = re.search(rf"sectname {name}\n.*?size 0x(\w+)\n", self.header, re.DOTALL)
        return int(found.group(1), 16) if found else None

    def function_starts(self):
        """The bytes of the table of functions, by which crash reports name them."""
        commands = self.load_commands("LC_FUNCTION_STARTS")
        return int(re.search(r"datasize (\d+)", commands[0]).group(1)) if commands else 0

    def libraries(self):
        names = [re.search(r"\bname (\S+)", command).group(1)
                 for kind in ("LC_LOAD_DYLIB", "LC_LOAD_WEAK_DYLIB", "LC_REEXPORT_DYLIB",
                              "LC_LAZY_LOAD_DYLIB")
                 for command in self.load_commands(kind)]
        return sorted(names)

    def run_paths(self):
        return self.load_commands("LC_RPATH")

    def imports(self):
        """Pairs of a symbol and the last part of the name of the library that it is bound to."""
        lines = run("llvm-nm", "-m", "-u", self.file).splitlines()
        found = [re.search(r"external (\S+) \(from (\S+)\)", line) for line in lines]
        return [(match.group(1), match.group(2)) for match in found if match], [
            line for line, match in zip(lines, found) if line.strip() and not match]

    def exports(self):
        """What a loader finds here, which looks into the trie and not into the table of symbols."""
        trie = run("llvm-objdump", "--macho", "--exports-trie", self.file)
        return sorted(re.findall(r"^(?:0x[0-9A-F]+|\[re-export\]) +(\S+)", trie, re.MULTILINE))

    def weak_definitions(self):
        return "WEAK_DEFINES" in self.header or "BINDS_TO_WEAK" in self.header

    def weak_bindings(self):
        """Symbols that the loader looks for in every library."""
        table = run("llvm-objdump", "--macho", "--weak-bind", self.file)
        return sorted(set(re.findall(r" 0x[0-9A-F]+ +pointer +\S+ +(\S+)$", table, re.MULTILINE)))

    def sections(self):
        return re.findall(r"^ +sectname (\S+)$", self.header, flags=re.MULTILINE)

    def flags(self):
        return set(self.header.split("\n", 4)[3].split()[7:])

    def strings(self):
        """Texts in the file, but for what only looks like text among instructions and hashes."""
        code = re.search(r"sectname __text\n.*?size 0x(\w+)\n\s+offset (\d+)", self.header,
                         re.DOTALL)
        data = self.bytes
        for start, size in [(int(code.group(2)), int(code.group(1), 16)), *self._hashes()]:
            data = data[:start] + bytes(size) + data[start + size:]
        return [text.decode("utf-8", "replace")
                for text in re.findall(rb"[\x20-\x7e\x80-\xff]{4,}", data)]

    def _signature(self):
        """Where the signature starts; None if there is none."""
        commands = self.load_commands("LC_CODE_SIGNATURE")
        return int(re.search(r"dataoff (\d+)", commands[0]).group(1)) if commands else None

    def _code_directory(self):
        """Where the code directory of the signature starts; None if there is none."""
        offset = self._signature()
        if offset is None:
            return None
        count, = struct.unpack_from(">I", self.bytes, offset + 8)
        for index in range(count):
            kind, place = struct.unpack_from(">II", self.bytes, offset + 12 + 8 * index)
            if kind == 0:
                return offset + place
        return None

    def _hashes(self):
        """Where the code directory's hashes lie, and their size; nothing if there are none."""
        start = self._code_directory()
        if start is not None:
            hash_offset, _, special, pages = struct.unpack_from(">IIII", self.bytes, start + 16)
            size = self.bytes[start + 36]
            yield start + hash_offset - special * size, (special + pages) * size

    def signature_fault(self):
        """None if the ad-hoc signature fits every page of the file, or what is wrong with it."""
        offset = self._signature()
        if offset is None:
            return "no code signature"
        if struct.unpack_from(">I", self.bytes, offset)[0] != 0xFADE0CC0:
            return "no signature where the load command says"
        directory = self._code_directory()
        if directory is None:
            return "the signature has no code directory"
        return self._code_directory_fault(directory)

    def _code_directory_fault(self, start):
        fields = struct.unpack_from(">IIIIIIIII4B", self.bytes, start)
        flags, hash_offset, slots, limit = fields[3], fields[4], fields[7], fields[8]
        hash_size, hash_type, page_size = fields[9], fields[10], 1 << fields[12]
        if hash_type != 2 or hash_size != 32:
            return "the code directory does not use SHA-256"
        if not flags & 0x2:
            return "the signature is not ad hoc"
        if slots != -(-limit // page_size):
            return "the code directory does not reach over all pages"
        for page in range(slots):
            first = page * page_size
            expected = self.bytes[start + hash_offset + page * hash_size:][:hash_size]
            data = self.bytes[first:min(first + page_size, limit)]
            if hashlib.sha256(data).digest() != expected:
                return f"page {page} was changed after it was signed"
        return None
