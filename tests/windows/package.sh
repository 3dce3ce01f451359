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

pack() { # pack FOLDER
    (cd "$build" && cpack --config CPackConfig.cmake -B "$1") >"$work/log" 2>&1 || {
        cat "$work/log"
        fail "packing"
    }
}
pack "$work/packed"
archive="$(ls "$work"/packed/*-win64.zip)" || fail "there is no archive"
debug="${archive%.zip}-debug.zip"
# The same build makes the same bytes: at another time, with another user's settings, in another folder.
(umask 077 && TZ=Asia/Tokyo pack "$work/packed again") || exit 1
for file in "$archive" "$debug"; do
    cmp "$file" "$work/packed again/${file##*/}" || fail "${file##*/} differs when it is packed again"
done
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
# Whose versions are bundled, and the full texts of the licences that the bundled ones refer to.
for component in Tarvix opencv libjpeg-turbo libpng1.6 tiff libwebp zlib libstdc++-6.dll libgcc_s_seh-1.dll \
    libwinpthread-1.dll libgomp-1.dll Boost CLI11 nlohmann-json; do
    grep -qF "$component " "$root/versions.txt" || fail "versions.txt does not have $component"
done
grep -q 'GCC RUNTIME LIBRARY EXCEPTION' "$root/licenses/gcc-runtime.txt" || fail "the run-time exception is missing"
texts=0
while read -r text; do
    [[ -s "$root/licenses/common-licenses/$text" ]] || fail "the text of $text is referred to and missing"
    ((++texts))
done < <(grep -rhoE '/usr/share/common-licenses/[A-Za-z0-9.-]*[A-Za-z0-9]' "$root/licenses" | sed 's#.*/##' | sort -u)
((texts > 3)) && grep -q 'Version 3, 29 June 2007' "$root/licenses/common-licenses/GPL-3" ||
    fail "the licences refer to $texts texts"
# No folder of the machine that built it. The one that may be there is where tarvix gallery looks by default.
for file in "$root"/bin/*.dll "$root"/bin/*.exe; do
    folders="$(strings -a "$file" | grep -E "$HOME/|$build|$source|^/(root|home|tmp|build|work|usr|var|opt)/|/[.]cache/" |
        grep -vx '/usr/share/doc/opencv-doc/examples/data')"
    [[ -z "$folders" ]] || fail "${file##*/} names $folders"
done
# The bitmap library has the bitmap class and nothing else, such as what the tests put into theirs.
others="$(x86_64-w64-mingw32-objdump -p "$root/bin/MorvelDib.dll" | sed -n '/\[Ordinal\/Name Pointer\]/,/^$/p' |
    grep -o '_Z.*' | grep -v '4CDib')"
[[ -z "$others" ]] || fail "MorvelDib.dll exports $others"
# What debuggers need is in an archive of its own, and each file is the one of its DLL or program.
unzip -q "$debug" -d "$work/debug" || fail "unpacking the debug files"
for name in Tarvix.dll MorvelDib.dll TarvixAfx.dll tarvix.exe; do
    symbols="$(ls "$work"/debug/*/debug/"$name.debug")" || fail "$name has no debug file"
    checksum="$(python3 -c 'import sys, zlib; print("%08x" % zlib.crc32(open(sys.argv[1], "rb").read()))' "$symbols")"
    x86_64-w64-mingw32-objdump -s -j .gnu_debuglink "$root/bin/$name" >"$work/link" || fail "$name names no debug file"
    # The checksum is stored with its lowest byte first.
    stored="$(sed -n 's/^ [0-9a-f]* \([0-9a-f ]*\)  .*/\1/p' "$work/link" | tr -d ' \n' | sed -E 's/(00)*$//')"
    [[ "$stored" == *"$(fold -w2 <<<"$checksum" | tac | tr -d '\n' | sed -E 's/(00)*$//')" ]] ||
        fail "$name was not built with its debug file: $stored, $checksum"
done
x86_64-w64-mingw32-objdump --dwarf=decodedline "$work"/debug/*/debug/Tarvix.dll.debug 2>/dev/null >"$work/lines"
grep -q 'lines.cpp' "$work/lines" || fail "the debug file of Tarvix.dll has no line numbers"
! strings -a "$work"/debug/*/debug/*.debug | grep -E "$build|$source" || fail "the debug files name the source folder"

grep -rqF "$source" "$root/lib/cmake" && fail "the CMake package names the source folder"

cd "$root/bin" || exit 1
run ./tarvix.exe --version >"$work/version" || fail "tarvix.exe --version"
grep -q '^Tarvix ' "$work/version" || fail "tarvix.exe --version prints $(cat "$work/version")"
cp "$photographs/building.jpg" "$work/a user's folder/in.jpg"
cd "$work/a user's folder" || exit 1
run "$root/bin/tarvix.exe" canny "in.jpg" --out "out.png" || fail "tarvix.exe canny"
(($(identify -format '%k' out.png) == 2)) || fail "the edges are not a black and white image"

# TIFF and WebP as ImageMagick writes them.
convert in.jpg -compress lzw lzw.tif && convert in.jpg -compress zip zip.tif && convert in.jpg -compress none plain.tif &&
    convert in.jpg -define webp:lossless=true lossless.webp && convert in.jpg in.png || fail "ImageMagick"
for file in lzw.tif zip.tif plain.tif lossless.webp; do
    run "$root/bin/tarvix.exe" load "$file" -o read.png || fail "tarvix.exe load $file"
    differing="$(compare -metric AE in.png read.png null: 2>&1)"
    [[ "$differing" == 0 ]] || fail "$file is read with $differing other pixels"
    rm read.png
done
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
