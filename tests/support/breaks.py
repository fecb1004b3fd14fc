"""Where and how a C++ file of the player can be broken on purpose (for tests/mutate)."""

import hashlib
import re

OPERATORS = ("condition", "number", "drop", "swap", "string")

_LITERALS = re.compile(
    r"""(?P<comment>//[^\n]*|/\*.*?\*/)
      | (?P<string>"(?:\\.|[^"\\\n])*")
      | (?P<letter>'(?:\\.|[^'\\\n])*')
      | (?P<directive>^[ \t]*\#(?:[^\n]*\\\n)*[^\n]*)""",
    re.VERBOSE | re.DOTALL | re.MULTILINE,
)
_FUNCTION = re.compile(r"^(?:\S[^\n]*\)(?: const)?(?: override)? )?\{", re.MULTILINE)
_CONTROL = re.compile(r"(?:if|for|while|switch)\b\s*(?:constexpr\s*)?\(")
_LABEL = re.compile(r"(?:case\b[^:]*(?:::[^:]*)*|default\s*):(?!:)")
_DECLARATION = re.compile(
    r"(?!(?:return|delete|emit|throw|goto|else)\b)"
    r"(?:(?:const|constexpr|static|struct|unsigned)\s+)*"
    r"(?:auto|using|[\w:]+(?:<[^;=()]*>)?)(?:\s+const)?\s*(?:\s|[*&])\s*(?:const\s+)?\w+\s*(?:\[[^\]]*\])?\s*[=({;]"
)
_FLIPS = {"==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">", "&&": "||", "||": "&&"}
_COMPARISON = re.compile(r"(?<= )(?:==|!=|<=|>=|<|>|&&|\|\|)(?=\s)")
_NUMBER = re.compile(r"(?<![\w.])(\d+)((?:\.\d+)?)(?=[uU]?\b)(?![\w.]*[xX.])")


class Place:
    """One break: the letters from start to end of a file become something else."""

    def __init__(self, file, text, operator, start, end, replacement):
        self.file = file
        self.operator = operator
        self.start = start
        self.end = end
        self.replacement = replacement
        self.line = text.count("\n", 0, start) + 1
        self.last_line = text.count("\n", 0, max(start, end - 1)) + 1
        self.id = ""

    def applied_to(self, text):
        return text[: self.start] + self.replacement + text[self.end :]

    def diff(self, text):
        before = text.split("\n")
        after = self.applied_to(text).split("\n")
        same_above = 0
        while before[same_above] == after[same_above]:
            same_above += 1
        same_below = 0
        most = min(len(before), len(after)) - same_above
        while same_below < most and before[-1 - same_below] == after[-1 - same_below]:
            same_below += 1
        return [f"-{line}" for line in before[same_above : len(before) - same_below]] + [
            f"+{line}" for line in after[same_above : len(after) - same_below]
        ]


class _Statement:
    def __init__(self, start, end, is_body):
        self.start = start
        self.end = end
        self.is_body = is_body  # of an if or a loop, without braces of its own


class Source:
    """A file with its comments, strings and directives told apart from its code."""

    def __init__(self, name, text):
        self.name = name
        self.text = text
        self.strings = []
        pieces = []
        position = 0
        for match in _LITERALS.finditer(text):
            pieces.append(text[position : match.start()])
            pieces.append(re.sub(r"[^\n]", " ", match.group()) if match.lastgroup != "string" else
                          '"' + " " * (len(match.group()) - 2) + '"')
            if match.lastgroup == "string":
                self.strings.append(match.span())
            position = match.end()
        self.code = "".join(pieces) + text[position:]

    def size(self):
        """Lines with code on them."""
        return sum(1 for line in self.code.split("\n") if line.strip())

    def places(self):
        """All places by operator, each list in its own order of the file."""
        found = {
            "condition": list(self._conditions()),
            "number": list(self._numbers()),
            "drop": [],
            "swap": [],
            "string": list(self._changed_strings()),
        }
        for block in self._blocks():
            found["drop"] += self._drops(block)
            found["swap"] += self._swaps(block)
        for places in found.values():
            self._name(places)
        return found

    def _name(self, places):
        """Ids depend on what is broken and how, not on where it is: they outlive changes above."""
        seen = {}
        for place in places:
            line_start = self.text.rfind("\n", 0, place.start) + 1
            line_end = self.text.find("\n", place.end)
            around = self.text[line_start:line_end]
            key = "|".join((self.name, place.operator, " ".join(around.split()), str(place.start - line_start),
                            place.replacement))
            seen[key] = seen.get(key, 0) + 1
            place.id = hashlib.sha256(f"{key}|{seen[key]}".encode()).hexdigest()[:10]

    def _place(self, operator, start, end, replacement):
        return Place(self.name, self.text, operator, start, end, replacement)

    def _conditions(self):
        for match in _COMPARISON.finditer(self.code):
            yield self._place("condition", *match.span(), _FLIPS[match.group()])
        for match in re.finditer(r"\bif \(", self.code):
            end = self._closing(match.end() - 1)
            inside = self.text[match.end() : end]
            yield self._place("condition", match.end(), end, f"!({inside})")

    def _numbers(self):
        for match in _NUMBER.finditer(self.code):
            number = int(match.group(1))
            up = number == 0 or hashlib.sha256(f"{self.name}{number}{match.start()}".encode()).digest()[0] % 2
            yield self._place("number", *match.span(1), str(number + 1 if up else number - 1))

    def _changed_strings(self):
        """Without its first letter; what has at most one gets one more."""
        for start, end in self.strings:
            if "static_assert" in self.text[self.text.rfind("\n", 0, start) : start]:
                continue
            content = self.text[start + 1 : end - 1]
            first = re.match(r" *(\\(?:[0-7]{1,3}|x[0-9a-fA-F]+|.)|[^ ])", content)
            if first and first.end() < len(content):
                yield self._place("string", start + 1 + first.start(1), start + 1 + first.end(), "")
            else:
                yield self._place("string", end - 1, end - 1, "~")

    def _drops(self, block):
        for statement in block:
            text = self.code[statement.start : statement.end]
            if not _DECLARATION.match(text):
                yield self._place("drop", statement.start, statement.end, "{}" if statement.is_body else "")

    def _swaps(self, block):
        for first, second in zip(block, block[1:]):
            if first.is_body or second.is_body or self.code[first.end : second.start].strip():
                continue
            one = self.text[first.start : first.end]
            other = self.text[second.start : second.end]
            if any(_DECLARATION.match(text) or re.match(r"(?:return|break|continue)\b", text) for text in (one, other)):
                continue
            if one != other and not _independent(one, other):
                between = self.text[first.end : second.start]
                yield self._place("swap", first.start, second.end, other + between + one)

    def _closing(self, opening):
        """The position of the bracket that closes the one at opening."""
        depth = 0
        for position in range(opening, len(self.code)):
            if self.code[position] in "([{":
                depth += 1
            elif self.code[position] in ")]}":
                depth -= 1
                if depth == 0:
                    return position
        raise ValueError(f"{self.name}: bracket without an end")

    def _blocks(self):
        """The simple statements of every block of every function."""
        self._found = []
        for match in _FUNCTION.finditer(self.code):
            self._block(match.end() - 1)
        return self._found

    def _block(self, opening):
        end = self._closing(opening)
        block = []
        self._found.append(block)
        position = self._skip_blanks(opening + 1)
        while position < end:
            position = self._skip_blanks(self._statement(position, block, False))
        return end + 1

    def _skip_blanks(self, position):
        while position < len(self.code) and self.code[position].isspace():
            position += 1
        return position

    def _statement(self, position, block, is_body):
        """Notes the statement at position when it is a simple one; returns where it ends."""
        code = self.code
        if code[position] == "{":
            return self._block(position)
        label = _LABEL.match(code, position)
        if label:
            return label.end()
        control = _CONTROL.match(code, position)
        if control:
            end = self._skip_blanks(self._closing(control.end() - 1) + 1)
            return self._statement(end, block, True)
        other = re.compile(r"(?:else|do)\b").match(code, position)
        if other:
            return self._statement(self._skip_blanks(other.end()), block, True)
        end = position
        while code[end] not in ";}":
            if code[end] in "([{":
                end = self._bracket(end)
            else:
                end += 1
        if code[end] == "}":  # macros at the end of a block
            return end
        if end > position:
            block.append(_Statement(position, end + 1, is_body))
        return end + 1

    def _bracket(self, opening):
        """Past a bracket inside of a statement; the block of a lambda has statements of its own."""
        before = self.code[:opening].rstrip()
        if self.code[opening] == "{" and before.endswith((")", "]")):
            return self._block(opening)
        closing = self._closing(opening)
        position = opening + 1
        while position < closing:
            position = self._bracket(position) if self.code[position] in "([{" else position + 1
        return closing + 1


def _independent(one, other):
    """Two assignments, neither of which reads or writes what the other writes."""
    targets = [re.match(r"([\w.>\[\]-]+) = ", text) for text in (one, other)]
    return all(targets) and targets[0].group(1) not in other and targets[1].group(1) not in one


def _rank(seed, place):
    return hashlib.sha256(f"{seed}|{place.id}".encode()).hexdigest()


def choose(sources, seed, count, left_out):
    """Returns (file, operator) for each of count breaks, and what there is to break, best first.

    Files get breaks by their size, and in each file the operator is taken that has had the fewest.
    """
    stock = {}
    for source in sources:
        for operator, places in source.places().items():
            kept = [place for place in places if place.id not in left_out]
            stock[source.name, operator] = sorted(kept, key=lambda place: _rank(seed, place))
    total = sum(source.size() for source in sources)
    shares = {source.name: count * source.size() / total for source in sources}
    slots = {name: int(share) for name, share in shares.items()}
    by_rest = sorted(shares, key=lambda name: (slots[name] - shares[name], name))
    for name in by_rest[: count - sum(slots.values())]:
        slots[name] += 1

    chosen = []
    had = dict.fromkeys(OPERATORS, 0)
    taken = {}
    # Small files first: they leave the least choice.
    for name in sorted(slots, key=lambda name: (shares[name], name)):
        for _ in range(slots[name]):
            possible = [o for o in OPERATORS if taken.get((name, o), 0) < len(stock[name, o])]
            if not possible:
                break
            operator = min(possible, key=lambda o: (had[o], OPERATORS.index(o)))
            had[operator] += 1
            taken[name, operator] = taken.get((name, operator), 0) + 1
            chosen.append((name, operator))
    return chosen, stock
