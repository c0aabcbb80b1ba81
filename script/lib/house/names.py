"""Names that the compiler accepts and the reader does not."""

import re

from .cxx import tokens_of

_LIMIT = re.compile(r"^k(Most|Maximum|Longest|Largest|Deepest|Least|Minimum|Shortest|Smallest)(?=[A-Z]|$)")
_MEANT = {"Most": "kMax", "Maximum": "kMax", "Longest": "kMax", "Largest": "kMax", "Deepest": "kMax",
          "Least": "kMin", "Minimum": "kMin", "Shortest": "kMin", "Smallest": "kMin"}
_LOWER_CAMEL = re.compile(r"^(?!k[A-Z])[a-z][A-Za-z0-9]*$")
_CONSTANT = re.compile(r"^k[A-Z0-9][A-Za-z0-9]*$")

# The records of the binary contract have enumerators that are not ours to name.
FOREIGN = ("include/",)


def check_limits(tree):
    for file in tree.having(".h", ".cpp"):
        for token in tokens_of(tree.text(file)):
            match = _LIMIT.match(token.text) if token.kind == "word" else None
            if match:
                yield file, token.line, f"{token.text}: a limit begins with {_MEANT[match.group(1)]}"


def enumerators_of(text):
    """(token of the enumerator, is its enumeration scoped)"""
    code = [token for token in tokens_of(text) if token.kind not in ("comment", "directive")]
    for index, token in enumerate(code):
        if token.text != "enum":
            continue
        is_scoped = code[index + 1].text in ("class", "struct")
        at = index + 1
        while at < len(code) and code[at].text not in ("{", ";", "(", ")", ">", ","):
            at += 1
        if at == len(code) or code[at].text != "{":
            continue
        depth, expects_name = 0, True
        for each in code[at + 1:]:
            if each.text == "}" and depth == 0:
                break
            depth += each.text in ("(", "{", "[")
            depth -= each.text in (")", "}", "]")
            if expects_name and each.kind == "word":
                yield each, is_scoped
                expects_name = False
            elif each.text == "," and depth == 0:
                expects_name = True


def check_enumerators(tree):
    for file in tree.having(".h", ".cpp"):
        if file.startswith(FOREIGN):
            continue
        for token, is_scoped in enumerators_of(tree.text(file)):
            if is_scoped and not _LOWER_CAMEL.match(token.text):
                yield file, token.line, f"{token.text}: enumerators of an enum class are lowerCamel"
            elif not is_scoped and not _CONSTANT.match(token.text):
                yield file, token.line, f"{token.text}: enumerators of a plain enum are constants, kName"
