"""What a benchmark runs against: one private redis on a unix socket in a temporary folder, the
cooling unit, the daemon in a private view of its fixed paths, and the subjects it is compared with.
How redis, unit, daemon and Redfish service are started is described in script/lib/stack.conf.

Everything is started on the chosen processors and stopped on every exit, the last started first.
"""

import contextlib
import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import time

from stack_part import StackPart

ROOT = pathlib.Path(__file__).resolve().parent.parent
# The tests of the benchmarks name the build that they belong to.
BUILT = pathlib.Path(os.environ.get("ORVANE_BUILT", ROOT / "build" / "release"))
PROGRAMS = BUILT / "benchmarks"
INSTANCE = "80000000-0000-0000-0000-008000000000"
DAEMON_CHANNEL = "OrvaneWebGUI"

START_LIMIT = 20.0  # seconds until a program is up
STOP_LIMIT = 20.0  # seconds for an orderly end


class Failure(Exception):
    """A program failed to do what the benchmark needs."""


AVAILABLE = sorted(os.sched_getaffinity(0))


def processors(which):
    """"one": a single processor, not the first, which handles most interrupts; "others": the rest,
    if any; "all": all."""
    return {"one": {AVAILABLE[-1]}, "others": set(AVAILABLE[:-1] or AVAILABLE),
            "all": set(AVAILABLE)}[which]


@contextlib.contextmanager
def pinned(which):
    """Pins the caller and everything it starts to these processors."""
    before = os.sched_getaffinity(0)
    os.sched_setaffinity(0, processors(which))
    try:
        yield
    finally:
        os.sched_setaffinity(0, before)


def wait_until(condition, what, limit=START_LIMIT, pause=0.005):
    end = time.monotonic() + limit
    while not condition():
        if time.monotonic() > end:
            raise Failure(f"not within {limit:.0f} s: {what}")
        time.sleep(pause)


def run(command, **options):
    """Runs a command to its end and returns its standard output."""
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True,
                          check=False, **options)
    if done.returncode != 0:
        raise Failure(f"{command[0]} ended with status {done.returncode}: "
                      f"{(done.stderr or done.stdout).strip()[-2000:]}")
    return done.stdout


class Process:
    """A program that runs beside the benchmark and is killed if the benchmark dies."""

    def __init__(self, name, command, log, environment):
        self.name = name
        self.log = log
        with open(log, "wb") as output:
            self._process = subprocess.Popen(
                ["setpriv", "--pdeathsig", "KILL", "--", *[str(word) for word in command]],
                stdin=subprocess.DEVNULL, stdout=output, stderr=output, env=environment,
                start_new_session=True)

    @property
    def pid(self):
        return self._process.pid

    def is_running(self):
        return self._process.poll() is None

    def text(self):
        return self.log.read_text(errors="replace")

    def wait_until(self, condition, what):
        def ended_or_done():
            if condition():
                return True
            if not self.is_running():
                raise Failure(f"{self.name} ended before {what}:\n{self.text()[-2000:]}")
            return False
        wait_until(ended_or_done, f"{self.name}: {what}")

    def stop(self):
        """SIGTERM; fails unless the program ends in order."""
        self._process.terminate()
        try:
            status = self._process.wait(STOP_LIMIT)
        except subprocess.TimeoutExpired:
            self.kill()
            raise Failure(f"{self.name} did not end within {STOP_LIMIT:.0f} s") from None
        if status not in (0, -signal.SIGTERM):
            raise Failure(f"{self.name} ended with status {status}:\n{self.text()[-2000:]}")

    def kill(self):
        if self.is_running():
            self._process.kill()
            self._process.wait()


class Stack:
    """A context with a running redis and cooling unit."""

    def __init__(self, which_processors):
        self._which = which_processors
        self._exits = contextlib.ExitStack()
        self.folder = None
        self.environment = None
        self.unit_address = None

    def __enter__(self):
        with contextlib.ExitStack() as exits:
            self.folder = pathlib.Path(tempfile.mkdtemp(prefix="orvane-bench-"))
            exits.callback(shutil.rmtree, self.folder)
            exits.enter_context(pinned(self._which))
            self.environment = dict(os.environ, **self.part("absent").environment())
            self.environment.pop("ManagingMode", None)
            self._exits = exits
            self.environment.update(self._start("redis").environment())
            # Only the daemon of one mode asks it, so it is in nobody's environment yet.
            self.unit_address = self._start("cooling-unit").address
            run([BUILT / "orvanectl", "provision"], env=self.environment)
            self._exits = exits.pop_all()
        return self

    def __exit__(self, *exception):
        return self._exits.__exit__(*exception)

    @property
    def socket(self):
        return self.folder / "redis.sock"

    def redis(self, *words):
        return run(["redis-cli", "-s", self.socket, *words]).strip()

    def part(self, name, **values):
        return StackPart(name, **{"run": self.folder, "sockets": self.folder, "built": BUILT,
                                  "listen": "127.0.0.1:0", **values})

    def _start(self, name):
        """Redis or a device, for all that runs here."""
        part = self.part(name)
        self._exits.enter_context(self.running_part(part))
        return part

    @contextlib.contextmanager
    def running(self, name, command, environment=None):
        """A context with one more running program; the caller waits until it is up."""
        process = Process(name, command, self.folder / f"{name}.log",
                          environment or self.environment)
        try:
            yield process
            process.stop()
        finally:
            process.kill()

    @contextlib.contextmanager
    def running_part(self, part, environment=None, more=(), name=None):
        """A context: a process of script/lib/stack.conf, up."""
        part.prepare()
        with self.running(name or part.name, [*part.command(), *more], environment) as process:
            for condition in part.conditions:
                process.wait_until(lambda each=condition: part.holds(each, process.pid, process.text()),
                                   condition)
            yield process

    @property
    def view(self):
        return self.folder / "view"

    @property
    def database(self):
        return self.view / "var-database" / "webgui.db"

    @contextlib.contextmanager
    def daemon(self, mode, pauses=True, wrapper=()):
        """A context with the daemon, up and registered. Without pauses, its fixed sleeps return at once,
        which leaves only work. `wrapper`: a command that runs it (valgrind, strace)."""
        environment = dict(self.environment, ManagingMode=str(mode))
        if mode == 0:
            environment["COOLING_UNIT"] = self.unit_address
        if not pauses:
            environment["LD_PRELOAD"] = str(PROGRAMS / "liborvane_bench_no_pauses.so")
        with self.running_part(self.part("daemon", wrapper=wrapper), environment) as process:
            yield process

    @contextlib.contextmanager
    def bare(self, name, *options, wrapper=()):
        """A context with the bare program, listening on a channel with its name."""
        command = [*wrapper, PROGRAMS / "orvane_bench_bare", "--socket", self.socket,
                   "--channel", name, "--instance", INSTANCE, *options]
        with self.running(name, command) as process:
            process.wait_until(lambda: self.redis("PUBSUB", "NUMSUB", name).endswith("1"),
                               "its subscription")
            yield process
