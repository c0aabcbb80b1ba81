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

CTEST = """test 7
      Start  7: a_test.A.B
7: Test command: /build/tests/a_test "--gtest_filter=A.B"
7: Working Directory: /build/tests
7: Test timeout computed to be: 60
test 9
      Start  9: a_test.A.C
7: [==========] Running 1 test from 1 test suite.
9: [==========] Running 1 test from 1 test suite.
7: [ RUN      ] A.B
9: [ RUN      ] A.C
7: 9/9 Test #9: this is output of the test ...   Passed    0.01 sec
7: oh no
1/5 Test  #9: a_test.A.C .......................   Passed    0.44 sec
2/5 Test  #7: a_test.A.B .......................***Failed    0.06 sec
3: a.cpp:1: Skipped
3: no X server
3/5 Test  #3: a_test.P/A.D/0  # GetParam() = 0 ..***Skipped   0.00 sec
4: test_two (__main__.Two.test_two) ... skipped 'nginx is missing'
4: test_three (__main__.Two.test_three) ... skipped 'wrk is missing'
4: test_four (__main__.Two.test_four) ... skipped 'nginx is missing'
4/5 Test  #4: python_test.all ..................   Passed    1.06 sec
5: half of its output
5/5 Test  #5: python_test.more .................***Timeout  60.01 sec

60% tests passed, 2 tests failed out of 5"""


def read(text, *arguments):
    """The whole, and what would be shown at once."""
    result = progress.Progress(*arguments)
    shown = [failure for line in text.splitlines() if (failure := result.line(line))]
    return result, shown + [last for last in [result.end()] if last]


class Reading(unittest.TestCase):
    def test_each_source_that_does_not_compile_is_one_failure(self):
        result, shown = read(NINJA, "debug")
        self.assertEqual([each.name for each in shown], ["dir/b.cpp.o", "dir/d.cpp.o"])
        self.assertEqual(shown[0].lines, ["b.cpp:1:2: error: no such thing", "    1 | thing"])
        self.assertEqual(shown[0].repeat, "script/build debug dir/b.cpp.o")
        self.assertEqual((result.count, result.total), (2, 3))

    def test_a_failure_in_which_the_output_ends_is_not_lost(self):
        result, shown = read(NINJA[:NINJA.index("ninja:")], "debug")
        self.assertEqual(len(shown), 2)
        self.assertEqual(result.failures, shown)

    def test_a_failed_test_is_shown_with_its_own_output(self):
        result, shown = read(CTEST, "debug")
        self.assertEqual([each.name for each in shown], ["a_test.A.B (Failed)", "python_test.more (Timeout)"])
        self.assertEqual(shown[0].lines, [
            "[==========] Running 1 test from 1 test suite.", "[ RUN      ] A.B",
            "9/9 Test #9: this is output of the test ...   Passed    0.01 sec", "oh no"])
        self.assertEqual(shown[1].lines, ["half of its output"])
        self.assertEqual((result.count, result.total, result.what), (5, 5, "python_test.more"))

    def test_one_command_builds_and_repeats_a_failed_test(self):
        _, shown = read(CTEST, "debug")
        self.assertEqual(shown[0].repeat, "script/build debug a_test && ctest --test-dir build/debug "
                                          "--output-on-failure -R '^a_test\\.A\\.B$'")
        self.assertTrue(shown[1].repeat.startswith("script/build debug && ctest "), shown[1].repeat)

    def test_the_command_has_the_wrapper_of_the_preset(self):
        _, shown = read(CTEST, "tsan", ("setarch", "--addr-no-randomize"))
        self.assertTrue(shown[0].repeat.startswith(
            "setarch --addr-no-randomize script/build tsan a_test && setarch --addr-no-randomize ctest "))

    def test_a_skipped_test_tells_each_reason(self):
        self.assertEqual(read(CTEST)[0].skipped, [
            ("a_test.P/A.D/0  # GetParam() = 0", "no X server"),
            ("python_test.all", "nginx is missing"), ("python_test.all", "wrk is missing")])

    def test_the_line_of_our_own_scripts_counts_too(self):
        result, _ = read("progress: 12/507 release")
        self.assertEqual((result.count, result.total, result.what), (12, 507, "release"))


class SecondsLeft(unittest.TestCase):
    def left(self, elapsed, count, last, even=True):
        """Of 100."""
        now = progress.Progress()
        now.count, now.total, now.even = count, 100, even
        return progress.seconds_left(elapsed, now, last)

    def test_nothing_is_known_at_first(self):
        self.assertIsNone(self.left(3, 1, None))
        self.assertEqual(progress.about(None), "")

    def test_the_last_run_counts_until_a_build_has_a_pace(self):
        self.assertEqual(self.left(3, 1, 60), 57)
        self.assertEqual(self.left(10, 25, 60), 30)

    def test_the_last_run_of_the_tests_counts_as_long_as_it_can(self):
        self.assertEqual(self.left(10, 2, 60, even=False), 50)
        self.assertIsNone(self.left(61, 50, 60, even=False))
        self.assertEqual(self.left(90, 90, 60, even=False), 10)

    def test_it_is_told_in_round_figures(self):
        self.assertEqual([progress.about(seconds) for seconds in (4, 89, 200)],
                         ["", "about 89 s left", "about 3 min left"])


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
        failure = progress.Failure("a_test.A.B", "ctest")
        failure.lines = [str(number) for number in range(100)]
        progress.Display(stream).failure("tests", failure, "build/test-logs/tests.log")
        self.assertIn("    59\n    ... 40 more lines in build/test-logs/tests.log\n", stream.getvalue())


if __name__ == "__main__":
    unittest.main()
