"""test_bench_page.py SCRIPTS: what the page of benchmarks says of made-up measurements."""

import json
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

SCRIPTS = pathlib.Path(sys.argv.pop(1))
PROGRAMS = ("exports", "calib", "bridge", "converge", "registration")


def measured(name, ratio, spread, **more):
    return {"name": name, "real_time": 10.0, "reference_ms": 10.0, "ratio": ratio, "spread": spread, **more}


class Page(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.history = self.folder / "history.jsonl"

    def run_page(self, runs, *release):
        context = {"date": "2026-01-02T03:04:05", "num_cpus": 2}
        for program in PROGRAMS:
            content = {"context": context, "benchmarks": runs if program == "exports" else []}
            (self.folder / f"bench_{program}.json").write_text(json.dumps(content))
        return subprocess.run([sys.executable, SCRIPTS / "bench_page.py", self.folder, "r1", self.history, *release],
                              capture_output=True, text=True, check=False)

    def row(self, name, runs):
        run = self.run_page(runs)
        self.assertEqual(run.returncode, 0, run.stderr)
        rows = [row for row in re.findall(r"<tr>.*?</tr>", run.stdout) if name in row]
        self.assertEqual(len(rows), 1, run.stdout)
        return rows[0], run.stderr

    def remember(self, ratio, spread):
        self.history.write_text(json.dumps({"release": "0.9", "date": "2025-01-01", "machine": "m",
                                            "ratios": {"tx_Canny": [ratio, spread]}}) + "\n")

    def test_spread_stands_beside_the_ratio(self):
        row, _ = self.row("tx_Canny", [measured("tx_Canny", 0.987, 0.012)])
        self.assertIn("0.987 &plusmn; 0.012", row)

    def test_what_lies_within_the_spread_is_no_difference(self):
        self.assertIn("no difference", self.row("tx_Canny", [measured("tx_Canny", 0.99, 0.011)])[0])
        self.assertNotIn("no difference", self.row("tx_Canny", [measured("tx_Canny", 0.98, 0.011)])[0])

    def test_over_the_limit_is_marked_even_within_the_spread(self):
        row, _ = self.row("tx_Canny", [measured("tx_Canny", 1.06, 0.2)])
        self.assertIn('"n over"', row)
        self.assertNotIn("no difference", row)

    def test_names_what_got_slower_by_more_than_both_spreads(self):
        self.remember(0.95, 0.01)
        row, messages = self.row("tx_Canny", [measured("tx_Canny", 0.98, 0.01)])
        self.assertIn("slower: was 0.950", row)
        self.assertIn("slower than 0.9: tx_Canny", messages)

    def test_a_change_within_both_spreads_is_none(self):
        self.remember(0.95, 0.01)
        row, messages = self.row("tx_Canny", [measured("tx_Canny", 0.98, 0.025)])
        self.assertIn("as before", row)
        self.assertEqual(messages, "")

    def test_faster_is_said_without_a_warning(self):
        self.remember(0.99, 0.001)
        row, messages = self.row("tx_Canny", [measured("tx_Canny", 0.95, 0.001)])
        self.assertIn("faster: was 0.990", row)
        self.assertEqual(messages, "")

    def test_a_release_becomes_the_last_line_once(self):
        runs = [measured("tx_Canny", 0.98, 0.01), {"name": "tx_Stitch", "error_occurred": True, "error_message": "x"}]
        self.assertEqual(self.run_page(runs, "1.2.3").returncode, 0)
        line = json.loads(self.history.read_text())
        self.assertEqual((line["release"], line["ratios"]), ("1.2.3", {"tx_Canny": [0.98, 0.01]}))
        self.assertNotEqual(self.run_page(runs, "1.2.3").returncode, 0)
        self.assertEqual(len(self.history.read_text().splitlines()), 1)

    def test_a_run_that_is_not_recorded_leaves_the_history_alone(self):
        self.run_page([measured("tx_Canny", 0.98, 0.01)])
        self.assertFalse(self.history.exists())


unittest.main()
