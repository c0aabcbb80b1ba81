# Finds the mutants of one source file: every change that an operator can make. Positions come from the
# syntax tree (libclang). Mutants may not compile.
import bisect
import re
from dataclasses import dataclass

from clang.cindex import CursorKind, Index, TokenKind

FUNCTIONS = {
    CursorKind.FUNCTION_DECL,
    CursorKind.FUNCTION_TEMPLATE,
    CursorKind.CXX_METHOD,
    CursorKind.CONSTRUCTOR,
    CursorKind.DESTRUCTOR,
    CursorKind.CONVERSION_FUNCTION,
}
STATEMENTS = {CursorKind.RETURN_STMT, CursorKind.BREAK_STMT, CursorKind.CONTINUE_STMT}
ASSIGNMENTS = {CursorKind.BINARY_OPERATOR, CursorKind.COMPOUND_ASSIGNMENT_OPERATOR}

COMPARISONS = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="}
ARITHMETIC = {"+": "-", "-": "+", "+=": "-=", "-=": "+="}
LOGIC = {"&&": "||", "||": "&&"}
OPERATORS = [
    ("change-comparison", COMPARISONS),
    ("change-arithmetic", ARITHMETIC),
    ("swap-and-or", LOGIC),
]


@dataclass(frozen=True, order=True)
class Mutant:
    """One change: the bytes from `start` to `end` of `file` become `replacement`."""

    file: str
    start: int
    end: int
    operator: str
    replacement: bytes
    line: int = 0
    ordinal: int = 0  # among the mutants of this operator that begin on this line
    function: str = ""
    before: str = ""  # the lines concerned without comments, white space folded
    after: str = ""

    @property
    def id(self):
        return f"{self.file}:{self.line} {self.operator} {self.ordinal}"

    def apply(self, source):
        return source[: self.start] + self.replacement + source[self.end :]


def find_mutants(file, path, compiler_arguments):
    """The mutants of the source at `path`, which is called `file`, in the order of the text."""
    unit = Index.create().parse(path, args=["-x", "c++", *compiler_arguments])
    errors = [str(d) for d in unit.diagnostics if d.severity >= 3]
    if errors:
        raise RuntimeError(f"{file} cannot be parsed: {errors[0]}")
    with open(path, "rb") as stream:
        source = stream.read()
    return _Finder(file, path, source, unit).find()


