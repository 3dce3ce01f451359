#!/usr/bin/env bash
# Installs what is missing, builds everything and runs all tests.
# Usage: ./test.sh [--no-install] [PRESET]   (release by default; also debug, asan, tsan)
source "$(dirname "${BASH_SOURCE[0]}")/scripts/common.sh"

preset=${1:-release}
install_packages build test package
if [ "$preset" = tsan ]; then install_packages check; fi
configure_and_build "$preset"
say "tests: preset $preset"
cd "$root"
ctest --preset "$preset" -j "$(nproc)"
