#!/usr/bin/env bash
# consume.sh BUILD SOURCE PHOTOGRAPH VERSION LIBDIR MESSAGE_BOX_TEST: installs the build by component,
# moves the tree, and builds and runs hosts against it in projects of their own: by find_package and by pkg-config.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
build=$1 source=$2 photograph=$3 version=$4 libdir=$5 message_box_test=$6

# The components divide the tree: no file is in two of them, none is missing.
for component in Runtime Development Host; do
  quietly "installing $component" cmake --install "$build" --prefix "$work/$component" --component "$component"
  (cd "$work/$component" && find . ! -type d) >>"$work/parts"
done
quietly "installing" cmake --install "$build" --prefix "$work/installed"
(cd "$work/installed" && find . ! -type d | sort) >"$work/whole"
sort "$work/parts" | diff - "$work/whole" || fail "the components are not the whole tree"

# has COMPONENT FILE..., and nothing else but FILEs.
expect() {
  local component=$1
  shift
  printf './%s\n' "$@" | sort >"$work/wanted"
  (cd "$work/$component" && find . -path ./share/doc -prune -o ! -type d ! -name '*.h' ! -name 'TarvixTargets-*.cmake' -print | sort) |
    diff "$work/wanted" - || fail "component $component"
}
runtime=("$libdir/tarvix/tarvix-message-box")
links=()
for library in Tarvix TarvixLive TarvixWin32 TarvixAfx MorvelDib; do
  runtime+=("$libdir/lib$library.so.$version" "$libdir/lib$library.so.${version%%.*}")
  [ $library = TarvixLive ] || links+=("$libdir/lib$library.so") # no host links that one
done
expect Runtime "${runtime[@]}"
expect Development "${links[@]}" "$libdir/pkgconfig/tarvix.pc" "$libdir/cmake/Tarvix/TarvixConfig.cmake" \
  "$libdir/cmake/Tarvix/TarvixConfigVersion.cmake" "$libdir/cmake/Tarvix/TarvixTargets.cmake"
found=$(grep_finds -rlP -e "$(own_folder "$source" "$build" "$work")" "$work/Development")
[ -z "$found" ] || fail "a file names a folder of this machine: $found"

# At its installation, the tree does not know its final place.
prefix="$work/moved here"
mv "$work/installed" "$prefix"

# find_package
configure() { cmake -S "$1" -B "$2" -G Ninja -DCMAKE_BUILD_TYPE=Release "-DCMAKE_PREFIX_PATH=$prefix" "${@:3}"; }
quietly "find_package: configuring" configure "$prefix/share/doc/libtarvix-dev/examples" "$work/examples" -DCMAKE_CXX_STANDARD=17 \
  -DCMAKE_EXPORT_COMPILE_COMMANDS=ON
found=$(grep_finds -e '-std=[a-z+]*2' "$work/examples/compile_commands.json")
[ -z "$found" ] || fail "a host is raised above C++17: $found"
grep -qF "Tarvix_DIR:PATH=$prefix/$libdir/cmake/Tarvix" "$work/examples/CMakeCache.txt" || fail "another Tarvix was found"
quietly "find_package: building" cmake --build "$work/examples"
"$work/examples/example_host" "$photograph" >"$work/out" || fail "the host fails: $(cat "$work/out")"
grep -q '^message: OpenCV' "$work/out" || fail "the host prints: $(cat "$work/out")"

# Versions of the same major number up to this one are found.
mkdir "$work/versions"
cat >"$work/versions/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.25)
project(versions LANGUAGES CXX)
find_package(Tarvix ${WANTED} QUIET)
file(WRITE "${CMAKE_BINARY_DIR}/found" "${Tarvix_FOUND}")
END
major=${version%%.*}
for case in "$version 1" "$major.0 1" "$((major + 1)).0 0" "$major.999 0" "$((major - 1)).9 0"; do
  quietly "asking for version ${case% *}" configure "$work/versions" "$work/versions/build" --fresh "-DWANTED=${case% *}"
  [ "$(cat "$work/versions/build/found")" = "${case#* }" ] || fail "version ${case% *} of $version: found must be ${case#* }"
done

# pkg-config is used as in a makefile (a shell splits the words, spaces are escaped).
export PKG_CONFIG_PATH="$prefix/$libdir/pkgconfig"
[ "$(pkg-config --modversion tarvix)" = "$version" ] || fail "pkg-config knows another version"
pkg-config --exists "tarvix < $((major + 1))" || fail "pkg-config refuses this version"
pkg-config --exists "tarvix >= $((major + 1))" && fail "pkg-config accepts version $((major + 1))"
flags=$(pkg-config --cflags --libs tarvix) || fail "pkg-config"
[[ "$flags" == *'moved\ here'* ]] || fail "pkg-config does not escape spaces: $flags"
eval "c++ -o '$work/edges' '$source/docs/examples/edges.cpp' $flags" || fail "pkg-config: building with $flags"
LD_LIBRARY_PATH="$prefix/$libdir" "$work/edges" "$photograph" >"$work/out" || fail "the host built by pkg-config fails"
[ "$(wc -l <"$work/out")" -eq 64 ] || fail "the host built by pkg-config prints: $(cat "$work/out")"

# The module is loaded while a program runs, and a function is looked up by its decorated name.
python3 -c 'import ctypes, sys; ctypes.CDLL(sys.argv[1])._Z8tx_CannyR4CDibddii' "$prefix/$libdir/libTarvix.so.${version%%.*}" ||
  fail "dlopen"

# The program runs through its link and from another folder, and finds the cascades.
cd / || exit 1
"$prefix/bin/tarvix" --version | grep -F "Tarvix $version" || fail "tarvix --version"
"$prefix/bin/tarvix" faces "$photograph" || fail "tarvix faces"

# What the first use of the camera loads is found, and its absence is said.
export OPENCV_VIDEOIO_PRIORITY_LIST=IMAGES # no camera
"$prefix/bin/tarvix" track >"$work/out" 2>&1 && fail "tarvix track without a camera"
grep -q 'there is no camera 0' "$work/out" || fail "tarvix track: $(cat "$work/out")"
live="$prefix/$libdir/libTarvixLive.so.${version%%.*}"
mv "$live" "$live.away"
"$prefix/bin/tarvix" track >"$work/out" 2>&1 && fail "tarvix track without its library"
grep -q "libTarvixLive.so.${version%%.*}: cannot open" "$work/out" || fail "tarvix track without its library: $(cat "$work/out")"
"$prefix/bin/tarvix" --version >/dev/null || fail "tarvix --version without the library of the camera"
mv "$live.away" "$live"

# The class library finds the installed program of the message box.
LD_LIBRARY_PATH="$prefix/$libdir" quietly "the message box" "$message_box_test" --gtest_filter=MessageBox.IsShownFromAnyThread
echo "installed, moved, found, linked, run: Tarvix $version"
