# Tests of script/lib/run_tests.py, on a stand-in for a program of GoogleTest whose tests pass, fail, crash,
# hang and leak as their names say.
import contextlib
import io
import os
import pathlib
import stat
import sys
import tempfile
import unittest

ROOT = os.path.realpath(os.path.join(os.path.dirname(__file__), "..", ".."))
sys.path.insert(0, os.path.join(ROOT, "script", "lib"))

import progress
import run_tests

PROGRAM = """#!/bin/bash
echo "$*" >>"$0.runs"
filter=${1#--gtest_filter=}
status=0
for name in ${filter//:/ }; do
    echo "[ RUN      ] $name"
    case $name in
    *Fails*) echo "x.cpp:1: Failure"; echo "[  FAILED  ] $name, where GetParam() = 7 (3 ms)"; status=1; continue ;;
    *Crashes*) echo "Segmentation fault"; kill -SEGV $$ ;;
    *Ends*) exit 0 ;;
    *Hangs*) sleep 600 ;;
    *Skips*) echo "x.cpp:1: Skipped"; echo "no display"; echo; echo "[  SKIPPED ] $name (0 ms)"; continue ;;
    *Leaks*) status=23 ;;
    *Quarrels*) [[ $filter == *:* ]] && status=9 ;;
    esac
    printf 'no end of line[       OK ] %s (1 ms)\\n' "$name"
done
exit $status
"""


class RunTests(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.program = pathlib.Path(folder.name, "some_test")
        self.program.write_text(PROGRAM)
        self.program.chmod(self.program.stat().st_mode | stat.S_IXUSR)
        self.times = {}

    def entry(self, name, limit=60.0, **others):
        return run_tests.Test({
            "name": f"some_test.{name}", "command": [str(self.program), f"--gtest_filter={name}"],
            "properties": [{"name": "TIMEOUT", "value": limit}], **others})

    def run_tests(self, tests, failed_last=()):
        """What the lines that it prints tell, and its status."""
        output = io.StringIO()
        with contextlib.redirect_stdout(output):
            self.status = run_tests.Run("debug", tests, self.times, set(failed_last)).run(1)
        read = progress.Progress()
        for line in output.getvalue().splitlines():
            read.line(line)
        self.assertEqual((read.count, read.total), (len(tests), len(tests)), output.getvalue())
        return read

    def failures(self, *names):
        return [each.name for each in self.run_tests([self.entry(name) for name in names]).failures]

    def runs(self):
        return pathlib.Path(f"{self.program}.runs").read_text().splitlines()

    def test_tests_of_one_program_share_a_process(self):
        self.assertEqual(self.failures("A.One", "A.Two", "P/B.Three/0"), [])
        self.assertEqual(self.runs(), ["--gtest_filter=A.One:A.Two:P/B.Three/0"])
        self.assertEqual(self.status, 0)

    def test_a_failure_is_one_test_with_its_output_and_command(self):
        read = self.run_tests([self.entry(name) for name in ("A.One", "A.Fails/0", "A.Two")])
        self.assertEqual([each.name for each in read.failures], ["some_test.A.Fails/0"])
        self.assertIn("x.cpp:1: Failure", read.failures[0].lines)
        self.assertIn("script/build debug some_test && ctest --test-dir build/debug", read.failures[0].repeat)
        self.assertEqual(self.status, 1)
        self.assertEqual(len(self.runs()), 1)

    def test_a_crash_is_charged_to_the_running_test_and_the_rest_still_runs(self):
        self.assertEqual(self.failures("A.One", "A.Crashes", "A.Fails"),
                         ["some_test.A.Crashes (killed by signal 11)", "some_test.A.Fails"])
        self.assertEqual(self.runs()[1:], ["--gtest_filter=A.Fails"])

    def test_a_program_that_ends_in_a_test_has_failed_even_with_status_0(self):
        self.assertEqual(self.failures("A.Ends", "A.One"), ["some_test.A.Ends (status 0)"])

    def test_a_test_that_hangs_is_stopped_after_its_time_limit(self):
        read = self.run_tests([self.entry("A.Hangs", limit=0.3), self.entry("A.Two")])
        self.assertEqual([each.name for each in read.failures],
                         ["some_test.A.Hangs (not finished within 0.3 s)"])

    def test_a_leak_found_at_the_end_is_charged_to_the_test_that_leaks_alone(self):
        self.assertEqual(self.failures("A.One", "A.Leaks", "A.Two"),
                         ["some_test.A.Leaks (status 23, after the test)"])

    def test_a_program_fails_even_if_each_test_passes_alone(self):
        failures = self.failures("A.One", "A.Quarrels")
        self.assertEqual(len(failures), 1)
        self.assertIn("none of them fails alone", failures[0])

    def test_a_skipped_test_tells_why(self):
        self.assertEqual(self.run_tests([self.entry("A.Skips")]).skipped, ["some_test.A.Skips: no display"])

    def test_a_test_that_was_not_built_has_failed(self):
        read = self.run_tests([self.entry("A.One"), self.entry("A.Two", command=None)])
        self.assertEqual([each.name for each in read.failures], ["some_test.A.Two (not built)"])

    def test_a_program_of_another_kind_is_judged_by_its_status(self):
        tests = [run_tests.Test({"name": f"{word}.all", "command": [word]}) for word in ("true", "false")]
        self.assertEqual([each.name for each in self.run_tests(tests).failures], ["false.all (status 1)"])

    def test_what_failed_last_comes_first_and_then_the_longest(self):
        self.times.update({"some_test.A.Long": 9.0, "some_test.A.Short": 0.1, "some_test.A.Fails": 0.1})
        self.run_tests([self.entry(name) for name in ("A.Short", "A.Long", "A.Fails")], {"some_test.A.Fails"})
        self.assertEqual(self.runs(), [f"--gtest_filter=A.{name}" for name in ("Fails", "Long", "Short")])


if __name__ == "__main__":
    unittest.main()
