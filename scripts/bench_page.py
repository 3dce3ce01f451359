"""Prints the page of scripts/bench.sh: bench_page.py FOLDER_OF_JSON REVISION HISTORY [RELEASE].

The page compares with the newest line of HISTORY (bench_history.py); with RELEASE, this run then becomes its last line.

One self-contained page without scripts: a table and a plot for each kind of comparison. The plots are bars and
lines of a few points each, so they are written as SVG here instead of drawn by a plotting package.
"""

import html
import json
import math
import os
import platform
import re
import sys

from bench_history import change_since, last_of, record, within_spread

LIMIT = 1.05  # what an export may cost, as a multiple of its bare pipeline

STYLE = """
body { font: 15px/1.45 sans-serif; max-width: 60em; margin: 2em auto; padding: 0 1em; color: #222 }
table { border-collapse: collapse; margin: 1em 0 } th, td { padding: .2em .8em; border-bottom: 1px solid #ddd }
td.n { text-align: right; font-variant-numeric: tabular-nums } td.over { color: #b00; font-weight: bold }
svg { display: block; margin: 1em 0; max-width: 100% } text { font: 12px sans-serif }
"""


def load(folder, program):
    """The file's content; nothing for an empty file, which a program writes if the filter excludes all it has."""
    with open(os.path.join(folder, program + ".json"), encoding="utf-8") as file:
        return json.loads(file.read() or "{}")


def name_of(run):
    name = re.sub(r"/(manual_time|min_time:[^/]*|iterations:\d+)", "", run["name"])
    name = re.sub(r"/MP/10:(\d+)/bits:(\d+)", lambda m: f", {int(m[1]) / 10:g} MP, {m[2]} bits", name)
    name = name.replace("dibToMat", "DibToMat").replace("matToDib", "MatToDib")
    return name.replace("stereoSearch/", "").replace("_", " ") if name.startswith("stereoSearch") else name


def number(value):
    return f"{value:.3g}" if value < 100 else f"{value:.0f}"


def table(headings, rows):
    print("<table><tr>" + "".join(f"<th>{h}</th>" for h in headings) + "</tr>")
    for row in rows:
        cells = []
        for cell in row:
            if isinstance(cell, tuple):
                cells.append(f'<td class="n {cell[1]}">{cell[0]}</td>')
            elif re.fullmatch(r"[-0-9.e+]+", cell):
                cells.append(f'<td class="n">{cell}</td>')
            else:
                cells.append(f"<td>{html.escape(cell)}</td>")
        print("<tr>" + "".join(cells) + "</tr>")
    print("</table>")


def bars(values, reference, title):
    """Horizontal bars (name, value, spread as a whisker), and a line at the reference."""
    left, width, step = 190, 480, 20
    top = max([reference] + [v + s for _, v, s in values]) * 1.1
    height = step * len(values) + 30
    print(f'<svg viewBox="0 0 {left + width + 60} {height}" role="img"><title>{html.escape(title)}</title>')
    for i, (label, value, spread) in enumerate(values):
        y = i * step + 4
        length = width * value / top
        whisker = width * spread / top
        end = length + whisker
        colour = "#b44" if value > reference else "#47a"
        print(f'<text x="{left - 8}" y="{y + 11}" text-anchor="end">{html.escape(label)}</text>'
              f'<rect x="{left}" y="{y}" width="{length:.1f}" height="14" fill="{colour}"/>'
              f'<path d="M{left + length - whisker:.1f} {y + 7}H{left + end:.1f}" stroke="#222"/>'
              f'<text x="{left + end + 5:.1f}" y="{y + 11}">{number(value)}</text>')
    x = left + width * reference / top
    print(f'<line x1="{x:.1f}" x2="{x:.1f}" y1="0" y2="{height - 22}" stroke="#222" stroke-dasharray="4 3"/>'
          f'<text x="{x:.1f}" y="{height - 8}" text-anchor="middle">{reference:g}</text></svg>')


