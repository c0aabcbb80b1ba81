# Tests of script/lib/house_rules.py: each rule notices the fault that is planted for it, and nothing
# in what is as it should be. The repository itself is judged by script/lint.
import contextlib
import io
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = os.path.realpath(os.path.join(os.path.dirname(__file__), "..", ".."))
sys.path.insert(0, os.path.join(ROOT, "script", "lib"))

import house_rules
from house.cxx import functions_of
from house.names import enumerators_of
from house.tree import Tree

ARCHITECTURE = "docs/architecture.md"
DAEMON = "```\nservice/ -> requests/ -> agent/ -> requests/return_messages -> include/\n```\n"


class Rules(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name).resolve()
        self.files = []

    def write(self, name, text=""):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)
        self.files.append(name)

    def findings(self, rule):
        """Each as "FILE:LINE"."""
        return [f"{file}:{line}" for file, line, _ in
                house_rules.RULES[rule](Tree(self.root, self.files))]

    def of_header(self, text, rule="contracts"):
        """The lines with a finding in one header."""
        self.files = []
        self.write("client/a.h", text)
        return [int(place.rpartition(":")[2]) for place in self.findings(rule)]


class Arrows(Rules):
    def setUp(self):
        super().setUp()
        self.write(ARCHITECTURE, DAEMON)
        for header in ("agent/a.h", "requests/r.h", "requests/return_messages.h", "service/s.h",
                       "include/i.h", "client/c.h"):
            self.write(header)

    def of_source(self, name, *included):
        self.write(name, "".join(f'#include "{each}"\n' for each in included))
        return self.findings("arrows")

    def test_along_them_all_may_be_included(self):
        self.assertEqual(self.of_source("service/s.cpp", "service/s.h", "requests/r.h", "agent/a.h",
                                        "requests/return_messages.h", "i.h"), [])

    def test_against_them_nothing_may(self):
        self.assertEqual(self.of_source("agent/a.cpp", "agent/a.h", "requests/return_messages.h",
                                        "requests/r.h", "service/s.h"),
                         ["agent/a.cpp:3", "agent/a.cpp:4"])

    def test_a_pair_of_files_has_arrows_of_its_own(self):
        self.assertEqual(self.of_source("requests/return_messages.cpp", "requests/r.h"),
                         ["requests/return_messages.cpp:1"])

    def test_a_foreign_folder_is_a_finding(self):
        self.assertEqual(self.of_source("agent/a.cpp", "client/c.h"), ["agent/a.cpp:1"])

    def test_of_folders_without_an_arrow_nothing_is_said(self):
        self.assertEqual(self.of_source("client/c.cpp", "service/s.h"), [])

    def test_a_document_without_any_arrow_is_a_finding(self):
        self.write(ARCHITECTURE, "service/ -> requests/ stands outside of a code block\n")
        self.assertEqual(self.findings("arrows"), [ARCHITECTURE + ":1"])

    def test_a_readme_speaks_of_its_own_folder_alone(self):
        self.write("redfish/README.md", "```\nserver/ -> http/\n```\n")
        self.write("redfish/server/s.h")
        self.write("redfish/http/h.cpp", '#include "redfish/server/s.h"\n#include "client/c.h"\n')
        self.assertEqual(self.findings("arrows"), ["redfish/http/h.cpp:1"])


class IncludeStyle(Rules):
    def test_is_the_path_from_the_root_or_below_include(self):
        for header in ("client/c.h", "include/i.h", "client/below/d.h"):
            self.write(header)
        self.write("client/below/d.cpp", '#include "client/c.h"\n#include "i.h"\n#include <vector>\n'
                   '#include "d.h"\n#include "../c.h"\n#include "include/i.h"\n#include <client/c.h>\n')
        self.assertEqual(self.findings("include-style"),
                         [f"client/below/d.cpp:{line}" for line in (4, 5, 6, 7)])


