#!/usr/bin/env bash
# Fails if clang-format would change a source file, or if a comment has more than 100 columns.
# Usage: scripts/clang_format.sh [--fix]
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

command -v clang-format >/dev/null || die "clang-format is missing: sudo apt-get install clang-format"
cd "$root"
mapfile -t files < <(find . \( -name build -o -path './build-*' -o -name '.?*' \) -prune -o \( -name '*.h' -o -name '*.cpp' \) -print)
if [ "${1:-}" = --fix ]; then
  clang-format -i "${files[@]}"
else
  clang-format --dry-run --Werror "${files[@]}" || die "formatting: run scripts/clang_format.sh --fix"
fi
if grep -nE '^ *//' "${files[@]}" | grep -E '^[^:]+:[0-9]+:.{101,}' | grep -v NOLINT; then
  die "formatting: comments of more than 100 columns, see above"
fi
say "formatting: ${#files[@]} files"
