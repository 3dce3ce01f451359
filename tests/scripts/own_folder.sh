#!/usr/bin/env bash
# own_folder() finds the paths of a folder, and no others; grep_finds() says that a search failed.
set -uo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../support/own_folder.sh"
bad=0
check() { # found|other FOLDER TEXT
  local is=other
  if LC_ALL=C grep -qP -e "$(own_folder /elsewhere "$2")" <<<"$3"; then is=found; fi
  [ $is = "$1" ] || { echo "$3: $is, with the folder $2" && bad=1; }
}
for text in /tarvix/a.h "'/tarvix'" -I/tarvix/include file:///tarvix/a.html --x=/tarvix $'\1/tarvix/a.cpp' /elsewhere; do
  check found /tarvix "$text"
done
for text in include/tarvix/a.h '${prefix}/tarvix' /tarvix-row '<a>/tarvix' /home/x/tarvix /tarvixes .cache/tarvix; do
  check other /tarvix "$text"
done
check found "/a folder/x.y" "-L/a folder/x.y/lib"
check other "/a folder/x.y" "/a folder/xxy"

expect() { # TEXT ARGUMENT...
  local got
  got=$(grep_finds "${@:2}" 2>/dev/null)
  [ "$got" = "$1" ] || { echo "grep_finds ${*:2}: $got" && bad=1; }
}
expect found found <<<$'found\nother'
expect "" found <<<other
expect "grep failed with status 2" -P '(' <<<found
expect $'found\ngrep failed with status 2' -h found - /nowhere <<<found
exit $bad
