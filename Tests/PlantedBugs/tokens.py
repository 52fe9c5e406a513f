"""Source text of C++ and Objective-C++ in tokens, with its brackets matched and its braces told apart."""
import bisect
import re

TOKEN = re.compile(r"""
    (?P<space>\s+)
  | (?P<comment>//[^\n]*|/\*.*?\*/)
  | (?P<directive>^\#(?:[^\n\\]|\\.)*)
  | (?P<text>@?"(?:[^"\\\n]|\\.)*")
  | (?P<character>'(?:[^'\\\n]|\\.)+')
  | (?P<number>0[xX][0-9a-fA-F]+|\d+\.\d+F?|\d+)
  | (?P<word>@?[A-Za-z_]\w*)
  | (?P<sign><=>|->|\+\+|--|<=|>=|==|!=|&&|\|\||[+\-*/%&|^]=|<<|>>|::|\.\.\.|.)
""", re.VERBOSE | re.DOTALL | re.MULTILINE)

OPENING = {"(": ")", "[": "]", "{": "}"}
CONTROL = {"if", "for", "while", "switch", "catch", "@catch"}
BEFORE_BLOCK = {"else", "try", "do", "const", "noexcept", "override", "mutable", "@try", "@autoreleasepool"}
DECLARING = {"struct", "class", "namespace", "enum", "union", "extern"}


class Token:
    def __init__(self, kind, text, start):
        self.kind, self.text, self.start, self.end = kind, text, start, start + len(text)

    def __repr__(self):
        return self.text


class Source:
    """`tokens` are those that mean something. `partner` maps a bracket's index to its partner's; `brace`
    maps an opening brace's index to what it opens: declaration, function, control or values."""

    def __init__(self, text):
        self.text = text
        self.tokens = []
        for match in TOKEN.finditer(text):
            if match.lastgroup not in ("space", "comment", "directive"):
                self.tokens.append(Token(match.lastgroup, match.group(), match.start()))
        self.line_starts = [0] + [match.end() for match in re.finditer("\n", text)]
        self.partner = {}
        self.brace = {}
        self.inside = []  # for each token the index of the innermost open brace, or None
        self._match_brackets()

    def __getitem__(self, index):
        """The text of a token; empty beyond either end."""
        return self.tokens[index].text if 0 <= index < len(self.tokens) else ""

    def position(self, offset):
        line = bisect.bisect_right(self.line_starts, offset)
        return line, offset - self.line_starts[line - 1] + 1

    def span(self, first, last):
        """The text from one token to another, both included."""
        return self.text[self.tokens[first].start:self.tokens[last].end]

    def spaced(self, index):
        """Whether white space is on both sides, as it is around binary operators only."""
        token = self.tokens[index]
        return self.text[token.start - 1].isspace() and self.text[token.end].isspace()

    def is_attribute(self, index):
        return self[index] == "[" and self[index + 1] == "["

    def is_in_code(self, index):
        """Whether the token is in the body of a function."""
        brace = self.inside[index]
        while brace is not None:
            if self.brace[brace] in ("function", "control"):
                return True
            brace = self.inside[brace]
        return False

    def function_of(self, index):
        """The brace of the innermost function or lambda around the token, or None."""
        brace = self.inside[index]
        while brace is not None and self.brace[brace] != "function":
            brace = self.inside[brace]
        return brace

    def segment_before(self, index):
        """The index of the first token after the last ; { or } before this one."""
        first = index
        while first > 0 and self[first - 1] not in (";", "{", "}", "@end"):
            first -= 1
        return first

    def split(self, first, last, separator):
        """The pieces between separators outside of brackets: pairs of first and last index."""
        pieces = []
        begin = index = first
        while index <= last:
            if self[index] in OPENING:
                index = self.partner[index]
            elif self[index] == separator:
                pieces.append((begin, index - 1))
                begin = index + 1
            index += 1
        pieces.append((begin, last))
        return [piece for piece in pieces if piece[0] <= piece[1]]

    def _match_brackets(self):
        opened, braces = [], []
        for index, token in enumerate(self.tokens):
            if token.text == "}":
                braces.pop()
            self.inside.append(braces[-1] if braces else None)
            if token.text in OPENING and token.kind == "sign":
                opened.append(index)
                if token.text == "{":
                    self.brace[index] = self._opens(index)
                    braces.append(index)
            elif token.text in OPENING.values() and token.kind == "sign":
                partner = opened.pop()
                self.partner[partner], self.partner[index] = index, partner

    def _opens(self, index):
        before = self[index - 1]
        if before == ")":
            head = self[self.partner[index - 1] - 1]
            return "control" if head in CONTROL else "function"
        if before in BEFORE_BLOCK:
            return "function" if before in ("const", "noexcept", "override", "mutable") else "control"
        if before == "]":
            return "function"
        if not self.is_in_code(index):
            head = [self[i] for i in range(self.segment_before(index), index)]
            if DECLARING.intersection(head):
                return "declaration"
            if any(a in "+-" and b == "(" for a, b in zip(head, head[1:])):
                return "function"
        return "values"
