"""The benchmarks' ratios of earlier releases: bench/history.jsonl, one JSON object a line, oldest first. What was
recorded between two releases has the earlier one's number and the commit: 1.0.0+c50bc53.

    bench_history.py FILE RELEASE      says whether the release can be recorded: not a second time

    {"release": "1.0.0", "date": "2026-11-22", "machine": "...", "load": 0.1, "ratios": {"tx_Canny": [0.99, 0.01], ...}}

Each ratio is [median of ours / reference over pairs, its spread]. The spread is the median absolute deviation of the
pairs' ratios from their median.
"""

import json
import os
import sys


def within_spread(difference, *spreads):
    """Whether a difference of two medians is no more than what their pairs scatter."""
    return abs(difference) <= sum(spreads)


def last_of(path):
    """The newest line, or None without a file or a line in it."""
    if not os.path.exists(path):
        return None
    with open(path, encoding="utf-8") as file:
        lines = [line for line in file if line.strip()]
    return json.loads(lines[-1]) if lines else None


def change_since(earlier, name, ratio, spread):
    """(words, whether it got slower) against the earlier line; empty words if it did not have this benchmark."""
    if earlier is None or name not in earlier["ratios"]:
        return "", False
    old, old_spread = earlier["ratios"][name]
    if within_spread(ratio - old, spread, old_spread):
        return "as before", False
    words = f"{'slower' if ratio > old else 'faster'}: was {old:.3f}"
    return words, ratio > old


def has(path, release):
    if not os.path.exists(path):
        return False
    with open(path, encoding="utf-8") as file:
        return any(json.loads(line)["release"] == release for line in file if line.strip())


def record(path, release, date, machine, load, ratios):
    """Appends a line. A release that already has one is refused: ValueError."""
    if has(path, release):
        raise ValueError(f"{path} has a line for {release}")
    line = json.dumps({"release": release, "date": date, "machine": machine, "load": round(load, 1),
                       "ratios": {name: [round(r, 6), round(s, 6)] for name, (r, s) in sorted(ratios.items())}})
    with open(path, "a", encoding="utf-8") as file:
        file.write(line + "\n")


if __name__ == "__main__":
    if has(*sys.argv[1:]):
        sys.exit(f"tarvix: {sys.argv[1]} has a line for {sys.argv[2]}")
