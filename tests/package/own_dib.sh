#!/usr/bin/env bash
# own_dib.sh SOURCE BUILD: builds Tarvix in BUILD with a bitmap library that a host brings, of another layout and file name,
# and runs tests of the bitmap bridge and of exports with it. BUILD stays, so that the next run builds what has changed.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
source=$1 build=$2

options=(-G Ninja -DCMAKE_BUILD_TYPE=Release)
if command -v ccache >/dev/null; then # most compilations are those of the release build
  options+=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
  export CCACHE_BASEDIR=$source CCACHE_NOHASHDIR=1 CCACHE_SLOPPINESS=pch_defines,time_macros
fi
quietly "the host's library" cmake -S "$source/tests/own_dib" -B "$build/host" "${options[@]}" \
  "-DTARVIX_WIN32_HEADERS=$source/platform/stand_ins/win32/include"
quietly "the host's library: building" cmake --build "$build/host"

configure() {
  cmake -S "$source" -B "$build/tarvix" "${options[@]}" "-DCMAKE_CXX_FLAGS_RELEASE=-O2 -DNDEBUG" -DTARVIX_BUILD_TESTS=ON \
    -DTARVIX_WERROR=ON "-DTARVIX_DIB_HEADER=$source/tests/own_dib/HostBitmap.h" "$@"
}
configure -UTARVIX_DIB_LIBRARY >"$work/out" 2>&1 && fail "a header without a library is accepted"
grep -q 'Set both TARVIX_DIB_HEADER and TARVIX_DIB_LIBRARY' "$work/out" || fail "no word about the library: $(cat "$work/out")"
quietly "configuring with the host's library" configure "-DTARVIX_DIB_LIBRARY=$build/host/libHostBitmap.so"
tests=(test_dib_bridge test_bitmap_matrices test_pixel_filters)
quietly "building with the host's library" cmake --build "$build/tarvix" -j "$(nproc)" --target Tarvix "${tests[@]}"
for test in "${tests[@]}"; do
  "$build/tarvix/bin/$test" >"$work/out" 2>&1 || fail "$test fails: $(tail -n 40 "$work/out")"
  grep -q '\[  PASSED  \] [1-9]' "$work/out" || fail "$test ran nothing"
done
ldd "$build/tarvix/bin/libTarvix.so" >"$work/libraries"
grep -q 'libHostBitmap\.so' "$work/libraries" || fail "the module does not use the host's library"
grep -q 'libMorvelDib' "$work/libraries" && fail "the module uses the stand-in, too"
echo "built and tested with the host's own bitmap library"
