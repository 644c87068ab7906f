"""Mutants of a C++ source: small changes that a test should notice.

Works on the text, with comments, preprocessor lines and compile-time assertions
left out. Relies on the project's style: operators stand between blanks, template
brackets do not.
"""

import re
from dataclasses import dataclass

COMPARISONS = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="}
ARITHMETIC = {"+": "-", "-": "+", "*": "/", "/": "*", "%": "/", "&": "|", "|": "&", "^": "|", "<<": ">>", ">>": "<<",
              "&&": "||", "||": "&&", "+=": "-=", "-=": "+=", "*=": "/=", "/=": "*=", "|=": "&=", "&=": "|=",
              "^=": "|="}
CALLS = {"wrapAdd(": "wrapSub(", "wrapSub(": "wrapAdd("}

SPACED_OPERATOR = re.compile(r"(?<= )(<<|>>|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|[-+*/%&|^<>])(?= )")
NUMBER = re.compile(r"(?<![\w.\"'])(0x[0-9A-Fa-f]+|\d+)([uUlL]*)(?![\w.\"'])")
TEXT = re.compile(r'"((?:[^"\\]|\\.)*)"')
STEP = re.compile(r"\+\+|--")
NOT = re.compile(r"(?<![\w!=])!(?=[\w(])")
COMPLEMENT = re.compile(r"~(?=[\w(])(?![A-Z]\w*\()")
BOOLEAN = re.compile(r"\b(true|false)\b")
NO_STATEMENT = re.compile(r"\s*(return\b(?!;)|case\b|default\b|using\b|typedef\b|else\b|if\b|for\b|while\b|switch\b"
                          r"|const\b|static\b|extern\b|struct\b|class\b|enum\b|friend\b|public|private|do\b|[:,])")
DECLARATION = re.compile(r"^\s*(?:[A-Za-z_][\w:]*(?:<[^;=]*>)?[ &*]+)+[A-Za-z_]\w*(?:\[[^]]*\])?(?:\(.*\))?(?: const)?"
                         r"(?: = .*)?;\s*$", re.S)
BEFORE_A_STATEMENT = (";", "{", "}", ")", "else", ":")


@dataclass(frozen=True)
class Mutant:
    file: str
    line: int      # from 1
    column: int    # from 1
    operator: str  # comparison, constant, arithmetic or statement
    before: str    # the lines that are replaced
    after: str

    def name(self):
        return f"{self.file}:{self.line}:{self.column} {self.operator}"

    def applied_to(self, text):
        lines = text.split("\n")
        first = self.line - 1
        count = self.before.count("\n") + 1
        assert "\n".join(lines[first : first + count]) == self.before, f"{self.name()}: the source has changed"
        return "\n".join(lines[:first] + self.after.split("\n") + lines[first + count :])


def code_lines(text):
    """The lines with comments, texts' insides and compile-time parts blanked out, at the same columns."""

    def blank(match):
        return re.sub(r"[^\n]", " ", match.group())

    text = re.sub(r"/\*.*?\*/|//[^\n]*", blank, text, flags=re.S)
    text = re.sub(r"static_assert\(.*?\);", blank, text, flags=re.S)
    text = re.sub(r"^#[^\n]*(?:\\\n[^\n]*)*", blank, text, flags=re.M)
    return text.split("\n")


def changed_number(literal, suffix, by):
    octal = len(literal) > 1 and literal.isdigit() and literal[0] == "0"
    value = int(literal, 8 if octal else 0) + by
    if value < 0:
        return None
    return (hex(value) if literal.startswith("0x") else str(value)) + suffix


def replacements(code):
    """(operator, column, length, replacement) for one line of code."""
    for match in SPACED_OPERATOR.finditer(code):
        token = match.group()
        if token in COMPARISONS:
            yield "comparison", match.start(), len(token), COMPARISONS[token]
        elif token in ARITHMETIC:
            yield "arithmetic", match.start(), len(token), ARITHMETIC[token]
    for match in STEP.finditer(code):
        yield "arithmetic", match.start(), 2, "--" if match.group() == "++" else "++"
    for match in NOT.finditer(code):
        yield "comparison", match.start(), 1, ""
    for match in COMPLEMENT.finditer(code):
        yield "arithmetic", match.start(), 1, ""
    for call, other in CALLS.items():
        for match in re.finditer(re.escape(call), code):
            if "inline" not in code:
                yield "arithmetic", match.start(), len(call), other
    for match in NUMBER.finditer(code):
        for by in (1, -1):
            changed = changed_number(match.group(1), match.group(2), by)
            if changed is not None:
                yield "constant", match.start(), len(match.group()), changed
    for match in BOOLEAN.finditer(code):
        yield "constant", match.start(), len(match.group()), "false" if match.group() == "true" else "true"
    for match in TEXT.finditer(code):
        yield "constant", match.start(), len(match.group()), '"' + match.group(1) + '~"'


def statement_at(codes, first):
    """Number of lines of the statement that begins on a line, 0 when none does."""
    before = next((code.rstrip() for code in reversed(codes[:first]) if code.strip()), "{")
    if not before.endswith(BEFORE_A_STATEMENT) or NO_STATEMENT.match(codes[first]) or codes[first][:1] != " ":
        return 0
    for count in range(1, 6):
        joined = "\n".join(codes[first : first + count]).rstrip()
        if "{" in joined or "}" in joined:
            return 0
        if joined.endswith(";"):
            return 0 if DECLARATION.match(joined) else count
    return 0


def mutants_of(name, text):
    """All mutants of a source, in the order of the text."""
    lines = text.split("\n")
    codes = code_lines(text)
    found = []
    for i, code in enumerate(codes):
        if not code.strip():
            continue
        for operator, column, length, replacement in replacements(code):
            after = lines[i][:column] + replacement + lines[i][column + length :]
            found.append(Mutant(name, i + 1, column + 1, operator, lines[i], after))
        count = statement_at(codes, i)
        if count > 0:
            indent = lines[i][: len(lines[i]) - len(lines[i].lstrip())]
            before = "\n".join(lines[i : i + count])
            found.append(Mutant(name, i + 1, len(indent) + 1, "statement", before, indent + ";" + "\n" * (count - 1)))
    return found
