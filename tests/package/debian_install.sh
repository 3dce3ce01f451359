#!/usr/bin/env bash
# debian_install.sh PACKAGES PHOTOGRAPH: installs the packages into this system as a user does, uses them and
# purges them. Skipped (status 77) if that is not possible or would change somebody's installation.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
packages=$1 photograph=$2
skip() {
  echo "SKIPPED: $*"
  exit 77
}

[ "$(id -u)" -eq 0 ] || skip "installing packages needs root"
exec 9>/var/lock/tarvix-package-test && flock 9 # one at a time on this machine
mapfile -t names < <(for package in "$packages"/*.deb; do dpkg-deb -f "$package" Package; done)
for name in "${names[@]}"; do
  [ -z "$(dpkg-query -W -f '${db:Status-Status}' "$name" 2>/dev/null)" ] || skip "$name is installed on this system"
done

export DEBIAN_FRONTEND=noninteractive
apt=(apt-get -y -o DPkg::Lock::Timeout=300)
purge() {
  "${apt[@]}" purge "${names[@]}" >"$work/purge" 2>&1 || cat "$work/purge"
}
trap 'purge; rm -rf "$work"' EXIT
# The packages that these depend on are installed: these were built with them.
quietly "installing" "${apt[@]}" install --no-install-recommends "$packages"/*.deb

mkdir "$work/elsewhere" && cd "$work/elsewhere" || exit 1
[ "$(command -v tarvix)" = /usr/bin/tarvix ] || fail "another tarvix comes first on the search path"
tarvix --version || fail "tarvix --version"
tarvix faces "$photograph" --draw faces.png || fail "tarvix faces"
[ -s faces.png ] || fail "tarvix faces wrote nothing"

examples=/usr/share/doc/libtarvix-dev/examples
quietly "a host by find_package: configuring" cmake -S "$examples" -B examples -G Ninja
grep -q '^Tarvix_DIR:PATH=/usr/lib/' examples/CMakeCache.txt || fail "another Tarvix was found"
quietly "a host by find_package: building" cmake --build examples
examples/example_edges "$photograph" >edges.txt || fail "the host fails"
# shellcheck disable=SC2046
c++ -o edges "$examples/edges.cpp" $(pkg-config --cflags --libs tarvix) || fail "a host by pkg-config"
./edges "$photograph" | cmp - edges.txt || fail "the two hosts differ"

files=$(dpkg-query -L "${names[@]}" | grep -i tarvix)
purge
for name in "${names[@]}"; do
  [ -z "$(dpkg-query -W -f '${db:Status-Status}' "$name" 2>/dev/null)" ] || fail "$name is still there"
done
while read -r file; do
  [ ! -e "$file" ] || fail "$file is left behind"
done <<<"$files"
trap 'rm -rf "$work"' EXIT
echo "installed, used, purged: ${names[*]}"
