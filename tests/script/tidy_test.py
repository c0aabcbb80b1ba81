# Tests of script/lib/tidy.py: what a verdict of clang-tidy depends on.
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = os.path.realpath(os.path.join(os.path.dirname(__file__), "..", ".."))
sys.path.insert(0, os.path.join(ROOT, "script", "lib"))

import tidy

FILES = {
    "store/a.cpp": '#include "store/a.h"\nint a;\n',
    "store/a.h": '#include "deep.h"\n',
    "include/deep.h": "// says why\nint deep();\n",
    "tests/a_test.cpp": '#include "store/a.h"\n',
    "tests/b_test.cpp": "int b;\n",
}


class Verdicts(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        subprocess.run(["git", "init", "-q", self.root], check=True)
        for path, text in FILES.items():
            self.write(path, text)
        self.addCleanup(setattr, tidy, "ROOT", tidy.ROOT)
        tidy.ROOT = self.root
        self.build = self.root / "build"
        unity = self.build / "Unity" / "unity_0_cxx.cxx"
        self.write("build/Unity/unity_0_cxx.cxx",
                   f'#include "{self.root}/tests/a_test.cpp"\n#include "{self.root}/tests/b_test.cpp"\n')
        self.command("g++ -c store/a.cpp", self.root / "store/a.cpp", unity)

    def write(self, path, text):
        file = self.root / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text)

    def command(self, text, *files):
        self.write("build/compile_commands.json", json.dumps(
            [{"directory": str(self.root), "command": text, "file": str(file)} for file in files]))

    def keys(self, common="tools"):
        code = tidy.Code(self.root)
        units = (tidy.units_of(self.build, None, code, of_tests=False)
                 + tidy.units_of(self.build, None, code, of_tests=True))
        return [unit.key(code, common) for unit in units]

    def changed(self, path, text):
        before = self.keys()
        self.write(path, text)
        return [old != new for old, new in zip(before, self.keys(), strict=True)]

    def test_sources_compiled_together_are_one_unit(self):
        code = tidy.Code(self.root)
        self.assertEqual([unit.sources for unit in tidy.units_of(self.build, None, code, of_tests=True)],
                         [["tests/a_test.cpp", "tests/b_test.cpp"]])
        self.assertEqual([unit.sources for unit in tidy.units_of(self.build, None, code, of_tests=False)],
                         [["store/a.cpp"]])

    def test_a_header_included_by_a_header_counts(self):
        self.assertEqual(self.changed("include/deep.h", "int deep(int);\n"), [True, True])

    def test_a_source_counts_where_it_is_checked(self):
        self.assertEqual(self.changed("store/a.cpp", "int other;\n"), [True, False])
        self.assertEqual(self.changed("tests/b_test.cpp", "int other;\n"), [False, True])

    def test_a_line_of_comment_does_not_count(self):
        self.assertEqual(self.changed("include/deep.h", "// says it better\nint deep();\n"),
                         [False, False])

    def test_a_switch_in_a_comment_counts(self):
        self.assertEqual(self.changed("store/a.cpp", '#include "store/a.h"\n// NOLINTNEXTLINE\nint a;\n'),
                         [True, False])

    def test_the_command_and_the_tools_count(self):
        before = self.keys()
        self.assertNotEqual(self.keys("newer tools")[0], before[0])
        self.command("g++ -O2 -c store/a.cpp", self.root / "store/a.cpp")
        self.assertNotEqual(self.keys()[0], before[0])
    @unittest.skipUnless(shutil.which("clang-tidy"), "clang-tidy is missing: script/bootstrap --all")
    def test_the_analyzer_finds_a_fault_in_each_of_several_sources(self):
        self.addCleanup(setattr, tidy, "JOINED", tidy.JOINED)
        tidy.JOINED = self.build / "joined"
        self.write(".clang-tidy", "Checks: '-*,clang-analyzer-core.*'\nWarningsAsErrors: '*'\n")
        names = ("one", "two")
        for name in names:
            self.write(f"store/{name}.cpp", f"\nint {name}(int a) {{\n    const int zero = 0;\n    return a / zero;\n}}\n")
        unity = self.build / "Unity" / "unity_1_cxx.cxx"
        self.write("build/Unity/unity_1_cxx.cxx",
                   "".join(f'#include "{self.root}/store/{name}.cpp"\n' for name in names))
        self.command(f"clang++ -o x.o -c {unity}", unity)
        unit, = tidy.units_of(self.build, None, tidy.Code(self.root), of_tests=False)
        found = unit.findings()
        for name in names:
            self.assertIn(f"{self.root}/store/{name}.cpp:4:14: error: Division by zero", found)


class Joined(unittest.TestCase):
    TEXTS = {"a.cpp": "#include <map>\nint a;\n", "b.cpp": "#include <map>\n#include <set>\nint b;\n"}

    def test_what_an_earlier_source_includes_is_left_out(self):
        text, starts = tidy.joined(self.TEXTS)
        self.assertEqual(text, "#include <map>\nint a;\n\n#include <set>\nint b;\n")
        self.assertEqual(starts, {"a.cpp": 1, "b.cpp": 3})

    def test_a_second_include_in_one_source_stays(self):
        text, _ = tidy.joined({"a.cpp": "#include <map>\n#include <map>\n"})
        self.assertEqual(text, "#include <map>\n#include <map>\n")
        text, _ = tidy.joined({**self.TEXTS, "c.cpp": "#include <map>\n#include <map>\n"})
        self.assertEqual(text.splitlines()[-2:], ["", "#include <map>"])

    def test_other_lines_stay(self):
        self.assertEqual(tidy.joined({"a.cpp": "}\n}\n", "b.cpp": "}\n"})[0], "}\n}\n}\n")

    def test_findings_name_the_source_and_its_line(self):
        _, starts = tidy.joined(self.TEXTS)
        self.assertEqual(
            tidy.located("/j/joined.cpp:2:5: error: x\n/j/joined.cpp:5:1: error: y\n/h.h:3:1: error: z\n",
                         "/j/joined.cpp", starts),
            f"{tidy.ROOT}/a.cpp:2:5: error: x\n{tidy.ROOT}/b.cpp:3:1: error: y\n/h.h:3:1: error: z\n")


if __name__ == "__main__":
    unittest.main()