class _Finder:
    def __init__(self, file, path, source, unit):
        self.file, self.path, self.source, self.unit = file, path, source, unit
        self.line_starts = [0] + [m.end() for m in re.finditer(b"\n", source)]
        self.tokens = [
            (t.extent.start.offset, t.extent.end.offset, t.spelling, t.kind)
            for t in unit.cursor.get_tokens()
        ]
        self.token_starts = [t[0] for t in self.tokens]
        self.found = {}  # (start, end, replacement) -> operator, function
        self.conditions = {}  # (start, end) -> function
        self.equalities = set()  # (start, end) of expressions whose negation is == or !=
        self.function = "-"

    def find(self):
        for cursor in self.unit.cursor.get_children():
            if cursor.location.file and cursor.location.file.name == self.path:
                self.visit(cursor)
        for (start, end), function in self.conditions.items():
            if (start, end) not in self.equalities:
                text = b"!(" + self.source[start:end] + b")"
                self.found.setdefault((start, end, text), ("negate-condition", function))
        return self.numbered()

    def numbered(self):
        mutants, ordinals = [], {}
        for (start, end, text), (operator, function) in sorted(self.found.items()):
            line = bisect.bisect_right(self.line_starts, start)
            ordinal = ordinals[line, operator] = ordinals.get((line, operator), 0) + 1
            place = (line, ordinal, function)
            lines = self.lines(start, end, text)
            mutants.append(Mutant(self.file, start, end, operator, text, *place, *lines))
        return mutants

    def lines(self, start, end, text):
        first = self.source.rfind(b"\n", 0, start) + 1
        last = self.source.find(b"\n", end)
        last = len(self.source) if last < 0 else last
        head, tail = self.code(first, start), self.code(end, last)
        parts = (head + self.code(start, end) + tail, head + text + tail)
        return tuple(" ".join(part.decode().split()) for part in parts)

    def code(self, start, end):
        """The text without its comments."""
        text = self.source[start:end]
        for first, last, _, kind in reversed(self.tokens_in(start, end)):
            if kind == TokenKind.COMMENT:
                text = text[: first - start] + text[last - start :]
        return text

    # --- Walking the tree ---

    def visit(self, cursor):
        kind = cursor.kind
        if kind == CursorKind.STATIC_ASSERT:
            return
        outer = self.function
        if kind in FUNCTIONS:
            self.function = cursor.spelling
        elif outer == "-" and kind == CursorKind.VAR_DECL:
            self.function = cursor.spelling
        self.mutate(cursor)
        for child in cursor.get_children():
            self.visit(child)
        self.function = outer

    def mutate(self, cursor):
        kind = cursor.kind
        if kind in (CursorKind.IF_STMT, CursorKind.WHILE_STMT, CursorKind.FOR_STMT):
            self.statement_condition(cursor)
        elif kind == CursorKind.CONDITIONAL_OPERATOR:
            self.condition(next(cursor.get_children()))
        elif kind in ASSIGNMENTS:
            self.builtin_operator(cursor)
        elif kind == CursorKind.CALL_EXPR and cursor.spelling.startswith("operator"):
            self.overloaded_operator(cursor)
        elif kind == CursorKind.COMPOUND_STMT:
            self.statements(list(cursor.get_children()))
        elif kind in (CursorKind.INTEGER_LITERAL, CursorKind.CXX_BOOL_LITERAL_EXPR):
            self.constant(cursor)
        elif kind in (CursorKind.STRING_LITERAL, CursorKind.CHARACTER_LITERAL):
            self.text(cursor)

    def add(self, operator, start, end, replacement):
        if self.source[start:end] != replacement:
            self.found.setdefault((start, end, replacement), (operator, self.function))

    @staticmethod
    def range(cursor):
        return cursor.extent.start.offset, cursor.extent.end.offset

    def tokens_in(self, start, end):
        first = bisect.bisect_left(self.token_starts, start)
        return self.tokens[first : bisect.bisect_left(self.token_starts, end)]

    # --- Conditions and operators ---

    def condition(self, cursor):
        self.conditions.setdefault(self.range(cursor), self.function)

    def statement_condition(self, cursor):
        """What stands between the parentheses, without an initialisation and a step."""
        parts, depth, begin = [], 0, None
        for start, end, spelling, _ in self.tokens_in(*self.range(cursor))[1:]:
            if begin is None and spelling != "(":
                return  # if constexpr
            depth += (spelling in "([{") - (spelling in ")]}")
            if begin is None:
                begin = end
            elif depth == 0 or (depth == 1 and spelling == ";"):
                parts.append((begin, start))
                begin = end
                if depth == 0:
                    break
        is_for = cursor.kind == CursorKind.FOR_STMT
        start, end = self.trimmed(*parts[1 if is_for else -1])
        declared = any(
            child.kind == CursorKind.VAR_DECL and start <= child.extent.start.offset < end
            for child in cursor.get_children()
        )
        if start < end and not declared:
            self.conditions.setdefault((start, end), self.function)

    def trimmed(self, start, end):
        text = self.source[start:end]
        return start + len(text) - len(text.lstrip()), start + len(text.rstrip())

    def builtin_operator(self, cursor):
        children = list(cursor.get_children())
        if len(children) != 2:
            return
        left, right = children
        tokens = self.tokens_in(left.extent.end.offset, right.extent.start.offset)
        names = [t for t in tokens if t[3] == TokenKind.PUNCTUATION and t[2] not in "()"]
        if len(names) == 1:
            self.change_operator(cursor, names[0])
            if names[0][2] in LOGIC:
                self.operand(left, names[0][2])
                self.operand(right, names[0][2])

    def operand(self, cursor, name):
        start, end = self.range(cursor)
        inner = [t[2] for t in self.tokens_in(start, end)]
        if name not in inner:  # of a && b && c every single operand is enough
            self.condition(cursor)

    def overloaded_operator(self, cursor):
        start, end = self.range(cursor)
        for child in cursor.get_children():
            if child.spelling == cursor.spelling and child.kind != CursorKind.CALL_EXPR:
                tokens = self.tokens_in(*self.range(child))
                if len(tokens) == 1 and tokens[0][2] in COMPARISONS:
                    self.change_operator(cursor, tokens[0])

    def change_operator(self, cursor, token):
        start, end, spelling, _ = token
        for operator, replacements in OPERATORS:
            if spelling in replacements:
                self.add(operator, start, end, replacements[spelling].encode())
        if spelling in ("==", "!="):
            self.equalities.add(self.range(cursor))

    # --- Statements ---

    def statements(self, children):
        expressions = []
        for child in children:
            droppable = child.kind.is_expression() or child.kind in STATEMENTS
            start, end = self.range(child)
            ends_here = self.source[end : end + 1] == b";"
            if droppable and ends_here:
                self.add("drop-statement", start, end, b"")
            elif child.kind == CursorKind.DECL_STMT:
                self.declaration(child, children)
            expressions.append(child if child.kind.is_expression() and ends_here else None)
        for one, other in zip(expressions, expressions[1:]):
            if one is not None and other is not None:
                self.swap(one, other)

    def declaration(self, statement, siblings):
        """A variable that nobody names lives for what its constructor and destructor do."""
        variables = [c for c in statement.get_children() if c.kind == CursorKind.VAR_DECL]
        if len(variables) != 1:
            return
        _, end = self.range(statement)
        names = {t[2] for t in self.tokens_in(end, self.range(siblings[-1])[1])}
        if variables[0].spelling not in names:
            start, end = self.range(statement)
            self.add("drop-statement", start, end, b";")

    def swap(self, one, other):
        (start, middle), (second, end) = self.range(one), self.range(other)
        between = self.source[middle:second]
        text = self.source[second:end] + between + self.source[start:middle]
        self.add("swap-statements", start, end, text)

    # --- Constants and texts ---

    def constant(self, cursor):
        start, end = self.range(cursor)
        text = self.source[start:end]
        if text in (b"true", b"false"):
            self.add("change-constant", start, end, b"false" if text == b"true" else b"true")
            return
        number = re.fullmatch(rb"(\d+)([uUlLzZ]*)", text)
        if not number:
            return  # it comes out of a macro
        value, suffix = int(number[1]), number[2]
        for other in (value - 1, value + 1):
            if other >= 0:
                self.add("change-constant", start, end, b"%d" % other + suffix)

    def text(self, cursor):
        for start, end, _, kind in self.tokens_in(*self.range(cursor)):
            text = self.source[start:end]
            if kind != TokenKind.LITERAL or text[:1] not in (b'"', b"'"):
                continue
            if text == b'""':
                self.add("change-text", start, end, b'"x"')
                continue
            self.add("change-text", start, end, text[:1] + _changed(text[1:-1]) + text[-1:])
            if text[:1] == b'"':
                self.add("empty-text", start, end, b'""')


def _changed(text):
    """The text with one character another one: the last letter or digit, if there is one."""
    protected = {
        position
        for special in re.finditer(rb"\\.|%[-+ #0-9.]*[a-zA-Z]+", text)
        for position in range(*special.span())
    }
    places = [i for i in range(len(text)) if i not in protected]
    places = [i for i in places if text[i : i + 1].isalnum()] or places
    if not places:
        return b"x"
    place = places[-1]
    old = text[place : place + 1]
    new = {b"z": b"y", b"Z": b"Y", b"9": b"8"}.get(old, bytes([old[0] + 1]))
    if not old.isalnum():
        new = b"x"
    return text[:place] + new + text[place + 1 :]
