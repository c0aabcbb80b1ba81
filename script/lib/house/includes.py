"""Who includes whom, and how an include is written.

The arrows are read from the documents, so that these cannot differ from what is checked: in
docs/architecture.md those between the folders of the root, in a folder's README.md those inside of
it. A line such as `a/ -> b/ -> c/` allows each name the names to its right, and what
these may include themselves.
"""

import re

from .tree import folder_of, is_within

ARROWS = ("docs/architecture.md", "redfish/README.md")

_INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(["<])([^">]+)[">]')
# A name without a slash at its end is a pair of files: `requests/return_messages`.
_NAME = re.compile(r"[A-Za-z_][\w./]*")
_CHAIN = re.compile(r"^\s*[A-Za-z_][\w./]*(?:\s*->\s*[A-Za-z_][\w./]*)+")


def includes_of(tree, file):
    """Triples: line, the bracket that opens it, what is included."""
    for number, line in tree.lines(file):
        match = _INCLUDE.match(line)
        if match:
            yield number, match.group(1), match.group(2)


def own_file(tree, name):
    """The file of ours that an include names, by the two roots that there are; or None."""
    for candidate in (name, "include/" + name):
        if candidate in tree.files:
            return candidate
    return None


def arrows_of(tree, document):
    """What each name of a document may include: names relative to the root, without a slash at the
    end; everything that can be reached by arrows."""
    prefix = folder_of(document) + "/" if document.endswith("README.md") else ""
    direct = {}
    is_code = False
    for _, line in tree.lines(document):
        if line.startswith("```"):
            is_code = not is_code
        match = _CHAIN.match(line) if is_code else None
        if match is None:
            continue
        names = [prefix + name.strip("/") for name in _NAME.findall(match.group())]
        for left, right in zip(names, names[1:]):
            direct.setdefault(left, set()).add(right)
            direct.setdefault(right, set())
    allowed = {}
    for name in direct:
        reached, ahead = set(), [name]
        while ahead:
            for right in direct[ahead.pop()] - reached:
                reached.add(right)
                ahead.append(right)
        allowed[name] = reached
    return allowed


def unit_of(path, units):
    """The unit that a file belongs to: the longest name that is a folder above it, or its own name
    without the suffix; None where the arrows do not speak of it."""
    stem = path.rsplit(".", 1)[0]
    fitting = [unit for unit in units if is_within(path, unit) or stem == unit]
    return max(fitting, key=len, default=None)


def check_arrows(tree):
    for document in ARROWS:
        if document not in tree.files:
            continue
        allowed = arrows_of(tree, document)
        if not allowed:
            yield document, 1, "names no arrow between folders"
        for file in tree.having(".h", ".cpp"):
            unit = unit_of(file, allowed)
            if unit is None:
                continue
            for line, _, name in includes_of(tree, file):
                target = own_file(tree, name)
                if target is None or unit_of(target, allowed) == unit:
                    continue
                if is_within(target, "include") or _is_beyond(target, document, allowed):
                    continue
                if unit_of(target, allowed) not in allowed[unit]:
                    yield file, line, f"{unit}/ may not include {target}; the arrows are in {document}"


def _is_beyond(target, document, allowed):
    """The arrows of a folder's own README say nothing of what lies outside of that folder."""
    return document.endswith("README.md") and not is_within(target, folder_of(document))


def check_style(tree):
    """Our own headers are named by their path from the root, those of include/ below it."""
    for file in tree.having(".h", ".cpp"):
        for line, bracket, name in includes_of(tree, file):
            if bracket == '"' and own_file(tree, name) is None:
                yield file, line, f'"{name}" is no path from the root, nor one of a header below include/'
            elif bracket == '"' and name.startswith("include/"):
                yield file, line, f'headers of include/ are named below it: "{name[len("include/"):]}"'
            elif bracket == "<" and own_file(tree, name) is not None:
                yield file, line, f"<{name}> is a header of our own: it stands in quotes"
