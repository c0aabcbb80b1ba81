# Tests of when script/clean-root does not run its command, and why. A copy of it runs with stand-ins for
# mmdebstrap and unshare as the first words of PATH.
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

ROOT = os.path.realpath(os.path.join(os.path.dirname(__file__), "..", ".."))
NOT_RUN = 77
UNREACHABLE = "Err:1 http://deb.example trixie InRelease\n  Temporary failure resolving 'deb.example'\nE: Failed to fetch\n"


class CleanRoot(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.top = pathlib.Path(folder.name)
        self.commands = self.top / "commands"
        self.commands.mkdir()
        shutil.copytree(os.path.join(ROOT, "script"), self.top / "checkout" / "script",
                        ignore=shutil.ignore_patterns("__pycache__"))
        self.command("unshare", "exit 0")

    def command(self, name, text):
        path = self.commands / name
        path.write_text(f"#!/bin/sh\n{text}\n")
        path.chmod(0o755)

    def run_it(self, *wrapper):
        return subprocess.run([*wrapper, str(self.top / "checkout/script/clean-root"), "debian-13", "true"],
                              capture_output=True, text=True, stdin=subprocess.DEVNULL, check=False,
                              env={"PATH": f"{self.commands}:/usr/bin:/bin", "HOME": str(self.top)})

    def assert_not_run(self, done, *words):
        self.assertEqual(done.returncode, NOT_RUN, done.stdout + done.stderr)
        last = done.stderr.splitlines()[-1]
        self.assertTrue(last.startswith("clean-root: not run: "), last)
        for word in words:
            self.assertIn(word, last)

    def as_root(self):
        """How to run something as root, or in a user namespace as what looks like it."""
        if os.geteuid() == 0:
            return ()
        wrapper = ("/usr/bin/unshare", "--map-root-user")
        if subprocess.run([*wrapper, "true"], check=False, capture_output=True).returncode != 0:
            self.skipTest("this machine allows no user namespaces")
        return wrapper

    def test_an_ordinary_user_is_told_to_be_root(self):
        for place in (self.top, *self.top.rglob("*")):
            place.chmod(0o777)
        wrapper = ("setpriv", "--reuid=65534", "--regid=65534", "--clear-groups") if os.geteuid() == 0 else ()
        self.assert_not_run(self.run_it(*wrapper), "needs root", "sudo")

    def test_root_without_its_capabilities_is_told_which_one_is_missing(self):
        self.command("unshare", "echo unshare failed: Operation not permitted >&2; exit 1")
        self.assert_not_run(self.run_it(*self.as_root()), "CAP_SYS_ADMIN", "Operation not permitted")

    def test_no_root_can_be_made_without_the_network(self):
        self.command("mmdebstrap", f"cat <<'END'\n{UNREACHABLE}END\nexit 100")
        self.assert_not_run(self.run_it(*self.as_root()), "debian-13", "cannot be reached", "root.log")

    def test_another_trouble_with_a_root_is_a_failure_with_its_output(self):
        self.command("mmdebstrap", "echo E: no space left on device; exit 25")
        done = self.run_it(*self.as_root())
        self.assertEqual(done.returncode, 1)
        self.assertIn("E: no space left on device\n", done.stderr)
        self.assertIn("whole output: ", done.stderr.splitlines()[-1])


if __name__ == "__main__":
    unittest.main()
