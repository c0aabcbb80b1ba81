"""Measures the requested parts and writes the report; started by script/bench."""

import argparse
import datetime
import json
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import time

import parts
import redfish_parts
import report
import stack

PARTS = {**parts.PARTS, **redfish_parts.PARTS}

RECORDED = pathlib.Path(__file__).resolve().parent
OUTPUT = stack.ROOT / "build" / "bench"
BASELINE = RECORDED / "baseline"  # figures before any work on speed
MIN_ROUNDS = 5  # of a recorded part


def first_line(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True,
                          cwd=stack.ROOT).stdout.split("\n", 1)[0].strip()


def machine():
    names = [line.split(":", 1)[1].strip() for line in open("/proc/cpuinfo", encoding="utf-8")
             if line.startswith("model name")] or [os.uname().machine]
    redis = first_line("redis-server", "--version").split()
    version = next(word.removeprefix("v=") for word in redis if word.startswith("v="))
    return (f"{names[0]}, {os.cpu_count()} cores, Linux {os.uname().release}, "
            f"{first_line('c++', '--version')}, redis {version}")


def commit():
    # Changes of reports and documents do not change what was measured.
    changed = first_line("git", "status", "--porcelain", "--untracked-files=no", "--", ".",
                         ":!benchmarks/*.md", ":!benchmarks/*.svg", ":!*.md")
    return first_line("git", "rev-parse", "--short", "HEAD") + (" with changes" if changed else "")


def measure(part, rounds, quick):
    result = {
        "machine": machine(),
        "commit": commit(),
        "date": datetime.datetime.now(datetime.timezone.utc).strftime("%Y-%m-%d %H:%M UTC"),
        "quick": quick,
        "rounds": PARTS[part](rounds, parts.Scale(quick)),
    }
    (OUTPUT / f"{part}.json").write_text(json.dumps(result, indent=1) + "\n")


def results_in(folder):
    """The results found there, by part."""
    return {part: json.loads((folder / f"{part}.json").read_text())
            for part in PARTS if (folder / f"{part}.json").exists()}


def main():
    parser = argparse.ArgumentParser(prog="script/bench")
    parser.add_argument("--rounds", type=int, default=MIN_ROUNDS)
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--record", action="store_true")
    parser.add_argument("--report", action="store_true")
    parser.add_argument("parts", nargs="*", metavar="PART")
    options = parser.parse_args()
    for part in options.parts:
        if part not in PARTS:
            parser.error(f"no part is called {part}; there are: {', '.join(PARTS)}")
    # A signal stops everything like any other exit.
    for number in (signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, lambda number, frame: sys.exit(128 + number))

    OUTPUT.mkdir(parents=True, exist_ok=True)
    rounds = 1 if options.quick else options.rounds
    for part in [] if options.report else options.parts or PARTS:
        begin = time.monotonic()
        print(f"bench: {part} ...", end=" ", flush=True)
        measure(part, rounds, options.quick)
        print(f"{time.monotonic() - begin:.0f} s", flush=True)
    results = results_in(OUTPUT)
    written = report.write(results, results_in(BASELINE), OUTPUT)
    for name in written:
        if name.endswith(".md"):
            print(f"bench: {OUTPUT / name}")
    if options.record:
        short = [part for part, result in results.items() if result["quick"]]
        if short:
            sys.exit(f"bench: measured with --quick, not recorded: {', '.join(short)}")
        for name in written:
            shutil.copyfile(OUTPUT / name, RECORDED / name)
        print(f"bench: recorded in {RECORDED}")


if __name__ == "__main__":
    try:
        main()
    except stack.Failure as failure:
        sys.exit(f"bench: {failure}")
    except KeyboardInterrupt:
        sys.exit(130)
