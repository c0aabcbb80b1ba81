"""Every text file, whatever its language."""

import json
import re

from .tree import is_within

_ENDED = (".cpp", ".h", ".md", ".txt", ".cmake", ".json", ".sh", ".py")
# Put together here, so that this file itself is clean.
_UNFINISHED = re.compile(r"\b(?:TO" + r"DO|FIX" + r"ME|X" + r"XX)\b")
# The inputs of the fuzz targets are data, not text.
_DATA = "tests/fuzz/corpus"


def check_white_space(tree):
    for file in tree.files:
        if not is_within(file, _DATA):
            for number, line in tree.lines(file):
                if line.endswith((" ", "\t")):
                    yield file, number, "white space at the end of the line"


def check_unfinished_work(tree):
    for file in tree.files:
        if not is_within(file, _DATA):
            for number, line in tree.lines(file):
                if _UNFINISHED.search(line):
                    yield file, number, "unfinished work"


def check_last_line(tree):
    for file in tree.files:
        if file.endswith(_ENDED) or file.startswith("script/"):
            text = tree.text(file)
            if text and not text.endswith("\n"):
                yield file, text.count("\n") + 1, "no end of line at the end of the file"


def check_every_source_is_built(tree):
    """Every source is part of the debug build, so that no test is forgotten. script/lint configures
    that build first; elsewhere there is nothing to compare with."""
    commands = tree.root / "build" / "debug" / "compile_commands.json"
    if not commands.exists():
        return
    built = {entry["file"] for entry in json.loads(commands.read_text())}
    for file in tree.having(".cpp"):
        if str(tree.root / file) not in built:
            yield file, 1, "is part of no target"
