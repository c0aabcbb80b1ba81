"""Programs that run side by side: their output line by line, their end, and stopping all of them. One
thread waits for everything.
"""

import ctypes
import os
import selectors
import signal
import subprocess
import time

PR_SET_CHILD_SUBREAPER = 36
GIVE_UP_SECONDS = 10
LOW_PRIORITY = 10


class Interrupted(Exception):
    """SIGINT, SIGTERM or SIGHUP came."""

    def __init__(self, number):
        super().__init__(signal.Signals(number).name)
        self.status = 128 + number


def raise_when_interrupted():
    """What a shell in the background ignores, SIGINT, goes on to be ignored here; the children get its
    default action all the same, as with every signal that has a handler."""
    def interrupt(number, _frame):
        for each in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            signal.signal(each, lambda *_: None)  # what stops the children must not be interrupted
        raise Interrupted(number)

    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        ignored = signal.getsignal(number) == signal.SIG_IGN
        signal.signal(number, (lambda *_: None) if ignored else interrupt)


def adopt_orphans():
    """What the children leave behind becomes our child, so that kill_descendants() finds it."""
    ctypes.CDLL(None, use_errno=True).prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)


def descendants():
    parents = {}
    for name in os.listdir("/proc"):
        if name.isdigit():
            try:
                with open(f"/proc/{name}/stat", "rb") as file:
                    state, parent = file.read().rpartition(b")")[2].split()[:2]
            except OSError:
                continue  # it has ended
            if state != b"Z":
                parents[int(name)] = int(parent)
    found, grown = {os.getpid()}, True
    while grown:
        more = {process for process, parent in parents.items() if parent in found} - found
        found |= more
        grown = bool(more)
    return found - {os.getpid()}


def kill_descendants(seconds):
    """SIGTERM, and SIGKILL for what is still there after these seconds. What nobody can
    kill is given up."""
    end, number, asked = time.monotonic() + seconds, signal.SIGTERM, set()
    while (found := descendants()) and time.monotonic() < end + GIVE_UP_SECONDS:
        if time.monotonic() >= end:
            asked, number = set(), signal.SIGKILL
        for process in found - asked:
            try:
                os.kill(process, number)
            except (ProcessLookupError, PermissionError):
                pass
        asked |= found
        reap_all()
        time.sleep(0.02)
    reap_all()


def reap_all():
    try:
        while os.waitpid(-1, os.WNOHANG)[0]:
            pass
    except ChildProcessError:
        pass


class Child:
    """One program in a session of its own. Ended when `status` is no longer None."""

    def __init__(self, command, on_line, gives_way=False, **options):
        """gives_way: at low priority."""
        if gives_way:
            command = ("nice", "-n", str(LOW_PRIORITY), *command)
        self.on_line, self.rest, self.status = on_line, b"", None
        self.began = time.monotonic()
        self.process = subprocess.Popen(
            command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
            start_new_session=True, **options)
        os.set_blocking(self.process.stdout.fileno(), False)
        if gives_way:
            # Where the kernel shares processors out by sessions, nice counts only inside of one.
            try:
                with open(f"/proc/{self.process.pid}/autogroup", "w", encoding="ascii") as file:
                    file.write(str(LOW_PRIORITY))
            except OSError:
                pass  # it does not, or the program has ended

    def seconds(self):
        return time.monotonic() - self.began

    def read(self):
        """Passes whole lines on; False at the end of the output."""
        while True:
            try:
                data = os.read(self.process.stdout.fileno(), 65536)
            except BlockingIOError:
                return True
            if not data:
                return False
            *lines, self.rest = (self.rest + data).split(b"\n")
            for line in lines:
                self.on_line(line.decode(errors="replace"))

    def reap(self):
        """True once it has ended. A process that it left behind may still hold its output open."""
        if self.status is None:
            process, status = os.waitpid(self.process.pid, os.WNOHANG)
            if process == 0:
                return False
            self.read()
            if self.rest:
                self.on_line(self.rest.decode(errors="replace"))
            self.status = self.process.returncode = os.waitstatus_to_exitcode(status)
        return True


class Children:
    """The programs that run now."""

    def __init__(self):
        self.running = []
        self.selector = selectors.DefaultSelector()
        # The end of a child wakes the wait below up, although its output may stay open.
        self.bell, ring = os.pipe2(os.O_NONBLOCK | os.O_CLOEXEC)
        signal.set_wakeup_fd(ring)
        signal.signal(signal.SIGCHLD, lambda *_: None)
        self.selector.register(self.bell, selectors.EVENT_READ)

    def start(self, *arguments, **options):
        child = Child(*arguments, **options)
        self.selector.register(child.process.stdout, selectors.EVENT_READ, child)
        self.running.append(child)
        return child

    def wait(self, seconds):
        """Returns those that ended, after something happened or these seconds have passed."""
        for key, _ in self.selector.select(seconds):
            if key.data is None:
                os.read(self.bell, 4096)
            elif not key.data.read():
                self.selector.unregister(key.fileobj)
        ended = [child for child in self.running if child.reap()]
        for child in ended:
            self.running.remove(child)
            if child.process.stdout in self.selector.get_map():
                self.selector.unregister(child.process.stdout)
            child.process.stdout.close()
        return ended
