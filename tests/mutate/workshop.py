# One worker's private copy of the sources and its build: changes a file there, rebuilds what
# depends on it, runs the unit tests, and puts everything back. The working tree is only read.
import os
import re
import resource
import shlex
import shutil
import signal
import subprocess
import time
from dataclasses import dataclass

# The unit tests, each program with its folder: a mutant of this folder meets them first.
PROGRAMS = {
    "requests_test": "requests",
    "agent_test": "agent",
    "store_test": "store",
    "first_tree_test": "store",
    "service_test": "service",
    "worker_copies_test": "service",
    "log_line_memory_test": "service",
    "main_in_process_test": "service",
    "main_test": "service",
}
TEST_HEADERS = ("gmock/gmock.h", "gtest/gtest.h", "iostream", "map", "string", "vector")
FOLDER_OF_INCLUDE = {"text.h": "agent", "log_line.h": "service"}

# Nothing that a mutant does may harm the machine: memory, one file and processor time end.
MEMORY_LIMIT = 4 << 30
FILE_LIMIT = 64 << 20
SLOW_TEST_MILLISECONDS = 50
LEAST_TIMEOUT = 10.0  # seconds; a shared machine may pause a test for a while
TIMEOUT_FACTOR = 10

KILLED, SURVIVED, EQUIVALENT, NOT_VIABLE = "killed", "survived", "equivalent", "not viable"


@dataclass
class Command:
    """One step of a build: what it makes, of what, and how."""

    output: str
    inputs: set
    line: str
    compiles: bool

    def is_of_program(self):
        """The flags of a test's objects, not those of the libraries."""
        return "_test.dir/" in self.output


@dataclass
class Selection:
    """Some tests of a program, and how long they take."""

    filter: str
    seconds: float


@dataclass
class Program:
    name: str
    steps: list
    fast: Selection | None = None
    slow: Selection | None = None


