"""test_bench_start.py BENCH: what bench_start.py and bench_memory.py read from other programs."""

import json
import pathlib
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True  # not into the checkout
sys.path.insert(0, sys.argv.pop(1))

import bench_memory  # noqa: E402: its folder is not on the path before
import bench_start  # noqa: E402

TRACE = """\tlinux-vdso.so.1 (0x00007ffd)
\tlibTarvix.so.1 => /somewhere/libTarvix.so.1 (0x00007f1)
\t/somewhere/else/libPreloaded.so (0x00007f2)
\tlibc.so.6 => /lib/x86_64-linux-gnu/libc.so.6 (0x00007f3)
\t/lib64/ld-linux-x86-64.so.2 (0x00007f4)
"""

STATISTICS = """   123:\truntime linker statistics:
   123:\t  total startup time in dynamic loader: 301234567 cycles
   123:\t            time needed for relocation: 200000000 cycles (66.3%)
   123:\t                 number of relocations: 1000
   123:\t      number of relocations from cache: 20
   123:\t        number of relative relocations: 300
   123:\t           time needed to load objects: 50000000 cycles (16.5%)
   123:\t
   123:\truntime linker statistics:
   123:\t           final number of relocations: 1100
   123:\tfinal number of relocations from cache: 20
"""

PROGRAM = """#!/usr/bin/env python3
import json, os, sys
if "--benchmark_list_tests" in sys.argv:
    print("tx_Canny/min_time:3.000/manual_time", "tx_UseCalib 12 MP/min_time:3.000/manual_time", "other/1", sep="\\n")
elif os.environ["TARVIX_BENCH_MP"] == "9":
    print(json.dumps({"benchmarks": [{"error_occurred": True, "error_message": "no photographs"}]}))
else:
    peaks = {"ours": 72.0, "reference": 36.0}
    print(json.dumps({"benchmarks": [{"peak_MB": peaks[os.environ["TARVIX_BENCH_PEAK"]]}]}))
"""


class Start(unittest.TestCase):
    def test_libraries_are_those_without_the_loader_and_the_kernels(self):
        self.assertEqual(bench_start.libraries(TRACE), {"libTarvix.so.1", "libPreloaded.so", "libc.so.6"})

    def test_relocations_of_all_kinds_before_main(self):
        self.assertEqual(bench_start.relocations(STATISTICS), 1320)

    def test_spread_is_not_moved_by_one_disturbed_round(self):
        self.assertEqual(bench_start.spread([10, 11, 12, 13, 500]), (12, 1))

    @unittest.skipUnless(sys.platform == "linux", "the loader of Linux")
    def test_an_empty_program_has_few_libraries_and_some_relocations(self):
        row, = bench_start.measure([("an empty program", [bench_start.EMPTY], [])], 1)
        self.assertIn(row["libraries"], range(1, 10))
        self.assertGreater(row["relocations"], 0)


class Memory(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.program = pathlib.Path(folder.name) / "bench_exports"
        self.program.write_text(PROGRAM)
        self.program.chmod(0o755)

    def test_each_export_is_measured_at_the_size_that_is_asked_for(self):
        self.assertEqual(bench_memory.names(str(self.program)), ["tx_Canny"])

    def test_a_peak_is_a_multiple_of_the_image(self):
        row = bench_memory.row_of(str(self.program), "tx_Canny", 12)
        self.assertEqual((row["ours"], row["bare"]), (2.0, 1.0))

    def test_what_cannot_be_measured_is_left_out_with_the_reason(self):
        row = bench_memory.row_of(str(self.program), "tx_Canny", 9)
        self.assertEqual(row["left_out"], "no photographs")
        self.assertNotIn("ours", row)


unittest.main()
