"""Prints the page of scripts/bench.sh: bench_page.py FOLDER_OF_JSON REVISION HISTORY [RELEASE].

The page compares with the newest line of HISTORY (bench_history.py); with RELEASE, this run then becomes its last line.

One self-contained page without scripts: a table and a plot for each kind of comparison.
"""

import html
import json
import os
import platform
import re
import sys

from bench_history import change_since, last_of, record, within_spread
from bench_plots import bars, growth, number, steepness, table

LIMIT = 1.05  # what an export may cost, as a multiple of its bare pipeline

STYLE = """
body { font: 15px/1.45 sans-serif; max-width: 60em; margin: 2em auto; padding: 0 1em; color: #222 }
table { border-collapse: collapse; margin: 1em 0; display: block; overflow-x: auto } th, td { padding: .2em .8em; border-bottom: 1px solid #ddd }
td.n { text-align: right; white-space: nowrap; font-variant-numeric: tabular-nums } td.over { color: #b00; font-weight: bold }
svg { display: block; margin: 1em 0; max-width: 100% } text { font: 12px sans-serif }
"""


PROGRAMS = ("exports", "calib", "large", "bridge", "converge", "growth")
EXTRA = ("memory", "start")  # measured by scripts, not by Google Benchmark

# What grows: its benchmark, what is counted, the heading, and what to expect.
GROWTH = (
    ("registration", "images", "Registration",
     "Each image is read, registered and written by itself: time in proportion, memory constant."),
    ("stereoSearch", "pairs", "The search of a stereo calibration",
     "One pair after the other: time in proportion, memory constant but for the corners."),
    ("stereoCalibration", "pairs", "Stereo calibration",
     "The same search, then OpenCV's stereoCalibrate, which solves one dense system of six unknowns for each pair: its "
     "time grows with the cube of their number, its memory with the square."),
    ("stitching", "images", "Stitching",
     "OpenCV's stitcher compares each image with each other one and holds all of them."),
    ("report", "photographs", "Calibration with its report",
     "The search is in proportion. OpenCV's calibrateCamera solves one dense system of six unknowns for each photograph, so "
     "its time grows with the cube of their number."),
)


def load(folder, program):
    """The file's content; nothing for an empty file, which a program writes if the filter excludes all it has."""
    path = os.path.join(folder, program + ".json")
    if program.removeprefix("bench_") in EXTRA and not os.path.exists(path):
        return {}
    with open(os.path.join(folder, program + ".json"), encoding="utf-8") as file:
        return json.loads(file.read() or "{}")


def name_of(run):
    name = re.sub(r"/(manual_time|min_time:[^/]*|iterations:\d+)", "", run["name"])
    name = re.sub(r"/MP/10:(\d+)/bits:(\d+)", lambda m: f", {int(m[1]) / 10:g} MP, {m[2]} bits", name)
    name = name.replace("dibToMat", "DibToMat").replace("matToDib", "MatToDib")
    return name.replace("stereoSearch/", "").replace("_", " ") if name.startswith("stereoSearch") else name


def verdict(run, limit):
    """What the ratio says, in words, and the class of its cell."""
    ratio, spread = run["ratio"], run["spread"]
    if ratio > limit:
        return run.get("label") or ("over the limit in this run, without a known reason: run it again on a quiet "
                                    "machine"), "over"
    if within_spread(ratio - 1, spread):
        return "no difference", ""
    return run.get("label", ""), ""


def ratios(runs, reference_name, earlier, limit=LIMIT):
    """A plot and a table. Returns the names of those that got slower since the earlier release."""
    rows, values, slower = [], [], []
    for run in runs:
        name = name_of(run)
        if run.get("error_occurred"):
            rows.append([name, "", "", "", "not run: " + run["error_message"], ""])
            continue
        words, style = verdict(run, limit)
        change, is_slower = change_since(earlier, name, run["ratio"], run["spread"])
        if is_slower:
            slower.append(name)
        rows.append([name, number(run["real_time"]), number(run["reference_ms"]),
                     (f"{run['ratio']:.3f} &plusmn; {run['spread']:.3f}", style), words,
                     (change, "over") if is_slower else change])
        values.append((name, run["ratio"], run["spread"]))
    if values:
        bars(values, limit, "ours / " + reference_name)
    since = f"since {earlier['release']}" if earlier else ""
    table(["", "ours, ms", reference_name + ", ms", "ratio", "", since], rows)
    return slower


