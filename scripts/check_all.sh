#!/usr/bin/env bash
# Every check there is: static analysis, the suite under the sanitizers, the Windows module under Wine, and what
# .ci/run does. Hours on a small machine from nothing; slow results are kept outside the checkout.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

install_packages build test package check
configure_and_build release
say "static analysis"
"$root/scripts/clang_tidy.sh" "$root/build/release"
"$root/test.sh" asan
"$root/scripts/fuzz.sh" 20
"$root/scripts/windows.sh"
"$root/.ci/run"
