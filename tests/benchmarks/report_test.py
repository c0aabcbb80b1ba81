"""The report of script/bench: medians, ratios within a round, goals and charts."""

import pathlib
import sys
import tempfile
import unittest
import xml.etree.ElementTree

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "benchmarks"))

import plots  # noqa: E402
import redfish_report  # noqa: E402
import report  # noqa: E402
from parts import CLIENTS, median, parse_counts  # noqa: E402


def read_round(bare, daemon):
    """All figures of a round of reads, whole numbers of microseconds."""
    result = {}
    for name, value in (("bare-4@1", bare), ("bare-3@1", bare), ("daemon@1", daemon),
                        ("bare-4@0", bare), ("bare-unit@0", bare), ("daemon@0", daemon)):
        for clients in CLIENTS:
            for figure in ("p50", "p99", "p999", "processor"):
                result[f"{name}/{clients}/{figure}"] = value
            result[f"{name}/{clients}/rate"] = 1e6 / value
    return result


def redfish_round(nginx, front):
    """All figures of a round of GETs."""
    result = {"lookups": 40, "reads": 10, "seconds": 12, "gets": 5000}
    for name, value in (("nginx", nginx), ("front", front)):
        for tail in ("", "-tls"):
            for clients in CLIENTS:
                for figure in ("p50", "p99", "p999", "processor"):
                    result[f"{name}{tail}/{clients}/{figure}"] = value
                result[f"{name}{tail}/{clients}/rate"] = 1e6 / value
    return result


def result_of(rounds):
    return {"machine": "a machine", "commit": "abc", "date": "today", "quick": False,
            "rounds": rounds}


class Figures(unittest.TestCase):
    def test_the_median_of_an_even_number_lies_between(self):
        self.assertEqual(median([3, 1, 2]), 2)
        self.assertEqual(median([4, 1, 2, 3]), 2.5)

    def test_a_figure_shows_its_spread(self):
        self.assertEqual(report.spread([1.0, 3.5, 2.0], " ms"), "2 ms (1 .. 3.50)")
        self.assertEqual(report.spread([12345.6]), "12,346")

    def test_a_ratio_is_taken_within_the_round(self):
        # The second round was slow for both: that is no change of the ratio.
        rounds = [read_round(100, 105), read_round(200, 210), read_round(100, 105)]
        goal = report.goals_of({"reads-one": result_of(rounds)})[0]
        for value in goal.values:
            self.assertAlmostEqual(value, 1.05)
        self.assertTrue(goal.is_met)

    def test_a_rate_has_to_be_above_its_goal(self):
        goals = report.goals_of({"reads-one": result_of([read_round(100, 105)])})
        rates = [goal for goal in goals if goal.at_least]
        self.assertEqual(len(rates), 4)
        self.assertFalse(any(goal.is_met for goal in rates))
        self.assertIn("**no**", rates[0].row(None))

    def test_the_counts_of_both_tools_are_read(self):
        self.assertEqual(parse_counts("callgrind", "x\nsummary: 1234\n"), {"instructions": 1234})
        self.assertEqual(parse_counts("callgrind", "not yet"), {})
        text = "calls syscall\n----\n  12 read\n   3 write\n----\n  15 total\n"
        self.assertEqual(parse_counts("strace", text), {"read": 12, "write": 3})
        self.assertEqual(parse_counts("strace", "  12 read\n"), {})


class RedfishFigures(unittest.TestCase):
    def test_half_of_the_requests_and_three_times_the_latency_are_the_goals(self):
        for front, met in ((190, [True] * 6), (210, [False, True] * 3), (310, [False] * 6)):
            goals = report.goals_of({"redfish": result_of([redfish_round(100, front)])})
            self.assertEqual([goal.is_met for goal in goals], met, front)

    def test_look_ups_are_told_for_all_rounds(self):
        _, section = redfish_report.SECTIONS["redfish"]
        text = section([redfish_round(100, 150), redfish_round(100, 150)])
        self.assertIn("10,000 answers of orvane-redfish in 24 s", text)
        self.assertIn("looked at 80 times, and the daemon asked 20 times", text)
        self.assertIn("| 8 connections, TLS | 1.50 (1.50 .. 1.50) |", text)

    def test_a_change_is_shown_beside_the_update_of_its_round(self):
        def change_round(update, change):
            return {f"{name}/{figure}": value for figure in ("p50", "p99", "rate")
                    for name, value in (("daemon", update), ("front", change),
                                        ("front-tls", change))}
        _, section = redfish_report.SECTIONS["redfish-changes"]
        self.assertIn("| 1.50 (1.20 .. 1.80) |\n",
                      section([change_round(100, 120), change_round(200, 360)]))

    def test_a_stream_is_shown_with_its_memory_and_its_times(self):
        figures = {f"{name}/{figure}": 7 for name in ("clear", "tls")
                   for figure in ("before", "opened", "used", "first", "last")}
        _, section = redfish_report.SECTIONS["redfish-streams"]
        self.assertIn("| TLS | 7 | 7 | 7 | 7 | 7 |", section([figures]))


class Report(unittest.TestCase):
    def test_names_what_was_measured_and_shows_charts(self):
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            results = {"reads-one": result_of([read_round(100, 90), read_round(100, 95)])}
            written = report.write(results, {}, folder)
            self.assertEqual(written, ["RESULTS.md", "ratios.svg", "reads-one.svg"])
            text = (folder / "RESULTS.md").read_text()
            self.assertIn("a machine", text)
            self.assertIn("commit abc, today, 2 rounds", text)
            self.assertIn("| daemon, mode 1 | 92.5 (90 .. 95) |", text.replace("1 in flight: ", ""))
            for chart in written[1:]:
                root = xml.etree.ElementTree.parse(folder / chart).getroot()
                self.assertTrue(root.tag.endswith("svg"))
                self.assertGreater(len(root), 20)

    def test_has_a_file_of_its_own_for_the_redfish_service(self):
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            results = {"redfish": result_of([redfish_round(100, 90)])}
            self.assertEqual(report.write(results, {}, folder), ["REDFISH.md", "redfish-ratios.svg"])
            self.assertFalse((folder / "RESULTS.md").exists())
            self.assertIn("p99: orvane-redfish / nginx", (folder / "REDFISH.md").read_text())

    def test_tells_where_it_stood_at_first(self):
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            report.write({"reads-one": result_of([read_round(100, 90)])},
                         {"reads-one": result_of([read_round(100, 130)])}, folder)
            self.assertIn("| 1.30 | 0.90 |", (folder / "RESULTS.md").read_text())


class Charts(unittest.TestCase):
    def test_ticks_reach_the_top_in_few_round_steps(self):
        for top in (0.9, 1.0, 7, 12, 130, 13000):
            steps = plots.ticks(top)
            self.assertGreaterEqual(steps[-1], top)
            self.assertLessEqual(len(steps), 8)
            self.assertEqual(steps[0], 0)


if __name__ == "__main__":
    unittest.main()
