#!/usr/bin/env bash
# Compiles every source of the module, the host, the tests and the benchmarks in Visual Studio's dialect, with clang-cl and
# class-library-shaped headers of ours, and compares the exported names with those that Visual Studio decorates for 64 and
# for 32 bits. tests/msvc/README.md says what this can find and what not. Nothing is linked or run.
#   scripts/msvc_check.sh [--no-install]
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

install_packages build test check msvc
builds=$root/build/msvc_check
cache=${TARVIX_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/tarvix}/msvc_check
mkdir -p "$builds"

# A source archive of OpenCV as far as Tarvix needs one: the only place where the msvc branch looks for these files.
opencv=$builds/opencv_source
mkdir -p "$opencv/samples"
ln -sfn /usr/share/opencv4 "$opencv/data"
ln -sfn /usr/share/doc/opencv-doc/examples/data "$opencv/samples/data"

# Without the workbench: Boost's headers for g++'s C library do not go with Visual Studio's. So it is not checked.
configure() { # configure NAME PROCESSOR OPTION...
  cmake -S "$root" -B "$builds/$1" -G Ninja "-DCMAKE_TOOLCHAIN_FILE=$root/tests/msvc/toolchain.cmake" \
    "-DTARVIX_MSVC_TARGET=$2" -DCMAKE_BUILD_TYPE=Release -DTARVIX_BUILD_TESTS=ON -DTARVIX_BUILD_BENCH=ON \
    -DTARVIX_WERROR=ON -DTARVIX_BOOST_INCLUDE=OFF -UTARVIX_PHOTOS "${@:3}"
}
say "Visual Studio's branch of the build: configuring"
# Without OpenCV's source archive, the user is told about it.
rm -rf "$builds/no_cascades"
if configure no_cascades x86_64 >"$builds/no_cascades.log" 2>&1; then die "the cascades are found where vcpkg has none"; fi
tr -s '[:space:]' ' ' <"$builds/no_cascades.log" | grep -q 'vcpkg does not install it.*-DTARVIX_OPENCV_SOURCE=' ||
  die "without cascades, no word about TARVIX_OPENCV_SOURCE: see $builds/no_cascades.log"
rm -rf "$builds/no_cascades"
found=(-DTARVIX_OPENCV_SOURCE="$opencv")
own_dib=("-DTARVIX_DIB_HEADER=$root/tests/own_dib/HostBitmap.h" -DTARVIX_DIB_LIBRARY=HostBitmap.lib) # as the intended host
quietly configure x64 x86_64 "${found[@]}" "${own_dib[@]}" || die "the 64-bit build cannot be configured"
quietly configure x86 i686 "${found[@]}" "${own_dib[@]}" || die "the 32-bit build cannot be configured"
quietly configure stand_in x86_64 "${found[@]}" || die "the build with the stand-in bitmap library cannot be configured"
exec python3 "$root/scripts/msvc_check.py" "$root" "$builds" "$cache" "$(nproc)"
