"""test_bench_page.py SCRIPTS: what the page of benchmarks says of made-up measurements."""

import json
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

SCRIPTS = pathlib.Path(sys.argv.pop(1))
PROGRAMS = ("exports", "calib", "large", "bridge", "converge", "growth")


def measured(name, ratio, spread, **more):
    return {"name": name, "real_time": 10.0, "reference_ms": 10.0, "ratio": ratio, "spread": spread, **more}


class Page(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.history = self.folder / "history.jsonl"

    def run_page(self, runs, *release, of="exports"):
        context = {"date": "2026-01-02T03:04:05", "num_cpus": 2, "load_avg": [0.25, 0, 0]}
        for program in PROGRAMS:
            content = {"context": context, "benchmarks": runs if program == of else []}
            (self.folder / f"bench_{program}.json").write_text(json.dumps(content))
        return subprocess.run([sys.executable, SCRIPTS / "bench_page.py", self.folder, "r1", self.history, *release],
                              capture_output=True, text=True, check=False)

    def row(self, name, runs, of="exports"):
        run = self.run_page(runs, of=of)
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
        self.assertEqual(line["load"], 0.2)
        self.assertNotEqual(self.run_page(runs, "1.2.3").returncode, 0)
        self.assertEqual(len(self.history.read_text().splitlines()), 1)

    def test_a_run_that_is_not_recorded_leaves_the_history_alone(self):
        self.run_page([measured("tx_Canny", 0.98, 0.01)])
        self.assertFalse(self.history.exists())

    def grown(self, name, what, *sizes_and_times):
        runs = [{"name": f"{name}/{what}:{size}/iterations:1/manual_time", "real_time": 1e3 * seconds, "peak_MB": 40.0}
                for size, seconds in sizes_and_times]
        run = self.run_page(runs, of="growth")
        self.assertEqual(run.returncode, 0, run.stderr)
        return run.stdout

    def test_growth_has_a_straight_line_to_compare_with_for_time_and_memory(self):
        page = self.grown("registration", "images", (2, 1.0), (4, 2.0), (8, 4.0))
        self.assertEqual(page.count("stroke-dasharray=\"5 4\""), 2)
        self.assertIn("From 4 to 8 images: 2.00 times the seconds (a power of 1.00)", page)
        self.assertIn("From 4 to 8 images: 1.00 times the megabytes (a power of 0.00)", page)

    def test_growth_above_proportion_is_said_as_its_power(self):
        page = self.grown("stereoCalibration", "pairs", (50, 1.0), (100, 1.0), (200, 8.0))
        self.assertIn("8.00 times the seconds (a power of 3.00)", page)

    def test_large_images_stand_beside_the_exports_with_the_parts_of_one(self):
        parts = {f"{way}_{part}": milliseconds
                 for way, milliseconds in (("plain", 30.04), ("ours", 3.0), ("warm", 4.0))
                 for part in ("copy_in", "search", "homography", "warp", "copy_out", "sum")}
        page = self.run_page([measured("tx_Converge 12 MP", 0.57, 0.03),
                              {"name": "partsOfConverge/min_time:5.000", "real_time": 1.0, **parts}], of="large").stdout
        self.assertIn("0.570 &plusmn; 0.030", page)
        row = next(row for row in re.findall(r"<tr>.*?</tr>", page) if "turns rows over" in row)
        self.assertEqual(re.findall(r">([0-9.]+)<", row), ["30.0", "3.0", "4.0"])

    def test_the_search_is_compared_as_a_part_of_the_scan(self):
        search = {"name": "convergeSearch/focal:0/iterations:1/manual_time", "real_time": 0.1, "scan_ms": 16.0,
                  "ratio_median": 160.0, "spread": 16.0, "ratio_worst": 70.0}
        self.assertEqual(self.run_page([search], "1.2.3", of="converge").returncode, 0)
        name = "convergence search, focal length unknown"
        self.assertEqual(json.loads(self.history.read_text())["ratios"][name], [0.00625, 0.000625])
        row, messages = self.row(name, [{**search, "ratio_median": 150.0}], of="converge")
        self.assertIn("as before", row)
        row, messages = self.row(name, [{**search, "ratio_median": 100.0}], of="converge")
        self.assertIn("slower", row)
        self.assertIn("slower than 1.2.3: " + name, messages)

    def test_memory_above_the_bare_pipeline_is_marked_with_its_reason(self):
        rows = [{"name": "tx_A", "megapixels": 12.0, "ours": 2.01, "bare": 2.0, "tolerance": 0.02, "why": "none"},
                {"name": "tx_B", "megapixels": 100.0, "ours": 3.0, "bare": 2.0, "tolerance": 0.02, "why": "a copy"},
                {"name": "tx_C", "megapixels": 100.0, "left_out": "takes longer than 1 s"}]
        (self.folder / "bench_memory.json").write_text(json.dumps({"rows": rows}))
        page = self.run_page([]).stdout
        cells = {row["name"]: re.search(f"<tr><td>{row['name']}.*?</tr>", page)[0] for row in rows}
        self.assertNotIn("over", cells["tx_A"])
        self.assertNotIn("none", cells["tx_A"])
        self.assertIn('"n over">3.00', cells["tx_B"])
        self.assertIn("a copy", cells["tx_B"])
        self.assertIn("takes longer than 1 s", cells["tx_C"])

    def test_the_start_has_a_row_for_each_program(self):
        row = {"name": "tarvix --version", "libraries": 268, "ms": [170.0, 2.0], "cpu_ms": [150.0, 1.0], "relocations": 512000}
        (self.folder / "bench_start.json").write_text(json.dumps({"load": 0.5, "rows": [row]}))
        page = self.run_page([]).stdout
        cells = re.search("<tr><td>tarvix --version.*?</tr>", page)[0]
        for expected in ("268", "170.0 &plusmn; 2.0", "150.0 &plusmn; 1.0", "512"):
            self.assertIn(expected, cells)

    def test_without_memory_and_start_the_page_has_neither(self):
        page = self.run_page([]).stdout
        self.assertNotIn("<h2>Memory", page)
        self.assertNotIn("<h2>Start", page)


unittest.main()
