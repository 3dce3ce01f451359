# Shows Doxygen the comments of our headers: a block of // lines before a declaration is its documentation, a line
# "//   name  text" in it describes a parameter, a // after a member describes the member, and a header's first block
# describes the header. The first block of tarvix.h is the main page; the list of all exports follows it.
function heading(text) { return match(text, /^[A-Z][a-z]+  +/) }
function linked(text,    page) {
    while (match(text, /docs\/[a-z-]+\.md/)) {
        page = substr(text, RSTART + 5, RLENGTH - 8)
        text = substr(text, 1, RSTART - 1) "[" page "](@ref page_" page ")" substr(text, RSTART + RLENGTH)
    }
    return text
}
# A table of the exports: what each does is the first sentence of its comment.
function list_exports(    headers, header, line, said, name) {
    headers = FILENAME
    sub(/tarvix\.h$/, "*.h", headers)
    headers = "ls " headers
    while ((headers | getline header) > 0) {
        if (header ~ /\/tarvix\.h$/) continue
        getline line <header
        print "///\n/// @par " substr(header, match(header, /[a-z]+\.h$/)) "\n/// " linked(substr(line, 4)) "\n///\n/// | | |\n/// |---|---|"
        said = ""
        while ((getline line <header) > 0) {
            if (line ~ /^\/\//) {
                if (said !~ sentence_end) said = said (said == "" ? "" : " ") substr(line, 4)
            } else {
                if (line ~ /TARVIX_API/ && match(line, /tx_[A-Za-z0-9]+/)) {
                    name = substr(line, RSTART, RLENGTH)
                    if (match(said, sentence_end)) said = substr(said, 1, RSTART + 1)
                    print "/// | @ref " name " | " said " |"
                }
                said = ""
            }
        }
        close(header)
    }
    close(headers)
}
function flush_block(    i, text, in_parameters) {
    for (i = 1; i <= lines; ++i) {
        text = block[i]
        if (i == 1 && is_first) print indent "/// " (FILENAME ~ /\/tarvix\.h$/ ? "@mainpage Tarvix" : "@file") "\n" indent "///"
        if (match(text, /^  [A-Za-z][A-Za-z0-9_, ]*  +/) && text !~ /^   /) {
            names = substr(text, 3, RLENGTH - 2)
            gsub(/ /, "", names)
            text = "@param " names " " substr(text, RLENGTH + 1)
            in_parameters = 1
        } else if (in_parameters && text !~ /^ /) {
            print indent "///"
            in_parameters = 0
        }
        if (is_first && heading(text)) text = "@par " substr(text, 1, index(text, " ") - 1) "\n" indent "/// " substr(text, RLENGTH + 1)
        sub(/^ +/, "", text)
        print indent "/// " linked(text)
    }
    if (is_first && FILENAME ~ /\/tarvix\.h$/) list_exports()
    lines = 0
    is_first = 0
}
BEGIN { is_first = 1; sentence_end = "[^.][.]( |$)" }
/^ *\/\// {
    indent = $0
    sub(/\/\/.*/, "", indent)
    sub(/^ *\/\/ ?/, "")
    block[++lines] = $0
    next
}
{
    if (lines) flush_block()
    if (!match($0, /; \/\/ /)) {
        print
        next
    }
    # "float x, y; // text" is said of each.
    text = substr($0, RSTART + RLENGTH)
    count = split(substr($0, 1, RSTART - 1), members, /, /)
    type = members[1]
    sub(/[^ ]+$/, "", type)
    sub(/^.* /, "", members[1])
    for (i = 1; i <= count; ++i) print type members[i] "; ///< " text
}
