#!/bin/bash
# full_disk.sh PHOTOGRAPHS COMMAND...: calibrates with the sample host twice. The second time, files cannot
# grow. The earlier calibration must stay whole, and the host must say which file it could not write.
set -uo pipefail
photographs="$1"
shift
folder="$(mktemp -d)"
trap 'rm -rf "$folder"' EXIT
fail() {
    echo "FAILED: $*"
    cat "$folder"/*.log
    exit 1
}
calibrate() { "$@" calib "$photographs"/left0[1-3].jpg --board 9x6 -o "Z:$folder/calibration" --json; }

calibrate "$@" >"$folder/first.log" 2>&1 || fail "the first calibration"
sums="$(cd "$folder/calibration" && sha256sum ./*)"
# The signal is ignored, so that writing fails instead of ending the program. The output goes through a pipe, which has
# no size.
(
    trap '' XFSZ
    ulimit -f 0
    calibrate "$@" 2>&1
    echo "status $?"
) | cat >"$folder/second.log"
grep -q '^status 1' "$folder/second.log" || fail "the second calibration did not fail as it should"
grep -q 'tarvix: OpenCV.*cam\.xml' "$folder/second.log" || fail "the message does not name the file"
[[ "$(cd "$folder/calibration" && sha256sum ./*)" == "$sums" ]] || fail "the earlier calibration has changed"
