"""Just enough of C++ for the rules on headers: tokens with their lines, comments, and the
declarations at namespace scope and in the public part of classes.

No compiler is asked: a header takes a millisecond, also where what it includes is missing. It relies
on clang-format's layout, which the format check enforces, and knows no macros.
"""

import dataclasses
import re

_TOKEN = re.compile(r"""
      (?P<comment>//[^\n]*|/\*.*?\*/)
    | (?P<directive>^[ \t]*\#(?:[^\n\\]|\\.)*)
    | (?P<string>(?:u8|[uUL])?R"(?P<mark>[^()\s]*)\(.*?\)(?P=mark)"|"(?:[^"\\\n]|\\.)*"|'(?:[^'\\\n]|\\.)*')
    | (?P<word>[A-Za-z_]\w*|\d[\w.']*)
    | (?P<punctuation>::|->|<=>|&&|\[\[|\]\]|\S)
    """, re.VERBOSE | re.MULTILINE | re.DOTALL)


@dataclasses.dataclass(frozen=True)
class Token:
    kind: str
    text: str
    line: int
    end: int  # last line
    opens_line: bool  # nothing but blanks before it


def tokens_of(text):
    result = []
    line, at = 1, 0
    for match in _TOKEN.finditer(text):
        line += text.count("\n", at, match.start())
        at = match.start()
        begin = text.rfind("\n", 0, at) + 1
        content = match.group()
        result.append(Token(match.lastgroup if match.lastgroup != "mark" else "string", content, line,
                            line + content.count("\n"), not text[begin:at].strip()))
    return result


def comment_text(token):
    return re.sub(r"^[ \t]*(//+|/\*+|\*+/?)[ \t]?", "", token.text, flags=re.MULTILINE).removesuffix("*/")


def head_comment(text):
    """The text of the comment that a source begins with, in one line; "" where there is none."""
    words = []
    for token in tokens_of(text):
        if token.kind != "comment" or not token.opens_line or (words and token.line != end + 1):
            break
        words.append(comment_text(token))
        end = token.end
    return " ".join(" ".join(words).split())


@dataclasses.dataclass(frozen=True)
class Function:
    """A declaration, and whether a reader finds its contract beside it."""
    name: str
    line: int
    is_documented: bool


_CLASS_WORDS = {"class", "struct", "union"}
_NO_DECLARATION = {"using", "typedef", "static_assert", "friend", "namespace", "enum"}
_NO_NAME = {"decltype", "alignas", "noexcept", "__attribute__", "requires", "explicit"}
_CLOSING = {"(": ")", "{": "}", "[": "]", "[[": "]]"}


