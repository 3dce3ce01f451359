# Completion of tarvix's command line for fish. What can be written where is asked of the program itself.
function __tarvix_words
    set -l before (commandline -opc)
    if test (count $before) -eq 1
        $before[1] --help 2>/dev/null | sed -n '/^Subcommands:/,/^$/s/^  \([a-z][a-z-]*\)  *\(.*\)/\1\t\2/p'
        printf '%s\n' --help --version
        return
    end
    set -l help ($before[1] $before[2] --help 2>/dev/null)
    # An option's named values, as in "--detector INT:value in {orb->1,...} OR ...".
    set -l option $before[-1]
    set -l values (printf '%s\n' $help | sed -nE "s/^  ([^ ]*,)?$option(,[^ ]*)? [A-Z]+:value in \{([^}]*)\}.*/\3/p" | sed 's/->[^,]*//g')
    if test -n "$values"
        string split , $values
    else if string match -q -- '-*' (commandline -ct)
        printf '%s\n' $help | sed -nE 's/^  (-[^ ]*).*/\1/p' | tr , '\n' # an option has several names
    else
        __fish_complete_path (commandline -ct)
    end
end
complete -c tarvix -f -a '(__tarvix_words)'
