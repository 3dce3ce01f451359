#!/bin/bash
# GoogleTest, compiled for Windows from the distribution's source package, and the header-only libraries of the
# sample host and the tests (CLI11, nlohmann-json), copied so that the cross build need not see /usr/include.
# They go into the cache.
#
#   build_test_libraries.sh [--jobs N | --print-prefix]
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
. "$here/common.sh"

package_versions() { dpkg-query -W -f='${Package} ${Version}\n' googletest libcli11-dev nlohmann-json3-dev 2>/dev/null || true; }
jobs="$(nproc)"
prefix="$tarvix_cache/test-libraries-mingw-$(key_of "${BASH_SOURCE[0]}" <(package_versions))"
while (($#)); do
    case "$1" in
        --print-prefix) echo "$prefix" && exit 0 ;;
        --jobs) jobs="$2" && shift ;;
        *) die "unknown option $1" ;;
    esac
    shift
done
if [[ -f "$prefix/complete" ]]; then
    say "the test libraries are in the cache: $prefix"
    exit 0
fi

need_command "$compiler" g++-mingw-w64-x86-64-posix
need_command cmake cmake
need_command ninja ninja-build
[[ -f /usr/src/googletest/CMakeLists.txt ]] || die "the sources of GoogleTest are missing: apt-get install googletest"
[[ -d /usr/include/CLI ]] || die "CLI11 is missing: apt-get install libcli11-dev"
[[ -d /usr/include/nlohmann ]] || die "nlohmann-json is missing: apt-get install nlohmann-json3-dev"

mkdir -p "$tarvix_cache"
work="$(mktemp -d "$tarvix_cache/test-libraries-mingw-build.XXXXXX")"
trap 'rm -rf "$work"' EXIT
log="$tarvix_cache/test-libraries-mingw-build.log"
: >"$log"
staging="$work/prefix"

say "building GoogleTest"
run_logged "$log" cmake -S /usr/src/googletest -B "$work/build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    "-DCMAKE_INSTALL_PREFIX=$staging" -DCMAKE_INSTALL_LIBDIR=lib "-DTARVIX_WINDOWS_PREFIX=$staging" \
    "-DCMAKE_TOOLCHAIN_FILE=$here/../../cmake/toolchains/$triplet.cmake"
run_logged "$log" cmake --build "$work/build" -j "$jobs"
run_logged "$log" cmake --install "$work/build"

mkdir -p "$staging/share/cmake" "$staging/licenses"
cp -r /usr/include/CLI /usr/include/nlohmann "$staging/include/"
cp -r /usr/share/cmake/CLI11 /usr/share/cmake/nlohmann_json "$staging/share/cmake/"
# The sample host contains both.
cp /usr/share/doc/libcli11-dev/copyright "$staging/licenses/cli11.txt"
cp /usr/share/doc/nlohmann-json3-dev/copyright "$staging/licenses/nlohmann-json.txt"

date -u +%FT%TZ >"$staging/complete"
rm -rf "$prefix"
mv "$staging" "$prefix"
say "the test libraries are ready: $prefix"
