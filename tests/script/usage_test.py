# Every script rejects a word that it does not know before it does anything, and answers to --help. The
# scripts run in a checkout of links, where whatever they would build, install or delete shows.
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(os.path.realpath(os.path.join(os.path.dirname(__file__), "..", "..")))
# Each would be the first step of some work.
WORKERS = ("apt-get", "sudo", "dpkg-query", "cmake", "ctest", "ninja", "make", "npm", "node", "mmdebstrap", "unshare",
           "git", "clang-format", "shellcheck", "valgrind", "redis-server", "gcovr", "lintian")
NOT_COPIED = {".git", "build", "script", ".ci"}
UNKNOWN = ("no-such-word", "--no-such-option", "")
# Beyond one unknown word: script, its words, the one that the message must name.
FURTHER = (
    ("armhf", ("--all", "more"), "more"),
    ("bench", ("--quick", "reads-two"), "reads-two"),
    ("bench", ("--rounds", "many"), "many"),
    ("bench", ("--rounds",), "--rounds"),
    ("bootstrap", ("--run", "--walk"), "--walk"),
    ("build", ("nosuch-preset",), "nosuch-preset"),
    ("build", ("base",), "base"),
    ("coverage", ("--unit", "extra"), "extra"),
    ("fuzz", ("1", "nosuch"), "nosuch"),
    ("fuzz", ("--seconds", "x"), "x"),
    ("fuzz", ("--minimize", "nosuch"), "nosuch"),
    ("kill-daemon", ("--seed", "x"), "x"),
    ("kill-daemon", ("100", "x"), "x"),
    ("lint", ("format", "grammar"), "grammar"),
    ("memcheck", ("release", "b"), "b"),
    ("memcheck", ("tsan",), "tsan"),
    ("mutate", ("--jobs", "x"), "x"),
    ("mutate", ("--list", "redfish"), "redfish"),
    ("mutate", ("store/nosuch.cpp",), "store/nosuch.cpp"),
    ("mutate", ("--only",), "--only"),
    ("package", ("release", "i386"), "i386"),
    ("pictures", ("page", "cat"), "cat"),
    ("private-view", ("folder", "ls"), "folder ls"),
    ("run", ("--no-tour", "x"), "x"),
    ("soak", ("5x",), "5x"),
    ("soak", ("5", "tsan"), "tsan"),
    ("soak", ("5", "debug", "x"), "x"),
    ("storm", ("x",), "x"),
    ("storm", ("5", "coverage"), "coverage"),
    ("storm", ("5", "tsan", "x"), "x"),
    ("test", ("tests", "no-such-part"), "no-such-part"),
    ("test", ("--all", "tests"), "tests"),
    ("web", ("--unit", "x"), "x"),
    ("web", ("--dev", "address", "x"), "x"),
)
ALLOWED = r"allowed|leave out |there (is|are) |parts are |expected|must be|needs "


def scripts():
    found = [path for folder in ("script", ".ci") for path in sorted((ROOT / folder).iterdir())
             if path.is_file() and os.access(path, os.X_OK)]
    return [str(path.relative_to(ROOT)) for path in found]


class Usage(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.top = pathlib.Path(folder.name)
        cls.checkout = cls.top / "checkout"
        cls.commands = cls.top / "commands"
        cls.checkout.mkdir()
        cls.commands.mkdir()
        for place in ROOT.iterdir():
            if place.name not in NOT_COPIED:
                (cls.checkout / place.name).symlink_to(place)
        for name in ("script", ".ci"):
            shutil.copytree(ROOT / name, cls.checkout / name, ignore=shutil.ignore_patterns("__pycache__"))
        for name in WORKERS:
            worker = cls.commands / name
            worker.write_text(f'#!/bin/sh\necho "{name} $*" >>"{cls.top}/work"\nexit 70\n')
            worker.chmod(0o755)

    def run_it(self, script, *words):
        # Some programs lie outside PATH's first folder all the same, but none that starts work.
        environment = {"PATH": f"{self.commands}:/usr/bin:/bin", "HOME": str(self.top / "home")}
        (self.top / "work").unlink(missing_ok=True)
        done = subprocess.run([str(self.checkout / script), *words], cwd=self.top, env=environment,
                              stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False, timeout=60)
        work = self.top / "work"
        self.assertFalse(work.exists(), work.read_text() if work.exists() else "")
        self.assertEqual(sorted(place.name for place in self.top.iterdir()), ["checkout", "commands"])
        self.assertFalse((self.checkout / "build").exists(), f"{script} {words} has written to build/")
        return done

    def assert_rejects(self, script, words, named):
        with self.subTest(script=script, words=words):
            done = self.run_it(script, *words)
            self.assertEqual(done.returncode, 2, done.stdout + done.stderr)
            self.assertEqual(done.stdout, "")
            self.assertEqual(len(done.stderr.splitlines()), 1, done.stderr)
            self.assertIn(named, done.stderr)
            self.assertRegex(done.stderr, ALLOWED)

    def test_every_script_rejects_an_unknown_word_before_any_work(self):
        for script in scripts():
            for word in UNKNOWN:
                self.assert_rejects(script, (word,), word)

    def test_every_script_rejects_it_behind_good_words_too(self):
        for name, words, named in FURTHER:
            self.assert_rejects(f"script/{name}", words, named)

    def test_every_script_prints_its_help(self):
        for script in scripts():
            for word in ("-h", "--help"):
                with self.subTest(script=script, word=word):
                    done = self.run_it(script, word)
                    self.assertEqual((done.returncode, done.stderr), (0, ""))
                    self.assertIn(f"Usage: {script}", done.stdout)

    def test_work_would_be_noticed(self):
        done = subprocess.run([str(self.checkout / "script/build"), "release"], check=False, capture_output=True,
                              env={"PATH": f"{self.commands}:/usr/bin:/bin"})
        self.assertNotEqual(done.returncode, 0)
        work = self.top / "work"
        self.assertIn("cmake --preset release", work.read_text())
        work.unlink()
        shutil.rmtree(self.checkout / "build", ignore_errors=True)

    def test_the_presets_are_those_of_cmake(self):
        presets = json.loads((ROOT / "CMakePresets.json").read_text())["configurePresets"]
        names = [preset["name"] for preset in presets if not preset.get("hidden")]
        self.assertIn(f"allowed: {' '.join(names)} (", self.run_it("script/build", "x").stderr)

    def test_the_parts_of_bench_are_those_that_it_measures(self):
        sys.path.insert(0, str(ROOT / "benchmarks"))
        self.addCleanup(sys.path.remove, str(ROOT / "benchmarks"))
        import parts
        import redfish_parts
        names = list({**parts.PARTS, **redfish_parts.PARTS})
        self.assertIn(f"--report, {' '.join(names)} (", self.run_it("script/bench", "x").stderr)


if __name__ == "__main__":
    unittest.main()
