# Tests of script/lib/parts.py, the table, and of script/lib/run_parts.py, which runs parts: here small ones.
import contextlib
import fcntl
import io
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import time
import unittest
import unittest.mock

ROOT = os.path.realpath(os.path.join(os.path.dirname(__file__), "..", ".."))
sys.path.insert(0, os.path.join(ROOT, "script", "lib"))

import child
import parts
import progress
import run_parts
from schedule import Step


def usage_error_of(*arguments):
    errors = io.StringIO()
    with contextlib.redirect_stderr(errors):
        try:
            run_parts.chosen(list(arguments))
        except SystemExit as end:
            return end.code, errors.getvalue()
    return None, ""


class Findings(unittest.TestCase):
    """What is shown of a step that failed without saying what failed."""

    def test_they_are_its_last_lines(self):
        self.assertEqual(run_parts.findings(["one", "two"]), ["one", "two"])

    def test_they_begin_where_an_error_is(self):
        self.assertEqual(run_parts.findings(["a", "b", "c", "d.cpp:1: error: e", "f"])[0], "b")

    def test_how_far_it_was_is_left_out(self):
        lines = ["the reason"] + [f"progress: {count}/100 fuzz" for count in range(100)]
        self.assertEqual(run_parts.findings(lines), ["the reason"])


class Table(unittest.TestCase):
    def test_steps_of_one_name_are_the_same_step(self):
        by_name = {}
        for part in parts.PARTS:
            for step in part.steps + part.beside:
                self.assertEqual(by_name.setdefault(step.name, step), step)

    def test_every_command_exists(self):
        for part in parts.PARTS:
            for step in part.steps + part.beside:
                for word in step.command:
                    if word.startswith("script/"):
                        self.assertTrue(os.access(os.path.join(ROOT, word), os.R_OK), word)

    def test_what_fails_on_a_release_is_repeated_in_its_root(self):
        part = next(part for part in parts.PARTS if part.name == "debian-13")
        for step in part.steps:
            self.assertEqual(step.command[:2], ("script/clean-root", "debian-13"))
            read = progress.Progress(step.preset, step.wrapper)
            read.line("3: [====]")
            failure = read.line("1/1 Test #3: a_test.A.B ...***Failed  0.1 sec")
            self.assertEqual(failure.repeat,
                             "script/clean-root debian-13 script/build portable a_test && script/clean-root debian-13 "
                             "ctest --test-dir build/portable --output-on-failure -R '^a_test\\.A\\.B$'")

    def test_every_group_of_packages_exists(self):
        for group in {group for part in parts.PARTS for group in part.packages}:
            subprocess.run([os.path.join(ROOT, "script", "bootstrap"), group, "--list"], check=True,
                           stdout=subprocess.DEVNULL)

    def test_the_readme_of_the_scripts_lists_them(self):
        text = pathlib.Path(ROOT, "script", "README.md").read_text()
        row = next(line for line in text.splitlines() if line.startswith("| `sources`"))
        columns = [re.findall(r"`([^`]+)`", column) for column in row.strip("|").split("|")]
        self.assertEqual(columns, [
            [part.name for part in parts.PARTS if part.default],
            [part.name for part in parts.PARTS if part.in_all and not part.default],
            [part.name for part in parts.PARTS if not part.in_all]])

    def test_the_readme_lists_what_all_adds(self):
        text = pathlib.Path(ROOT, "README.md").read_text()
        row = next(line for line in text.splitlines() if line.startswith("| `script/test --all`"))
        self.assertEqual(re.findall(r"`([^`]+)`", row)[1:],
                         [part.name for part in parts.PARTS if part.in_all and not part.default])

    def test_every_test_program_that_is_named_exists(self):
        folders = pathlib.Path(ROOT, "tests").rglob("CMakeLists.txt")
        programs = {name for file in folders for name in re.findall(r"orvane_test\((\w+)", file.read_text())}
        for named in (parts.RELEASE_TESTS, parts.SLOW_TESTS, parts.ONE_THREAD_TESTS):
            self.assertEqual(set(named) - programs, set())

    def test_what_is_not_by_default_is_in_all_but_debug(self):
        everything = [part.name for part in run_parts.chosen(["--all"])]
        self.assertEqual([part.name for part in parts.PARTS if part.name not in everything], ["debug"])
        self.assertEqual([part.name for part in run_parts.chosen([])], ["sources", "tests", "page"])


