#!/usr/bin/env bash
# Builds the fuzzers (clang) and runs each for SECONDS on one core, starting from its corpus in tests/fuzz and from
# what earlier runs kept. Ends with failure when one finds something; the input is then left in build/fuzz/found.
#   scripts/fuzz.sh SECONDS [NAME...]
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

[[ ${1:-} =~ ^[0-9]+$ ]] || die "usage: scripts/fuzz.sh SECONDS [NAME...]"
seconds=$1
shift
cd "$root"
names=("$@")
if [ ${#names[@]} -eq 0 ]; then
  for folder in tests/fuzz/corpus/*/; do names+=("$(basename "$folder")"); done
fi

install_packages build test check
configure_and_build fuzz

# Sizes that no machine has are asked for on purpose. What others leak is theirs.
export ASAN_OPTIONS=allocator_may_return_null=1
export LSAN_OPTIONS=suppressions=$root/tests/support/leaks_of_others.txt:print_suppressions=0
export OPENCV_LOG_LEVEL=SILENT
if [ -w /dev/shm ]; then export TMPDIR=/dev/shm; fi # the calls read and write many small files
found=$root/build/fuzz/found
mkdir -p "$found"
for name in "${names[@]}"; do
  program=build/fuzz/bin/fuzz_$name
  [ -x "$program" ] || die "no fuzzer '$name'"
  kept=$root/build/fuzz/kept/$name
  log=$root/build/fuzz/$name.log
  mkdir -p "$kept"
  say "fuzz: $name for $seconds s"
  # An input may take a minute, on a machine that has other things to do: the limit on hangs.
  if ! nice -n 19 "$program" -max_total_time="$seconds" -timeout=60 -rss_limit_mb=4096 -malloc_limit_mb=1000000 \
    -max_len=20000 -artifact_prefix="$found/$name-" -print_final_stats=1 \
    "$kept" "$root/tests/fuzz/corpus/$name" >"$log" 2>&1; then
    tail -n 60 "$log" >&2
    die "fuzzer $name found something; run $program with the input in $found to see it again"
  fi
  say "fuzz: $name: $(sed -n 's/^stat::number_of_executed_units: *//p' "$log") inputs, none failed"
done
