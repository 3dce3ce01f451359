#!/bin/bash
# Builds the Windows module twice, from copies of the sources in two folders with names of different lengths, without the
# compiler cache, and compares the bytes of what users get of it: three DLLs and their debug files.
#   scripts/windows/compare_builds.sh [--jobs N] [--keep FOLDER]
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

jobs="$(nproc)"
work=
while (($#)); do
    case "$1" in
        --jobs) jobs="$2" && shift ;;
        --keep) work="$(realpath -m "$2")" && shift ;;
        *) die "unknown option $1" ;;
    esac
    shift
done
if [[ -z "$work" ]]; then
    work="$(mktemp -d)"
    trap 'rm -rf "$work"' EXIT
fi

first="$work/first"
second="$work/a second folder/with more below it"
mkdir -p "$first" "$second"
# The sources as they are here, changes included; both copies before any build, because somebody may be editing.
tar -C "$root" --exclude=./build --exclude='./build-*' --exclude=./.git -cf - . | tar -C "$first" -xf -
cp -a "$first/." "$second"
for folder in "$first" "$second"; do
    say "building in ${folder#"$work/"}"
    (
        cd "$folder"
        export CCACHE_DISABLE=1
        quietly cmake --preset mingw -DTARVIX_BUILD_TESTS=OFF -DTARVIX_BUILD_HOST=OFF || die "it cannot be configured"
        quietly cmake --build --preset mingw -j "$jobs" --target Tarvix MorvelDib TarvixAfx || die "it cannot be built"
    )
done

cd "$first/build/mingw"
files=(bin/*.dll debug/*.debug)
differing=0
for file in "${files[@]}"; do
    cmp "$file" "$second/build/mingw/$file" || differing=$((differing + 1))
done
((${#files[@]} >= 6)) || die "only ${#files[@]} files were compared"
((differing == 0)) || die "$differing of ${#files[@]} files differ between two builds"
say "${#files[@]} files, the same bytes from two builds: ${files[*]}"