class Workshop:
    def __init__(self, root, folder, sanitized=False):
        self.root, self.folder, self.sanitized = root, folder, sanitized
        self.sources = os.path.join(folder, "src")
        self.build = os.path.join(folder, "build")
        self.scratch = os.path.join(folder, "tmp")
        self.programs, self.dependants, self.moved, self.plain = [], {}, [], {}

    # --- Making the copy ---

    def refresh(self, files):
        """Brings the copy up to date; what has not changed keeps its time and is not rebuilt."""
        os.makedirs(self.sources, exist_ok=True)
        self.recover()
        for file in files:
            source, copy = os.path.join(self.root, file), os.path.join(self.sources, file)
            if not _same(source, copy):
                os.makedirs(os.path.dirname(copy), exist_ok=True)
                shutil.copyfile(source, copy)
                shutil.copymode(source, copy)
        wanted = set(files)
        for folder, _, names in os.walk(self.sources):
            for name in names:
                path = os.path.join(folder, name)
                if os.path.relpath(path, self.sources) not in wanted:
                    os.remove(path)

    def recover(self):
        """Undoes what a run that was killed has left changed."""
        for folder, _, names in os.walk(self.folder):
            for name in names:
                if name.endswith(".whole"):
                    path = os.path.join(folder, name)
                    os.replace(path, path.removesuffix(".whole"))

    def configure(self):
        flags = "-O0 -g0 -w"
        options = ["-DCMAKE_BUILD_TYPE=None", f"-DCMAKE_CXX_FLAGS={flags}"]
        for kind in ("EXE", "SHARED"):
            options.append(f"-DCMAKE_{kind}_LINKER_FLAGS={_fast_linker()}")
        if self.sanitized:
            options.append("-DORVANE_SANITIZE=address,undefined")
        self.checked("cmake", "-G", "Ninja", "-S", self.sources, "-B", self.build, *options)

    def make(self):
        names = self.existing_programs()
        self.checked("ninja", "-C", self.build, *names)
        self.read_dependencies()
        self.programs = [Program(name, self.steps_of(name)) for name in names]
        self.precompile()

    def existing_programs(self):
        listing = self.checked("ninja", "-C", self.build, "-t", "targets", "all")
        known = set(re.findall(r"^(\w+): phony", listing, re.M))
        return [name for name in PROGRAMS if name in known]

    def checked(self, *arguments):
        environment = {**os.environ, "CCACHE_BASEDIR": self.sources, "CCACHE_NOHASHDIR": "1"}
        run = subprocess.run(
            arguments, env=environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True
        )
        if run.returncode != 0:
            raise RuntimeError(f"{shlex.join(arguments)} failed:\n{run.stdout[-4000:]}")
        return run.stdout

    # --- What depends on what ---

    def read_dependencies(self):
        """self.dependants: source file -> objects that are compiled from it."""
        self.dependants, prefix = {}, os.path.realpath(self.sources) + os.sep
        output = None
        for line in self.checked("ninja", "-C", self.build, "-t", "deps").splitlines():
            if line and not line.startswith(" "):
                output = line.split(":")[0]
            elif line.strip():
                path = os.path.realpath(os.path.join(self.build, line.strip()))
                if path.startswith(prefix):
                    self.dependants.setdefault(path.removeprefix(prefix), set()).add(output)

    def steps_of(self, target):
        listing = self.checked("ninja", "-C", self.build, "-t", "commands", target)
        return [step for step in map(_step, listing.splitlines()) if step]

    def programs_for(self, file):
        """Those that contain the file, the folder's own first."""
        objects = self.dependants.get(file, set())
        folder, name = os.path.split(file)
        folder = FOLDER_OF_INCLUDE.get(name, folder) if folder == "include" else folder
        concerned = [p for p in self.programs if any(s.output in objects for s in p.steps)]
        return sorted(concerned, key=lambda p: PROGRAMS[p.name] != folder)

    def precompile(self):
        """Lets the tests begin with what nearly all of them include: their compilation is most of
        the time that a mutant of a header takes."""
        tests = [s for p in self.programs for s in p.steps if s.compiles and s.is_of_program()]
        header = os.path.join(self.folder, "tests.h")
        if not tests:
            return
        with open(header, "w", encoding="utf-8") as stream:
            stream.writelines(f"#include <{name}>\n" for name in TEST_HEADERS)
        flags = tests[0].line.split(" -o ")[0]
        self.checked(*shlex.split(flags), "-x", "c++-header", header, "-o", header + ".gch")
        for step in tests:
            step.line = step.line.replace(" -o ", f" -include {header} -o ", 1)

    # --- One mutant ---

    def attempt(self, mutant):
        """Returns the verdict and what it rests on."""
        try:
            self.change(mutant)
            return self.judge(mutant)
        finally:
            self.restore()

    def judge(self, mutant):
        made, waiting = set(), []
        for program in self.programs_for(mutant.file):
            failure = self.rebuild(program, mutant.file, made)
            if failure:
                return NOT_VIABLE, failure
            killer = self.run(program, program.fast)
            if killer:
                return KILLED, killer
            waiting.append(program)
        for program in waiting:
            killer = self.run(program, program.slow) if program.slow else None
            if killer:
                return KILLED, killer
        if not self.sanitized and self.is_equivalent(mutant):
            return EQUIVALENT, "same object code"
        return SURVIVED, "" if waiting else "in no test program"

    def change(self, mutant):
        path = os.path.join(self.sources, mutant.file)
        with open(path, "rb") as stream:
            text = stream.read()
        self.set_aside(path)
        with open(path, "wb") as stream:
            stream.write(mutant.apply(text))

    def set_aside(self, path):
        if os.path.exists(path):
            os.rename(path, path + ".whole")
        self.moved.append(path)

    def restore(self):
        for path in self.moved:
            if os.path.exists(path + ".whole"):
                os.replace(path + ".whole", path)
        self.moved.clear()

    def rebuild(self, program, file, made):
        """Makes what of the program depends on the file; returns why that is not possible."""
        objects = self.dependants[file]
        for step in program.steps:
            concerned = step.output in objects if step.compiles else step.inputs & made
            if not concerned or step.output in made:
                continue
            self.set_aside(os.path.join(self.build, step.output))
            status, output = self.execute(step.line, 120, shell=True)
            if status != 0:
                return _first_error(output)
            made.add(step.output)
        return None

    def is_equivalent(self, mutant):
        """Whether the optimiser makes the same code of it in every object of the daemon."""
        for step in self.daemon_steps(mutant.file):
            plain = self.plain.get(step.output)
            if plain is None:
                with _whole(os.path.join(self.sources, mutant.file)):
                    plain = self.plain[step.output] = self.optimised(step)
            if self.optimised(step) != plain:
                return False
        return True

    def daemon_steps(self, file):
        steps = {
            step.output: step
            for program in self.programs
            for step in program.steps
            if step.compiles and step.output in self.dependants[file]
        }
        return [step for step in steps.values() if not _is_test(step)]

    def optimised(self, step):
        output = os.path.join(self.folder, "optimised.o")
        line = step.line.replace(" -O0 ", " -O2 ").replace(f" -o {step.output} ", f" -o {output} ")
        status, text = self.execute(line, 120, shell=True)
        if status != 0:
            return text.encode()
        with open(output, "rb") as stream:
            return stream.read()

    # --- Running ---

    def measure(self):
        """Runs the unmutated programs, which must pass, and tells fast tests from slow ones."""
        for program in self.programs:
            status, output = self.execute([self.path_of(program)], 600)
            if status != 0:
                raise RuntimeError(f"{program.name} fails without any change:\n{output[-4000:]}")
            program.fast, program.slow = _selections(
                re.findall(r"^\[       OK \] (\S+)\.\S+ \((\d+) ms\)", output, re.M)
            )

    def path_of(self, program):
        return os.path.join(self.build, "tests", program.name)

    def run(self, program, selection):
        """The test that fails, or None."""
        chosen = f"--gtest_filter={selection.filter}"
        arguments = [self.path_of(program), "--gtest_brief=1", "--gtest_fail_fast", chosen]
        limit = max(LEAST_TIMEOUT, TIMEOUT_FACTOR * selection.seconds)
        status, output = self.execute(arguments, limit)
        if status == 0:
            return None
        failed = re.search(r"^\[  FAILED  \] (\w+\.\w+)", output, re.M)
        if failed:
            return f"{program.name}.{failed[1]}"
        sanitizer = re.search(r"ERROR: (\w+Sanitizer: [\w-]+)|(runtime error: .*)", output)
        if sanitizer:
            return f"{program.name}: {sanitizer[1] or sanitizer[2]}"
        return f"{program.name}: " + ("time is up" if status is None else f"status {status}")

    def execute(self, command, seconds, shell=False):
        """Runs it in a process group of its own; status None when its time is up."""
        shutil.rmtree(self.scratch, ignore_errors=True)
        os.makedirs(self.scratch)
        environment = {**os.environ, "TMPDIR": self.scratch, "LC_ALL": "C"}
        for name in ("ManagingMode", "GTEST_FILTER"):
            environment.pop(name, None)
        output = os.path.join(self.folder, "output")
        with open(output, "wb") as stream:
            child = subprocess.Popen(
                command,
                shell=shell,
                cwd=self.build if shell else self.scratch,
                env=environment,
                stdin=subprocess.DEVNULL,
                stdout=stream,
                stderr=subprocess.STDOUT,
                process_group=0,
                preexec_fn=_limit_sanitized if self.sanitized else _limit,
            )
            try:
                status = child.wait(seconds)
            except subprocess.TimeoutExpired:
                status = None
            finally:
                _end_group(child)
        with open(output, "rb") as stream:
            return status, stream.read(4 << 20).decode(errors="replace")


