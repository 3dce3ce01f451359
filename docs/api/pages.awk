# Shows Doxygen the pages of docs/. A page's name is its file's; a link to a page leads there. Links to what is not among the
# pages become plain text.
FNR == 1 {
    name = FILENAME
    sub(/.*\//, "", name)
    sub(/\.md$/, "", name)
    $0 = $0 " {#page_" name "}"
}
/^```/ { in_code = !in_code }
!in_code {
    rest = $0
    $0 = ""
    while (match(rest, /!?\[[^]]*\]\([^)]*\)/)) {
        link = substr(rest, RSTART, RLENGTH)
        before = substr(rest, 1, RSTART - 1)
        rest = substr(rest, RSTART + RLENGTH)
        text = target = link
        sub(/^!?\[/, "", text)
        sub(/\]\(.*/, "", text)
        sub(/.*\]\(/, "", target)
        sub(/\)$/, "", target)
        if (target ~ /^[a-z-]+\.md$/) link = "[" text "](@ref page_" substr(target, 1, length(target) - 3) ")"
        else if (target ~ /include\/tarvix\/[a-z]+\.h$/) link = "[" text "](@ref " substr(target, match(target, /[a-z]+\.h$/)) ")"
        else if (link ~ /^!/) sub(/images\//, "", link) # Doxygen copies images into its own folder
        else if (target !~ /^[a-z]+:/) link = text
        $0 = $0 before link
    }
    $0 = $0 rest
}
{ print }
