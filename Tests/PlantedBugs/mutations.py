"""Wrong programs made from one source file: each a single change to its text."""
import dataclasses

from tokens import CONTROL, OPENING, Source

TURNED = {"==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">", "&&": "||", "||": "&&"}
ARITHMETIC = {"+": "-", "-": "+", ">>": "<<", "<<": ">>", "^": "|", "&": "|"}
TRUTHS = {"true": "false", "false": "true", "YES": "NO", "NO": "YES"}
# What a hand may confuse.
NAMED = {
    "kCGConfigureForSession": "kCGConfigurePermanently",
    "kCGConfigurePermanently": "kCGConfigureForSession",
    "kCGErrorSuccess": "kCGErrorFailure",
    "kIOReturnSuccess": "kIOReturnError",
    "kIOI2CSimpleTransactionType": "kIOI2CNoTransactionType",
    "kIOI2CNoTransactionType": "kIOI2CSimpleTransactionType",
    "kIOServicePlane": '"IODeviceTree"',
    "kCFNumberSInt32Type": "kCFNumberSInt16Type",
    "kCFNumberSInt64Type": "kCFNumberSInt32Type",
    "kCFStringEncodingUTF8": "kCFStringEncodingASCII",
    "NSUTF8StringEncoding": "NSASCIIStringEncoding",
    "NSOrderedAscending": "NSOrderedDescending",
    "NSFontWeightSemibold": "NSFontWeightRegular",
    "NSFontWeightMedium": "NSFontWeightRegular",
    "NSFontWeightRegular": "NSFontWeightMedium",
    "NSApplicationActivationPolicyAccessory": "NSApplicationActivationPolicyRegular",
    "NSAlertStyleWarning": "NSAlertStyleInformational",
    "NSFloatingWindowLevel": "NSNormalWindowLevel",
    "NSLineBreakByTruncatingTail": "NSLineBreakByTruncatingMiddle",
    "NSLineCapStyleButt": "NSLineCapStyleRound",
    "NSLineCapStyleRound": "NSLineCapStyleButt",
    "NSControlStateValueOn": "NSControlStateValueOff",
    "NSControlStateValueOff": "NSControlStateValueOn",
    "NSImageOnly": "NSNoImage",
    "labelColor": "secondaryLabelColor",
    "secondaryLabelColor": "tertiaryLabelColor",
    "tertiaryLabelColor": "secondaryLabelColor",
    "clearColor": "blackColor",
    "blackColor": "redColor",
    "leadingAnchor": "trailingAnchor",
    "trailingAnchor": "leadingAnchor",
    "topAnchor": "bottomAnchor",
    "bottomAnchor": "topAnchor",
    "STDIN_FILENO": "STDOUT_FILENO",
    "STDERR_FILENO": "STDOUT_FILENO",
    "SIG_IGN": "SIG_DFL",
    "O_WRONLY": "O_RDONLY",
    "darkest": "brightest",
    "brightest": "darkest",
    "powerOn": "powerOff",
    "powerOff": "powerOn",
    "inventoryCapacity": "switchingCapacity",
    "switchingCapacity": "inventoryCapacity",
}
NO_CALL = CONTROL | {"return", "sizeof", "alignof", "decltype", "noexcept", "operator"}
NO_STATEMENT = {"if", "for", "while", "do", "switch", "case", "default", "try", "else", "using", "const",
                "constexpr", "static", "auto", "struct", "class", "enum", "typedef", "goto", "public",
                "private", "protected", "@try", "@catch", "@autoreleasepool", "return", "break", "continue"}
ASSIGNING = {"=", "+=", "-=", "|=", "&=", "^=", "*=", "/="}


@dataclasses.dataclass(frozen=True)
class Mutant:
    file: str  # from Sources/ on
    line: int
    column: int
    kind: str
    start: int
    end: int
    replacement: str

    @property
    def name(self):
        return f"{self.file}:{self.line}:{self.column} {self.kind}"

    def applied(self, text):
        return text[:self.start] + self.replacement + text[self.end:]

    def changed_lines(self, text):
        """The lines that change, before and after, each side in one line without its indentation."""
        first = text.rfind("\n", 0, self.start) + 1
        last = text.find("\n", self.end)
        before = text[first:last]
        after = text[first:self.start] + self.replacement + text[self.end:last]
        return " ".join(before.split()), " ".join(after.split())


def mutants_of(file, text):
    """All mutants of a file, in the order of their places; `file` is its path from Sources/ on."""
    found = {}
    for mutant in _Planter(file, text).planted():
        if mutant.applied(text) not in found:
            found[mutant.applied(text)] = mutant
    return sorted(found.values(), key=lambda mutant: (mutant.start, mutant.kind))


class _Planter:
    def __init__(self, file, text):
        self.file = file
        self.source = Source(text)

    def planted(self):
        for index in range(len(self.source.tokens)):
            if not self._is_skipped(index):
                yield from self._at(index)
        yield from self._statements()

    def _at(self, index):
        yield from self._literal(index)
        yield from self._operator(index)
        if self.source.is_in_code(index):
            yield from self._condition(index)
            yield from self._choice(index)
            yield from self._arguments(index)
            yield from self._message(index)
            yield from self._result(index)

    def _mutant(self, kind, first, last, replacement):
        start = self.source.tokens[first].start
        line, column = self.source.position(start)
        return Mutant(self.file, line, column, kind, start, self.source.tokens[last].end, replacement)

    def _is_skipped(self, index):
        source = self.source
        return (source[index - 1] == "extern" or
                (source.tokens[index].text == "[" and source.is_attribute(index)) or
                source[index - 1] == "operator" or source[source.segment_before(index)] == "static_assert")

    def _literal(self, index):
        token = self.source.tokens[index]
        if token.kind == "text":
            yield self._mutant("text-changed", index, index, token.text[:-1] + 'x"')
        elif token.kind == "character":
            yield self._mutant("constant-moved", index, index, "'x'" if token.text != "'x'" else "'y'")
        elif token.kind == "number":
            for moved in _moved(token.text):
                yield self._mutant("constant-moved", index, index, moved)
        elif token.text in TRUTHS:
            yield self._mutant("truth-turned", index, index, TRUTHS[token.text])
        elif token.text in NAMED and self.source[index + 1] != "=":
            yield self._mutant("constant-confused", index, index, NAMED[token.text])

    def _operator(self, index):
        source = self.source
        sign = source[index]
        if source.tokens[index].kind != "sign":
            return
        if sign in TURNED and source.spaced(index):
            yield self._mutant("comparison-turned" if sign not in ("&&", "||") else "logic-turned",
                               index, index, TURNED[sign])
        elif sign in ARITHMETIC and source.spaced(index) and source.is_in_code(index):
            if "text" not in (source.tokens[index - 1].kind, source.tokens[index + 1].kind):
                yield self._mutant("arithmetic-turned", index, index, ARITHMETIC[sign])
        elif sign == "!":
            yield self._mutant("not-dropped", index, index, "")

    def _condition(self, index):
        source = self.source
        if source[index] not in ("if", "while", "for") or source[index + 1] != "(":
            return
        close = source.partner[index + 1]
        if source[index] == "for":
            yield self._mutant("loop-dropped", close, close, ") if (false)")
            return
        first, last = source.split(index + 2, close - 1, ";")[-1]
        declares = any(source[i] == "=" for i in range(first, last + 1))
        if declares and source[index] == "while":
            return
        kept = source.span(first, last) + "; " if declares else ""
        yield self._mutant("condition-false", first, last, kept + "false")
        if source[index] == "if":
            yield self._mutant("condition-true", first, last, kept + "true")

    def _choice(self, index):
        source = self.source
        if source[index] != "?":
            return
        middle, depth = index + 1, 0
        while source[middle] != ":" or depth > 0:
            depth += {"?": 1, ":": -1}.get(source[middle], 0)
            middle = source.partner[middle] + 1 if source[middle] in OPENING else middle + 1
        end = middle + 1
        while source[end] not in (",", ";", ")", "]", "}", ""):
            end = source.partner[end] + 1 if source[end] in OPENING else end + 1
        turned = f"{source.span(middle + 1, end - 1)} : {source.span(index + 1, middle - 1)}"
        yield self._mutant("choice-turned", index + 1, end - 1, turned)

    def _arguments(self, index):
        source = self.source
        is_call = (source[index] == "(" and source[index - 1] not in NO_CALL and
                   (source.tokens[index - 1].kind == "word" or source[index - 1] == ">"))
        is_list = source[index] == "{" and source.brace[index] == "values"
        if is_call or is_list:
            pieces = source.split(index + 1, source.partner[index] - 1, ",")
            yield from self._exchanged(pieces, "arguments-exchanged")

    def _exchanged(self, pieces, kind):
        source = self.source
        for one, other in zip(pieces, pieces[1:]):
            first, second = source.span(*one), source.span(*other)
            if first != second and self._may_exchange(one, other):
                between = source.text[source.tokens[one[1]].end:source.tokens[other[0]].start]
                yield self._mutant(kind, one[0], other[1], second + between + first)

    def _may_exchange(self, one, other):
        return len({self._sort(piece) for piece in (one, other)} - {"any"}) < 2

    def _sort(self, piece):
        token = self.source.tokens[piece[0]]
        if piece[0] == piece[1]:
            if token.text in TRUTHS:
                return "truth"
            if token.kind in ("text", "number"):
                return token.kind
        if any(self.source.tokens[i].kind == "text" for i in range(piece[0], piece[1] + 1)):
            return "text"
        return "enumerator" if token.text == "PowerMethod" else "any"

    def _message(self, index):
        source = self.source
        if source[index] != "[" or source[index + 1] == "]":
            return
        close = source.partner[index]
        labels = []
        place = index + 1
        while place < close:
            if source[place] == "?":
                break
            is_label = (source.tokens[place].kind == "word" and source[place + 1] == ":" and
                        source.tokens[place].end == source.tokens[place + 1].start)
            if is_label and place > index + 1:
                labels.append(place)
            place = source.partner[place] + 1 if source[place] in OPENING else place + 1
        for one, other, end in zip(labels, labels[1:], labels[2:] + [close]):
            pieces = [(one + 2, other - 1), (other + 2, end - 1)]
            if not self._may_exchange(*pieces) or source.span(*pieces[0]) == source.span(*pieces[1]):
                continue
            label = source.text[source.tokens[other - 1].end:source.tokens[other + 2].start]
            yield self._mutant("arguments-exchanged", pieces[0][0], pieces[1][1],
                               source.span(*pieces[1]) + label + source.span(*pieces[0]))

    def _result(self, index):
        source = self.source
        if source[index] != "return" or source[index + 1] == ";":
            return
        end = self._end_of_statement(index)
        first, last = index + 1, end - 1
        if source.span(first, last) in ("true", "false", "YES", "NO", "{}", "std::nullopt", "nil", "0"):
            return
        if self._is_truth(index, first, last):
            yield self._mutant("result-turned", first, last, f"!({source.span(first, last)})")
        else:
            yield self._mutant("result-emptied", first, last, "{}")

    def _is_truth(self, index, first, last):
        source = self.source
        brace = source.function_of(index)
        head = [source[i] for i in range(source.segment_before(brace), brace)]
        if "bool" in head[:4] or "BOOL" in head[:4]:
            return True
        place = first
        while place <= last:
            if source[place] in TURNED and source.spaced(place):
                return "?" not in (source[i] for i in range(first, last + 1))
            place = source.partner[place] + 1 if source[place] in OPENING else place + 1
        return False

    def _end_of_statement(self, index):
        while self.source[index] not in (";", "}", ""):
            index = self.source.partner[index] + 1 if self.source[index] in OPENING else index + 1
        return index

    def _statements(self):
        former = None
        for index in range(len(self.source.tokens)):
            if not self._begins_statement(index):
                continue
            end = self._end_of_statement(index)
            if self._is_jump(index):
                yield self._mutant("jump-dropped", index, end, ";")
            if not self._is_effect(index, end):
                former = None
                continue
            yield self._mutant("call-dropped", index, end, ";")
            if former and former[1] + 1 == index:
                swapped = f"{self.source.span(index, end)} {self.source.span(*former)}"
                yield self._mutant("calls-swapped", former[0], end, swapped)
            former = (index, end)

    def _begins_statement(self, index):
        source = self.source
        before = source[index - 1]
        if not source.is_in_code(index) or source.brace[source.inside[index]] == "values":
            return False
        return before in (";", "{", "}") or (before == ":" and source[index - 2] != "public" and
                                             self._is_case(index - 1))

    def _is_case(self, index):
        return self.source[self.source.segment_before(index)] in ("case", "default")

    # A lone early return is what its condition guards; turning that says the same.
    def _is_jump(self, index):
        source = self.source
        if source[index] in ("break", "continue"):
            return True
        brace = source.inside[index]
        return (source[index] == "return" and source.brace[brace] == "control" and
                source[index - 1] != "{")

    def _is_effect(self, index, end):
        source = self.source
        if source[end] != ";" or source[index] in NO_STATEMENT or source.is_attribute(index):
            return False
        if source[index] in ("[", "++", "--", "(", "throw"):
            return True
        if source.tokens[index].kind != "word":
            return False
        place = index + 1
        while source[place] in ("::", ".", "->", "(", "["):
            if source[place] in OPENING:
                place = source.partner[place] + 1
            else:
                place += 2
        return source[place] in ASSIGNING or (source[place] == ";" and place > index + 1)


def _moved(number):
    if number.endswith("F") and "x" not in number:
        return [str(float(number[:-1]) + 1) + "F"]
    if "." in number:
        return [str(float(number) + 1)]
    value = int(number, 0)
    if number.lower().startswith("0x"):
        return [f"0x{value + 1:X}"]
    return {0: ["1"], 1: ["0", "2"]}.get(value, [str(value + 1), str(value - 1)])
