# Changes the daemon's sources one place at a time and reports the changes that no unit test
# notices. This is the command line; script/mutate starts it and has the help text.
import argparse
import fcntl
import fnmatch
import functools
import glob
import hashlib
import multiprocessing
import os
import queue
import signal
import subprocess
import sys
import time

from mutants import find_mutants
from results import EXPLAINED, LEAST_KILLED, Explanations, Results, diff, summary
from workshop import SURVIVED, Workshop

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.realpath(__file__))))
FAILED = "failed"
FOLDERS = ("requests", "agent", "store", "service", "include")


def say(text):
    print(f"mutate: {text}", flush=True)


def arguments():
    parser = argparse.ArgumentParser(add_help=False)
    parser.add_argument("--list", action="store_true")
    parser.add_argument("--only", metavar="PATTERN")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--resume", action="store_true")
    parser.add_argument("--plain", action="store_true")
    parser.add_argument("files", nargs="*", metavar="FILE")
    return parser.parse_args()


def daemon_files():
    return sorted(
        os.path.relpath(path, ROOT)
        for folder in FOLDERS
        for ending in ("cpp", "h")
        for path in glob.glob(os.path.join(ROOT, folder, "*." + ending))
    )


def chosen_files(names):
    """Each name may be a file or a folder."""
    files = daemon_files()
    names = [os.path.normpath(name) for name in names]
    for name in names:
        if not any(file == name or file.startswith(name + os.sep) for file in files):
            raise RuntimeError(f"{name} is no source of {', '.join(FOLDERS)}")
    return [f for f in files if not names or any(f == n or f.startswith(n + os.sep) for n in names)]


def repository_files():
    listing = ["git", "-C", ROOT, "ls-files", "-z", "--cached", "--others", "--exclude-standard"]
    names = subprocess.run(listing, check=True, stdout=subprocess.PIPE).stdout.decode().split("\0")
    return [name for name in names if name and os.path.isfile(os.path.join(ROOT, name))]


@functools.cache
def fingerprint(file):
    with open(os.path.join(ROOT, file), "rb") as stream:
        return hashlib.sha256(stream.read()).hexdigest()[:12]


def all_mutants(files, pattern):
    options = ["-std=c++20", "-I" + ROOT, "-I" + os.path.join(ROOT, "include")]
    mutants = [m for file in files for m in find_mutants(file, os.path.join(ROOT, file), options)]
    return [m for m in mutants if not pattern or fnmatch.fnmatchcase(m.id, f"*{pattern}*")]


# --- Workers ---


def prepare(folder, files, sanitized):
    start = time.monotonic()
    workshop = Workshop(ROOT, folder, sanitized)
    workshop.refresh(files)
    workshop.configure()
    workshop.make()
    workshop.measure()
    say(f"{os.path.basename(folder)} is ready after {time.monotonic() - start:.0f} s")
    return workshop


def workshops(count, sanitized):
    base = os.path.join(ROOT, "build", "mutate", "sanitized-" if sanitized else "worker-")
    files = repository_files()
    return [prepare(f"{base}{number}", files, sanitized) for number in range(1, count + 1)]


def work(workshop, tasks, answers):
    signal.signal(signal.SIGINT, signal.SIG_IGN)
    while (mutant := next_task(tasks)) is not None:
        start = time.monotonic()
        try:
            answer = workshop.attempt(mutant)
        except Exception as failure:  # the run goes on, and says so at its end
            answer = (FAILED, repr(failure))
        answers.put((mutant, *answer, time.monotonic() - start))


def next_task(tasks):
    """None when there is none, and when the process that hands them out has gone."""
    while multiprocessing.parent_process().is_alive():
        try:
            return tasks.get(timeout=5)
        except queue.Empty:
            pass
    return None


