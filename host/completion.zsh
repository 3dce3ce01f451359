#compdef tarvix
# Completion of tarvix's command line for zsh. What can be written where is asked of the program itself.
local program=${words[1]} word=${words[CURRENT]} before=${words[CURRENT - 1]} help
local -a found
if ((CURRENT == 2)); then
  help=$("$program" --help 2>/dev/null) || return 1
  found=(${(f)"$(sed -n '/^Subcommands:/,/^$/s/^  \([a-z][a-z-]*\)  *\(.*\)/\1:\2/p' <<<$help)"}
    '--help:Print the help and exit' '--version:Print the version and exit')
  _describe command found
  return
fi
help=$("$program" "${words[2]}" --help 2>/dev/null) || return 1
# An option's named values, as in "--detector INT:value in {orb->1,...} OR ...".
found=(${(f)"$(sed -nE "s/^  ([^ ]*,)?$before(,[^ ]*)? [A-Z]+:value in \{([^}]*)\}.*/\3/p" <<<$help | sed 's/->[^,]*//g' | tr , '\n')"})
if ((${#found})); then
  _describe value found
elif [[ $word == -* ]]; then
  found=(${(f)"$(sed -nE 's/^  (-[^ ]*).*/\1/p' <<<$help | tr , '\n')"}) # an option has several names
  _describe option found
else
  _files
fi
