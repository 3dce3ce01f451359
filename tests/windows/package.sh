#!/bin/bash
# package.sh BUILD_FOLDER SOURCE_FOLDER PHOTOGRAPHS: packs the archive for users, unpacks it into an empty folder and
# uses it as a user does. It runs the sample host with nothing else on the search path, and a host of our own that is
# built against the unpacked files alone.
set -uo pipefail
build="$1"
source="$2"
photographs="$3"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
fail() {
    echo "FAILED: $*"
    exit 1
}
run() { "$source/scripts/windows/wine_run.sh" --bare "$@"; }

(cd "$build" && cpack --config CPackConfig.cmake -B "$work/packed") >"$work/log" 2>&1 || {
    cat "$work/log"
    fail "packing"
}
archive="$(ls "$work"/packed/*.zip)" || fail "there is no archive"
unzip -q "$archive" -d "$work/a user's folder" || fail "unpacking"
root="$(ls -d "$work/a user's folder"/Tarvix-*)" || fail "the archive's own folder is missing"

for file in README.txt bin/Tarvix.dll bin/MorvelDib.dll bin/TarvixAfx.dll bin/tarvix.exe \
    bin/haarcascade_frontalface_alt.xml bin/lbpcascade_frontalface.xml lib/libTarvix.dll.a include/tarvix/tarvix.h include/tarvix/platform/MorvelDib.h lib/cmake/Tarvix/TarvixConfig.cmake \
    licenses/opencv.txt licenses/libjpeg-turbo.md licenses/libpng.txt licenses/zlib.txt licenses/gcc-runtime.txt \
    licenses/mingw-w64-runtime.txt; do
    [[ -s "$root/$file" ]] || fail "the archive has no $file"
done
version="${root##*/Tarvix-}"
for file in Tarvix.dll MorvelDib.dll TarvixAfx.dll tarvix.exe; do # their properties, UTF-16 in a resource
    properties=" $(strings -e l "$root/bin/$file" | tr '\n' ' ')"
    [[ "$properties" == *" FileVersion ${version%-win64} "* && "$properties" == *" OriginalFilename $file "* ]] ||
        fail "$file has no version resource"
done
grep -rqF "$source" "$root/lib/cmake" && fail "the CMake package names the source folder"

cd "$root/bin" || exit 1
run ./tarvix.exe --version >"$work/version" || fail "tarvix.exe --version"
grep -q '^Tarvix ' "$work/version" || fail "tarvix.exe --version prints $(cat "$work/version")"
cp "$photographs/building.jpg" "$work/a user's folder/in.jpg"
cd "$work/a user's folder" || exit 1
run "$root/bin/tarvix.exe" canny "in.jpg" --out "out.png" || fail "tarvix.exe canny"
(($(identify -format '%k' out.png) == 2)) || fail "the edges are not a black and white image"

run "$root/bin/tarvix.exe" faces "$photographs/messi5.jpg" >"$work/faces" || fail "tarvix.exe faces"
(($(wc -l <"$work/faces") == 1)) || fail "tarvix.exe faces prints $(cat "$work/faces")"

mkdir "$work/host" && cd "$work/host" || exit 1
cp "$source/tests/windows/package_host.cpp" .
cat >CMakeLists.txt <<'EOF'
cmake_minimum_required(VERSION 3.25)
project(host LANGUAGES CXX)
find_package(Tarvix REQUIRED)
add_executable(package_host package_host.cpp)
target_link_libraries(package_host PRIVATE Tarvix::Tarvix)
EOF
{
    cmake -S . -B build -G Ninja "-DCMAKE_TOOLCHAIN_FILE=$source/cmake/toolchains/x86_64-w64-mingw32.cmake" \
        "-DTARVIX_WINDOWS_PREFIX=$root" && cmake --build build
} >"$work/log" 2>&1 || {
    cat "$work/log"
    fail "a host cannot be built against the archive"
}
cp build/package_host.exe "$root/bin/"
cd "$work/a user's folder" || exit 1
run "$root/bin/package_host.exe" "in.jpg" \
    >"$work/host.out" || fail "the host built against the archive fails: $(cat "$work/host.out")"
tr -d '\r' <"$work/host.out" >"$work/host.txt"
grep -q '^refused: OpenCV' "$work/host.txt" && grep -q '^edges: [1-9]' "$work/host.txt" ||
    fail "the host prints $(cat "$work/host.txt")"
# The same without CMake, as the text says.
x86_64-w64-mingw32-g++-posix -std=c++17 -DNOMINMAX -I"$root/include" -I"$root/include/tarvix/platform" \
    -o "$root/bin/by_hand.exe" "$source/tests/windows/package_host.cpp" "$root"/lib/lib{Tarvix,MorvelDib,TarvixAfx}.dll.a ||
    fail "a host cannot be built by hand"
run "$root/bin/by_hand.exe" "in.jpg" | tr -d '\r' | cmp - "$work/host.txt" || fail "the host that was built by hand"
echo "packed, unpacked, run, linked: $(basename "$archive"), $(stat -c %s "$archive") bytes"
