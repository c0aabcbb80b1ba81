"""Runs clang-tidy on everything that is compiled here, except what it has passed before.

Usage: tidy.py CACHE_FOLDER

Sources of the product with every check of .clang-tidy, tests with those of tests/.clang-tidy; each by
the commands of build/lint/together, up to eight sources at a time, as CMake puts them together. Most
of the cost is the headers, which each source includes again. Measured in processor time: the eight
of ossel_test 6 s together, 33 s one by one; the eight of redfish/service/ 16 s and 45 s.

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
TOGETHER = ROOT / "build/lint/together"
JOINED = ROOT / "build/lint/joined"
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
        self._entry = entry
        self._command = entry["command"].replace(str(ROOT), ".")
        self._folder = folder
        self._configuration = configuration
        path = pathlib.Path(self.file)
        self._is_together = "Unity" in path.parts
        if self._is_together:
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
        if self._configuration or not self._is_together:
            return self._run(self.file, self._folder)
        # The analyzer looks for paths only through functions of the main file.
        folder = JOINED / hashlib.sha256(self.file.encode()).hexdigest()[:12]
        file = folder / "joined.cpp"
        text, starts = joined({path: (ROOT / path).read_text(encoding="utf-8") for path in self.sources})
        folder.mkdir(parents=True, exist_ok=True)
        file.write_text(text, encoding="utf-8")
        entry = {**self._entry, "file": str(file), "command": self._entry["command"].replace(self.file, str(file))}
        (folder / "compile_commands.json").write_text(json.dumps([entry]), encoding="utf-8")
        return located(self._run(file, folder), str(file), starts)

    def _run(self, file, folder):
        command = ["clang-tidy", "--quiet", "-p", str(folder),
                   "--extra-arg=-Wno-unknown-warning-option"]
        if self._configuration:
            command.append(f"--config-file={self._configuration}")
        result = subprocess.run([*command, str(file)], check=False, text=True,
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        return "" if result.returncode == 0 else result.stdout


def joined(texts):
    """Sources, by their paths, as one text, and the line in it at which each begins. What an earlier
    source includes is not included again, which would be a finding; a second time in one source is."""
    lines, starts, before = [], {}, set()
    for path, text in texts.items():
        starts[path] = len(lines) + 1
        own = set()
        for line in text.splitlines():
            again = line in before and line not in own
            if line.startswith("#include"):
                own.add(line)
            lines.append("" if again else line)
        before |= own
    return "\n".join(lines) + "\n", starts


def located(findings, file, starts):
    """The findings in a joined file with the places in its sources."""
    def place(match):
        line = int(match[1])
        path, start = next((path, start) for path, start in reversed(starts.items()) if start <= line)
        return f"{ROOT / path}:{line - start + 1}:"

    return re.sub(re.escape(file) + r":(\d+):", place, findings)


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
    units = units_of(TOGETHER, None, code, of_tests=False)
    units += units_of(TOGETHER, TEST_CONFIGURATION, code, of_tests=True)
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
