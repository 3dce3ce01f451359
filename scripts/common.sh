# Shared by the scripts of this folder: one line for each step, one clear line when something is missing.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# With --no-install among its arguments, a script of this folder installs nothing and says what is missing.
arguments=()
for argument in "$@"; do
  if [ "$argument" = --no-install ]; then export TARVIX_NO_INSTALL=1; else arguments+=("$argument"); fi
done
set -- "${arguments[@]}" # those of the script that sources this file

say() { printf '==> %s\n' "$*"; }
die() { printf 'tarvix: %s\n' "$*" >&2; exit 1; }

# Command output goes to a log that is shown only when the command fails.
quietly() {
  local log
  log=$(mktemp)
  if ! "$@" >"$log" 2>&1; then
    tail -n 60 "$log" >&2
    rm -f "$log"
    return 1
  fi
  rm -f "$log"
}

# The same for what may take minutes: a dot every two seconds shows that it lives.
patiently() {
  local status=0 dots
  (while sleep 2; do printf .; done) &
  dots=$!
  quietly "$@" || status=$?
  kill "$dots" 2>/dev/null
  wait "$dots" 2>/dev/null || true
  printf '\n'
  return $status
}

as_root() {
  if [ "$(id -u)" -eq 0 ]; then "$@"; elif command -v sudo >/dev/null; then sudo "$@"
  else die "installing packages needs root: run as root or install sudo"; fi
}

# install_packages KIND...: the packages of packages.txt of those kinds that are not installed yet.
install_packages() {
  command -v dpkg-query >/dev/null || die "this script installs packages with apt-get; docs/building.md has the list for other systems"
  local kind wanted=() missing=() package
  for kind in "$@"; do
    read -r -a more <<<"$(sed -n "s/^$kind: //p" "$root/scripts/packages.txt" | tr '\n' ' ')"
    wanted+=("${more[@]}")
  done
  for package in "${wanted[@]}"; do
    dpkg-query -W -f '${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed || missing+=("$package")
  done
  if [ ${#missing[@]} -eq 0 ]; then
    say "packages: all ${#wanted[@]} installed"
    return
  fi
  [ -z "${TARVIX_NO_INSTALL:-}" ] || die "these packages are missing and --no-install was given: ${missing[*]}"
  say "packages: installing ${missing[*]}"
  patiently as_root apt-get update || die "apt-get update failed: is the network there?"
  for package in "${missing[@]}"; do
    apt-cache show "$package" >/dev/null 2>&1 || die "no package '$package' in this system's archives (Debian 12 and 13 have it)"
  done
  patiently as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}" ||
    die "apt-get could not install: ${missing[*]}"
}

# configure_and_build PRESET [TARGET...]
configure_and_build() {
  local preset=$1
  shift
  local launcher=()
  # It keeps compilations for every checkout: the presets say how.
  if command -v ccache >/dev/null; then launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache); fi
  say "build: preset $preset in build/$preset"
  (cd "$root" && quietly cmake --preset "$preset" "${launcher[@]}" \
    "-DTARVIX_WERROR=${TARVIX_WERROR:-OFF}") || die "cmake could not configure preset $preset"
  local targets=()
  if [ $# -gt 0 ]; then targets=(--target "$@"); fi
  (cd "$root" && cmake --build --preset "$preset" "${targets[@]}") || die "the build of preset $preset failed"
}
