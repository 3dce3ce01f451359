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

# --help is an option of the program; the page does not repeat it under each command.
[ "$(grep -c '^\.B .*\\-h,\\-\\-help' "$man_page")" -eq 1 ] || fail "the manual page repeats --help"
grep -q '^\.B \\-o,\\-\\-out,\\-\\-draw' "$man_page" || fail "the manual page lacks another name of an option"

# offered_in_SHELL WORD...: prints what completion offers for the last word, one a line.
source "$source/host/completion.bash"
offered_in_bash() {
  COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
  _tarvix "$1"
  printf '%s\n' "${COMPREPLY[@]}"
}
# zsh's own functions are replaced by some that print; the function of the file is run on given words.
offered_in_zsh() {
  zsh -f -c '
    _describe() { print -rl -- ${(@)${(P)2}%%:*}; }
    _files() { true; }
    file=$1
    shift
    words=("$@")
    CURRENT=$#
    eval "offered() { $(<$file) }"
    offered | while read -r found; do [[ $found == "${words[-1]}"* ]] && print -r -- $found; done
    true' zsh "$source/host/completion.zsh" "$@"
}
# fish looks for completions by the name of the program, which is that of a file here.
offered_in_fish() {
  local line
  line=$(printf '%q ' "${@:1:$#-1}")${!#}
  fish --no-config -c 'source $argv[1]; complete -C $argv[2]' "$source/host/completion.fish" "$line" | cut -f 1
}

shells=(bash)
for shell in zsh fish; do
  if command -v "$shell" >/dev/null; then shells+=("$shell"); else echo "$shell is not installed: its completion is not tested"; fi
done
for shell in "${shells[@]}"; do
  expect() {
    local wanted=$1 offered
    shift
    offered=$("offered_in_$shell" "$remembering" "$@" | sort | xargs)
    [ "$offered" = "$wanted" ] || fail "completion of '$*' in $shell offers: $offered"
  }
  expect "converge converge-scaled" conv
  expect "--calib" undistort photo.jpg --c
  expect "--draw" faces --d # another name of --out
  expect "akaze brisk kaze mser orb" match --detector ""
  expect "akaze" match a.jpg b.jpg --detector a
  expect "" canny no-such-file # files are left to the shell
  [ "$shell" = fish ] || expect "$(printf '%s\n' "${commands[@]}" --help --version | sort | xargs)" "" # fish hides options until a "-"
  for command in "${commands[@]}"; do
    [[ $'\n'$("offered_in_$shell" "$remembering" "$command" --)$'\n' == *$'\n--help\n'* ]] ||
      fail "completion in $shell offers no options for $command"
  done
done
echo "$said; ${#commands[@]} commands in the manual page and in the completion of ${shells[*]}"