def paired_runs(runs):
    return [r for group in runs.values() for r in group if "ratio" in r and not r.get("error_occurred")]


def search_name(run):
    return "convergence search, focal length " + ("unknown" if "focal:0" in run["name"] else "given")


def search_ratio(run):
    """The search's time as a part of the scan's, and its spread: less is better, as of all that is recorded."""
    ratio = run["ratio_median"]
    return 1 / ratio, run["spread"] / ratio ** 2


def search_section(runs, earlier):
    print("<h2>The convergence search against the plain scan</h2><p>Processor time over simulated facades; scan / search, "
          "more is better. The search gives the same bits.</p>")
    rows, slower = [], []
    for run in runs:
        change, is_slower = change_since(earlier, search_name(run), *search_ratio(run))
        slower += [search_name(run)] if is_slower else []
        rows.append([search_name(run), number(run["real_time"]), number(run["scan_ms"]),
                     (f"{run['ratio_median']:.1f} &plusmn; {run['spread']:.1f}", ""), f"{run['ratio_worst']:.1f}",
                     (change.split(":")[0], "over") if is_slower else change.split(":")[0]])
    table(["", "search, ms", "scan, ms", "median", "worst", f"since {earlier['release']}" if earlier else ""], rows)
    return slower


def growth_section(runs):
    for name, what, title, expected in GROWTH:
        chosen = [(float(re.search(what + r":(\d+)", r["name"]).group(1)), r)
                  for r in runs if r["name"].startswith(name + "/") and not r.get("error_occurred")]
        if len(chosen) < 2:
            continue
        print(f"<h2>{title} as it grows</h2><p>{expected}</p>")
        for counter, scale, unit in (("real_time", 1e-3, "seconds of processor time"), ("peak_MB", 1, "megabytes above what was resident")):
            points = [(n, max(r[counter] * scale, 1e-3)) for n, r in chosen if counter in r]
            if len(points) == len(chosen):
                growth(points, "number of " + what, unit)
                print(f"<p>From {points[-2][0]:g} to {points[-1][0]:g} {what}: {points[-1][1] / points[-2][1]:.2f} times the "
                      f"{unit.split()[0]} (a power of {round(steepness(points), 2) + 0.0:.2f}).</p>")


# The parts of tx_Converge, in its own order: the counter and what stands in the table.
PARTS = (("copy_in", "copy in"), ("search", "search, unknown focal length"), ("homography", "homography"), ("warp", "warp"),
         ("copy_out", "copy out; the export turns rows over"), ("sum", "sum"))
WAYS = (("plain", "plain memory"), ("ours", "the export"), ("warm", "no page faults"))


def parts_section(runs):
    for run in runs:
        if run["name"].startswith("partsOfConverge") and not run.get("error_occurred"):
            print("<h2>Where the time of <code>tx_Converge</code> goes at 12 MP</h2><p>Milliseconds, medians, in three ways in "
                  "turn: in memory as the allocator gives it, mapped at the first write; as the export does it; and with copies into "
                  "memory that is mapped already.</p>")
            table(["", *(title for _, title in WAYS)],
                  [[title, *((f"{run[f'{way}_{part}']:.1f}", "") for way, _ in WAYS)] for part, title in PARTS])


def memory_section(memory):
    if not memory:
        return
    print("<h2>Memory</h2><p>The peak of what is resident while an export runs, above what was resident before, as a "
          "multiple of the image's pixels; the bitmap that is passed in counts in neither. Each number is that of a "
          "process of its own. The bare pipeline has one copy of the image in and one of the result out.</p>")
    rows = []
    for row in memory["rows"]:
        image = f"{row['megapixels']:.2g} MP" if row["megapixels"] < 1 else f"{row['megapixels']:g} MP"
        if row.get("left_out"):
            rows.append([row["name"], image, "", "", row["left_out"]])
            continue
        ours, bare = row["ours"], row["bare"]
        is_over = ours > bare + row["tolerance"]
        rows.append([row["name"], image, (f"{ours:.2f}", "over" if is_over else ""), (f"{bare:.2f}", ""),
                     row.get("why", "") if is_over else ""])
    table(["", "image", "ours", "bare OpenCV", ""], rows)


