# Shared by the scripts of this folder: a work folder with a space in its path, a way to fail, and own_folder().
set -uo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../support/own_folder.sh"
work=$(mktemp -d "${TMPDIR:-/tmp}/tarvix package XXXXXX")
trap 'rm -rf "$work"' EXIT
fail() {
  echo "FAILED: $*"
  exit 1
}
# quietly WHAT COMMAND...: shows the command's output only if the command fails.
quietly() {
  local what=$1
  shift
  "$@" >"$work/log" 2>&1 || {
    cat "$work/log"
    fail "$what"
  }
}
