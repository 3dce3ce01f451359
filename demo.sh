#!/usr/bin/env bash
# Installs what is missing, builds Tarvix, and makes a page of before/after images from real photographs.
# Usage: ./demo.sh [--no-install] [FOLDER]   (build/gallery by default)
source "$(dirname "${BASH_SOURCE[0]}")/scripts/common.sh"

out=${1:-$root/build/gallery}
install_packages build test # the preset configures the tests, too
configure_and_build release tarvix_host
say "gallery: every operation on real photographs"
"$root/build/release/bin/tarvix" gallery "$out" || die "the gallery is incomplete; the lines above say what failed"
say "done: open $out/index.html in a browser"
say "your own images: build/release/bin/tarvix workbench FOLDER opens a page on which every operation can be tried"