class Contracts(Rules):
    def test_a_function_without_a_comment_is_a_finding(self):
        self.assertEqual(self.of_header("namespace a {\nint f();\n}\n"), [2])

    def test_a_comment_above_or_beside_it_is_its_contract(self):
        self.assertEqual(self.of_header("// Says.\nint f();\n\nint g(); // says\n\n"
                                        "int h(int a,\n      int b); // says\n"), [])

    def test_a_comment_with_an_empty_line_below_is_none(self):
        self.assertEqual(self.of_header("// The file.\n\nint f();\n"), [3])

    def test_one_comment_serves_siblings_up_to_an_empty_line(self):
        self.assertEqual(self.of_header("// Says.\nint f();\nint g();\n\nint h();\n"), [5])

    def test_a_comment_beside_one_is_not_the_next_ones(self):
        self.assertEqual(self.of_header("int f(); // says\nint g();\n"), [2])

    def test_of_a_class_the_public_part_counts(self):
        self.assertEqual(self.of_header("class A {\n    int f();\npublic:\n    int g();\nprivate:\n"
                                        "    int h();\n};\nstruct B {\n    int i();\n};\n"), [4, 9])

    def test_a_class_in_a_private_part_does_not(self):
        self.assertEqual(self.of_header("class A {\n    struct B {\n        int f();\n    };\n};\n"), [])

    def test_what_says_itself_needs_none(self):
        self.assertEqual(self.of_header(
            "class A : public B {\npublic:\n    A(int a, int b);\n    ~A();\n    A(const A&) = delete;\n"
            "    A& operator=(const A&) = default;\n    void f() override;\n"
            "    int size() const { return size_; }\n};\n"
            "template <typename T>\nvoid A<T>::g() {\n    h();\n    i();\n}\n"), [])

    def test_a_body_of_several_statements_does(self):
        self.assertEqual(self.of_header("inline int f() {\n    g();\n    return h();\n}\n"), [1])

    def test_what_is_no_function_is_passed_over(self):
        self.assertEqual(self.of_header(
            "std::function<void(int)> f;\nusing G = int(int);\nint (*h)(int) = nullptr;\n"
            "int a = g(1);\nstatic_assert(sizeof(int) == 4);\nenum class E { a, b };\n"), [])

    def test_initialisers_of_members_are_no_body(self):
        functions = functions_of("class A {\npublic:\n    A() : a_{1}, b_(2) {}\n    int f();\n};\n")
        self.assertEqual([(each.name, each.line) for each in functions], [("f", 4)])

    def test_the_headers_of_tests_are_not_asked(self):
        self.write("tests/a.h", "int f();\n")
        self.assertEqual(self.findings("contracts"), [])


class HeadComments(Rules):
    def test_a_sentence_of_the_header_is_not_repeated(self):
        self.write("a/a.h", "// Keeps what was asked for. One a connection.\n#pragma once\n")
        self.write("a/a.cpp", "// Keeps what was asked\n// for. Other words here.\n")
        self.assertEqual(self.findings("head-comments"), ["a/a.cpp:1"])

    def test_other_words_and_short_ones_are_no_finding(self):
        self.write("a/a.h", "// The pool. Keeps what was asked for.\n#pragma once\n")
        self.write("a/a.cpp", "// The pool. See the header for its words.\n")
        self.assertEqual(self.findings("head-comments"), [])


class CommentShare(Rules):
    def test_counts_comment_lines_among_those_that_are_not_empty(self):
        self.write("client/a.h", "// one\n\nint f(); // two\nint a;\n")
        self.write("client/b.h", "int b;\n\nint c;\nint d;\n")
        self.write("client/b.cpp", "int b;\n" * 9)
        self.assertEqual(self.findings("comment-share"), ["client:1"])  # 2 of 6
        self.write("client/c.h", "/* three\n   four */\n")
        self.assertEqual(self.findings("comment-share"), [])  # 4 of 8


