# Tests of build_shown in script/lib/common.sh, on a stand-in for the build that prints given lines.
import os
import pathlib
import pty
import subprocess
import tempfile
import unittest

ROOT = os.path.realpath(os.path.join(os.path.dirname(__file__), "..", ".."))
SCRIPT = """
    source "$1/script/lib/common.sh"
    build_preset() { printf '%b' "$LINES_OF_BUILD"; return "$STATUS_OF_BUILD"; }
    build_shown "$2" release some_target"""
GOOD = "-- Configuring\\n[1/4] Building a\\n[2/4] Building b\\n[4/4] Linking c\\n"
BAD = "[1/4] Building a\\nFAILED: b.o\\nb.cpp:1:2: error: no such thing\\n[3/4] Building c\\n"


def read_all(terminal):
    """Until the other side is closed, which Linux reports as an error."""
    text = b""
    while True:
        try:
            text += os.read(terminal, 65536)
        except OSError:
            return text.decode()


class BuildShown(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.log = pathlib.Path(folder.name, "logs", "build.log")

    def run_build(self, lines, status=0, stdout=subprocess.PIPE, **environment):
        environment = {"PATH": os.environ["PATH"], "LINES_OF_BUILD": lines,
                       "STATUS_OF_BUILD": str(status), **environment}
        return subprocess.run(["bash", "-euo", "pipefail", "-c", SCRIPT, "bash", ROOT, str(self.log)],
                              env=environment, stdout=stdout, stderr=subprocess.PIPE, text=True)

    def test_without_a_terminal_it_prints_few_plain_lines(self):
        result = self.run_build(GOOD)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertIn("  release 1/4, 0:00\n", result.stdout)
        self.assertNotIn("2/4", result.stdout)
        self.assertNotIn("\033", result.stdout)

    def test_on_a_terminal_one_line_is_drawn_again_and_erased(self):
        ours, theirs = pty.openpty()
        self.addCleanup(os.close, ours)
        self.assertEqual(self.run_build(GOOD, stdout=theirs).returncode, 0)
        os.close(theirs)
        shown = read_all(ours)
        self.assertIn("\r  release 2/4, ", shown)
        self.assertTrue(shown.endswith("\r\033[K"), shown)

    def test_for_another_script_every_step_is_a_line(self):
        result = self.run_build(GOOD, ORVANE_PROGRESS="lines")
        self.assertEqual([line for line in result.stdout.splitlines() if line.startswith("progress:")],
                         [f"progress: {n}/4 release" for n in (1, 2, 4)])

    def test_the_log_holds_everything(self):
        self.run_build(GOOD)
        self.assertEqual(self.log.read_text(), GOOD.replace("\\n", "\n"))

    def test_tests_of_ctest_are_counted_too(self):
        result = self.run_build(" 7/40 Test  #3: a_test.A.B ......   Passed    0.06 sec\\n3: 8/9 of a test\\n",
                                ORVANE_PROGRESS="lines")
        self.assertIn("progress: 7/40 release\n", result.stdout)
        self.assertNotIn("8/9", result.stdout)

    def test_the_lines_of_another_script_are_counted_too(self):
        lines = "progress: 3/9 packages\\nprogress: none\\n"
        self.assertIn("  release 3/9, 0:00\n", self.run_build(lines).stdout)
        counted = self.run_build(lines, ORVANE_PROGRESS="lines").stdout
        self.assertEqual(counted.count("progress: "), 1)
        self.assertIn("progress: 3/9 release\n", counted)

    def test_a_failure_keeps_its_status_and_shows_the_errors(self):
        result = self.run_build(BAD, status=3)
        self.assertEqual(result.returncode, 3)
        self.assertIn("b.cpp:1:2: error: no such thing\n", result.stderr)
        self.assertIn(str(self.log), result.stderr)

    def test_a_failure_without_errors_shows_the_end_of_the_log(self):
        result = self.run_build("cmake: command not found\\n", status=127)
        self.assertIn("cmake: command not found\n", result.stderr)


if __name__ == "__main__":
    unittest.main()