class _Scanner:
    def __init__(self, text):
        self._tokens = tokens_of(text)
        self._code = [token for token in self._tokens if token.kind not in ("comment", "directive")]
        self._at = 0
        # Last lines of the comments that stand alone, and lines on which one follows code.
        self._comment_ends = {token.end for token in self._tokens
                              if token.kind == "comment" and token.opens_line}
        self._commented_lines = {token.line for token in self._tokens
                                 if token.kind == "comment" and not token.opens_line}
        self.functions = []

    def _peek(self, ahead=0):
        index = self._at + ahead
        return self._code[index].text if index < len(self._code) else ""

    def _skip_balanced(self):
        """From an opening bracket to behind the closing one."""
        opening = self._peek()
        closing, depth = _CLOSING[opening], 0
        while self._at < len(self._code):
            text = self._peek()
            depth += (text == opening) - (text == closing)
            self._at += 1
            if depth == 0:
                return

    def scan(self, is_public=True, class_name=""):
        """One scope, up to its closing brace or the end of the header."""
        previous_end, is_run_documented = -1, False
        while self._at < len(self._code) and self._peek() != "}":
            if self._peek() in ("public", "private", "protected") and self._peek(1) == ":":
                is_public = self._peek() == "public"
                self._at += 2
                continue
            if self._peek() == ";":
                self._at += 1
                continue
            first = self._code[self._at]
            is_below_comment = first.line - 1 in self._comment_ends
            statement, body = self._statement(is_public)
            last = self._code[self._at - 1].end
            function = None if body in ("scope", "class") else _function_of(statement)
            if function is None:
                is_run_documented = False
            else:
                is_run_documented = is_below_comment or (is_run_documented and
                                                         first.line == previous_end + 1)
                if is_public and not (function.text == class_name or body == "one statement"
                                      or _is_exempt(statement)):
                    self.functions.append(Function(
                        function.text, function.line,
                        is_run_documented or self._has_comment_beside(first.line, last)))
            previous_end = last
        return self

    def _has_comment_beside(self, first, last):
        return any(line in self._commented_lines for line in range(first, last + 1))

    def _statement(self, is_public):
        """Its tokens without what stands in brackets, and what stood in braces: a "scope" of the
        language, a "class", the "one statement" of a function, or "" for all else."""
        statement, held = [], ""
        while self._at < len(self._code):
            token = self._code[self._at]
            if token.text == ";":
                self._at += 1
                break
            if token.text == "}":
                break  # a statement without an end; the scope ends here
            if token.text == "{":
                words = [each.text for each in statement]
                if not words or "namespace" in words[:2] or words[0] == "extern":
                    self._at += 1
                    self.scan(is_public)
                    self._at += 1
                    return statement, "scope"
                kind = _class_of(words)
                if kind is not None:
                    self._at += 1
                    if is_public:
                        self.scan(kind[0] != "class", kind[1])
                    else:
                        self._leave()
                    self._at += 1
                    held = "class"
                    continue
                begin = self._at
                self._skip_balanced()
                if _function_of(statement) is not None and not _is_member_initialiser(statement):
                    ends = [each.text for each in self._code[begin:self._at]].count(";")
                    held = "one statement" if ends < 2 else ""
                    if self._peek() == ";":
                        self._at += 1
                    break
                continue
            if token.text in ("(", "[", "[["):
                # Of a pointer to a function the star stays, which tells it from a function.
                statement.append(self._code[self._at + 1] if self._peek(1) == "*" else token)
                self._skip_balanced()
                statement.append(self._code[self._at - 1])
                continue
            statement.append(token)
            self._at += 1
        return statement, held

    def _leave(self):
        """A private class: to its closing brace."""
        depth = 1
        while self._at < len(self._code):
            depth += (self._peek() == "{") - (self._peek() == "}")
            if depth == 0:
                return
            self._at += 1


def _without_templates(statement):
    """Without what stands in angle brackets."""
    result, depth = [], 0
    for index, token in enumerate(statement):
        before = statement[index - 1].text if index else ""
        if token.text == "<" and before != "operator" and before != "<":
            depth += 1
        elif token.text == ">" and depth > 0:
            depth -= 1
        elif depth == 0:
            result.append(token)
    return result


def _class_of(words):
    """(class or struct, name) of a statement that defines a class."""
    if words[0] == "template" or words[0] in _CLASS_WORDS:
        plain = [word.text for word in _without_templates([Token("", word, 0, 0, False)
                                                           for word in words])]
        for index, word in enumerate(plain):
            if word == "(":
                return None
            if word in _CLASS_WORDS:
                names = [each for each in plain[index + 1:] if re.match(r"[A-Za-z_]", each)]
                return word, names[0] if names else ""
    return None


def _function_of(statement):
    """The token of the declared function's name; null where the statement declares none."""
    plain = _without_templates(statement)
    if not plain or plain[0].text in _NO_DECLARATION:
        return None
    for index, token in enumerate(plain):
        if token.text == "operator":
            return token
        if token.text == "=":
            return None
        if token.text == "(" and index > 0:
            name = plain[index - 1]
            if name.kind == "word" and name.text not in _NO_NAME:
                # The definition of a member stands outside of its class, whose declaration counts.
                return None if index > 1 and plain[index - 2].text == "::" else name
    return None


def _is_member_initialiser(statement):
    """Does the brace behind these tokens belong to a member that a constructor initialises?"""
    plain = [token.text for token in _without_templates(statement)]
    if ")" not in plain or ":" not in plain[plain.index(")"):]:
        return False
    return re.match(r"[A-Za-z_]", plain[-1]) is not None


def _is_exempt(statement):
    """Deleted, defaulted and overriding functions and destructors need no contract of their own."""
    words = [token.text for token in statement]
    ends = [" ".join(words[index:index + 2]) for index in range(len(words))]
    plain = [token.text for token in _without_templates(statement) if token.text != "template"]
    is_deduction_guide = "->" in plain and plain[1:2] == ["("]
    return (is_deduction_guide or "= default" in ends or "= delete" in ends or "~" in words[:3]
            or "override" in words or "final" in words or "operator" in words)


def functions_of(text):
    return _Scanner(text).scan().functions