def try_all(mutants, results, jobs, sanitized):
    """Tries the mutants; each verdict is in the results as soon as it is known."""
    if not mutants:
        return
    jobs = max(1, min(jobs, len(mutants)))
    tasks, answers = multiprocessing.Queue(), multiprocessing.Queue()
    for task in [*mutants, *[None] * jobs]:
        tasks.put(task)
    workers = [
        multiprocessing.Process(target=work, args=(workshop, tasks, answers), daemon=True)
        for workshop in workshops(jobs, sanitized)
    ]
    for worker in workers:
        worker.start()
    failures = 0
    for number in range(1, len(mutants) + 1):
        mutant, verdict, reason, seconds = next_answer(answers, workers)
        say(f"{number}/{len(mutants)} {verdict:10} {seconds:5.1f} s  {mutant.id}  {reason}")
        if verdict == FAILED:
            failures += 1
        else:
            reason = f"sanitized: {reason}" if sanitized and reason else reason
            results.add(mutant, fingerprint(mutant.file), verdict, reason, seconds)
    if failures:
        raise RuntimeError(f"{failures} mutants could not be tried")


def next_answer(answers, workers):
    while True:
        try:
            return answers.get(timeout=5)
        except queue.Empty:
            if not any(worker.is_alive() for worker in workers):
                raise RuntimeError("every worker has ended") from None


def open_mutants(mutants, results, explanations):
    """Those that have not been tried, and those that survived and are not explained."""
    verdicts = [(mutant, results.verdict(mutant, fingerprint(mutant.file))) for mutant in mutants]
    return [
        mutant
        for mutant, verdict in verdicts
        if verdict is None or (verdict == SURVIVED and not explanations.reason(mutant))
    ]


# --- The whole ---


def only_run():
    """Two runs would work in the same copies; the lock ends with the process."""
    folder = os.path.join(ROOT, "build", "mutate")
    os.makedirs(folder, exist_ok=True)
    lock = open(os.path.join(folder, "lock"), "w", encoding="utf-8")
    try:
        fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
    except OSError:
        raise RuntimeError(f"another run is at work in {folder}") from None
    return lock


def verdicts_of(mutants, results, explanations):
    for mutant in mutants:
        verdict = results.verdict(mutant, fingerprint(mutant.file))
        if verdict == SURVIVED and explanations.reason(mutant):
            explanations.use(mutant)
            verdict = EXPLAINED
        yield mutant, verdict


def report(mutants, results, explanations, files):
    verdicts = list(verdicts_of(mutants, results, explanations))
    survivors = [mutant for mutant, verdict in verdicts if verdict == SURVIVED]
    for mutant in survivors:
        print(diff(mutant))
    for key in explanations.unused(files):
        print("explained, but no survivor: " + " | ".join(key))
    table, killed = summary(verdicts)
    print(table)
    if killed < LEAST_KILLED:
        say(f"below {LEAST_KILLED} % killed")
    return killed >= LEAST_KILLED


def main():
    options = arguments()
    files = chosen_files(options.files)
    mutants = all_mutants(files, options.only)
    if options.list:
        for mutant in mutants:
            print(diff(mutant))
        say(f"{len(mutants)} mutants")
        return 0
    lock = only_run()
    explanations = Explanations(os.path.join(ROOT, "tests", "mutate", "equivalent.tsv"))
    results = Results(os.path.join(ROOT, "build", "mutate", "results.tsv"))
    if not options.resume:
        results.forget(mutants)
    waiting = open_mutants(mutants, results, explanations)
    say(f"{len(mutants)} mutants, {len(waiting)} to try")
    try_all(waiting, results, options.jobs, sanitized=False)
    if not options.plain:
        waiting = open_mutants(mutants, results, explanations)
        say(f"{len(waiting)} to try with the sanitizers")
        try_all(waiting, results, options.jobs, sanitized=True)
    complete_files = set() if options.only else set(files)
    enough = report(mutants, results, explanations, complete_files)
    lock.close()
    return 0 if enough else 1


if __name__ == "__main__":
    try:
        sys.exit(main())
    except RuntimeError as failure:
        print(f"mutate: {failure}", file=sys.stderr)
        sys.exit(2)
    except KeyboardInterrupt:
        sys.exit(130)
