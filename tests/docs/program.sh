#!/usr/bin/env bash
# program.sh PROGRAM SOURCE MAN_PAGE VERSION BUILD: checks what the program says about itself. Version, manual page and
# completion must know the commands and options of its --help.
set -uo pipefail
program=$1 source=$2 man_page=$3 version=$4 build=$5
fail() {
  echo "FAILED: $*"
  exit 1
}

# Each start of the program takes a while and prints the same, so each help text is made once.
helps=$(mktemp -d)
trap 'rm -rf "$helps"' EXIT
remembering=$helps/tarvix
cat >"$remembering" <<'END'
#!/usr/bin/env bash
text="$(dirname "$0")/$*"
[ -e "$text" ] || "$TARVIX_PROGRAM" "$@" >"$text" || { rm "$text"; exit 1; }
cat "$text"
END
chmod +x "$remembering"
export TARVIX_PROGRAM=$program

said=$("$program" --version)
[[ "$said" == "Tarvix $version, OpenCV "[0-9]*$'\n'"$build build, "[A-Z]* ]] || fail "--version says: $said"

mapfile -t commands < <("$remembering" --help | sed -n '/^Subcommands:/,/^$/s/^  \([^ ]*\) .*/\1/p')
[ ${#commands[@]} -gt 20 ] || fail "--help lists ${#commands[@]} commands"

for command in "${commands[@]}"; do
  grep -qxF ".SS ${command//-/\\-}" "$man_page" || fail "the manual page has no $command"
done
diff "$man_page" <("$source/host/man_page.sh" "$remembering" "$version") || fail "the manual page is not the program's"

# offered WORD...: prints what completion offers for the last word.
source "$source/host/completion.bash"
offered() {
  COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
  _tarvix "$1"
  printf '%s\n' "${COMPREPLY[@]}"
}
expect() {
  local wanted=$1
  shift
  [ "$(offered "$remembering" "$@" | sort | xargs)" = "$wanted" ] || fail "completion of '$*' offers: $(offered "$remembering" "$@")"
}
expect "$(printf '%s\n' "${commands[@]}" --help --version | sort | xargs)" ""
expect "converge converge-scaled" conv
expect "--calib" undistort photo.jpg --c
expect "akaze brisk kaze mser orb" match --detector ""
expect "akaze" match a.jpg b.jpg --detector a
expect "" canny "" # a file: left to the shell
for command in "${commands[@]}"; do
  [[ $'\n'$(offered "$remembering" "$command" --)$'\n' == *$'\n--help\n'* ]] || fail "completion offers no options for $command"
done
echo "$said; ${#commands[@]} commands in the manual page and in the completion"
