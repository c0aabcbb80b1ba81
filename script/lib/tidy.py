"""Runs clang-tidy on everything that is compiled here, except what it has passed before.

Usage: tidy.py CACHE_FOLDER

Sources of the product, one by one, with every check of .clang-tidy, by the commands of build/debug.
Tests, up to eight together, with those of tests/.clang-tidy, by the commands of build/lint/tests:
their cost is the headers, which each of them includes again. Measured for the eight of ossel_test:
6 s of processor time together, 33 s one by one.

A verdict is kept in the cache folder, by a digest of all that it depends on: the code of the source
and of each header of ours that it includes, its command, the configuration, the tool and the
compiler. Lines that are a comment do not count, so that rewording one costs nothing; those that
switch a check off do. No path of this checkout counts, so that all of a user's share the cache.
Exit status 1 if there is a finding.
"""

import collections
import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
PRODUCT = ROOT / "build/debug"
TESTS = ROOT / "build/lint/tests"
TEST_CONFIGURATION = ROOT / "tests/.clang-tidy"
INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*"(?:\.\.?/)*([^"]+)"', re.MULTILINE)
COMMENT = re.compile(r"^[ \t]*//(?!.*NOLINT).*\n", re.MULTILINE)
DAYS_KEPT = 30


class Code:
    """The repository's C++ files: what each includes, and a digest of each one's code."""

    def __init__(self, root):
        listed = subprocess.run(
            ["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard", "*.cpp", "*.h"],
            cwd=root, check=True, capture_output=True, text=True).stdout
        self.digest = {}
        self._includes = {}
        self._by_name = collections.defaultdict(list)
        for path in sorted(set(filter(None, listed.split("\0")))):
            file = pathlib.Path(root, path)
            if not file.is_file():
                continue
            text = file.read_text(encoding="utf-8")
            self._includes[path] = INCLUDE.findall(text)
            self.digest[path] = hashlib.sha256(COMMENT.sub("", text).encode()).hexdigest()
            self._by_name[file.name].append(path)

    def closure(self, sources):
        """The sources and all headers of ours that they include, directly or not. An include is
        matched by the end of a path: a header may be one too many, but none is missing."""
        seen = set(sources)
        queue = list(sources)
        while queue:
            for wanted in self._includes[queue.pop()]:
                for path in self._by_name[wanted.rsplit("/", 1)[-1]]:
                    if path not in seen and ("/" + path).endswith("/" + wanted):
                        seen.add(path)
                        queue.append(path)
        return sorted(seen)


class Unit:
    """What one run of clang-tidy checks: a source, or several that CMake compiles together."""

    def __init__(self, entry, folder, configuration):
        self.file = entry["file"]
        self._command = entry["command"].replace(str(ROOT), ".")
        self._folder = folder
        self._configuration = configuration
        path = pathlib.Path(self.file)
        if "Unity" in path.parts:
            lines = path.read_text(encoding="utf-8").splitlines()
            files = [line.split('"')[1] for line in lines if line.startswith("#include")]
        else:
            files = [self.file]
        self.sources = [os.path.relpath(each, ROOT) for each in files]

    def key(self, code, common):
        """The name of its verdict in the cache."""
        digest = hashlib.sha256(common.encode())
        digest.update(self._command.encode())
        for path in code.closure(self.sources):
            digest.update(f"{path} {code.digest[path]}\n".encode())
        return digest.hexdigest()

    def findings(self):
        """What clang-tidy says, empty if nothing."""
        command = ["clang-tidy", "--quiet", "-p", str(self._folder),
                   "--extra-arg=-Wno-unknown-warning-option"]
        if self._configuration:
            command.append(f"--config-file={self._configuration}")
        result = subprocess.run(command + [self.file], check=False, text=True,
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        return "" if result.returncode == 0 else result.stdout


def units_of(folder, configuration, code, of_tests):
    """One for each command in a folder of CMake's that compiles tests, or none, and only ours."""
    entries = json.loads((folder / "compile_commands.json").read_text(encoding="utf-8"))
    units = {}
    for entry in entries:
        unit = Unit(entry, folder, configuration)
        if of_tests == any(path.startswith("tests/") for path in unit.sources) and all(
                path in code.digest for path in unit.sources):
            units.setdefault(unit.file, unit)
    return list(units.values())


def version(*command):
    return subprocess.run([*command, "--version"], check=True, capture_output=True, text=True).stdout


def stale_units(code, cache):
    """Pairs of a unit that no verdict is kept of, and where to keep it."""
    common = version("clang-tidy") + version("g++") + "".join(
        file.read_text(encoding="utf-8") for file in (ROOT / ".clang-tidy", TEST_CONFIGURATION))
    units = units_of(PRODUCT, None, code, of_tests=False)
    units += units_of(TESTS, TEST_CONFIGURATION, code, of_tests=True)
    if not units:
        sys.exit("tidy: the compile commands name no source of this repository")
    stale = []
    for unit in units:
        verdict = cache / unit.key(code, common)
        if verdict.exists():
            verdict.touch()
        else:
            stale.append((unit, verdict))
    return stale


def main(cache):
    cache.mkdir(parents=True, exist_ok=True)
    for verdict in cache.iterdir():
        if verdict.stat().st_mtime < time.time() - DAYS_KEPT * 86400:
            verdict.unlink()
    stale = stale_units(Code(ROOT), cache)
    if stale:
        print(f"lint: clang-tidy runs {len(stale)} times", flush=True)
    clean = True
    with concurrent.futures.ThreadPoolExecutor(len(os.sched_getaffinity(0))) as pool:
        running = {pool.submit(unit.findings): (unit, verdict) for unit, verdict in stale}
        for count, done in enumerate(concurrent.futures.as_completed(running), 1):
            unit, verdict = running[done]
            if done.result():
                clean = False
                print(done.result(), end="")
            else:
                verdict.touch()
            if os.environ.get("ORVANE_PROGRESS") == "lines":
                print(f"progress: {count}/{len(stale)} clang-tidy", flush=True)
    return 0 if clean else 1


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
