"""What the comments of the C++ sources must have."""

import re

from .cxx import functions_of, head_comment, tokens_of
from .tree import is_within

# Folders whose headers give each public function a contract. What tests share is read with them.
WITH_CONTRACTS = ("service", "requests", "agent", "store", "include", "platform", "client", "redis",
                  "redfish", "orvanectl")
# Least share of comment lines in the lines that are not empty, over all headers of the folder.
LEAST_SHARE = {"redfish": 35, "client": 35}
# A sentence of fewer words may stand twice.
_SHORT = 4


def check_contracts(tree):
    for file in tree.having(".h"):
        if file.split("/")[0] not in WITH_CONTRACTS:
            continue
        for function in functions_of(tree.text(file)):
            if not function.is_documented:
                yield file, function.line, f"{function.name}() has no contract: no comment above or beside it"


def sentences_of(text):
    return {each.strip(" .") for each in re.split(r"(?<=[.:;])\s+", text)
            if len(each.split()) >= _SHORT}


def check_head_comments(tree):
    for header in tree.having(".h"):
        source = header[:-2] + ".cpp"
        if source in tree.files:
            for sentence in sorted(sentences_of(head_comment(tree.text(header)))
                                   & sentences_of(head_comment(tree.text(source)))):
                yield source, 1, f'repeats what {header} says at its head: "{sentence}"'


def comment_share(tree, folder):
    """In per cent."""
    comments = total = 0
    for file in tree.having(".h"):
        if is_within(file, folder):
            text = tree.text(file)
            lines = set()
            for token in tokens_of(text):
                if token.kind == "comment":
                    lines.update(range(token.line, token.end + 1))
            comments += len(lines)
            total += sum(1 for line in text.splitlines() if line.strip())
    return 100 * comments / total if total else 100


def check_comment_share(tree):
    for folder, least in LEAST_SHARE.items():
        share = comment_share(tree, folder)
        if share < least:
            yield folder, 1, (f"{share:.1f} % of the lines of its headers carry a comment; "
                              f"at least {least} % are asked for")