def growth(points, x_title, y_title):
    """A line through (x, y), from the origin, both axes linear."""
    left, width, height = 70, 420, 220
    x_top = max(x for x, _ in points)
    y_top = max(y for _, y in points) * 1.1
    place = [(left + width * x / x_top, height - height * y / y_top) for x, y in points]
    path = " ".join(f"{x:.1f},{y:.1f}" for x, y in [(left, height)] + place)
    print(f'<svg viewBox="0 0 {left + width + 60} {height + 45}" role="img"><title>{html.escape(y_title)}</title>'
          f'<path d="M{left} 0V{height}H{left + width}" fill="none" stroke="#222"/>'
          f'<polyline points="{path}" fill="none" stroke="#47a" stroke-width="2"/>')
    for (x, y), (px, py) in zip(points, place):
        print(f'<circle cx="{px:.1f}" cy="{py:.1f}" r="4" fill="#47a"/>'
              f'<text x="{px + 6:.1f}" y="{py + 16:.1f}">{number(y)}</text>'
              f'<text x="{px:.1f}" y="{height + 16}" text-anchor="middle">{x:g}</text>')
    print(f'<text x="{left + width / 2}" y="{height + 36}" text-anchor="middle">{html.escape(x_title)}</text>'
          f'<text x="4" y="12">{html.escape(y_title)}</text></svg>')


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


def main(folder, revision, history, release=""):
    programs = {p: load(folder, "bench_" + p) for p in ("exports", "calib", "bridge", "converge", "registration")}
    runs = {p: content.get("benchmarks", []) for p, content in programs.items()}
    context = next((content["context"] for content in programs.values() if content), None)
    if context is None:
        sys.exit("tarvix: no benchmark has run")
    model = platform.machine()
    if os.path.exists("/proc/cpuinfo"):
        with open("/proc/cpuinfo", encoding="utf-8") as file:
            found = re.search(r"model name\s*: (.*)", file.read())
            model = found.group(1) if found else model
    load_before = context.get("load_avg") or [math.nan]
    earlier = last_of(history)

    print(f"<!doctype html><html lang=en><meta charset=utf-8><title>Tarvix benchmarks</title><style>{STYLE}</style>")
    print("<h1>Tarvix benchmarks</h1>")
    print(f"<p>Revision {html.escape(revision)}, {context['date'][:16]}. {html.escape(model)}, {context['num_cpus']} cores, "
          f"{html.escape(platform.system())} {html.escape(platform.release())}; load when it began: {load_before[0]:.1f}. "
          "Each ratio is the median over pairs of ours and the reference, run in turn, and beside it the spread of "
          "the pairs (median absolute deviation). What lies within the spread of 1 is no difference. Only ratios mean "
          "something on another machine.</p>")
    if earlier:
        print(f"<p>Compared with {html.escape(earlier['release'])} ({html.escape(earlier['date'])}, "
              f"{html.escape(earlier['machine'])}): slower or faster is what differs by more than both spreads.</p>")

    print("<h2>Exports against the bare OpenCV pipeline</h2><p>The same OpenCV calls on matrices, one copy of the image "
          f"in and one copy of the result out, at 2 MP where not said otherwise. The limit is {LIMIT}. "
          "<code>tx_TrackFace</code> waits for a camera and has no pair.</p>")
    exports = [r for r in runs["exports"] + runs["calib"] if r["name"].startswith("tx_")]
    slower = ratios(exports, "bare OpenCV", earlier)

    print("<h2>The bridge against one memcpy</h2><p>Of the same bytes into equally fresh memory.</p>")
    slower += ratios(runs["bridge"], "memcpy", earlier)

    print("<h2>The convergence search against the plain scan</h2><p>Processor time over simulated facades; scan / search, "
          "more is better. The search gives the same bits.</p>")
    table(["", "search, ms", "scan, ms", "median", "worst"],
          [["focal length unknown" if "focal:0" in r["name"] else "focal length given", number(r["real_time"]),
            number(r["scan_ms"]), (f"{r['ratio_median']:.1f} &plusmn; {r['spread']:.1f}", ""), f"{r['ratio_worst']:.1f}"]
           for r in runs["converge"]])

    print("<h2>The two threads of the stereo search</h2><p>Two OpenMP threads against one; 0.5 would be ideal.</p>")
    ratios([r for r in runs["calib"] if r["name"].startswith("stereoSearch")], "one thread", earlier, 1)

    for title, key, chosen in (("Registration", "images", runs["registration"]),
                               ("Stereo calibration", "pairs",
                                [r for r in runs["calib"] if r["name"].startswith("stereoGrowth")])):
        points = [(float(re.search(key + r":(\d+)", r["name"]).group(1)), r["real_time"])
                  for r in chosen if not r.get("error_occurred")]
        if points:
            print(f"<h2>{title} as it grows</h2>")
            growth(points, "number of " + key, "milliseconds")
    print("</html>")
    for name in slower:
        print(f"tarvix: slower than {earlier['release']}: {name}", file=sys.stderr)
    if release:
        record(history, release, context["date"][:10], model,
               {name_of(r): (r["ratio"], r["spread"]) for r in paired_runs(runs)})


if __name__ == "__main__":
    main(*sys.argv[1:])
