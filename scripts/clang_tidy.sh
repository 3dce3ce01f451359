#!/usr/bin/env bash
# Runs clang-tidy over all our sources of a build folder's compile database. Any warning is an error. A source
# is skipped if it was silent before and nothing that matters has changed since: clang-tidy, its settings, the
# compile flags, the source and every file that it includes.
#   scripts/clang_tidy.sh [BUILD_FOLDER [PATH...]]
# BUILD_FOLDER is build/release by default and is configured first if it is missing. With PATHs (host,
# bridge/guard.cpp), only sources there are checked.
# Sources of one folder with the same flags are checked as one at first, without the check for headers that are included
# twice.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

for tool in clang-tidy clang++ python3; do
  command -v $tool >/dev/null || die "$tool is missing: install the packages clang, clang-tidy and python3"
done
build=${1:-$root/build/release}
if [ ! -e "$build/compile_commands.json" ]; then
  [ $# -eq 0 ] || die "no compile_commands.json in $build: configure it with cmake first"
  say "configuring build/release"
  (cd "$root" && quietly cmake --preset release) || die "cmake could not configure preset release"
fi
cache=${TARVIX_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/tarvix}/clang-tidy
exec python3 "$root/scripts/clang_tidy.py" "$root" "$(cd "$build" && pwd)" "$cache" "$(nproc)" "${@:2}"
