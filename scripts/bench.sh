#!/usr/bin/env bash
# Runs every benchmark and writes one page with a table and plots: build/bench/index.html. Our code and a reference
# run in turn, so the ratios hold on a busy machine, too, though not to the last per cent.
#   scripts/bench.sh [--record] [BENCHMARK_OPTION...]      e.g. --benchmark_filter=tx_Canny
# It compares itself with the last line of bench/history.jsonl and says what got slower. --record, for a release, makes
# this run the last line: on free processors, without a filter.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

install_packages build test
command -v python3 >/dev/null || die "python3 is missing"
record=()
if [ "${1:-}" = --record ]; then
  record=("$(sed -n 's/^## \([0-9.]*\)$/\1/p' "$root/CHANGELOG.md" | head -n 1)")
  shift
fi
programs=(bench_exports bench_calib bench_bridge bench_converge bench_registration)
configure_and_build release benchmarks
results=$root/build/bench
mkdir -p "$results"
export OPENCV_LOG_LEVEL=SILENT
for program in "${programs[@]}"; do
  say "running $program"
  quietly "$root/build/release/bin/$program" --benchmark_out="$results/$program.json" \
    --benchmark_out_format=json "$@" || die "$program failed"
done
revision=$(git -C "$root" describe --always --dirty 2>/dev/null) || revision=unknown
python3 "$root/scripts/bench_page.py" "$results" "$revision" "$root/bench/history.jsonl" "${record[@]}" >"$results/index.html.new"
mv "$results/index.html.new" "$results/index.html"
say "done: $results/index.html"
