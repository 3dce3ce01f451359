# Completion of tarvix's command line for bash. What can be written where is asked of the program itself.
_tarvix() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} help words
  COMPREPLY=()
  if [ "$COMP_CWORD" -eq 1 ]; then
    help=$("$1" --help 2>/dev/null) || return
    words=$(sed -n '/^Subcommands:/,/^$/s/^  \([a-z][a-z-]*\) .*/\1/p' <<<"$help")
    words+=$'\n--help\n--version'
  else
    help=$("$1" "${COMP_WORDS[1]}" --help 2>/dev/null) || return
    # An option's named values, as in "--detector INT:value in {orb->1,...} OR ...".
    words=$(sed -nE "s/^  ([^ ]*,)?$before(,[^ ]*)? [A-Z]+:value in \{([^}]*)\}.*/\3/p" <<<"$help" | sed 's/->[^,]*//g' | tr , '\n')
    if [ -z "$words" ] && [[ $word == -* ]]; then
      words=$(sed -nE 's/^  (-[^ ]*).*/\1/p' <<<"$help" | tr , '\n') # an option has several names
    fi
  fi
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}
complete -o default -F _tarvix tarvix # no words: file names
