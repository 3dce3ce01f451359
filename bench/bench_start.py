"""Where the time goes before a program that uses Tarvix does anything: how many libraries are loaded, how long the program
takes to start and end, and how many addresses the system's loader writes.

    bench_start.py BIN OUT [ROUNDS]      scripts/bench_start.sh runs it

Each library is loaded into an empty program (LD_PRELOAD of /bin/true), alone. All programs run in turn, once a round.
Writes JSON to OUT, of which scripts/bench_page.py makes a table, and prints the table. Only for Linux.
"""

import json
import os
import re
import resource
import statistics
import subprocess
import sys
import time

EMPTY = "/bin/true"


def libraries(trace):
    """The names of what LD_TRACE_LOADED_OBJECTS lists, without the loader and what the kernel maps."""
    found = {line.split()[0] for line in trace.splitlines() if "=>" in line or line.strip().startswith("/")}
    return {os.path.basename(name) for name in found if "ld-linux" not in name and not name.startswith("linux-vdso")}


def relocations(statistics_text):
    """How many addresses the loader has written, of what LD_DEBUG=statistics prints before main()."""
    before_main = statistics_text.split("final number of relocations")[0]
    kinds = re.findall(r"number of (?:relative )?relocations(?: from cache)?: (\d+)", before_main)
    return sum(int(count) for count in kinds)


def needed(library):
    """The libraries that it names itself."""
    out = subprocess.run(["readelf", "-d", library], stdout=subprocess.PIPE, text=True, check=True).stdout
    return re.findall(r"\(NEEDED\).*\[(.*)\]", out)


def environment(preloaded, **more):
    return dict(os.environ, **({"LD_PRELOAD": " ".join(preloaded)} if preloaded else {}), **more)


def loaded(command, preloaded):
    run = subprocess.run(command, env=environment(preloaded, LD_TRACE_LOADED_OBJECTS="1"), stdout=subprocess.PIPE, text=True,
                         check=True)
    return libraries(run.stdout)


def counted(command, preloaded):
    run = subprocess.run(command, env=environment(preloaded, LD_DEBUG="statistics"), stdout=subprocess.DEVNULL,
                         stderr=subprocess.PIPE, text=True, check=True)
    return relocations(run.stderr)


def once(command, preloaded):
    """Milliseconds, and those of them that the processor worked."""
    variables = environment(preloaded)
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    begin = time.monotonic()
    subprocess.run(command, env=variables, stdout=subprocess.DEVNULL, check=True)
    took = time.monotonic() - begin
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    worked = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
    return 1e3 * took, 1e3 * worked


def spread(values):
    """The median and the median absolute deviation."""
    middle = statistics.median(values)
    return middle, statistics.median(abs(value - middle) for value in values)


def programs(folder):
    """Rows of the table: (name, command, what is loaded into it)."""
    module = os.path.join(folder, "libTarvix.so.1")
    opencv = [name for name in needed(module) if name.startswith("libopencv_")]
    rows = [("an empty program", [EMPTY], [])]
    rows += [("OpenCV's " + re.match(r"libopencv_(\w+)", name)[1], [EMPTY], [name]) for name in sorted(opencv)]
    rows += [("all of OpenCV that the module names", [EMPTY], opencv),
             ("a host that loads the module and does nothing", [EMPTY], [module]),
             ("tarvix --version", [os.path.join(folder, "tarvix"), "--version"], [])]
    return rows


def measure(rows, rounds):
    times = [[] for _ in rows]
    for _ in range(rounds):
        for (_, command, preloaded), taken in zip(rows, times):
            taken.append(once(command, preloaded))
    found = [loaded(command, preloaded) for _, command, preloaded in rows]
    single = {name: libs for (name, _, preloaded), libs in zip(rows, found) if len(preloaded) == 1 and "OpenCV" in name}
    result = []
    for (name, command, preloaded), libs, taken in zip(rows, found, times):
        row = {"name": name, "libraries": len(libs), "ms": spread([t for t, _ in taken]),
               "cpu_ms": spread([t for _, t in taken]), "relocations": counted(command, preloaded)}
        if name in single:
            others = [other for other_name, other in single.items() if other_name != name]
            row["only"] = len(libs.difference(*others))
        result.append(row)
    return result


def main(folder, out, rounds="15"):
    load = os.getloadavg()[0]
    rows = measure(programs(folder), int(rounds))
    with open(out + ".new", "w", encoding="utf-8") as file:
        json.dump({"load": load, "rows": rows}, file, indent=1)
    os.replace(out + ".new", out)
    print(f"load when it began: {load:.1f}")
    for row in rows:
        print(f"{row['name']:46} {row['libraries']:4} libraries ({row.get('only', ''):>3} only because of it), "
              f"{row['ms'][0]:6.1f} ms (+- {row['ms'][1]:.1f}), of the processor {row['cpu_ms'][0]:6.1f} (+- {row['cpu_ms'][1]:.1f}), "
              f"{row['relocations']:7} relocations")


if __name__ == "__main__":
    main(*sys.argv[1:])
