# Tests of script/bootstrap, a copy of which runs with stand-ins for apt-get, dpkg-query, node, npm and sudo
# as the first words of PATH.
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

ROOT = os.path.realpath(os.path.join(os.path.dirname(__file__), "..", ".."))
NOBODY = 65534
LOCKED = ("E: Could not get lock /var/lib/apt/lists/lock. It is held by process 7 (unattended-upgr)\n"
          "E: Unable to lock directory /var/lib/apt/lists/\n")
# Prints a prepared answer for each call, then succeeds; records its words.
APT_GET = """#!/bin/bash
if [[ $* == *--simulate* ]]; then
    cat "$STAND_INS/simulation"
    exit 0
fi
echo "apt-get $*" >>"$STAND_INS/calls"
answer=$(ls "$STAND_INS/answers" | head -n 1)
[[ $answer ]] || exit 0
cat "$STAND_INS/answers/$answer"
rm "$STAND_INS/answers/$answer"
exit 100
"""


class Bootstrap(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.top = pathlib.Path(folder.name)
        self.checkout = self.top / "checkout"
        self.commands = self.top / "commands"
        (self.top / "answers").mkdir()
        self.commands.mkdir()
        (self.top / "calls").touch()
        (self.top / "simulation").write_text("1 upgraded, 2 newly installed, 0 to remove and 3 not upgraded.\n")
        shutil.copytree(os.path.join(ROOT, "script"), self.checkout / "script",
                        ignore=shutil.ignore_patterns("__pycache__"))
        self.command("apt-get", APT_GET)
        for name in ("redis-server", "nginx", "npm"):
            self.command(name, "#!/bin/sh\n")
        self.node("v18.19.0")
        self.installed = [line for line in self.run_it("--build", "--run", "--web", "--list").stdout.splitlines()
                          if not line.startswith("#")] + ["nodejs", "npm"]

    def command(self, name, text):
        path = self.commands / name
        path.write_text(text)
        path.chmod(0o755)

    def node(self, version):
        self.command("node", f"#!/bin/sh\necho {version}\n")

    def answers(self, *texts):
        for number, text in enumerate(texts):
            (self.top / "answers" / str(number)).write_text(text)

    def calls(self):
        return (self.top / "calls").read_text().splitlines()

    def run_it(self, *words, without=(), as_nobody=False, path=""):
        installed = [name for name in getattr(self, "installed", []) if name not in without]
        (self.top / "installed").write_text("".join(f"{name} installed\n" for name in installed))
        self.command("dpkg-query", '#!/bin/sh\ncat "$STAND_INS/installed"\n')
        command = [str(self.checkout / "script" / "bootstrap"), *words]
        if as_nobody:
            self.open_for_nobody()
            if os.geteuid() == 0:
                command = ["setpriv", f"--reuid={NOBODY}", f"--regid={NOBODY}", "--clear-groups", *command]
        return subprocess.run(command, capture_output=True, text=True, stdin=subprocess.DEVNULL, check=False,
                              env={"PATH": f"{self.commands}:{path or '/usr/bin:/bin'}", "HOME": str(self.top),
                                   "STAND_INS": str(self.top)})

    def open_for_nobody(self):
        for place in (self.top, *self.top.rglob("*")):
            place.chmod(0o777)

    def without_sudo(self):
        """A folder with what the script needs, but no sudo."""
        folder = self.top / "no-sudo"
        folder.mkdir()
        for name in ("bash", "sh", "sed", "cat", "dirname", "basename", "grep", "mkdir", "ln", "setpriv", "env"):
            (folder / name).symlink_to(shutil.which(name))
        return str(folder)

    def test_does_nothing_where_everything_is_installed(self):
        self.command("sudo", '#!/bin/sh\necho sudo >>"$STAND_INS/calls"\n')
        before = sorted(self.checkout.rglob("*"))
        done = self.run_it("--run", "--web", "--quiet", as_nobody=True)
        self.assertEqual((done.returncode, done.stdout, done.stderr, self.calls()), (0, "", "", []))
        self.assertEqual(sorted(self.checkout.rglob("*")), before)

    def test_says_what_it_installs_and_what_for(self):
        self.command("sudo", '#!/bin/sh\n[ "$1" = -- ] && shift\nexec "$@"\n')
        done = self.run_it("--run", without=("ccache", "mbpoll"))
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertIn("  compiler, build tools, and the libraries of the programs: ccache\n", done.stdout)
        self.assertIn("shows it with: mbpoll\n", done.stdout)
        self.assertEqual(self.calls(), ["apt-get -q update",
                                        "apt-get -q -y --no-install-recommends install ccache mbpoll"])

    def test_waits_for_the_disk_only_if_something_is_replaced(self):
        self.command("sudo", '#!/bin/sh\n[ "$1" = -- ] && shift\nexec "$@"\n')
        for counts, careless in (("0 upgraded, 2 newly installed, 0 to remove", True),
                                 ("1 upgraded, 2 newly installed, 0 to remove", False),
                                 ("0 upgraded, 2 newly installed, 1 to remove", False),
                                 ("10 upgraded, 2 newly installed, 0 to remove", False)):
            with self.subTest(counts):
                (self.top / "simulation").write_text(f"{counts} and 3 not upgraded.\n")
                self.assertEqual(self.run_it("--build", without=("ccache",)).returncode, 0)
                self.assertEqual("--force-unsafe-io" in self.calls()[-1], careless)

    def test_without_root_and_sudo_it_names_the_command(self):
        done = self.run_it("--build", without=("ccache",), as_nobody=True, path=self.without_sudo())
        self.assertEqual(done.returncode, 1)
        self.assertIn("apt-get update && apt-get install --no-install-recommends ccache\n", done.stderr)
        self.assertEqual(self.calls(), [])

    def test_names_the_redis_server_inside_the_checkout_without_root(self):
        program = "/usr/bin/redis-check-rdb"
        if not os.access(program, os.X_OK) or os.access("/usr/bin/redis-server", os.X_OK):
            self.skipTest("redis is installed otherwise here")
        (self.commands / "redis-server").unlink()
        # common.sh adds /usr/local/bin, where this machine may have the link already.
        common = self.checkout / "script/lib/common.sh"
        common.write_text(common.read_text().replace(":/usr/local/bin:", ":"))
        done = self.run_it("--stack", as_nobody=True)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(os.readlink(self.checkout / "build/bin/redis-server"), program)

    def test_waits_for_a_lock_and_says_who_holds_it(self):
        self.command("sudo", '#!/bin/sh\n[ "$1" = -- ] && shift\nexec "$@"\n')
        self.answers(LOCKED, LOCKED)
        done = self.run_it("--build", without=("ccache",))
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(done.stdout.count("waiting for another process"), 1)
        self.assertRegex(done.stdout, r"lists/lock, held by process 7 \(unattended-upgr\)\), at most [0-9]+ s\n")
        self.assertEqual(len(self.calls()), 4)

    def test_shows_errors_of_apt_with_what_to_do(self):
        self.command("sudo", '#!/bin/sh\n[ "$1" = -- ] && shift\nexec "$@"\n')
        for text, advice in (
                ("Err:1 http://deb.example bookworm\n  Temporary failure resolving 'deb.example'\nE: Failed", "check the network"),
                ("E: Unable to locate package ccache", 'the section "main"'),
                ("E: dpkg was interrupted, you must manually run", "dpkg --configure -a"),
                ("E: You don't have enough free space in /var/cache/apt/archives/.", "the disk is full")):
            with self.subTest(text):
                self.answers(text + "\n")
                done = self.run_it("--build", without=("ccache",))
                self.assertEqual(done.returncode, 1)
                self.assertIn(text.splitlines()[-1], done.stderr)
                self.assertIn(advice, done.stderr)
                self.assertIn("install --no-install-recommends ccache\n", done.stderr)

    def test_installs_no_node_where_a_new_enough_one_is(self):
        for version, installs in (("v18.19.0", False), ("v22.1.0", False), ("v18.18.9", True), ("v4.30.0", True)):
            with self.subTest(version):
                self.node(version)
                printed = self.run_it("--page", "--list").stdout
                self.assertEqual("\nnodejs\n" in printed, installs, printed)

    def test_names_an_old_node_that_hides_the_installed_one(self):
        self.node("v16.1.0")
        done = self.run_it("--page")
        self.assertEqual(done.returncode, 1)
        self.assertIn(f"{self.commands}/node is Node.js v16.1.0; the page needs 18.19 or newer", done.stderr)

    def test_lists_what_is_missing_without_installing_it(self):
        done = self.run_it("--build", "--check", without=("ccache",))
        self.assertEqual((done.returncode, self.calls()), (1, []))
        self.assertTrue(done.stdout.endswith(": ccache\n"))
        self.assertEqual(self.run_it("--build", "--check").returncode, 0)

    def test_every_group_of_the_list_has_a_purpose(self):
        printed = self.run_it("--all", "--bench", "--armhf", "--package", "--clean-root", "--web", "--list").stdout
        groups = [line for line in printed.splitlines() if line.startswith("# ") and ": " in line]
        self.assertGreater(len(groups), 10)
        self.assertTrue(printed.startswith("# build: "))


if __name__ == "__main__":
    unittest.main()
