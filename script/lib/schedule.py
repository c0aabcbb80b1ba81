"""Which step of script/test may run beside which, and when.

There are two kinds of steps. Builds and analyses keep processors busy; they run at low priority and
fill what the others leave. Tests mostly wait for something and have time limits, so nothing may get
in their way: they run at normal priority. Each kind has its own room, builds that of all processors,
tests that of twice as many because they wait: so one build runs beside the tests of the build before.
"""

import dataclasses


@dataclasses.dataclass(frozen=True)
class Step:
    """One command, run in the repository's folder; its log has the step's name.

    waits  it is of the kind that mostly waits
    cores  how many processors it keeps busy; 0: the whole room of its kind
    locks  no two steps with one of these in common run at the same time, e.g. a build's folder
    preset, wrapper  what progress.Progress needs
    """
    name: str
    command: tuple
    waits: bool = False
    cores: int = 0
    locks: tuple = ()
    preset: str = ""
    wrapper: tuple = ()


class Schedule:
    """Steps in the order of their importance, and what each of them has to wait for."""

    def __init__(self, sequences, cores):
        """sequences: lists of steps; each step needs the one before it. A step that several of them
        contain runs once."""
        self.cores, self.room = cores, {False: cores, True: 2 * cores}
        self.waiting, self.needs = [], {}
        for sequence in sequences:
            for before, step in zip([None, *sequence], sequence):
                if step.name not in self.needs:
                    self.waiting.append(step)
                    self.needs[step.name] = set()
                if before is not None:
                    self.needs[step.name].add(before.name)
        self.running, self.passed, self.failed, self.dropped = [], set(), set(), []

    def done(self):
        return not self.waiting and not self.running

    def next(self):
        """The next step that may start now, or None; it then counts as running. A step that is ready
        and only lacks processors keeps later ones of its kind from overtaking it."""
        blocked = set()
        for step in self.waiting:
            if not self.needs[step.name] <= self.passed or step.waits in blocked:
                continue
            if any(set(step.locks) & set(other.locks) for other in self.running):
                continue
            used = sum(self._cores(other) for other in self.running if other.waits == step.waits)
            if used and used + self._cores(step) > self.room[step.waits]:
                blocked.add(step.waits)
                continue
            self.waiting.remove(step)
            self.running.append(step)
            return step
        return None

    def end(self, step, passed):
        """After a failure, what needs the step is dropped; the others go on."""
        self.running.remove(step)
        (self.passed if passed else self.failed).add(step.name)
        unreachable = set(self.failed)
        for waiting in list(self.waiting):  # in an order in which needs come first
            if self.needs[waiting.name] & unreachable:
                unreachable.add(waiting.name)
                self.waiting.remove(waiting)
                self.dropped.append(waiting)

    def _cores(self, step):
        return min(step.cores or self.room[step.waits], self.room[step.waits])


def seconds_left(schedule, left):
    """How long the rest takes if each step takes what `left` says by its name: a rehearsal. None if
    the time of a step is not known."""
    rehearsal = Schedule([], schedule.cores)
    rehearsal.waiting, rehearsal.needs = list(schedule.waiting), schedule.needs
    rehearsal.running, rehearsal.passed = list(schedule.running), set(schedule.passed)
    if any(left.get(step.name) is None for step in rehearsal.waiting + rehearsal.running):
        return None
    now, ends = 0.0, {step: max(left[step.name], 0.0) for step in rehearsal.running}
    while True:
        while step := rehearsal.next():
            ends[step] = now + left[step.name]
        if not ends:
            return now
        step = min(ends, key=ends.get)
        now = ends.pop(step)
        rehearsal.end(step, True)
