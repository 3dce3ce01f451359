#!/usr/bin/env bash
# debian.sh BUILD SOURCE PACKAGES VERSION COMPILER: packs the Debian packages into the folder PACKAGES and checks them.
# COMPILER is CMake's name for it.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
build=$1 source=$2 packages=$3 version=$4 compiler=$5

rm -rf "$packages"
(cd "$build" && quietly "packing" cpack --config CPackConfig.cmake -B "$packages")
names=("libtarvix${version%%.*}" libtarvix-dev tarvix)
for name in "${names[@]}"; do
  [ -s "$packages/${name}_${version}_$(dpkg --print-architecture).deb" ] || fail "no package $name of version $version"
done
# docs/building.md explains the tags that may come.
tags='hardening-no-fortify-functions '
# No text contains 'mor'; lintian takes bytes of clang's code for it.
if [ "$compiler" = Clang ]; then tags+='|spelling-error-in-binary mor more '; fi
lintian --allow-root --display-info --pedantic "$packages"/*.deb >"$work/lintian" || fail "lintian: $(cat "$work/lintian")"
found=$(grep_finds -vE "^I: [a-z0-9]*: ($tags)" "$work/lintian")
[ -z "$found" ] || fail "lintian: $found"

for package in "$packages"/*.deb; do
  dpkg-deb -x "$package" "$work/unpacked" || fail "unpacking $package"
done
cd / && "$work/unpacked/usr/bin/tarvix" --version 2>"$work/log" && fail "libraries were found outside the system's folders"
LD_LIBRARY_PATH=$(echo "$work"/unpacked/usr/lib/*-linux-*) "$work/unpacked/usr/bin/tarvix" --version || fail "tarvix --version"
LD_LIBRARY_PATH=$(echo "$work"/unpacked/usr/lib/*-linux-*) OPENCV_VIDEOIO_PRIORITY_LIST=IMAGES "$work/unpacked/usr/bin/tarvix" track \
  >"$work/log" 2>&1
grep -q 'there is no camera 0' "$work/log" || fail "tarvix track: $(cat "$work/log")"
gzip -dc "$work/unpacked/usr/share/man/man1/tarvix.1.gz" | grep 'TH TARVIX' >/dev/null || fail "no manual page"
found=$(grep_finds -rlP -e "$(own_folder "$source" "$build")" "$work/unpacked")
[ -z "$found" ] || fail "a file names a folder of this machine: $found"
echo "packed, passed by lintian, unpacked: ${names[*]}"
