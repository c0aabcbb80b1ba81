"""Reads gcov's counters and judges, folder by folder, how much of our code the tests have run.

script/coverage calls it, after the tests:

    coverage_figures.py BUILD TRACE FOLDER=LINES[,BRANCHES]...

BUILD is the build folder with the counters. TRACE is written for gcovr, which makes the report. In each
FOLDER the tests must have run at least LINES per cent of the lines and taken BRANCHES per cent of
the branches. Prints a table and, for a folder with limits of 100, every missing place. Exit status 1
if a limit is missed.

Branches that only an exception takes do not count. gcovr has a switch for that, but it reads gcov's
text, in which a branch that was never reached does not say what kind it is; an inline function of a
header has such branches in every object except the one whose copy the linker took. gcov's JSON always
says it and names the function, so that the copies can be added up.
"""

import collections
import json
import pathlib
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]


class Line:
    """One line of code: how often it was run and each of its branches was taken."""

    def __init__(self):
        self.count = 0
        self.branches = collections.Counter()  # (function, position): times taken

    def add(self, record):
        # A line of a coroutine may belong to none of the functions that gcov knows.
        self.count += record["count"]
        for position, branch in enumerate(record["branches"]):
            if not branch["throw"]:
                self.branches[record.get("function_name"), position] += branch["count"]

    def forget_idle_copies(self, copies):
        """Drops branches of a template's copies that were never entered while others were; the caller of
        such a copy already lacks a line."""
        for function, position in list(self.branches):
            if copies.idle(function):
                del self.branches[function, position]


class Copies:
    """Which functions of a file were entered, and which are copies of one template."""

    def __init__(self):
        self.entered = collections.Counter()  # by name, and by place in the source
        self.places = {}

    def add(self, record):
        place = (record["start_line"], record["start_column"])
        self.places[record["name"]] = place
        self.entered[record["name"]] += record["execution_count"]
        self.entered[place] += record["execution_count"]

    def idle(self, function):
        return self.entered[function] == 0 and self.entered[self.places.get(function)] > 0


def gcov_documents(build, folders):
    """gcov's documents for every object that was run or is in one of these folders.

    Any other may be older than the headers that it includes: nobody needed it built.
    """
    build = build.resolve()
    notes = [str(path) for path in sorted(build.rglob("*.gcno"))
             if path.with_suffix(".gcda").exists()
             or str(path.relative_to(build)).startswith(folders)]
    with tempfile.TemporaryDirectory() as folder:
        # Ignores the exit status: an object without our functions or without counters makes it fail.
        finished = subprocess.run(
            ["gcov", "--json-format", "--stdout", "--branch-probabilities", *notes],
            cwd=folder, check=False, text=True, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    documents = [json.loads(line) for line in finished.stdout.splitlines() if line]
    if len(documents) != len(notes):
        sys.exit(f"gcov read {len(documents)} of {len(notes)} objects:\n{finished.stderr}")
    return documents


def read_counters(build, folders):
    """file below ROOT: number of a line: Line, for the files of these folders."""
    files = collections.defaultdict(lambda: collections.defaultdict(Line))
    copies = collections.defaultdict(Copies)
    for document in gcov_documents(build, folders):
        for source in document["files"]:
            path = pathlib.Path(document["current_working_directory"], source["file"]).resolve()
            if not path.is_relative_to(ROOT) or not path.exists():  # an object of an earlier build
                continue
            name = str(path.relative_to(ROOT))
            if not name.startswith(folders):
                continue
            for record in source["functions"]:
                copies[name].add(record)
            for record in source["lines"]:
                files[name][record["line_number"]].add(record)
    for name, lines in files.items():
        for line in lines.values():
            line.forget_idle_copies(copies[name])
    return files


def write_trace(files, trace):
    """The figures in gcovr's own format."""
    listed = []
    for name, lines in sorted(files.items()):
        listed.append({"file": name, "functions": [], "lines": [
            {"line_number": number, "count": line.count, "gcovr/noncode": False,
             "gcovr/excluded": False,
             "branches": [{"count": count, "fallthrough": False, "throw": False}
                          for count in line.branches.values()]}
            for number, line in sorted(lines.items())]})
    trace.write_text(json.dumps({"gcovr/format_version": "0.3", "files": listed}))


def missing_places(files):
    for name, lines in sorted(files.items()):
        for number, line in sorted(lines.items()):
            never = sum(count == 0 for count in line.branches.values())
            if line.count == 0:
                yield f"{name}:{number}: line not run"
            elif never > 0:
                yield f"{name}:{number}: {never} of {len(line.branches)} branches not taken"


class Share:
    """A share of a total; printed with one decimal that never rounds up."""

    def __init__(self, counts):
        counts = list(counts)
        self.all = len(counts)
        self.run = sum(count > 0 for count in counts)

    def reaches(self, percent):
        return self.run * 100 >= percent * self.all

    def __str__(self):
        tenths = self.run * 1000 // self.all if self.all else 1000
        return f"{tenths // 10}.{tenths % 10} % {f'({self.run}/{self.all})':>12}"


def judge(folder, limits, files):
    """Prints a folder's row; true if it reaches its limits."""
    lines = [line for numbers in files.values() for line in numbers.values()]
    shares = [Share(line.count for line in lines),
              Share(count for line in lines for count in line.branches.values())]
    enough = bool(lines) and all(share.reaches(limit) for share, limit in zip(shares, limits))
    asked = " and ".join(f"{limit} % of {what}"
                         for limit, what in zip(limits, ("lines", "branches")))
    print(f"{folder:<28}{shares[0]!s:>21}{shares[1]!s:>21}  "
          f"{'ok' if enough else f'BELOW {asked}'}")
    if 100 in limits:
        return enough, list(missing_places(files))
    return enough, []


def main(build, trace, *demands):
    limits = {}
    for demand in demands:
        folder, _, numbers = demand.partition("=")
        limits[folder] = [int(number) for number in numbers.split(",")]
    files = read_counters(pathlib.Path(build), tuple(limits))
    write_trace(files, pathlib.Path(trace))
    print(f"{'folder':<28}{'lines':>21}{'branches':>21}")
    good, missing = True, []
    for folder, numbers in limits.items():
        own = {name: lines for name, lines in files.items() if name.startswith(folder)}
        enough, places = judge(folder, numbers, own)
        good = good and enough
        missing += places
    print(*missing, sep="\n", end="\n" if missing else "")
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
