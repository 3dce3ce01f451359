#!/usr/bin/env bash
# Runs the README's two commands on other systems than this one, each on a bare system in a folder of its own, as on a
# fresh machine, and prints a table of what came out. docs/building.md has the last table.
#
#   scripts/matrix.sh [--no-install] [--keep] [ROW...]     all rows by default
#
# Rows:
#   12            Debian 12
#   13            Debian 13
#   clang         Debian 12, with clang
#   opencv-4.5.1  Debian 11, with Debian 12's compiler: the packages of OpenCV 4.5.1 need Debian 11's libraries
#   11            Debian 11: the module without host and tests, with CMake 3.18 and g++ 10
#   arm64         Debian 12: the tests of geometry, built for arm64 and run under QEMU
#
# It needs root. The commit that is checked out is tested, without changes that are not committed. Bare systems,
# packages, compilations and logs are kept in the cache, outside the checkout. With --keep, so is the folder of a row;
# otherwise it is removed. Nothing is mounted on this system: each row has mounts and processes of its own, which end
# with it, even if this script is killed.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

cache="${TARVIX_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/tarvix}/matrix"
all_rows=(12 13 clang opencv-4.5.1 11 arm64)
keep=
rows=()
while [ $# -gt 0 ]; do
  case $1 in
    --keep) keep=1 ;;
    -*) die "unknown option $1" ;;
    *) [[ " ${all_rows[*]} " == *" $1 "* ]] || die "no row '$1': there are ${all_rows[*]}"
       rows+=("$1") ;;
  esac
  shift
done
[ ${#rows[@]} -gt 0 ] || rows=("${all_rows[@]}")

suite_of() { # ROW
  case $1 in
    11 | opencv-4.5.1) echo bullseye ;;
    13) echo trixie ;;
    *) echo bookworm ;;
  esac
}

# apart COMMAND...: with mounts and processes of its own. Both end with the command, and the command with this script.
apart() {
  setpriv --pdeathsig KILL unshare --mount --propagation private --pid --fork --kill-child --mount-proc "$@" &
  child=$!
  local status=0
  wait "$child" || status=$?
  child=
  return $status
}

# A bare system of that suite, as an archive in the cache.
bare_system() { # SUITE
  local archive=$cache/$1.tar folder
  [ ! -e "$archive" ] || return 0
  say "a bare system: $1"
  folder=$(mktemp -d "$cache/bare-$1.XXXXXX")
  running=$folder
  quietly apart debootstrap --variant=minbase "$1" "$folder" "$mirror" || die "debootstrap could not make $1"
  tar -C "$folder" --exclude='./proc/*' --exclude='./var/cache/apt/archives/*.deb' -cf "$archive.new" .
  rm -rf --one-file-system "$folder"
  running=
  mv "$archive.new" "$archive"
}

# The archive of Debian's packages that this machine uses, and what apt has been told about archives.
debian_mirror() {
  local site
  site=$(apt-get indextargets --format '$(SITE)' 'Created-By: Packages' 2>/dev/null | grep -E '/debian/?$' | sort -u | head -n 1 || true)
  echo "${site:-http://deb.debian.org/debian}"
}

run_row() { # ROW
  local row=$1 suite folder status=0
  suite=$(suite_of "$row")
  exec 9>"$cache/$suite.lock" # two runs of this script would otherwise fetch packages into the same folder
  flock --nonblock 9 || { say "waiting for another run's row with $suite" && flock 9; }
  bare_system "$suite"
  folder=$(mktemp -d "$cache/root-$row.XXXXXX")
  running=$folder
  mkdir -p "$cache/packages-$suite" "$cache/ccache" "$cache/rows"
  tar -C "$folder" -xf "$cache/$suite.tar"
  chmod 755 "$folder" # for the tests' other users, who go through it
  cp /etc/resolv.conf "$folder/etc/"
  apt-config dump | grep -E '^Acquire::(http|https|ftp|Check-|Retries)' >"$folder/etc/apt/apt.conf.d/50machine" || true
  echo force-unsafe-io >"$folder/etc/dpkg/dpkg.cfg.d/unsafe-io" # no power failure loses what is thrown away anyway
  git clone -q --no-hardlinks "$root" "$folder/tarvix"
  say "row $row: log in $cache/rows/$row.log"
  apart "$root/scripts/matrix/enter.sh" "$folder" "$cache" "$suite" "$row" "$commit" >"$cache/rows/$row.log" 2>&1 || status=$?
  [ $status -eq 0 ] || say "row $row failed: $(tail -n 1 "$cache/rows/$row.log")"
  if [ -e "$folder/tarvix-row" ]; then cp "$folder/tarvix-row" "$cache/rows/$row"; else
    echo "| \`scripts/matrix.sh $row\` | | | | not finished: see its log | | $commit | $(date -u +%F) |" >"$cache/rows/$row"
  fi
  clean_up
  exec 9>&-
  return $status
}

print_table() { # of what was run last
  local row
  echo '| row | system | compiler | OpenCV | tests | minutes | commit | date |'
  echo '|---|---|---|---|---|---|---|---|'
  for row in "${all_rows[@]}"; do
    if [ -e "$cache/rows/$row" ]; then cat "$cache/rows/$row"; else echo "| \`scripts/matrix.sh $row\` | | | | not run | | | |"; fi
  done
}

child=
running=
clean_up() {
  if [ -n "$child" ] && kill -KILL "$child" 2>/dev/null; then wait "$child" || true; fi
  child=
  if [ -n "$running" ] && [ -z "$keep" ]; then rm -rf --one-file-system "$running"; fi
  running=
}
trap clean_up EXIT
trap 'exit 130' HUP INT TERM

[ "$(id -u)" -eq 0 ] || die "bare systems need root"
install_packages matrix
mkdir -p "$cache"
mirror=$(debian_mirror)
commit=$(git -C "$root" rev-parse --short HEAD)
failed=0
for row in "${rows[@]}"; do
  run_row "$row" || failed=1
done

print_table
exit $failed
