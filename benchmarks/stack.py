"""What a benchmark runs against: one private redis on a unix socket in a temporary folder, the
cooling unit, the daemon in a private view of its fixed paths, and the subjects it is compared with.

Everything is started on the chosen processors and stopped on every exit, the last started first.
What is measured is left to parts.py.
"""

import contextlib
import os
import pathlib
import re
import shutil
import signal
import subprocess
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
# The tests of the benchmarks name the build that they belong to.
BUILT = pathlib.Path(os.environ.get("ORVANE_BUILT", ROOT / "build" / "release"))
PROGRAMS = BUILT / "benchmarks"
INSTANCE = "80000000-0000-0000-0000-008000000000"
DAEMON_CHANNEL = "OrvaneWebGUI"

START_LIMIT = 20.0  # seconds until a program is up
STOP_LIMIT = 20.0  # seconds for an orderly end


class Failure(Exception):
    """A program did not do what the benchmark needs."""


AVAILABLE = sorted(os.sched_getaffinity(0))


def processors(which):
    """"one": a single processor, not the first, which serves most interrupts; "others": all but
    that one, where there is another; "all": all."""
    return {"one": {AVAILABLE[-1]}, "others": set(AVAILABLE[:-1] or AVAILABLE),
            "all": set(AVAILABLE)}[which]


@contextlib.contextmanager
def pinned(which):
    """Runs the caller, and all that it starts, on these processors."""
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
    """Runs a command to its end and gives its standard output."""
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True,
                          check=False, **options)
    if done.returncode != 0:
        raise Failure(f"{command[0]} ended with status {done.returncode}: "
                      f"{(done.stderr or done.stdout).strip()[-2000:]}")
    return done.stdout


class Process:
    """A program that runs beside the benchmark. Killed when the benchmark dies."""

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
        """SIGTERM; fails unless it ends in an orderly way."""
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
    """A context: redis and the cooling unit run inside of it."""

    def __init__(self, which_processors):
        self._which = which_processors
        self._exits = contextlib.ExitStack()
        self.folder = None
        self.environment = None

    def __enter__(self):
        with contextlib.ExitStack() as exits:
            self.folder = pathlib.Path(tempfile.mkdtemp(prefix="orvane-bench-"))
            exits.callback(shutil.rmtree, self.folder)
            exits.enter_context(pinned(self._which))
            self.environment = dict(os.environ, OSSEL_REDIS=f"unix:{self.socket}",
                                    LCD_BACKLIGHT=str(self.folder / "no-backlight"),
                                    DISPLAY=":4095", COOLING_UNIT="127.0.0.1:1")
            self.environment.pop("ManagingMode", None)
            self._exits = exits
            self._start_redis()
            self._start_unit()
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

    def _start_redis(self):
        redis = self._exits.enter_context(self.running("redis", [
            "redis-server", "--port", "0", "--unixsocket", self.socket, "--unixsocketperm", "700",
            "--dir", self.folder, "--save", "", "--appendonly", "no", "--daemonize", "no"]))
        redis.wait_until(self._redis_answers, "its answer")

    def _redis_answers(self):
        """Its socket is there a moment before it listens."""
        try:
            return self.redis("PING") == "PONG"
        except Failure:
            return False

    def _start_unit(self):
        unit = self._exits.enter_context(self.running("cooling-unit", [
            BUILT / "cooling-unit-sim", "--listen", "127.0.0.1:0",
            "--state", self.folder / "unit.state"]))
        pattern = re.compile(r"listens on ([0-9.]+:[0-9]+)")
        unit.wait_until(lambda: pattern.search(unit.text()), "its address")
        self.unit_address = pattern.search(unit.text()).group(1)

    @contextlib.contextmanager
    def running(self, name, command, environment=None):
        """A context: one more program, up as far as its caller waits for it."""
        process = Process(name, command, self.folder / f"{name}.log",
                          environment or self.environment)
        try:
            yield process
            process.stop()
        finally:
            process.kill()

    @property
    def view(self):
        return self.folder / "view"

    @property
    def database(self):
        return self.view / "var-database" / "webgui.db"

    @contextlib.contextmanager
    def daemon(self, mode, pauses=True, wrapper=()):
        """The daemon, up and registered. Without pauses its fixed ones return at once, so that
        what is left is work. `wrapper`: a command that runs it (valgrind, strace)."""
        environment = dict(self.environment, ManagingMode=str(mode))
        if mode == 0:
            environment["COOLING_UNIT"] = self.unit_address
        if not pauses:
            environment["LD_PRELOAD"] = str(PROGRAMS / "liborvane_bench_no_pauses.so")
        marker = self.view / "tmp" / "run" / "Stidre.run"
        marker.parent.mkdir(parents=True, exist_ok=True)
        marker.unlink(missing_ok=True)
        command = [ROOT / "script" / "private-view", "--bind", ROOT, "--bind", self.folder, self.view,
                   "--", *wrapper, BUILT / "orvane-webgui"]
        with self.running("daemon", command, environment) as process:
            process.wait_until(marker.exists, "its run marker")
            if "valgrind" not in wrapper:  # which has signals of its own
                process.wait_until(lambda: self._can_be_stopped(process.pid), "its threads")
            yield process

    @staticmethod
    def _can_be_stopped(pid):
        """The host blocks SIGTERM when it starts its threads, a moment after the marker."""
        status = pathlib.Path(f"/proc/{pid}/status").read_text()
        blocked = int(re.search(r"SigBlk:\s*([0-9a-f]+)", status).group(1), 16)
        return blocked & (1 << (signal.SIGTERM - 1)) != 0

    @contextlib.contextmanager
    def bare(self, name, *options, wrapper=()):
        """The bare program, listening on a channel of its own, which is its name."""
        command = [*wrapper, PROGRAMS / "orvane_bench_bare", "--socket", self.socket,
                   "--channel", name, "--instance", INSTANCE, *options]
        with self.running(name, command) as process:
            process.wait_until(lambda: self.redis("PUBSUB", "NUMSUB", name).endswith("1"),
                               "its subscription")
            yield process
