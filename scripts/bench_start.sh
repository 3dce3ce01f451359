#!/usr/bin/env bash
# Where a program that uses Tarvix spends its start: libraries, milliseconds and relocations of the module, of the program
# tarvix and of each part of OpenCV.
#   scripts/bench_start.sh [ROUNDS]      15
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

install_packages build test
command -v python3 >/dev/null || die "python3 is missing"
configure_and_build release Tarvix tarvix_host
mkdir -p "$root/build/bench"
PYTHONDONTWRITEBYTECODE=1 python3 "$root/bench/bench_start.py" "$root/build/release/bin" "$root/build/bench/bench_start.json" "${1:-15}"
