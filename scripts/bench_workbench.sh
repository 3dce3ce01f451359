#!/usr/bin/env bash
# How quick the workbench is, in Debian's Chromium without a window: the processor time of a step of a drag, the tasks that
# keep the page busy for longer than 50 ms, and what a folder of 10,000 images costs.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

install_packages build test check
configure_and_build release tarvix_host
TARVIX=$root/build/release/bin/tarvix PYTHONDONTWRITEBYTECODE=1 /usr/bin/python3 "$root/bench/bench_workbench.py"
