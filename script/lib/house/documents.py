"""READMEs, and the names of files and folders in prose."""

import functools
import pathlib
import re

from .cxx import comment_text, tokens_of

# A README there would be taken for one of their files: inputs of the fuzz targets, what the web page's
# build copies into the page, and dpkg's own folder.
FOLDERS_OF_DATA = ("tests/fuzz/corpus/", "web/public", "packaging/debian/source")

_SOURCES = ("cpp", "h", "md", "sh", "py", "cmake", "ts", "mjs", "json", "tsv", "bash", "lua", "conf",
            "acl", "service", "txt")
# A word that looks like a file or a folder of ours. What follows a dollar, a tilde or a slash, or
# stands behind a colon or a wildcard, is a place somewhere else.
_FILE = re.compile(r"(?<![\w/.$~*{<>@-])((?:[\w.-]+/)*[\w-][\w.-]*\.(?:%s))(?![\w/({<*=-]|\.\w)" % "|".join(_SOURCES))
_FOLDER = re.compile(r"`((?:[\w.-]+/)+)`")
# A path from a folder of the root that ends without a suffix: a script, a folder, or a pair of files.
_PLACE = r"(?<![\w/.$~*{<>@:\"=-])((?:%s)(?:/[\w-]+)+)(?![\w./{(<*-]|\.\w)"

# What is built, and files of redis, systemd and the programs' own state.
ELSEWHERE = re.compile(r"^(build/|(web/)?dist\b|requests/s$|redis\.conf$|redis-server\.service$|accounts\.json$|[\w/]*[A-Z]{4}[A-Z/]*$)")


def check_readme_in_every_folder(tree):
    for folder in tree.folders:
        if any((folder + "/").startswith(data) or folder == data for data in FOLDERS_OF_DATA):
            continue
        if f"{folder}/README.md" not in tree.files:
            yield folder, 1, "has no README.md: what belongs here, what does not, who includes it"


@functools.cache
def _endings(tree):
    """Each file, file without suffix and folder by each of its endings: "c.h", "b/c.h" and "a/b/c.h"."""
    found = set()
    for path in [*tree.files, *(file.rsplit(".", 1)[0] for file in tree.files), *tree.folders]:
        parts = path.split("/")
        found.update("/".join(parts[index:]) for index in range(len(parts)))
    return found


def prose_of(tree, file):
    """The lines in which a name is meant as one: documents, comments of sources and scripts."""
    if file.endswith(".md"):
        is_code = False
        for number, line in tree.lines(file):
            if line.startswith("```"):
                is_code = not is_code
            elif not is_code:
                yield number, line
    elif file.endswith((".cpp", ".h", ".ts")):
        for token in tokens_of(tree.text(file)):
            if token.kind == "comment":
                for offset, line in enumerate(comment_text(token).splitlines()):
                    yield token.line + offset, line
    else:
        for number, line in tree.lines(file):
            match = re.search(r"(?:^|\s)#(?!!) ?(.*)", line)
            if match:
                yield number, match.group(1)


def is_prose(tree, file):
    return (file.endswith((".md", ".cpp", ".h", ".ts", ".py", ".sh", ".cmake", "CMakeLists.txt"))
            or file.startswith("script/")) and not file.startswith("CHANGELOG")


def check_named_files(tree):
    place = re.compile(_PLACE % "|".join(map(re.escape, sorted(
        folder for folder in tree.folders if "/" not in folder))))
    for file in tree.files:
        if not is_prose(tree, file):
            continue
        for number, line in prose_of(tree, file):
            names = _FILE.findall(line) + place.findall(line)
            if file.endswith(".md"):
                names += _FOLDER.findall(line)
            for name in names:
                plain = name.removeprefix("./").rstrip("/")
                if not ELSEWHERE.match(plain) and not _exists(tree, plain):
                    yield file, number, f"names {name}, which does not exist"


def _exists(tree, name):
    while name.startswith("../"):
        name = name[3:]
    return name in _endings(tree) or (name.endswith(".h") and _is_of_the_system(name))


@functools.cache
def _is_of_the_system(header):
    return any((pathlib.Path(folder) / header).exists()
               for folder in ("/usr/include", "/usr/include/x86_64-linux-gnu"))
