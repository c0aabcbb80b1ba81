# Tests of script/lib/soak_report.py on samples that are made up here: each way in which a soak may
# fail is noticed.
import contextlib
import io
import os
import pathlib
import sys
import tempfile
import unittest
import xml.etree.ElementTree

ROOT = os.path.realpath(os.path.join(os.path.dirname(__file__), "..", ".."))
sys.path.insert(0, os.path.join(ROOT, "script", "lib"))

import soak_report

SAMPLES = 300


class SoakReport(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def judge(self, rss=lambda i: 7600, descriptors=lambda i: 16, threads=lambda i: 5, **totals):
        """The status, and the points that do not hold."""
        lines = ["fault 10.5 killed, back with its data"]
        for i in range(SAMPLES):
            lines.append(f"sample {2 * i} {rss(i)} 1700 {descriptors(i)} {threads(i)} "
                         f"{200 * i} {200 * i} {50 * i} {50 * i} {i}")
        numbers = {"requests": 1000, "answered": 900, "nobody": 50, "cut-off": 40, "refused": 10,
                   "lost": 2, "given-up": 0, "violations": 0} | totals
        lines += [f"total {name} {number}" for name, number in numbers.items()]
        (self.folder / "samples").write_text("\n".join(lines) + "\n")
        printed = io.StringIO()
        with contextlib.redirect_stdout(printed):
            status = soak_report.main(str(self.folder / "samples"), str(self.folder / "plot.svg"))
        return status, [line[5:] for line in printed.getvalue().splitlines() if line.startswith("NO ")]

    def assert_fails(self, point, **changes):
        status, missing = self.judge(**changes)
        self.assertEqual((status, len(missing)), (1, 1), missing)
        self.assertTrue(missing[0].startswith(point), missing[0])

    def test_is_content_when_nothing_grows(self):
        self.assertEqual(self.judge(), (0, []))

    def test_is_content_with_growth_during_the_warm_up(self):
        self.assertEqual(self.judge(rss=lambda i: 7000 + min(i, SAMPLES // 5) * 10), (0, []))

    def test_is_content_with_peaks_that_pass(self):
        self.assertEqual(self.judge(rss=lambda i: 7600 + 100 * (i % 7 == 0),
                                    descriptors=lambda i: 16 + i % 3), (0, []))

    def test_notices_memory_that_grows_slowly(self):
        # 100 KiB from the first sample to the last, four fifths of them after the warm-up.
        self.assert_fails("memory flat", rss=lambda i: 7600 + 100 * i / SAMPLES)

    def test_notices_one_lost_descriptor(self):
        self.assert_fails("no descriptor lost", descriptors=lambda i: 16 + (i > SAMPLES / 2))

    def test_notices_threads_that_stay(self):
        self.assert_fails("threads", threads=lambda i: 5 + i // 100)

    def test_notices_a_request_without_an_end(self):
        self.assert_fails("answers are requests", answered=899)

    def test_notices_a_violation(self):
        self.assert_fails("answers are requests", violations=1)

    def test_refuses_a_soak_without_an_end(self):
        (self.folder / "samples").write_text("".join(f"sample {i} 1 1 1 1 1 1 1 1 1\n" for i in range(9)))
        with self.assertRaises(SystemExit):
            soak_report.main(str(self.folder / "samples"), str(self.folder / "plot.svg"))

    def test_draws_what_a_viewer_can_read(self):
        self.judge()
        root = xml.etree.ElementTree.parse(self.folder / "plot.svg").getroot()
        self.assertTrue(root.tag.endswith("svg"))
        self.assertEqual(sum(each.tag.endswith("polyline") for each in root.iter()), 5)


if __name__ == "__main__":
    unittest.main()
