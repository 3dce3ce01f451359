# Shared by the scripts of this folder; sourced, not run.

# All that is built or unpacked for Windows is here, outside the checkout. Nothing is installed on the system.
tarvix_cache="${TARVIX_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/tarvix}"
triplet=x86_64-w64-mingw32
compiler="$triplet-g++-posix"

. "$(dirname "${BASH_SOURCE[0]}")/../common.sh"

need_command() { # need_command PROGRAM PACKAGE
    command -v "$1" >/dev/null 2>&1 || die "'$1' is missing: install the package $2 (scripts/windows.sh does)"
}

wine_environment() {
    need_command wine wine
    export WINEDEBUG="${WINEDEBUG:--all}"
    export WINEARCH=win64
    export LC_ALL=C.UTF-8 # file names may have any letter
    export WINEDLLOVERRIDES="mscoree,mshtml=" # neither .NET nor a browser: no offers to download them
    # Wine needs one address of each process for its own; with random places something else is there in one of some
    # thousands of starts. A container may forbid fixed places.
    wine_start=()
    if setarch --addr-no-randomize true 2>/dev/null; then wine_start=(setarch --addr-no-randomize); fi
    wine_template="$tarvix_cache/wine-folder-$(wine --version 2>/dev/null | tr -cs 'a-zA-Z0-9.\n' - | head -n 1)"
}

# A Wine folder as Wine sets it up; made once.
prepare_wine_template() {
    [[ -f "$wine_template/complete" ]] && return
    mkdir -p "$wine_template"
    (
        flock 9
        if [[ ! -f "$wine_template/complete" ]]; then
            WINEPREFIX="$wine_template" env -u DISPLAY wine wineboot --init </dev/null >/dev/null 2>&1 9>&- ||
                die "Wine could not set up $wine_template"
            WINEPREFIX="$wine_template" wineserver -w 9>&-
            touch "$wine_template/complete"
        fi
    ) 9>"$wine_template.lock"
}
