# SPDX-License-Identifier: BSD-3-Clause
"""Finds the places of a C++ source where a small slip could stand, and chooses among them.

The sources are formatted by clang-format, so that binary operators have blanks around them and the
brackets of templates have none; that is all the parsing that is needed. What does not compile in the
end is counted apart and does no harm.
"""
import random
import re
from dataclasses import dataclass

OPERATORS = {
    "<": ("<=", ">="), "<=": ("<", ">"), ">": (">=", "<="), ">=": (">", "<"),
    "==": ("!=",), "!=": ("==",),
    "+": ("-",), "-": ("+",), "*": ("+",), "/": ("*",), "%": ("*",),
    "&&": ("||",), "||": ("&&",),
    "<<": (">>",), ">>": ("<<",), "&": ("|",), "|": ("&",), "^": ("|",),
    "+=": ("-=",), "-=": ("+=",), "|=": ("&=",), "&=": ("|=",),
}
WORDS = {"true": "false", "false": "true", "std::min": "std::max", "std::max": "std::min",
         "continue": "break", "break": "continue"}

BINARY = re.compile(r"(?<=\s)(" + "|".join(sorted(map(re.escape, OPERATORS), key=len, reverse=True)) + r")(?=\s)")
STEP = re.compile(r"(\+\+|--)(?=\w)")
WORD = re.compile(r"\b(true|false|std::min|std::max|continue|break)\b")
NUMBER = re.compile(r"(?<![\w.'])(0x[0-9a-fA-F]+|\d+)((?:\.\d+)?)([uUlLfF]*)(?![\w.'])")
NOT = re.compile(r"(?<![\w!)\]])!(?=[\w(*])")
CONDITION = re.compile(r"\b(?:if|while)(?: constexpr)? \(")
RETURN = re.compile(r"\breturn ([^;{}]*(?:&&|\|\||[=!<>]=|\s[<>]\s)[^;{}]*);")
# A call or an assignment on lines of its own; a declaration has two words before its sign.
STATEMENT = re.compile(r"^[ \t]+(?:\(void\))?[\w.:>*\[\]-]+(?:\(|(?: [-+*/|&^]?= )|(?:<<|>>)?= )[^;{}]*;",
                       re.MULTILINE)
NOT_CODE = re.compile(r"^\s*(#|using |template|static_assert|enum |namespace )")


@dataclass(frozen=True)
class Mutant:
    """One change: `text` takes the place of source[begin:end]."""
    file: str
    kind: str
    begin: int
    end: int
    text: str

    def apply(self, source):
        return source[:self.begin] + self.text + source[self.end:]

    def line(self, source):
        return source.count("\n", 0, self.begin) + 1

    def before_and_after(self, source):
        """The lines concerned without indentation, as one; these name a mutant beyond other edits."""
        first = source.rfind("\n", 0, self.begin) + 1
        last = source.find("\n", self.end)
        changed = source[first:self.begin] + self.text + source[self.end:last]
        return " ".join(source[first:last].split()), " ".join(changed.split())


def masked(source):
    """The source with comments, texts and characters blanked out, of the same length."""
    pattern = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])\'', re.DOTALL)
    return pattern.sub(lambda found: re.sub(r"[^\n]", "_", found.group())
                       if found.group()[0] == '"' else re.sub(r"[^\n]", " ", found.group()), source)


def closing(code, opening):
    depth = 0
    for place in range(opening, len(code)):
        depth += (code[place] == "(") - (code[place] == ")")
        if depth == 0:
            return place
    return -1


def places_in(code):
    """(kind, begin, end, text) of everything that can be changed in masked code."""
    for found in BINARY.finditer(code):
        for other in OPERATORS[found.group(1)]:
            yield "operator", found.start(1), found.end(1), other
    for found in STEP.finditer(code):
        if "for (" in code[code.rfind("\n", 0, found.start()) + 1:found.start()]:
            continue  # loops that never end well: every test sees them, after a long time
        yield "step", found.start(), found.end(), "--" if found.group() == "++" else "++"
    for found in WORD.finditer(code):
        yield "word", found.start(), found.end(), WORDS[found.group()]
    for found in NUMBER.finditer(code):
        whole, fraction, suffix = found.groups()
        value = int(whole, 0)
        for other in (value + 1, value - 1):
            if other >= 0:
                text = f"{other:#x}" if whole.startswith("0x") else str(other)
                yield "constant", found.start(), found.end(), text + fraction + suffix
    for found in NOT.finditer(code):
        yield "negation", found.start(), found.end(), ""
    for found in CONDITION.finditer(code):
        end = closing(code, found.end() - 1)
        yield "condition", found.end() - 1, end + 1, None
    for found in RETURN.finditer(code):
        for value in ("true", "false"):
            yield "return", found.start(1), found.end(1), value
    for found in STATEMENT.finditer(code):
        begin = found.start() + len(found.group()) - len(found.group().lstrip())
        if not re.match(r"(return|throw|delete|else|case|co_)\b", code[begin:]):
            yield "statement", begin, found.end(), ";"


def mutants_of(file, source):
    code = masked(source)
    found = []
    for kind, begin, end, text in places_in(code):
        line = code[code.rfind("\n", 0, begin) + 1:code.find("\n", begin)]
        if NOT_CODE.match(line):
            continue
        if text is None:
            text = f"(!{source[begin:end]})"
        found.append(Mutant(file, kind, begin, end, text))
    return sorted(found, key=lambda mutant: (mutant.begin, mutant.end, mutant.text))


def choose(mutants_by_file, count, seed):
    """`count` mutants, from each file in proportion to what it offers, spread over its kinds."""
    total = sum(len(mutants) for mutants in mutants_by_file.values())
    chosen = []
    for file, mutants in sorted(mutants_by_file.items()):
        chance = random.Random(f"{seed}/{file}")
        share = max(1, round(count * len(mutants) / total))
        by_kind = {}
        for mutant in mutants:
            by_kind.setdefault(mutant.kind, []).append(mutant)
        for group in by_kind.values():
            chance.shuffle(group)
        # Kinds take turns, the subtle ones twice, until the file has its share.
        groups = [by_kind[kind] for kind in sorted([*by_kind, *({"operator", "constant"} & by_kind.keys())])]
        picked = []
        while len(picked) < share and any(groups):
            for group in groups:
                if group and len(picked) < share:
                    picked.append(group.pop())
        chosen += sorted(picked, key=lambda mutant: mutant.begin)
    return chosen
