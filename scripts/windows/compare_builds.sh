#!/bin/bash
# Builds the Windows module twice, from copies of the sources in two folders with names of different lengths, without the
# compiler cache, and compares the bytes of what users get: the DLLs and their debug files. With --all, also the program
# and the archives.
#   scripts/windows/compare_builds.sh [--all] [--jobs N] [--keep FOLDER]
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

all=
jobs="$(nproc)"
work=
while (($#)); do
    case "$1" in
        --all) all=1 ;;
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
if [[ -n "$all" ]]; then targets=(package); else targets=(Tarvix MorvelDib TarvixAfx); fi

first="$work/first"
second="$work/a second folder/with more below it"
for folder in "$first" "$second"; do
    mkdir -p "$folder"
    # The sources as they are here, changes included.
    tar -C "$root" --exclude=./build --exclude='./build-*' --exclude=./.git -cf - . | tar -C "$folder" -xf -
    say "building in ${folder#"$work/"}"
    (
        cd "$folder"
        export CCACHE_DISABLE=1
        quietly cmake --preset mingw -DTARVIX_BUILD_TESTS=OFF -DTARVIX_BUILD_HOST="${all:-OFF}" || die "it cannot be configured"
        quietly cmake --build --preset mingw -j "$jobs" --target "${targets[@]}" || die "it cannot be built"
    )
done

cd "$first/build/mingw"
files=(bin/*.dll debug/*.debug)
if [[ -n "$all" ]]; then files+=(bin/*.exe *.zip); fi
differing=0
for file in "${files[@]}"; do
    cmp "$file" "$second/build/mingw/$file" || differing=$((differing + 1))
done
((${#files[@]} >= 6)) || die "only ${#files[@]} files were compared"
((differing == 0)) || die "$differing of ${#files[@]} files differ between two builds"
say "${#files[@]} files, the same bytes from two builds: ${files[*]}"
