#!/bin/bash
# Makes the Windows module on a bare Debian 12: installs the packages that it needs (as root), cross-builds OpenCV
# into the cache (once), builds Tarvix.dll, MorvelDib.dll, TarvixAfx.dll, tarvix.exe and the tests, runs the
# tests under Wine and packs the archive for users.
#
#   scripts/windows.sh [--no-install] [--jobs N] [--no-tests] [-- CTEST_OPTION...]
. "$(dirname "${BASH_SOURCE[0]}")/windows/common.sh"

jobs="$(nproc)"
tests=1
while (($#)); do
    case "$1" in
        --jobs) jobs="$2" && shift ;;
        --no-tests) tests=0 ;;
        --)
            shift
            break
            ;;
        *) die "unknown option $1" ;;
    esac
    shift
done
cd "$root"

. /etc/os-release
[ "${VERSION_CODENAME:-}" = bookworm ] ||
    die "the Windows module is made on Debian 12, whose source package of OpenCV it is built with; this is ${PRETTY_NAME:-another system}"
install_packages windows
scripts/windows/build_opencv.sh --jobs "$jobs"
scripts/windows/build_test_libraries.sh --jobs "$jobs"
configure_and_build mingw
if ((tests)); then
    say "tests: preset mingw, under Wine"
    scripts/windows/with_display.sh ctest --preset mingw -j "$jobs" "$@"
fi
quietly cmake --build --preset mingw --target package || die "the archive for users could not be packed"
say "done: $(ls build/mingw/*.zip)"
