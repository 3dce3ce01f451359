#!/usr/bin/env bash
# Runs every benchmark and writes one page with tables and plots: build/bench/index.html. Our code and a reference
# run in turn, so the ratios hold on a busy machine, too, though not to the last per cent.
#   scripts/bench.sh [--full] [--record] [BENCHMARK_OPTION...]      e.g. --benchmark_filter=tx_Canny
# --full goes on to the largest sets of images and, for memory, to 100 megapixels: half an hour more. It compares itself
# with the last line of bench/history.jsonl and says what got slower. --record makes this run the last line, named after
# the release, or between two after the earlier one and the commit: on free processors, without a filter.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

install_packages build test
command -v python3 >/dev/null || die "python3 is missing"
revision=$(git -C "$root" describe --always --dirty 2>/dev/null) || revision=unknown
record=() megapixels=(12)
while [ $# -gt 0 ]; do
  case $1 in
    --record)
      record=("$(sed -n 's/^## \([0-9.]*\)$/\1/p' "$root/CHANGELOG.md" | head -n 1)")
      ! grep -qx '## Unreleased' "$root/CHANGELOG.md" || record=("${record[0]}+$revision")
      ;;
    --full) export TARVIX_BENCH_FULL=1 && megapixels+=(100) ;;
    *) break ;;
  esac
  shift
done
if [ ${#record[@]} -gt 0 ]; then
  [ $# -eq 0 ] || die "a release is recorded with all benchmarks: not with $*"
  # Not after half an hour.
  python3 "$root/scripts/bench_history.py" "$root/bench/history.jsonl" "${record[0]}" || exit 1
fi
programs=(bench_exports bench_calib bench_large bench_bridge bench_converge bench_growth)
configure_and_build release benchmarks Tarvix tarvix_host
results=$root/build/bench
mkdir -p "$results"
rm -f "$results"/bench_{memory,start}.json
export OPENCV_LOG_LEVEL=SILENT PYTHONDONTWRITEBYTECODE=1
for program in "${programs[@]}"; do
  say "running $program"
  quietly "$root/build/release/bin/$program" --benchmark_out="$results/$program.json" \
    --benchmark_out_format=json "$@" || die "$program failed"
done
if [ $# -eq 0 ]; then # a filter is for one benchmark
  say "measuring memory"
  quietly python3 "$root/bench/bench_memory.py" "$root/build/release/bin" "$results/bench_memory.json" "${megapixels[@]}" ||
    die "bench_memory.py failed"
  say "measuring starts"
  quietly python3 "$root/bench/bench_start.py" "$root/build/release/bin" "$results/bench_start.json" || die "bench_start.py failed"
fi
python3 "$root/scripts/bench_page.py" "$results" "$revision" "$root/bench/history.jsonl" "${record[@]}" >"$results/index.html.new"
mv "$results/index.html.new" "$results/index.html"
say "done: $results/index.html"
