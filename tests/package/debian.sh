#!/usr/bin/env bash
# debian.sh BUILD SOURCE PACKAGES VERSION: packs the Debian packages into the folder PACKAGES and checks them.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
build=$1 source=$2 packages=$3 version=$4

rm -rf "$packages"
(cd "$build" && quietly "packing" cpack --config CPackConfig.cmake -B "$packages")
names=("libtarvix${version%%.*}" libtarvix-dev tarvix)
for name in "${names[@]}"; do
  [ -s "$packages/${name}_${version}_$(dpkg --print-architecture).deb" ] || fail "no package $name of version $version"
done
# docs/building.md explains the one tag that may come.
lintian --allow-root --display-info --pedantic "$packages"/*.deb >"$work/lintian" || fail "lintian: $(cat "$work/lintian")"
# Nor does a text have this word: bytes of code look like it, with clang.
grep -vE '^I: [a-z0-9]*: (hardening-no-fortify-functions |spelling-error-in-binary mor more )' "$work/lintian" && fail "lintian"

for package in "$packages"/*.deb; do
  dpkg-deb -x "$package" "$work/unpacked" || fail "unpacking $package"
done
cd / && "$work/unpacked/usr/bin/tarvix" --version 2>"$work/log" && fail "libraries were found outside the system's folders"
LD_LIBRARY_PATH=$(echo "$work"/unpacked/usr/lib/*-linux-*) "$work/unpacked/usr/bin/tarvix" --version || fail "tarvix --version"
gzip -dc "$work/unpacked/usr/share/man/man1/tarvix.1.gz" | grep 'TH TARVIX' >/dev/null || fail "no manual page"
find "$work/unpacked" -type f -exec env LC_ALL=C grep -lP -e "$(own_folder "$source" "$build")" {} + && fail "a file names a folder of this machine"
echo "packed, passed by lintian, unpacked: ${names[*]}"
