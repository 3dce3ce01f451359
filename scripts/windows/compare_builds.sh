#!/bin/bash
# Builds the Windows module twice, from copies of the sources in two folders with names of different lengths, without the
# compiler cache, and compares the bytes of what users get of it: three DLLs and their debug files. With --all, tarvix.exe
# and the two archives, too, which takes several times as long.
#   scripts/windows/compare_builds.sh [--all] [--jobs N] [--keep FOLDER]
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

jobs="$(nproc)"
work=
host=OFF
targets=(Tarvix MorvelDib TarvixAfx)
kinds=('bin/*.dll' 'debug/*.debug')
least=6
while (($#)); do
    case "$1" in
        --all) host=ON targets=(package) kinds+=('bin/*.exe' '*.zip') least=10 ;;
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
        quietly cmake --preset mingw -DTARVIX_BUILD_TESTS=OFF -DTARVIX_BUILD_HOST="$host" || die "it cannot be configured"
        quietly cmake --build --preset mingw -j "$jobs" --target "${targets[@]}" || die "it cannot be built"
    )
done

cd "$first/build/mingw"
shopt -s nullglob
files=(${kinds[@]}) # expanded here
differing=0
for file in "${files[@]}"; do
    cmp "$file" "$second/build/mingw/$file" || differing=$((differing + 1))
done
((${#files[@]} >= least)) || die "only ${#files[@]} files were compared"
((differing == 0)) || die "$differing of ${#files[@]} files differ between two builds"
say "${#files[@]} files, the same bytes from two builds: ${files[*]}"
