#!/usr/bin/env bash
# Builds the fuzzers (clang) and runs each for SECONDS on one core, starting from its corpus in tests/fuzz and from
# what earlier runs kept. Fails if one finds something; the input is then in build/fuzz/found.
#   scripts/fuzz.sh SECONDS [NAME...]
#   scripts/fuzz.sh --short [NAME...]    the short run of the project's own check: about 20 s for each on a free core
# The short run takes a fixed number of inputs from a fixed seed and the corpus alone, so that its result depends on
# the code alone.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

[[ ${1:-} =~ ^([0-9]+|--short)$ ]] || die "usage: scripts/fuzz.sh SECONDS|--short [NAME...]"
duration=$1 # seconds, or --short
shift
declare -A short=([bitmaps]=1000 [corners]=2000 [calibration_folders]=100000 [image_files]=3000 [file_lists]=1000 [web_requests]=40000 [worker_lines]=200000)
cd "$root"
names=("$@")
if [ ${#names[@]} -eq 0 ]; then
  for folder in tests/fuzz/corpus/*/; do names+=("$(basename "$folder")"); done
fi

install_packages build test check
configure_and_build fuzz fuzzers

# The fuzzers ask for sizes that no machine has, on purpose. Leaks of other libraries are not counted.
export ASAN_OPTIONS=allocator_may_return_null=1
export LSAN_OPTIONS=suppressions=$root/tests/support/leaks_of_others.txt:print_suppressions=0
export OPENCV_LOG_LEVEL=SILENT
if [ -w /dev/shm ]; then export TMPDIR=/dev/shm; fi # the calls read and write many small files
found=$root/build/fuzz/found
mkdir -p "$found"
for name in "${names[@]}"; do
  program=build/fuzz/bin/fuzz_$name
  [ -x "$program" ] || die "no fuzzer '$name'"
  if [ "$duration" = --short ]; then
    kept=$root/build/fuzz/short/$name
    rm -rf "$kept"
    limit=(-seed=1 -runs="${short[$name]:?has no number of inputs for the short run}")
    niceness=0
  else
    kept=$root/build/fuzz/kept/$name
    limit=(-max_total_time="$duration")
    niceness=19
  fi
  log=$root/build/fuzz/$name.log
  mkdir -p "$kept"
  say "fuzz: $name${limit[*]/#/ }"
  # An input may take a minute, because the machine may be busy: the limit only ends hangs.
  if ! nice -n "$niceness" "$program" "${limit[@]}" -timeout=60 -rss_limit_mb=4096 -malloc_limit_mb=1000000 \
    -max_len=20000 -artifact_prefix="$found/$name-" -print_final_stats=1 \
    "$kept" "$root/tests/fuzz/corpus/$name" >"$log" 2>&1; then
    tail -n 60 "$log" >&2
    die "fuzzer $name found something; run $program with the input in $found to see it again"
  fi
  say "fuzz: $name: $(sed -n 's/^stat::number_of_executed_units: *//p' "$log") inputs, none failed"
done
