#!/usr/bin/env bash
# Tests the workbench and the gallery in a real browser: Debian's Chromium, without a window, driven by Selenium. What the
# workbench's page shows and saves is compared with the command line; a message in the browser's console fails a test,
# but for that of a long folder. The tests of the gallery look at its widths, colours and print.
#   scripts/browser_tests.sh [NAME...]    all tests, or those of tests/workbench/test_NAME.py
#   scripts/browser_tests.sh --images     makes the images of docs/workbench.md instead
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

install_packages build test check
configure_and_build release tarvix_host
export TARVIX=$root/build/release/bin/tarvix PYTHONDONTWRITEBYTECODE=1
cd "$root/tests/workbench"
if [ "${1:-}" = --images ]; then
  say "images of docs/workbench.md"
  /usr/bin/python3 make_images.py "$root/docs/images"
  exit
fi
say "the workbench and the gallery in a browser"
names=("$@")
if [ ${#names[@]} -eq 0 ]; then
  for file in test_*.py; do names+=("$(basename "$file" .py)"); done
else
  names=("${names[@]/#/test_}")
fi
/usr/bin/python3 -m unittest "${names[@]}" || die "the workbench has failed in the browser; the lines above say where"
