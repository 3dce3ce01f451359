"""The peak memory of each export and of its bare pipeline, each in a process of its own.

    bench_memory.py BIN OUT [MEGAPIXELS...]      12 without MEGAPIXELS; scripts/bench.sh runs it

Runs bench_exports and bench_calib of the folder BIN once for each benchmark, size and side (TARVIX_BENCH_PEAK,
TARVIX_BENCH_MP), and writes the multiples of the image to OUT as JSON; scripts/bench_page.py makes a table of it.
"""

import json
import os
import subprocess
import sys

LIMIT_SECONDS = 150  # what takes longer is left out, and the table says so
TOLERANCE = 0.02  # of an image
TOLERANCE_MEGABYTES = 0.25  # the system counts pages of each thread late
SINGLE_CHANNEL = {"tx_FindFaces", "tx_Calib", "tx_StereoCalib"}  # all others take 24 bits for each pixel

WITHOUT_IMAGE = {"tx_Meas3D"}  # not compared: it takes none

# They read photographs of OpenCV, grey, of this size, and no others.
OWN_SIZE = {"tx_Calib": 0.3072, "tx_StereoCalib": 0.3072}

# What needs more memory than most machines have, from this size on: OpenCV's share is said in the table at 12 megapixels.
TOO_LARGE = {"tx_FindFaces": 50, "tx_Stitch": 50}

# Why an export needs more than its bare pipeline.
WHY = {
    "tx_StereoCalib": "it searches both images of a pair at the same time",
    "tx_Canny": "as much as bare OpenCV but for what Canny's threads hold, which differs from run to run",
    "tx_FindLines": "as much as bare OpenCV but for what Canny's threads hold, which differs from run to run",
}


def names(program):
    """Its benchmarks of exports, at the size that a variable chooses."""
    listed = subprocess.run([program, "--benchmark_list_tests"], stdout=subprocess.PIPE, text=True, check=True).stdout
    found = [line.split("/")[0] for line in listed.splitlines() if line.startswith("tx_")]
    return [name for name in found if " MP" not in name and name not in WITHOUT_IMAGE]


def peak(program, name, megapixels, side):
    """Megabytes, or a word why not."""
    variables = dict(os.environ, TARVIX_BENCH_PEAK=side, TARVIX_BENCH_MP=f"{megapixels:g}", OPENCV_LOG_LEVEL="SILENT")
    command = [program, f"--benchmark_filter=^{name}/", "--benchmark_format=json"]
    try:
        run = subprocess.run(command, env=variables, capture_output=True, text=True, check=False, timeout=LIMIT_SECONDS)
    except subprocess.TimeoutExpired:
        return f"takes longer than {LIMIT_SECONDS} s"
    if run.returncode != 0:
        return f"ends with status {run.returncode}"
    measured = json.loads(run.stdout)["benchmarks"][0]
    return measured.get("error_message") or measured.get("peak_MB", "not measured on this system")


def image_megabytes(name, megapixels):
    return megapixels * (1 if name in SINGLE_CHANNEL else 3)


def row_of(program, name, megapixels):
    row = {"name": name, "megapixels": megapixels}
    if megapixels >= TOO_LARGE.get(name, megapixels + 1):
        return {**row, "left_out": "OpenCV needs several gigabytes for it, see above"}
    for key, side in (("ours", "ours"), ("bare", "reference")):
        measured = peak(program, name, megapixels, side)
        if isinstance(measured, str):
            return {**row, "left_out": measured}
        row[key] = measured / image_megabytes(name, megapixels)
    row["tolerance"] = TOLERANCE + TOLERANCE_MEGABYTES / image_megabytes(name, megapixels)
    if name in WHY:
        row["why"] = WHY[name]
    return row


def main(folder, out, *sizes):
    rows = []
    for program in (os.path.join(folder, p) for p in ("bench_exports", "bench_calib")):
        for name in names(program):
            own = [OWN_SIZE[name]] if name in OWN_SIZE else None
            for megapixels in own or [float(size) for size in sizes] or [12.0]:
                rows.append(row_of(program, name, megapixels))
                row = rows[-1]
                print(f"{name} {megapixels:g} MP: " + (row.get("left_out") or f"{row['ours']:.2f}, bare {row['bare']:.2f}"),
                      flush=True)
    with open(out + ".new", "w", encoding="utf-8") as file:
        json.dump({"rows": rows}, file, indent=1)
    os.replace(out + ".new", out)


if __name__ == "__main__":
    main(*sys.argv[1:])
