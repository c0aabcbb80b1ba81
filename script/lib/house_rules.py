"""Rules of this repository that no other tool knows. script/lint runs them as "house".

    house_rules.py [RULE]...

Prints each finding as FILE:LINE: TEXT  [RULE] and ends with status 1 when there is one. A rule is
a generator over a Tree that gives (file, line, text); a new one belongs into the module of its subject
in house/ and into the table below, and gets a planted fault in tests/script/house_rules_test.py.
"""

import pathlib
import sys

from house import comments, documents, includes, names, text
from house.tree import Tree

ROOT = pathlib.Path(__file__).resolve().parents[2]

RULES = {
    "arrows": includes.check_arrows,
    "include-style": includes.check_style,
    "contracts": comments.check_contracts,
    "head-comments": comments.check_head_comments,
    "comment-share": comments.check_comment_share,
    "readmes": documents.check_readme_in_every_folder,
    "named-files": documents.check_named_files,
    "limits": names.check_limits,
    "enumerators": names.check_enumerators,
    "every-source-is-built": text.check_every_source_is_built,
    "white-space": text.check_white_space,
    "unfinished-work": text.check_unfinished_work,
    "last-line": text.check_last_line,
}


def main(root, *chosen):
    """The exit status."""
    unknown = [name for name in chosen if name not in RULES]
    if unknown:
        print(f"house_rules.py: no rule is called {unknown[0]}; there are {', '.join(RULES)}",
              file=sys.stderr)
        return 2
    tree = Tree.of_repository(root)
    status = 0
    for name in chosen or RULES:
        for file, line, finding in RULES[name](tree):
            print(f"{file}:{line}: {finding}  [{name}]")
            status = 1
    return status


if __name__ == "__main__":
    sys.exit(main(ROOT, *sys.argv[1:]))