class Choosing(unittest.TestCase):
    def test_an_unknown_part_is_named_with_those_that_exist(self):
        status, text = usage_error_of("tests", "tsann")
        self.assertEqual(status, 2)
        self.assertIn("unknown option or part tsann; parts are sources tests page", text)

    def test_all_and_a_part_contradict_each_other(self):
        self.assertEqual(usage_error_of("--all", "lint")[0], 2)


class Running(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        os.environ.pop("ORVANE_PROGRESS", None)  # set by the script/test that runs this
        self.logs = pathlib.Path(folder.name)
        self.addCleanup(setattr, run_parts, "LOGS", run_parts.LOGS)
        self.addCleanup(setattr, run_parts, "ROOT", run_parts.ROOT)
        run_parts.LOGS, run_parts.ROOT = self.logs / "logs", self.logs
        run_parts.LOGS.mkdir()
        self.times = run_parts.Times(run_parts.LOGS / "times.json")

    def run_steps(self, *commands):
        """Status, and what was printed; each command is a part of its own."""
        chosen = [parts.Part(f"p{index}", "", (Step(f"s{index}", tuple(command), waits=True, cores=1),))
                  for index, command in enumerate(commands)]
        output = io.StringIO()
        with contextlib.redirect_stdout(output):
            run = run_parts.Run(chosen, self.times, progress.Display(output))
            run.run()
            status = run.summary(1.0)
        return status, output.getvalue()

    def test_what_fails_is_shown_and_listed_and_the_rest_goes_on(self):
        status, text = self.run_steps(["sh", "-c", "echo x.cpp:1: error: bad; exit 4"], ["true"])
        self.assertEqual(status, 1)
        self.assertIn("FAILED in s0: status 4\n    x.cpp:1: error: bad\n", text)
        self.assertIn("ok      s1", text)
        self.assertIn("test: FAILED: p0 (0 tests; ", text)
        self.assertIn("  s0: status 4\n      sh -c", text)

    def test_what_cannot_run_here_is_no_failure_and_tells_why(self):
        status, text = self.run_steps(["sh", "-c", "echo this needs root; exit 77"])
        self.assertEqual(status, 0)
        self.assertIn("not run: s0: this needs root\n", text)
        self.assertIn("test: passed:  (0 tests; ", text)
        self.assertIsNone(self.times.seconds("s0"))

    def test_two_builds_that_fail_at_one_source_are_one_failure(self):
        broken = ["sh", "-c", "echo 'FAILED: a.o'; exit 1"]
        self.assertIn("1 failed; each", self.run_steps(broken, broken)[1])

    def test_the_whole_output_is_in_the_log(self):
        self.run_steps(["sh", "-c", "seq 1000; printf 'no end of line'"])
        self.assertEqual((run_parts.LOGS / "s0.log").read_text().split(),
                         [*map(str, range(1, 1001)), "no", "end", "of", "line"])

    def test_times_are_kept_from_run_to_run(self):
        self.run_steps(["true"], ["false"])
        known = run_parts.Times(run_parts.LOGS / "times.json").steps
        self.assertEqual([known[name]["passed"] for name in ("s0", "s1")], [True, False])
        self.assertGreaterEqual(known["s0"]["seconds"], 0)

    def test_a_damaged_or_older_file_of_times_is_no_failure(self):
        for text in ("", "[]", '{"s0": 7}', '{"s0": {"seconds": 1, "when": "now"}}'):
            (run_parts.LOGS / "times.json").write_text(text)
            self.assertEqual(run_parts.Times(run_parts.LOGS / "times.json").steps, {})

    def test_a_failed_test_within_a_step_is_what_is_listed(self):
        result = "1/1 Test #7: a_test.A.B ...***Failed  0.1 sec"
        _, text = self.run_steps(["sh", "-c", f"echo '7: oh no'; echo '{result}'; exit 8"])
        self.assertIn("FAILED in s0: a_test.A.B (Failed)\n    oh no\n", text)
        self.assertIn("1 failed; each with what repeats it:\n  s0: a_test.A.B (Failed)\n      script/build", text)

    def test_inside_another_run_that_one_shows_the_failure(self):
        result = "1/1 Test #7: a_test.A.B ...***Failed  0.1 sec"
        with unittest.mock.patch.dict(os.environ, ORVANE_PROGRESS="lines"):
            _, text = self.run_steps(["sh", "-c", f"echo '7: oh no'; echo '{result}'; exit 8"])
        self.assertIn(f"7: oh no\n{result}\n", text)
        self.assertNotIn("FAILED in", text)

    def test_a_second_run_in_the_same_checkout_is_refused(self):
        errors = io.StringIO()
        with (run_parts.LOGS / "lock").open("w") as lock, contextlib.redirect_stderr(errors):
            fcntl.flock(lock, fcntl.LOCK_EX)
            self.assertEqual(run_parts.main(["sources"]), 1)
        self.assertIn("another script/test runs", errors.getvalue())

    def test_skipped_tests_are_counted_by_their_reason(self):
        results = "".join(f"{n}: a.cpp:1: Skipped\\n{n}: no X\\n{n}/2 Test #{n}: a.T{n} ...***Skipped 0.1 sec\\n" for n in (1, 2))
        _, text = self.run_steps(["printf", results])
        self.assertIn("2 skipped: no X: a.T1, a.T2\n", text)

    def test_steps_side_by_side_count_once_in_the_time_of_a_part(self):
        runs = [{"began": began, "seconds": seconds} for began, seconds in ((100, 10), (105, 20), (110, 5), (200, 1))]
        self.assertEqual(run_parts.busy_seconds(runs), 26)

    def test_list_tells_what_ran_and_what_never_did(self):
        self.times.note("sources", 75, True)
        output = io.StringIO()
        with contextlib.redirect_stdout(output):
            run_parts.list_parts(self.times)
        self.assertIn("1:15, passed, 20", output.getvalue())
        self.assertIn("never run here", output.getvalue())


STOPPED = """
import sys
sys.path.insert(0, sys.argv[1])
import child
child.adopt_orphans()
children = child.Children()
# A step whose program leaves its session and ignores SIGTERM, as a badly behaved server might.
children.start(["sh", "-c", "setsid sh -c 'trap \\"\\" TERM; echo $$; while :; do sleep 0.1; done' & wait"],
               lambda line: print(line, flush=True))
try:
    child.raise_when_interrupted()
    while True:
        children.wait(1)
except child.Interrupted as interrupted:
    sys.exit(interrupted.status)
finally:
    child.kill_descendants(0.2)
"""


class Stopping(unittest.TestCase):
    def test_in_the_background_an_interrupt_is_ignored_but_not_by_the_children(self):
        script = """
import os, signal, sys
sys.path.insert(0, sys.argv[1])
import child
child.raise_when_interrupted()
os.kill(os.getpid(), signal.SIGINT)
children = child.Children()
children.start(["sh", "-c", "kill -INT $$; echo survived"], print)
ended = []
while not ended:
    ended = children.wait(1)
print(ended[0].status)"""
        output = subprocess.run(
            ["env", "--ignore-signal=INT", sys.executable, "-B", "-c", script, os.path.join(ROOT, "script", "lib")],
            capture_output=True, text=True, check=True).stdout
        self.assertEqual(output, f"{-signal.SIGINT}\n")

    def test_an_interrupt_leaves_no_process_behind(self):
        process = subprocess.Popen([sys.executable, "-B", "-c", STOPPED, os.path.join(ROOT, "script", "lib")],
                                   stdout=subprocess.PIPE, text=True)
        orphan = int(process.stdout.readline())
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(timeout=20), 128 + signal.SIGINT)
        process.stdout.close()
        with self.assertRaises(ProcessLookupError):
            os.kill(orphan, 0)


if __name__ == "__main__":
    unittest.main()
