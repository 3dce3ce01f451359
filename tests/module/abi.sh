#!/usr/bin/env bash
# abi.sh [--update] BASELINE VERSION MODULE: compares the interface of a module built with debugging information with
# the baseline of an earlier version. --update writes a new baseline, and its symbols to exports.txt beside it, if the
# version allows the change:
# additions need a higher minor number, everything else a higher major number.
set -uo pipefail
update=
if [ "$1" = --update ]; then update=1 && shift; fi
baseline=$1 version=$2 module=$3
[ -e "$module" ] || { echo "no $module: build everything first" >&2; exit 1; }
suppressions=$(mktemp) errors=$(mktemp)
trap 'rm -f "$suppressions" "$errors" "$baseline.new"' EXIT
# A host is compiled with our types and the platform's. All others are behind pointers and in private members.
printf '[suppress_type]\nname_regexp = ^(cv|std|__gnu_cxx|tarvix)::\ndrop = yes\n' >"$suppressions"
differs() {
  abidiff --no-show-locs --suppressions "$suppressions" "$@" "$baseline" "$module" 2>"$errors"
  local status=$?
  [ $((status & 3)) -eq 0 ] && [ ! -s "$errors" ] || { echo "abidiff cannot compare $baseline and $module" >&2 && exit 1; }
  [ $status -ne 0 ]
}

base=$(sed -n '$s/^<!-- Tarvix \([0-9.]*\) -->$/\1/p' "$baseline")
[ -n "$base" ] || { echo "no version in the last line of $baseline" >&2 && exit 1; }
if ! differs; then
  needed=$base
elif ! differs --no-added-syms >/dev/null; then
  needed=${base%%.*}.$(($(cut -d. -f2 <<<"$base") + 1)).0
else
  needed=$((${base%%.*} + 1)).0.0
fi
if [ "$needed" = "$base" ] && [ -z "$update" ]; then
  echo "the interface is that of version $base"
  exit 0
fi
if [ "$(printf '%s\n' "$needed" "$version" | sort -V | head -n 1)" != "$needed" ]; then
  echo "the interface is not that of version $base and this is still version $version: it must be $needed or higher" >&2
  echo "(CMakeLists.txt, project); then build the target update_abi_baseline" >&2
  exit 1
fi
if [ -z "$update" ]; then
  echo "the interface is that of a new version: build the target update_abi_baseline" >&2
  exit 1
fi
{
  abidw --no-corpus-path --no-comp-dir-path --no-show-locs --no-elf-needed --exported-interfaces-only \
    --suppressions "$suppressions" "$module" &&
    echo "<!-- Tarvix $version -->"
} >"$baseline.new" && mv "$baseline.new" "$baseline" && echo "the baseline is that of version $version"
# The list of symbols, which module.exports compares with every system's module.
grep -o "<elf-symbol name='[^']*'" "$baseline" | sed "s/.*='//; s/'//" | c++filt | grep '(' | LC_ALL=C sort -u >"$(dirname "$baseline")/exports.txt"
