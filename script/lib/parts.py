"""The parts of script/test. A new one is one entry of PARTS.

A part has a name, what it proves, its steps, each of which needs the one before, perhaps a second such
sequence beside it that starts first, and the groups of packages that it needs (options of script/bootstrap). Steps of
the same name are the same step: it runs once, whichever parts ask for it. schedule.py says what the
steps' marks mean.
"""

import dataclasses
import os

from schedule import Step

PROCESSORS = len(os.sched_getaffinity(0))
TESTS_PER_PROCESSOR = 2  # they mostly wait
DAEMON_TESTS = (
    "agent_test", "store_test", "first_tree_test", "requests_test", "service_test",
    "worker_copies_test", "log_line_memory_test", "main_test", "main_in_process_test",
    "fault_sweep_test", "end_to_end_test", "outages_test")
REDFISH_TESTS = (
    "redfish_model_test", "redfish_service_test", "redfish_server_test", "redfish_end_to_end_test")
RELEASE_TESTS = (*DAEMON_TESTS, *REDFISH_TESTS, "benchmarks_test")
RELEASE_TARGETS = ("orvane-webgui", "orvanectl", "cooling-unit-sim", "benchmarks", *RELEASE_TESTS)
# Most of the tests' time. They are built first, so that they wait while the rest is built.
SLOW_TESTS = (
    "fault_sweep_test", "end_to_end_test", "outages_test", "orvanectl_test", "settings_database_test",
    "settings_database_power_cut_test", "redfish_end_to_end_test", "storms_test")
# Single-threaded and slow: nothing for the thread sanitizer to find.
ONE_THREAD_TESTS = (
    "fault_sweep_test", "settings_database_power_cut_test", "settings_database_memory_test",
    "platform_doubles_test", "redfish_model_test")


@dataclasses.dataclass(frozen=True)
class Part:
    name: str
    proves: str
    steps: tuple
    beside: tuple = ()
    packages: tuple = ("--all",)
    default: bool = False
    in_all: bool = True


def names_of(programs):
    """A regular expression for the names of their tests."""
    return rf"^({'|'.join(programs)})\."


def wrapper_of(preset):
    """This compiler's thread sanitizer cannot map its memory if the kernel randomises addresses by
    more than 28 bits. Builds are affected too, because they ask each program for its list of tests."""
    return ("setarch", "--addr-no-randomize") if preset == "tsan" else ()


def build(preset, *targets, name="build"):
    return Step(f"{preset}-{name}",
                (*wrapper_of(preset), "script/build", "--keep-going", preset, *targets),
                locks=(f"build/{preset}",), preset=preset, wrapper=wrapper_of(preset))


def tests_command(preset, *selection):
    """Verbose, because only then the log has everything and a skipped test tells why."""
    return ("ctest", "--test-dir", f"build/{preset}", "--verbose", "--no-tests=error",
            "-j", str(TESTS_PER_PROCESSOR * PROCESSORS), *selection)


def tests(name, preset, *selection):
    return Step(name, (*wrapper_of(preset), *tests_command(preset, *selection)),
                waits=True, cores=PROCESSORS, preset=preset, wrapper=wrapper_of(preset))


def script(name, *arguments, **marks):
    return Step(name, (f"script/{arguments[0]}", *arguments[1:]), **marks)


def on_release(release, proves):
    """Everything that builds, and every test, in a clean root of a Debian release, which each step may have to
    make first."""
    inside, locks = ("script/clean-root", release), (f"build/clean-root/{release}",)
    marks = {"preset": "portable", "wrapper": inside, "locks": locks}
    return Part(release, proves,
                (Step(f"{release}-build", (*inside, "script/build", "--keep-going", "portable"), **marks),
                 Step(release, (*inside, *tests_command("portable")), waits=True, cores=PROCESSORS, **marks)),
                beside=(Step(f"{release}-page", (*inside, "script/web", "--unit"), waits=True, cores=1, locks=locks),),
                packages=("--clean-root",))


SLOW_TESTS_BUILD = build("asan-ubsan", *SLOW_TESTS, name="first-build")

PARTS = (
    Part("sources", "format, house rules and shell scripts, without running anything",
         (script("sources", "lint", "format", "house", "shell",
                 waits=True, cores=1, locks=("build/debug",)),),
         packages=("--test",), default=True),
    Part("tests", "every test but the long ones, under the address, leak and undefined-behaviour sanitizers",
         (build("asan-ubsan"),
          tests("tests", "asan-ubsan", "--label-exclude", "^long$", "--exclude-regex", names_of(SLOW_TESTS))),
         beside=(SLOW_TESTS_BUILD,
                 tests("slow-tests", "asan-ubsan", "--label-exclude", "^long$",
                       "--tests-regex", names_of(SLOW_TESTS))),
         packages=("--test",), default=True),
    Part("page", "sources and unit tests of the page, without a browser",
         (script("page", "web", "--unit", waits=True, cores=1, locks=("web",)),),
         packages=("--page",), default=True),
    Part("long", "the tests that take longer, under the same sanitizers",
         (build("asan-ubsan"), tests("long", "asan-ubsan", "--label-regex", "^long$"))),
    Part("release", "the tests of the daemon and of the Redfish service, optimised as for a board",
         (build("release", *RELEASE_TARGETS),
          tests("release", "release", "--tests-regex", names_of(RELEASE_TESTS)))),
    Part("lint", "clang-tidy and cppcheck on every source",
         (script("lint", "lint", "tidy", "cppcheck", locks=("build/debug",)),)),
    Part("tsan", "every test with several threads under the thread sanitizer",
         (build("tsan"),
          tests("tsan", "tsan", "--exclude-regex", names_of(ONE_THREAD_TESTS)))),
    Part("memcheck", "a whole life of the daemon under valgrind",
         (script("memcheck", "memcheck", waits=True, cores=1, locks=("build/release",)),)),
    Part("browser", "the page alone in Chromium, then with the whole stack",
         (script("browser", "web", "--test", waits=True, cores=1, locks=("web",)),
          script("stack", "web", "--stack", waits=True, cores=1, locks=("web", "build/release"))),
         packages=("--web", "--run")),
    Part("coverage", "the tests reach every line and branch of the daemon, and 90 % of the rest",
         (script("coverage-build", "coverage", "--build", locks=("build/coverage",), preset="coverage"),
          script("coverage", "coverage", waits=True, cores=PROCESSORS, locks=("build/coverage",)))),
    Part("fuzz", "half a minute of hostile input for every target",
         (script("fuzz", "fuzz", "--seconds", "30", locks=("build/fuzz",)),)),
    Part("armhf", "the unit tests with four-byte pointers, emulated",
         (script("armhf-build", "armhf", "--build", locks=("build/armhf",), preset="armhf"),
          script("armhf", "armhf", waits=True, cores=PROCESSORS, locks=("build/armhf",))),
         packages=("--armhf",)),
    Part("same-bytes", "programs and packages of two checkouts are the same byte by byte",
         (script("same-bytes", "same-bytes", locks=("build/same-bytes",)),),
         packages=("--package",)),
    Part("clang", "everything compiles with clang, and every test passes",
         (build("clang"), tests("clang", "clang"))),
    on_release("debian-12", "the same in a clean Debian 12, with GCC 12, and the page's unit tests"),
    on_release("debian-13", "the same in a clean Debian 13, with GCC 14"),
    Part("debug", "every test, in a build for the debugger; neither by default nor in --all",
         (build("debug"), tests("debug", "debug")), in_all=False),
)
