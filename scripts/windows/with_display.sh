#!/bin/bash
# Runs a command with a virtual display and a fresh Wine folder, and removes both afterwards:
#   with_display.sh [--no-display] COMMAND [ARGUMENT...]
# Wine decides for or against a display when its first program starts and does not change that later. So the folder is
# fresh, a copy made of hard links.
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
. "$here/common.sh"
display=(xvfb-run -a -s "-screen 0 1280x1024x24 -nolisten tcp")
if [[ "${1-}" == --no-display ]]; then
    display=(env -u DISPLAY)
    shift
else
    need_command xvfb-run xvfb
fi
(($#)) || die "usage: with_display.sh [--no-display] COMMAND [ARGUMENT...]"
wine_environment
prepare_wine_template
export TARVIX_WINEPREFIX
TARVIX_WINEPREFIX="$(mktemp -d "$tarvix_cache/wine-run.XXXXXX")"
clean_up() {
    WINEPREFIX="$TARVIX_WINEPREFIX" wineserver -k 2>/dev/null || true
    WINEPREFIX="$TARVIX_WINEPREFIX" wineserver -w 2>/dev/null || true
    # A program that was ended while it started may wait for ever for a server that does not know it.
    grep -lsxz "WINEPREFIX=$TARVIX_WINEPREFIX" /proc/[0-9]*/environ | sed -E 's|/proc/([0-9]+)/.*|\1|' |
        grep -vx "$$" | xargs -r kill -KILL 2>/dev/null || true
    rm -rf "$TARVIX_WINEPREFIX"
}
trap clean_up EXIT
trap 'exit 130' INT TERM
cp -al "$wine_template/." "$TARVIX_WINEPREFIX/"
# Debian's Wine keeps the name of its server's socket here. The copy gets a server of its own.
rm -f "$TARVIX_WINEPREFIX/wineserver"
# Wine writes these; the copy gets its own.
for file in "$TARVIX_WINEPREFIX"/*.reg; do
    cp --remove-destination "$wine_template/$(basename "$file")" "$file"
done
# One server serves all programs, and its services start here. Services that a program starts would keep its output
# open, and whoever waits for the end of the output would wait for them.
"${wine_start[@]}" "${display[@]}" bash -c 'export WINEPREFIX="$TARVIX_WINEPREFIX"
    wineserver -p && wine wineboot </dev/null >/dev/null 2>&1 && exec "$@"' - "$@"
