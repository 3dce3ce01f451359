#!/bin/bash
# Runs a Windows program under Wine, in a Wine folder of its own in the cache:
#   wine_run.sh [--bare] PROGRAM.exe [ARGUMENT...]
# The compiler's run-time libraries and OpenCV are on the program's search path. --bare omits them, as on
# a user's machine.
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
. "$here/common.sh"
bare=0
if [[ "${1-}" == --bare ]]; then
    bare=1
    shift
fi
(($#)) || die "usage: wine_run.sh [--bare] PROGRAM.exe [ARGUMENT...]"
wine_environment
prepare_wine_template
export WINEPREFIX="${TARVIX_WINEPREFIX:-$wine_template}"

if ((bare)); then
    unset WINEPATH
else
    search_path() {
        local folder path=""
        for folder in "$(dirname "$("$compiler" -print-file-name=libgomp-1.dll)")" \
            "$(dirname "$("$compiler" -print-file-name=libwinpthread-1.dll)")" \
            "$("$here/build_opencv.sh" --print-prefix)/bin"; do
            folder="$(realpath -m "$folder")"
            path+="Z:${folder//\//\\};"
        done
        echo "${path%;}"
    }
    export WINEPATH="${TARVIX_WINEPATH:-$(search_path)}"
fi

# A program that is ended while it starts can leave a process of Wine that waits for ever, with the standard error that
# it got. Whoever reads our standard error to its end would wait, too. So Wine's programs get a pipe in its place, which is
# passed on up to a mark that we write at their end.
mark="end of standard error, $$ $RANDOM $RANDOM"
exec {errors}> >(exec sed -u "s/$mark\$//; T; /^\$/Q; q" >&2)
passing_on=$!
status=0
"${wine_start[@]}" wine "$@" 2>&"$errors" {errors}>&- || status=$?
echo "$mark" >&"$errors"
wait "$passing_on" || true
exit "$status"
