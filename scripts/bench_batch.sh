#!/usr/bin/env bash
# How much a batch saves: its throughput against one process an image, and against GNU parallel over the same processes,
# in turn on the same images, so that the ratios hold on a busy machine, too. And a million inputs of an operation on one
# pixel: memory of the batch's process at its end against that of a thousand, and the seconds to resume when all is done.
#   scripts/bench_batch.sh [SMALL [LARGE [MILLION]]]      how many images; 2000 200 1000000
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

small=${1:-2000} large=${2:-200} million=${3:-1000000}
program=$root/build/release/bin/tarvix
[ -x "$program" ] || die "build it first: cmake --build --preset release --target tarvix_host"
command -v parallel >/dev/null || die "parallel is missing: apt-get install parallel"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
photo=${TARVIX_PHOTOS:-/usr/share/doc/opencv-doc/examples/data}/fruits.jpg

# images FOLDER COUNT WIDTH HEIGHT: copies of one image, which is all the same to every way of running.
images() {
  mkdir "$work/$1"
  "$program" warp "$photo" -o "$work/$1.jpg" --from 0,0 511,0 511,479 0,479 --to 0,0 "$3,0" "$3,$4" "0,$4"
  local i
  for ((i = 0; i < $2; ++i)); do cp "$work/$1.jpg" "$work/$1/$i.jpg"; done
}
seconds() { # COMMAND...: how long it takes
  local begin end
  begin=$(date +%s.%N)
  "$@" >/dev/null 2>&1 || die "failed: $*"
  end=$(date +%s.%N)
  python3 -c "print(f'{$end - $begin:.2f}')"
}
one_by_one() { local file; for file in "$1"/*; do "$program" canny "$file" -o "$2/$(basename "$file" .jpg).png"; done; }
with_parallel() { parallel "$program" canny {} -o "$2/{/.}.png" ::: "$1"/*; }
with_batch() { "$program" batch canny "$1" --out "$2/{name}.png"; }

compare() { # NAME COUNT
  local way batch
  mkdir "$work/out"
  batch=$(seconds with_batch "$work/$1" "$work/out")
  say "$1, $2 images: batch $batch s"
  for way in with_parallel one_by_one; do
    rm -rf "$work/out" && mkdir "$work/out"
    took=$(seconds "$way" "$work/$1" "$work/out")
    python3 -c "print(f'    $way: $took s, {$took / $batch:.2f} times the batch')"
  done
  rm -rf "$work/out"
}
images small "$small" 512 400
compare small "$small"
images large "$large" 4000 3000
compare large "$large"

# one name a line; the files are links to one image of one pixel
printf 'P5 1 1 255\n\x63' >"$work/pixel.pgm"
most_memory() { # INPUTS OPTION...: MiB of the batch's own process, and the seconds
  local list=$1
  shift
  python3 - "$program" "$list" "$@" <<'PY'
import os, subprocess, sys, time
program, inputs, *options = sys.argv[1:]
begin = time.monotonic()
run = subprocess.Popen([program, "batch", "lines", "@" + inputs, *options], stdout=subprocess.DEVNULL)
_, status, usage = os.wait4(run.pid, 0)
print(f"{usage.ru_maxrss / 1024:.0f} MiB, {time.monotonic() - begin:.1f} s, status {os.waitstatus_to_exitcode(status)}")
PY
}
mkdir "$work/many"
python3 - "$work" "$million" <<'PY'
import os, sys
work, count = sys.argv[1], int(sys.argv[2])
with open(f"{work}/many.txt", "w") as names:
    for i in range(count):
        if i % 1000 == 0:
            os.mkdir(f"{work}/many/{i // 1000:04}")
        name = f"{work}/many/{i // 1000:04}/{i:07}.pgm"
        os.symlink(f"{work}/pixel.pgm", name)
        names.write(name + "\n")
PY
head -n 1000 "$work/many.txt" >"$work/few.txt"
say "1000 inputs: $(most_memory "$work/few.txt" --manifest "$work/few.jsonl")"
say "$million inputs: $(most_memory "$work/many.txt" --manifest "$work/many.jsonl")"
say "the same, all finished: $(most_memory "$work/many.txt" --manifest "$work/many.jsonl" --resume)"
say "the manifest: $(du -m "$work/many.jsonl" | cut -f 1) MiB"