class _whole:
    """For a while the unchanged file is back in its place."""

    def __init__(self, path):
        self.path = path

    def __enter__(self):
        os.rename(self.path, self.path + ".changed")
        os.rename(self.path + ".whole", self.path)

    def __exit__(self, *_):
        os.rename(self.path, self.path + ".whole")
        os.rename(self.path + ".changed", self.path)


def _selections(times):
    """Of pairs of a suite and the milliseconds of one of its tests: the suites without a slow test
    and those with one, whose others may well wait as long when something is wrong."""
    slow = sorted({suite for suite, spent in times if int(spent) >= SLOW_TEST_MILLISECONDS})
    names = ":".join(f"{suite}.*" for suite in slow)
    seconds = {True: 0.0, False: 0.0}
    for suite, spent in times:
        seconds[suite in slow] += int(spent) / 1000
    fast = Selection("*" + (f"-{names}" if slow else ""), seconds[False])
    return fast, Selection(names, seconds[True]) if slow else None


def _same(one, other):
    try:
        with open(one, "rb") as first, open(other, "rb") as second:
            return first.read() == second.read()
    except FileNotFoundError:
        return False


def _fast_linker():
    linker = "lld" if shutil.which("ld.lld") else "gold" if shutil.which("ld.gold") else "bfd"
    return f"-fuse-ld={linker} -Wl,--strip-debug"


def _limit_sanitized():
    """The address sanitizer reserves far more memory than it uses, so that has no limit here."""
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    resource.setrlimit(resource.RLIMIT_FSIZE, (FILE_LIMIT, FILE_LIMIT))


def _limit():
    _limit_sanitized()
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY_LIMIT, MEMORY_LIMIT))


def _end_group(child):
    try:
        os.killpg(child.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    child.wait()


def _step(line):
    """A line of ninja's as a step, without the compiler cache and the listing of tests."""
    parts = [part for part in line.split(" && ") if part != ":"]
    compile_ = re.search(r" -o (\S+\.o) -c (\S+)$", line)
    if compile_:
        words = [w for w in parts[0].split(" ") if not w.startswith("-W") and w != "-w"]
        if os.path.basename(words[0]) == "ccache":
            words = words[1:]
        text = re.sub(r" -MD -MT \S+ -MF \S+| -g1", "", " ".join(words))
        # A function that ends without its result may still return the right one by chance.
        text = text.replace(" -O0 ", " -O0 -Werror=return-type -fmax-errors=1 ", 1)
        return Command(compile_[1], {compile_[2]}, text, True)
    made = re.search(r" -o (\S+)", line) or re.search(r"\bar qc (\S+)", line)
    if not made:
        return None
    kept = [p for p in parts if not p.startswith("cd ") and "GoogleTestAddTests" not in p]
    return Command(made[1], set(" ".join(kept).split()) - {made[1]}, " && ".join(kept), False)


def _is_test(step):
    return step.output.startswith("tests/")


def _first_error(output):
    found = re.search(r"error: (.*)", output)
    return found[1][:120] if found else "cannot be built"
