#!/bin/bash
# GoogleTest, compiled for Windows from the distribution's source package, and the header-only libraries of the
# sample host and the tests (Boost, CLI11, nlohmann-json, xxHash), copied so that the cross build need not see
# /usr/include. They go into the cache. Boost is large: a link stands for its folder.
#
#   build_test_libraries.sh [--jobs N | --print-prefix]
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/cached_build.sh"

boost="$(dpkg-query -S /usr/include/boost/version.hpp 2>/dev/null | cut -d: -f1 || true)" # its package has a version in its name
versions="$(dpkg-query -W -f='${Package} ${Version}\n' googletest libcli11-dev nlohmann-json3-dev libxxhash-dev $boost 2>/dev/null || true)"
begin_build test-libraries "${BASH_SOURCE[0]}" "$versions" "$@"
[[ -f /usr/src/googletest/CMakeLists.txt ]] || die "the sources of GoogleTest are missing: apt-get install googletest"
[[ -d /usr/include/CLI ]] || die "CLI11 is missing: apt-get install libcli11-dev"
[[ -d /usr/include/nlohmann ]] || die "nlohmann-json is missing: apt-get install nlohmann-json3-dev"
[[ -n "$boost" ]] || die "Boost is missing: apt-get install libboost-dev"
[[ -f /usr/include/xxhash.h ]] || die "xxHash is missing: apt-get install libxxhash-dev"

build GoogleTest /usr/src/googletest

mkdir -p "$staging/share/cmake"
cp -r /usr/include/CLI /usr/include/nlohmann /usr/include/xxhash.h "$staging/include/"
ln -s /usr/include/boost "$staging/include/boost"
cp -r /usr/share/cmake/CLI11 /usr/share/cmake/nlohmann_json "$staging/share/cmake/"
# The sample host contains them.
record_version CLI11 "$(dpkg-query -W -f '${Version}' libcli11-dev)"
record_version Boost "$(dpkg-query -W -f '${Version}' "$boost")"
record_version nlohmann-json "$(dpkg-query -W -f '${Version}' nlohmann-json3-dev)"
cp "/usr/share/doc/$boost/copyright" "$staging/licenses/boost.txt"
cp /usr/share/doc/libcli11-dev/copyright "$staging/licenses/cli11.txt"
cp /usr/share/doc/nlohmann-json3-dev/copyright "$staging/licenses/nlohmann-json.txt"
record_version xxHash "$(dpkg-query -W -f '${Version}' libxxhash-dev)"
cp /usr/share/doc/libxxhash-dev/copyright "$staging/licenses/xxhash.txt"
finish_build
