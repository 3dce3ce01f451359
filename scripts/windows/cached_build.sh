# What the builds into the cache have in common; sourced, not run.
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
. "$here/common.sh"

compiler_version() { "$compiler" -dumpfullversion 2>/dev/null || echo none; }

# begin_build NAME SCRIPT VERSIONS ARGUMENT...: takes the script's arguments; ends it when all is done already.
# Afterwards $staging is to be filled, with $work and $log at hand. The cache key is a hash of the script, which
# holds versions and options, of the further versions, and of what compiles.
#   --jobs N         as many compilations at once
#   --print-prefix   print where the result lies (or would lie)
begin_build() {
    local name="$1" script="$2" versions="$3" toolchain="$here/../../cmake/toolchains/$triplet.cmake"
    shift 3
    jobs="$(nproc)"
    prefix="$tarvix_cache/$name-mingw-$({
        cat "$script" "$here/cached_build.sh" "$toolchain"
        echo "$versions"
        compiler_version
    } | sha256sum | cut -c1-16)"
    while (($#)); do
        case "$1" in
            --print-prefix) echo "$prefix" && exit 0 ;;
            --jobs) jobs="$2" && shift ;;
            *) die "unknown option $1" ;;
        esac
        shift
    done
    is_complete() { [[ -f "$prefix/complete" ]] && say "in the cache: $prefix"; }
    is_complete && exit 0
    need_command "$compiler" g++-mingw-w64-x86-64-posix
    need_command cmake cmake
    need_command ninja ninja-build
    mkdir -p "$tarvix_cache"
    exec 9>"$tarvix_cache/$name-mingw.lock"
    flock 9 # two builds at once would do the same work twice
    is_complete && exit 0
    work="$tarvix_cache/$name-mingw-build" # under the lock
    rm -rf "$work"
    mkdir "$work"
    trap 'rm -rf "$work"' EXIT
    log="$tarvix_cache/$name-mingw-build.log"
    : >"$log"
    staging="$work/prefix"
    mkdir -p "$staging/licenses" # for the archive that users get
    cmake_options=(-G Ninja -DCMAKE_BUILD_TYPE=Release "-DCMAKE_TOOLCHAIN_FILE=$toolchain"
        "-DCMAKE_INSTALL_PREFIX=$staging" -DCMAKE_INSTALL_LIBDIR:STRING=lib
        "-DCMAKE_PREFIX_PATH=$staging" "-DTARVIX_WINDOWS_PREFIX=$staging")
    # The same sources make the same bytes, on every machine: no folder of this one, no date. The option is passed
    # by a launcher, because OpenCV's build information lists the flags.
    export SOURCE_DATE_EPOCH=315532800
    printf '#!/bin/sh\nexec %s "$@" "-ffile-prefix-map=%s/="\n' "$(command -v ccache || true)" "$work" >"$work/launch"
    chmod +x "$work/launch"
    cmake_options+=("-DCMAKE_C_COMPILER_LAUNCHER=$work/launch" "-DCMAKE_CXX_COMPILER_LAUNCHER=$work/launch")
}

run_logged() { # run_logged COMMAND...: quiet while it works, the log's end when it fails
    if ! "$@" >>"$log" 2>&1; then
        tail -n 40 "$log" >&2
        die "failed: $* (log: $log)"
    fi
}

record_version() { echo "$*" >>"$staging/versions.txt"; } # record_version NAME VERSION, for the archive, too

build() { # build NAME SOURCE OPTION...
    local name="$1" source="$2" file
    shift 2
    say "building $name"
    run_logged cmake -S "$source" -B "$work/build-$name" "${cmake_options[@]}" "$@"
    # OpenCV compiles folders into its build information and into its search for data files.
    while read -r file; do
        sed -E -i -e '/Python \(for build\)/d' -e 's#/([^/ "]+/)+##g' "$file"
    done < <(find "$work/build-$name" -name version_string.inc -o -name opencv_data_config.hpp)
    run_logged cmake --build "$work/build-$name" -j "$jobs"
    run_logged cmake --install "$work/build-$name" --strip
}

finish_build() {
    date -u +%FT%TZ >"$staging/complete"
    rm -rf "$prefix"
    mv "$staging" "$prefix"
    say "ready: $prefix"
}