class Documents(Rules):
    def test_a_folder_without_a_readme_is_a_finding(self):
        self.write("a/README.md", "# a\n")
        self.write("a/b/c.cpp")
        self.write("tests/fuzz/corpus/x/seed")
        self.write("tests/README.md")
        self.write("tests/fuzz/README.md")
        self.assertEqual(self.findings("readmes"), ["a/b:1"])

    def test_a_named_file_exists(self):
        self.write("a/b.h")
        self.write("a/c.cpp", '// See b.h, a/b.h, vector.h and a/gone.cpp.\nauto text = "gone.cpp";\n')
        self.write("run.sh", "# As gone.sh does it.\nx=1 " "# (b.h)\n")
        self.write("README.md", "`a/` [b](a/b.h) `gone/` x/b.h\n```\ngone.cpp\n```\nbuild/gone.txt\n"
                   "a/b a/gone\n")
        self.assertEqual(sorted(self.findings("named-files")),
                         ["README.md:1", "README.md:1", "README.md:6", "a/c.cpp:1", "a/c.cpp:1", "run.sh:1"])


class Names(Rules):
    def test_limits_begin_with_kmax_or_kmin(self):
        self.assertEqual(self.of_header("int kMostWords;\nint kMaximum;\nint kLeastWords;\nint kMinimumAge;\n"
                                        "int kMaxWords;\nint kMinAge;\nint kMostly; // kMostWords\nint kLongestName;\n",
                                        "limits"), [1, 2, 3, 4, 8])

    def test_enumerators_have_one_style(self):
        self.assertEqual(self.of_header("enum class A { one, Two, kThree };\n"
                                        "enum B : int {\n    kOne = f(1, 2), // two\n    two,\n};\n"
                                        "enum class C;\n", "enumerators"), [1, 1, 4])

    def test_each_enumerator_is_found(self):
        self.assertEqual([token.text for token, _ in enumerators_of(
            "enum class A { a = 1, b, /* x */ c = f(1, 2) };")], ["a", "b", "c"])


class Text(Rules):
    def test_white_space_at_the_end_of_a_line(self):
        self.write("a.md", "one\ntwo \n")
        self.write("tests/fuzz/corpus/a", "one \n")
        self.assertEqual(self.findings("white-space"), ["a.md:2"])

    def test_unfinished_work(self):
        self.write("a.cpp", "// TO" + "DO: more\n// METHO" + "DO\n")
        self.assertEqual(self.findings("unfinished-work"), ["a.cpp:1"])

    def test_a_last_line_without_an_end(self):
        self.write("a.cpp", "int a;")
        self.write("b.cpp", "int b;\n")
        self.write("c.cpp", "")
        self.assertEqual(self.findings("last-line"), ["a.cpp:1"])

    def test_a_source_that_is_part_of_no_target(self):
        self.write("a.cpp")
        self.write("b.cpp")
        self.assertEqual(self.findings("every-source-is-built"), [])
        (self.root / "build/debug").mkdir(parents=True)
        (self.root / "build/debug/compile_commands.json").write_text(
            f'[{{"file": "{self.root}/a.cpp"}}]')
        self.assertEqual(self.findings("every-source-is-built"), ["b.cpp:1"])


class Program(Rules):
    def run_it(self, *words):
        printed = io.StringIO()
        with contextlib.redirect_stdout(printed), contextlib.redirect_stderr(printed):
            status = house_rules.main(str(self.root), *words)
        return status, printed.getvalue()

    def test_prints_findings_with_their_rule_and_fails(self):
        subprocess.run(["git", "init", "--quiet", str(self.root)], check=True)
        self.write("a.md", "one \n")
        self.assertEqual(self.run_it("white-space"),
                         (1, "a.md:1: white space at the end of the line  [white-space]\n"))
        self.write("a.md", "one\n")
        self.assertEqual(self.run_it("white-space"), (0, ""))

    def test_knows_its_rules(self):
        status, printed = self.run_it("white-spice")
        self.assertEqual(status, 2)
        self.assertIn("no rule is called white-spice; there are arrows, ", printed)


if __name__ == "__main__":
    unittest.main()
