#!/usr/bin/env bash
# waiting.sh SOURCE: what may take minutes, such as installing packages, shows that it lives, shows its output only if it
# fails, and fails if it fails.
source "$1/scripts/common.sh"
shown=$(mktemp)
trap 'rm -f "$shown"' EXIT
wrong() { echo "FAILED: $*"; exit 1; }

# The command ends when a dot has been shown, however long that takes.
until_a_dot() {
  until grep -q '\.' "$shown"; do sleep 0.05; done
  echo "the command's own output"
  return "$1"
}
patiently until_a_dot 0 >"$shown" 2>&1 || wrong "a success is a failure"
grep -qx '\.*' "$shown" || wrong "more than dots is shown: $(cat "$shown")"

: >"$shown"
status=0
patiently until_a_dot 3 >"$shown" 2>&1 || status=$?
[ $status -ne 0 ] || wrong "a failure is a success"
grep -qF "the command's own output" "$shown" || wrong "the output of a failure is not shown"

grep -c 'patiently as_root .*apt-get' "$root/scripts/common.sh" | grep -qx 2 || wrong "packages are installed without a sign of life"
echo "dots while it works, the output if it fails"