def start_section(start):
    if not start:
        return
    print("<h2>Start</h2><p>Programs that only start and end, in turn; load when it began: "
          f"{start['load']:.1f}. A library alone is loaded into an empty program.</p>")
    table(["", "libraries", "only because of it", "ms", "ms of processor time", "relocations, thousands"],
          [[row["name"], str(row["libraries"]), str(row.get("only", "")),
            (f"{row['ms'][0]:.1f} &plusmn; {row['ms'][1]:.1f}", ""),
            (f"{row['cpu_ms'][0]:.1f} &plusmn; {row['cpu_ms'][1]:.1f}", ""), number(row["relocations"] / 1e3)]
           for row in start["rows"]])


def large_pages():
    """When the system gives them: "madvise" is by advice, as we ask for them; with "always" the references have them, too."""
    try:
        with open("/sys/kernel/mm/transparent_hugepage/enabled", encoding="utf-8") as file:
            return re.search(r"\[(\w+)\]", file.read()).group(1)
    except (OSError, AttributeError):
        return "none"


def machine():
    if os.path.exists("/proc/cpuinfo"):
        with open("/proc/cpuinfo", encoding="utf-8") as file:
            found = re.search(r"model name\s*: (.*)", file.read())
            if found:
                return f"{found.group(1)}, large pages: {large_pages()}"
    return f"{platform.machine()}, large pages: {large_pages()}"


def main(folder, revision, history, release=""):
    programs = {p: load(folder, "bench_" + p) for p in PROGRAMS}
    runs = {p: content.get("benchmarks", []) for p, content in programs.items()}
    context = next((content["context"] for content in programs.values() if content), None)
    if context is None:
        sys.exit("tarvix: no benchmark has run")
    load_before = (context.get("load_avg") or [-1])[0]
    earlier = last_of(history)

    print(f"<!doctype html><html lang=en><meta charset=utf-8><title>Tarvix benchmarks</title><style>{STYLE}</style>")
    print("<h1>Tarvix benchmarks</h1>")
    print(f"<p>Revision {html.escape(revision)}, {context['date'][:16]}. {html.escape(machine())}, {context['num_cpus']} cores, "
          f"{html.escape(platform.system())} {html.escape(platform.release())}; load when it began: {load_before:.1f}. "
          "Each ratio is the median over pairs of ours and the reference, run in turn, and beside it the spread of "
          "the pairs (median absolute deviation). What lies within the spread of 1 is no difference. Only ratios mean "
          "something on another machine.</p>")
    if earlier:
        print(f"<p>Compared with {html.escape(earlier['release'])} ({html.escape(earlier['date'])}, "
              f"{html.escape(earlier['machine'])}): slower or faster is what differs by more than both spreads.</p>")

    print("<h2>Exports against the bare OpenCV pipeline</h2><p>The same OpenCV calls on matrices, one copy of the image "
          f"in and one copy of the result out, at 2 MP where not said otherwise. The limit is {LIMIT}. "
          "<code>tx_TrackFace</code> waits for a camera and has no pair.</p>")
    exports = [r for r in runs["exports"] + runs["calib"] + runs["large"] if r["name"].startswith("tx_")]
    slower = ratios(exports, "bare OpenCV", earlier)
    parts_section(runs["large"])

    print("<h2>The bridge against one memcpy</h2><p>Of the same bytes into equally fresh memory.</p>")
    slower += ratios(runs["bridge"], "memcpy", earlier)

    slower += search_section(runs["converge"], earlier)

    print("<h2>The two threads of the stereo search</h2><p>Two OpenMP threads against one; 0.5 would be ideal.</p>")
    ratios([r for r in runs["calib"] if r["name"].startswith("stereoSearch")], "one thread", earlier, 1)

    memory_section(load(folder, "bench_memory"))
    start_section(load(folder, "bench_start"))
    growth_section(runs["growth"])
    print("</html>")
    for name in slower:
        print(f"tarvix: slower than {earlier['release']}: {name}", file=sys.stderr)
    if release:
        measured = {name_of(r): (r["ratio"], r["spread"]) for r in paired_runs(runs)}
        measured.update({search_name(r): search_ratio(r) for r in runs["converge"]})
        record(history, release, context["date"][:10], machine(), load_before, measured)


if __name__ == "__main__":
    main(*sys.argv[1:])
