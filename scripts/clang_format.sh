#!/usr/bin/env bash
# Fails when clang-format would change a source file. Usage: scripts/clang_format.sh [--fix]
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

command -v clang-format >/dev/null || die "clang-format is missing: install the package clang-format"
cd "$root"
mapfile -t files < <(find . \( -name build -o -path './build-*' -o -name '.?*' \) -prune -o \( -name '*.h' -o -name '*.cpp' \) -print)
if [ "${1:-}" = --fix ]; then
  clang-format -i "${files[@]}"
else
  clang-format --dry-run --Werror "${files[@]}" || die "formatting: run scripts/clang_format.sh --fix"
fi
say "formatting: ${#files[@]} files"
