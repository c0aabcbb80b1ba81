# Tests of script/lib/progress.py: what is read from a step's output, and how it is shown.
import io
import os
import sys
import unittest

ROOT = os.path.realpath(os.path.join(os.path.dirname(__file__), "..", ".."))
sys.path.insert(0, os.path.join(ROOT, "script", "lib"))

import progress

NINJA = """-- Configuring done
[1/3] Building CXX object a.cpp.o
FAILED: dir/b.cpp.o
/usr/bin/g++ a very long command
b.cpp:1:2: error: no such thing
    1 | thing
[2/3] Building CXX object c.cpp.o
FAILED: dir/d.cpp.o
/usr/bin/g++ another command
d.cpp:7:1: error: nor this
ninja: build stopped: cannot make progress due to previous errors."""

OURS = """progress: 1/3 a_test.A.B
    [ RUN      ] A.B
progress: 2/3 a_test.A.C
failed: a_test.A.C (status 1)
    progress: 9/9 this is output of the test
    oh no
repeat: ctest -R A.C
progress: 3/3 a_test.A.D
skipped: a_test.A.D: no X server"""


def read(text, preset=""):
    result = progress.Progress(preset)
    shown = [failure for line in text.splitlines() if (failure := result.line(line))]
    return result, shown + [last for last in [result.end()] if last]


class Reading(unittest.TestCase):
    def test_each_source_that_does_not_compile_is_one_failure(self):
        result, shown = read(NINJA, "debug")
        self.assertEqual([each.name for each in shown], ["dir/b.cpp.o", "dir/d.cpp.o"])
        self.assertEqual(shown[0].lines, ["b.cpp:1:2: error: no such thing", "    1 | thing"])
        self.assertEqual(shown[0].repeat, "script/build debug dir/b.cpp.o")
        self.assertEqual((result.count, result.total), (2, 3))

    def test_a_failed_test_is_shown_with_its_output_and_what_repeats_it(self):
        result, shown = read(OURS)
        self.assertEqual(len(shown), 1)
        self.assertEqual(shown[0].name, "a_test.A.C (status 1)")
        self.assertEqual(shown[0].lines, ["progress: 9/9 this is output of the test", "oh no"])
        self.assertEqual(shown[0].repeat, "ctest -R A.C")
        self.assertEqual((result.count, result.total, result.what), (3, 3, "a_test.A.D"))
        self.assertEqual(result.skipped, ["a_test.A.D: no X server"])

    def test_a_failure_in_which_the_output_ends_is_not_lost(self):
        result, shown = read("failed: a_test.A.C\n    half of its out")
        self.assertEqual([each.name for each in shown], ["a_test.A.C"])
        self.assertEqual(result.failures, shown)

    def test_a_share_of_the_work_is_known_better_than_by_counting(self):
        self.assertEqual(read("progress: 10/100 some test")[0].share, 0.1)
        result, _ = read("progress: 10/100 40% some test")
        self.assertEqual((result.count, result.share, result.what), (10, 0.4, "some test"))

    def test_ctest_counts_too(self):
        result, _ = read("   12/921 Test   #3: store_test.A.B ......   Passed    0.06 sec")
        self.assertEqual((result.count, result.total), (12, 921))


class SecondsLeft(unittest.TestCase):
    def test_nothing_is_known_at_first(self):
        self.assertIsNone(progress.seconds_left(3, 0.01, None))
        self.assertEqual(progress.about(None), "")

    def test_the_last_run_counts_until_there_is_a_pace(self):
        self.assertEqual(progress.seconds_left(3, 0.0, 60), 57)

    def test_the_pace_counts_if_there_was_no_last_run(self):
        self.assertEqual(progress.seconds_left(10, 0.25, None), 30)

    def test_the_further_it_is_the_more_the_pace_counts(self):
        self.assertEqual(progress.seconds_left(50, 0.5, 200), 0.5 * 100 + 0.5 * 200 - 50)
        self.assertEqual(progress.about(200), "about 3 min left")


class OnATerminal(io.StringIO):
    def isatty(self):
        return True


class Showing(unittest.TestCase):
    RUNNING = [("tests", 0.0, progress.Progress(), 100)]

    def test_a_terminal_gets_one_line_for_each_step_and_they_are_drawn_again(self):
        stream = OnATerminal()
        display = progress.Display(stream)
        display.refresh(self.RUNNING, "0 of 1 steps done")
        self.assertEqual(stream.getvalue().count("\n"), 2)
        display.say("ok  build")
        display.refreshed = 0.0
        display.refresh(self.RUNNING, "0 of 1 steps done")
        self.assertIn("\033[2A\033[Jok  build\n", stream.getvalue())

    def test_elsewhere_there_are_plain_lines_and_few(self):
        stream = io.StringIO()
        display = progress.Display(stream)
        for _ in range(5):
            display.refresh(self.RUNNING, "0 of 1 steps done")
        self.assertEqual(stream.getvalue(), "")
        display.plain["tests"] -= progress.PLAIN_LINE_SECONDS
        display.refresh(self.RUNNING, "0 of 1 steps done")
        self.assertEqual(stream.getvalue().count("\n"), 1)
        self.assertIn("about 2 min left", stream.getvalue())

    def test_the_rest_of_a_long_output_is_in_the_log(self):
        stream = io.StringIO()
        failure = progress.Failure("a_test.A.B")
        failure.lines = [str(number) for number in range(100)]
        progress.Display(stream).failure("tests", failure, "build/test-logs/tests.log")
        self.assertIn("    59\n    ... 40 more lines in build/test-logs/tests.log\n", stream.getvalue())


if __name__ == "__main__":
    unittest.main()
