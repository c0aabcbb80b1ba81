# Tests of script/lib/coverage_figures.py on programs of a few lines that are built and run here.
# Not here: the figures of this repository, which are script/coverage's.
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

import coverage_figures


class CoverageFigures(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name).resolve()
        for name in ("part", "build/part", "build/tests"):
            (self.root / name).mkdir(parents=True)
        self.addCleanup(setattr, coverage_figures, "ROOT", coverage_figures.ROOT)
        coverage_figures.ROOT = self.root

    def write(self, name, text):
        (self.root / "part" / name).write_text(text)

    def compile(self, source, into="part"):
        """The object of a source, with counters."""
        result = f"build/{into}/{source.replace('.cpp', '.o')}"
        subprocess.run(["c++", "--coverage", "-O0", "-c", "-o", result, f"part/{source}"],
                       cwd=self.root, check=True)
        return result

    def build(self, *sources):
        """Their program, run once."""
        objects = [self.compile(source) for source in sources]
        subprocess.run(["c++", "--coverage", "-o", "program", *objects], cwd=self.root, check=True)
        subprocess.run(["./program"], cwd=self.root, check=True)

    def judge(self, limits="100,100", folder="part/"):
        """The status, and the lines that name a missing place."""
        printed = io.StringIO()
        with contextlib.redirect_stdout(printed):
            status = coverage_figures.main(str(self.root / "build"), str(self.root / "trace"),
                                           f"{folder}={limits}")
        return status, [line for line in printed.getvalue().splitlines() if line.startswith("part/")
                        and ": " in line]

    def test_is_content_when_every_line_and_branch_was_run(self):
        self.write("a.cpp", "int work(int n) {\n    return n + 1;\n}\n"
                   "int main() {\n    return work(1) - 2;\n}\n")
        self.build("a.cpp")
        self.assertEqual(self.judge(), (0, []))

    def test_names_the_line_that_was_not_run(self):
        self.write("a.cpp", "int idle() {\n    return 1;\n}\nint main() {\n    return 0;\n}\n")
        self.build("a.cpp")
        self.assertEqual(self.judge(), (1, ["part/a.cpp:1: line not run", "part/a.cpp:2: line not run"]))

    def test_names_the_branch_that_was_not_taken(self):
        self.write("a.cpp", "int work(int n) {\n    return n > 0 ? 2 : 3;\n}\n"
                   "int main() {\n    return work(1) - 2;\n}\n")
        self.build("a.cpp")
        self.assertEqual(self.judge(), (1, ["part/a.cpp:2: 1 of 2 branches not taken"]))

    def test_asks_for_no_branch_that_only_an_exception_takes(self):
        self.write("a.cpp", "#include <string>\nint main() {\n    std::string text(99, 'x');\n"
                   "    text += text;\n    return text.empty();\n}\n")
        self.build("a.cpp")
        self.assertEqual(self.judge(), (0, []))

    def test_adds_up_the_copies_of_an_inline_function(self):
        self.write("h.h", "#pragma once\ninline int half(int n) {\n    if (n > 0) {\n"
                   "        return 1;\n    }\n    return 2;\n}\n")
        self.write("a.cpp", '#include "h.h"\nint other();\nint main() {\n'
                   "    return half(1) + other() - 3;\n}\n")
        self.write("b.cpp", '#include "h.h"\nint other() {\n    return half(-1);\n}\n')
        self.build("a.cpp", "b.cpp")
        self.assertEqual(self.judge(), (0, []))

    def test_leaves_a_copy_of_a_template_that_was_never_entered_to_its_caller(self):
        self.write("a.cpp", "template <typename T>\nint sign(T n) {\n    return n > 0 ? 1 : 2;\n}\n"
                   "int idle() {\n    return sign(1.0);\n}\n"
                   "int main() {\n    return sign(1) + sign(-1) - 3;\n}\n")
        self.build("a.cpp")
        self.assertEqual(self.judge(), (1, ["part/a.cpp:5: line not run", "part/a.cpp:6: line not run"]))

    def test_asks_for_each_branch_of_every_copy_that_was_entered(self):
        self.write("a.cpp", "template <typename T>\nint sign(T n) {\n    return n > 0 ? 1 : 2;\n}\n"
                   "int main() {\n    return sign(1) + sign(-1.0) - 3;\n}\n")
        self.build("a.cpp")
        self.assertEqual(self.judge(), (1, ["part/a.cpp:3: 2 of 4 branches not taken"]))

    def test_counts_an_object_that_was_never_run(self):
        self.test_is_content_when_every_line_and_branch_was_run()
        self.write("b.cpp", "int idle() {\n    return 1;\n}\n")
        self.compile("b.cpp")
        self.assertEqual(self.judge(), (1, ["part/b.cpp:1: line not run", "part/b.cpp:2: line not run"]))

    def test_asks_nothing_of_a_test_that_was_not_run(self):
        self.test_is_content_when_every_line_and_branch_was_run()
        self.write("b.cpp", "int idle() {\n    return 1;\n}\n")
        self.compile("b.cpp", into="tests")
        self.assertEqual(self.judge(), (0, []))

    def test_lists_nothing_where_less_than_everything_is_asked(self):
        self.write("a.cpp", "int idle() {\n    return 1;\n}\nint main() {\n    return 0;\n}\n")
        self.build("a.cpp")
        self.assertEqual(self.judge("50"), (0, []))  # 2 of 4 lines
        self.assertEqual(self.judge("51"), (1, []))

    def test_forgets_a_source_that_is_gone(self):
        self.test_is_content_when_every_line_and_branch_was_run()
        self.write("old.cpp", "int idle() {\n    return 1;\n}\n")
        self.compile("old.cpp")
        (self.root / "part" / "old.cpp").unlink()
        self.assertEqual(self.judge(), (0, []))

    def test_is_not_content_with_a_folder_that_has_nothing(self):
        self.test_is_content_when_every_line_and_branch_was_run()
        self.assertEqual(self.judge(folder="nowhere/")[0], 1)


if __name__ == "__main__":
    unittest.main()
