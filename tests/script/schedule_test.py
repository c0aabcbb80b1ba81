# Tests of script/lib/schedule.py: which step of script/test may start when.
import os
import sys
import unittest

ROOT = os.path.realpath(os.path.join(os.path.dirname(__file__), "..", ".."))
sys.path.insert(0, os.path.join(ROOT, "script", "lib"))

from schedule import Schedule, Step, seconds_left


def build(name, *locks):
    return Step(name, ("true",), locks=locks)


def tests(name, cores=0):
    return Step(name, ("true",), waits=True, cores=cores)


def start_all(schedule):
    """The names of the steps that start now."""
    names = []
    while step := schedule.next():
        names.append(step.name)
    return names


def end(schedule, name, passed=True):
    schedule.end(next(step for step in schedule.running if step.name == name), passed)


class WhatMayStart(unittest.TestCase):
    def test_a_build_runs_beside_the_tests_of_the_build_before(self):
        schedule = Schedule([[build("b1"), tests("t1")], [build("b2"), tests("t2")]], 2)
        self.assertEqual(start_all(schedule), ["b1"])
        end(schedule, "b1")
        self.assertEqual(start_all(schedule), ["t1", "b2"])
        end(schedule, "b2")
        self.assertEqual(start_all(schedule), [])
        end(schedule, "t1")
        self.assertEqual(start_all(schedule), ["t2"])

    def test_steps_that_leave_room_run_side_by_side(self):
        schedule = Schedule([[tests("a", 1)], [tests("b", 2)], [tests("c", 1)], [tests("d", 1)]], 2)
        self.assertEqual(start_all(schedule), ["a", "b", "c"])

    def test_a_small_step_does_not_overtake_a_large_one_of_its_kind(self):
        schedule = Schedule([[tests("small", 1)], [tests("large")], [tests("later", 1)]], 2)
        self.assertEqual(start_all(schedule), ["small"])
        end(schedule, "small")
        self.assertEqual(start_all(schedule), ["large"])

    def test_a_step_that_asks_for_more_processors_than_there_are_runs_alone(self):
        self.assertEqual(start_all(Schedule([[tests("wide", 8)], [tests("other", 1)]], 2)), ["wide"])

    def test_steps_with_a_lock_in_common_never_overlap(self):
        one = Step("one", ("true",), waits=True, cores=1, locks=("folder",))
        schedule = Schedule([[one], [build("two", "folder")], [build("three")]], 2)
        self.assertEqual(start_all(schedule), ["one", "three"])

    def test_a_step_of_two_parts_runs_once(self):
        schedule = Schedule([[build("b"), tests("t1")], [build("b"), tests("t2")]], 2)
        self.assertEqual(start_all(schedule), ["b"])
        end(schedule, "b")
        self.assertEqual(start_all(schedule), ["t1"])
        end(schedule, "t1")
        self.assertEqual(start_all(schedule), ["t2"])
        end(schedule, "t2")
        self.assertTrue(schedule.done())


class AfterAFailure(unittest.TestCase):
    def test_what_needs_the_step_is_dropped_and_the_rest_goes_on(self):
        schedule = Schedule([[build("b1"), tests("t1"), tests("t1b")], [build("b2"), tests("t2")]], 2)
        start_all(schedule)
        end(schedule, "b1", passed=False)
        self.assertEqual([step.name for step in schedule.dropped], ["t1", "t1b"])
        self.assertEqual(start_all(schedule), ["b2"])
        end(schedule, "b2")
        self.assertEqual(start_all(schedule), ["t2"])
        self.assertFalse(schedule.done())
        end(schedule, "t2")
        self.assertTrue(schedule.done())


class WhatIsLeft(unittest.TestCase):
    def setUp(self):
        self.schedule = Schedule([[build("b1"), tests("t1")], [build("b2"), tests("t2")]], 2)
        start_all(self.schedule)

    def test_counts_what_overlaps_once(self):
        left = {"b1": 10, "t1": 30, "b2": 20, "t2": 5}
        self.assertEqual(seconds_left(self.schedule, left), 10 + 30 + 5)

    def test_is_unknown_if_the_time_of_a_step_is(self):
        self.assertIsNone(seconds_left(self.schedule, {"b1": 10, "t1": 30, "b2": 20}))

    def test_the_rehearsal_leaves_the_schedule_as_it_is(self):
        seconds_left(self.schedule, dict.fromkeys(("b1", "t1", "b2", "t2"), 1))
        self.assertEqual([step.name for step in self.schedule.running], ["b1"])
        self.assertEqual(len(self.schedule.waiting), 3)


if __name__ == "__main__":
    unittest.main()
