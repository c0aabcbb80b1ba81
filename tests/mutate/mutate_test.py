# Tests of the mutation check: which changes it finds, how it judges them in a small project, and how it
# reports the verdicts.
import os
import sys
import tempfile
import unittest

ROOT = os.path.realpath(os.path.join(os.path.dirname(__file__), "..", "..", ".."))
sys.path.insert(0, os.path.join(ROOT, "tests", "mutate"))

from mutants import find_mutants
from results import EXPLAINED, Explanations, Results, summary
from workshop import EQUIVALENT, KILLED, NOT_VIABLE, SURVIVED, Workshop


def write(folder, name, text):
    path = os.path.join(folder, name)
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", encoding="utf-8") as stream:
        stream.write(text)
    return path


class TemporaryFolder(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def mutants(self, text):
        path = write(self.folder, "sample.cpp", text)
        return find_mutants("sample.cpp", path, ["-std=c++20"])

    def changes(self, text, operator):
        return [m.after for m in self.mutants(text) if m.operator == operator]


class FindMutants(TemporaryFolder):
    def test_negates_each_condition_and_each_operand(self):
        text = "int f(bool a, bool b) {\n if (int c = 1; a && b)\n  return c;\n return a ? 2 : 3;\n}\n"
        self.assertEqual(
            self.changes(text, "negate-condition"),
            [
                "if (int c = 1; !(a) && b)",
                "if (int c = 1; !(a && b))",
                "if (int c = 1; a && !(b))",
                "return !(a) ? 2 : 3;",
            ],
        )
        self.assertEqual(self.changes(text, "swap-and-or"), ["if (int c = 1; a || b)"])

    def test_leaves_a_negation_to_the_operator_that_is_one(self):
        text = "bool f(int a) {\n while (a != 1) {\n  --a;\n }\n return a == 1;\n}\n"
        self.assertEqual(self.changes(text, "negate-condition"), [])
        self.assertEqual(
            self.changes(text, "change-comparison"), ["while (a == 1) {", "return a != 1;"]
        )

    def test_moves_bounds_and_sums_by_one(self):
        text = "int f(int n) {\n int s = 0;\n for (int i = 0; i < n; ++i)\n  s += i + 1;\n return s;\n}\n"
        self.assertEqual(
            self.changes(text, "change-comparison"), ["for (int i = 0; i <= n; ++i)"]
        )
        self.assertEqual(self.changes(text, "change-arithmetic"), ["s -= i + 1;", "s += i - 1;"])

    def test_finds_overloaded_comparisons(self):
        text = (
            "struct T { bool operator==(int) const; };\n"
            "bool f(T a) { return a != 1; }\n"
            "bool g(T a) { return a == 1; }\n"
        )
        self.assertEqual(
            self.changes(text, "change-comparison"),
            ["bool f(T a) { return a == 1; }", "bool g(T a) { return a != 1; }"],
        )

    def test_drops_statements_and_swaps_neighbours(self):
        text = "void g(int);\nvoid f() {\n g(a());\n g(b());\n return;\n}\n"
        text = "int a();\nint b();\n" + text
        self.assertEqual(self.changes(text, "drop-statement"), [";", ";", ";"])
        self.assertEqual(self.changes(text, "swap-statements"), ["g(b()); g(a());"])

    def test_drops_a_variable_only_when_nobody_names_it(self):
        text = "struct L { ~L(); };\nint f() {\n L lock;\n int a = 1;\n return a;\n}\n"
        self.assertEqual(self.changes(text, "drop-statement"), [";", ";"])

    def test_changes_constants(self):
        text = "const int a = 0;\nconst unsigned b = 7U;\nconst bool c = true;\n"
        self.assertEqual(
            self.changes(text, "change-constant"),
            [
                "const int a = 1;",
                "const unsigned b = 6U;",
                "const unsigned b = 8U;",
                "const bool c = false;",
            ],
        )

    def test_changes_a_character_of_each_text_but_no_conversion(self):
        text = 'const char* a = "ab %s\\n" "-";\nconst char* b = "";\n'
        self.assertEqual(
            self.changes(text, "change-text"),
            [
                'const char* a = "ac %s\\n" "-";',
                'const char* a = "ab %s\\n" "x";',
                'const char* b = "x";',
            ],
        )
        self.assertEqual(
            self.changes(text, "empty-text"),
            ['const char* a = "" "-";', 'const char* a = "ab %s\\n" "";'],
        )

    def test_leaves_assertions_of_the_compiler_and_included_files_alone(self):
        write(self.folder, "other.h", "inline int other() { return 1; }\n")
        self.assertEqual(self.mutants('#include "other.h"\nstatic_assert(1 + 1 == 2, "sum");\n'), [])

    def test_numbers_the_mutants_of_a_line(self):
        ids = [m.id for m in self.mutants("int a[] = {1,\n 2, 3};\n")]
        self.assertEqual(
            ids,
            [
                "sample.cpp:1 change-constant 1",
                "sample.cpp:1 change-constant 2",
                "sample.cpp:2 change-constant 1",
                "sample.cpp:2 change-constant 2",
                "sample.cpp:2 change-constant 3",
                "sample.cpp:2 change-constant 4",
            ],
        )


class Judgement(TemporaryFolder):
    FILES = {
        "CMakeLists.txt": (
            "cmake_minimum_required(VERSION 3.23)\n"
            "project(sample CXX)\n"
            "set(CMAKE_CXX_STANDARD 20)\n"
            "include_directories(${PROJECT_SOURCE_DIR})\n"
            "add_library(requests STATIC requests/sum.cpp)\n"
            "add_executable(requests_test test.cpp)\n"
            "set_target_properties(requests_test PROPERTIES\n"
            "  RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)\n"
            "target_link_libraries(requests_test requests)\n"
        ),
        "requests/step.h": "inline int step() {\n    return 1;\n}\n",
        "requests/sum.cpp": (
            '#include "requests/step.h"\n'
            "int sum(int n) {\n"
            "    int unused = 5;\n"
            "    int result = 0;\n"
            "    for (int i = 0; i < n; ++i) {\n"
            "        result += step();\n"
            "    }\n"
            "    if (n > 100) {\n"
            "        result = 100;\n"
            "    }\n"
            "    return result;\n"
            "}\n"
        ),
        "test.cpp": "int sum(int);\nint main() {\n    return sum(3) == 3 ? 0 : 1;\n}\n",
    }

    def test_tells_the_verdicts_apart_and_leaves_no_trace(self):
        root = os.path.join(self.folder, "root")
        for name, text in self.FILES.items():
            write(root, name, text)
        workshop = Workshop(root, os.path.join(self.folder, "worker"))
        workshop.refresh(list(self.FILES))
        workshop.configure()
        workshop.make()
        workshop.measure()
        verdicts = {}
        for file in ("requests/step.h", "requests/sum.cpp"):
            path = os.path.join(root, file)
            for mutant in find_mutants(file, path, ["-std=c++20", "-I" + root]):
                verdicts[mutant.after] = workshop.attempt(mutant)[0]
        self.assertEqual(verdicts["return 2;"], KILLED)
        self.assertEqual(verdicts["for (int i = 0; i <= n; ++i) {"], KILLED)
        self.assertEqual(verdicts["if (n > 101) {"], SURVIVED)
        self.assertEqual(verdicts["int unused = 6;"], EQUIVALENT)
        self.assertEqual(verdicts[";"], NOT_VIABLE)
        for name, text in self.FILES.items():
            with open(os.path.join(workshop.sources, name), encoding="utf-8") as stream:
                self.assertEqual(stream.read(), text)
        self.assertIsNone(workshop.run(workshop.programs[0], workshop.programs[0].fast))


class Verdicts(TemporaryFolder):
    def test_are_taken_over_unless_their_file_has_changed(self):
        mutant = self.mutants("int a = 1;\n")[0]
        path = os.path.join(self.folder, "results.tsv")
        Results(path).add(mutant, "print", SURVIVED, "", 1.5)
        Results(path).add(mutant, "print", KILLED, "by a test", 1.5)
        again = Results(path)
        self.assertEqual(again.verdict(mutant, "print"), KILLED)
        self.assertIsNone(again.verdict(mutant, "another print"))

    def test_are_forgotten_for_the_mutants_that_are_tried_anew(self):
        one, other = self.mutants("int a = 1;\n")
        path = os.path.join(self.folder, "results.tsv")
        results = Results(path)
        results.add(one, "print", KILLED, "", 1.5)
        results.add(other, "print", KILLED, "", 1.5)
        results.forget([one])
        for known in (results, Results(path)):
            self.assertIsNone(known.verdict(one, "print"))
            self.assertEqual(known.verdict(other, "print"), KILLED)

    def test_of_an_interrupted_write_are_not_taken_over(self):
        mutant = self.mutants("int a = 1;\n")[0]
        path = write(self.folder, "results.tsv", f"killed\t{mutant.id}\tprint\t1.50\tby a te")
        self.assertIsNone(Results(path).verdict(mutant, "print"))

    def test_are_explained_wherever_the_line_has_moved_and_whatever_is_remarked(self):
        fields = ["sample.cpp", "a", "change-constant", "int a = 1;", "int a = 0;", "never read"]
        path = write(self.folder, "equivalent.tsv", "# comment\n" + "\t".join(fields) + "\n")
        explanations = Explanations(path)
        down, up = self.mutants("\n\n  int a = 1; // a remark\n")
        self.assertEqual(explanations.reason(down), "never read")
        self.assertIsNone(explanations.reason(up))
        self.assertEqual(explanations.unused({"sample.cpp"}), [tuple(fields[:5])])
        explanations.use(down)
        self.assertEqual(explanations.unused({"sample.cpp"}), [])

    def test_count_as_killed_of_the_viable_that_are_not_equivalent(self):
        mutants = self.mutants("int a[] = {1, 1, 1};\n")
        verdicts = [KILLED, KILLED, KILLED, SURVIVED, EXPLAINED, NOT_VIABLE]
        table, killed = summary(list(zip(mutants, verdicts)))
        self.assertEqual(killed, 75.0)
        self.assertEqual(table.splitlines()[-1].split()[:3], ["all", "6", "3"])


if __name__ == "__main__":
    unittest.main()
