#!/usr/bin/env bash
# api.sh DOXYGEN SOURCE SETTINGS: makes the pages for a host's author. There must be no warning, each export must be on a page,
# the main page must lead to each and to the pages that it names, and every link must lead to something that is there.
set -uo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../support/own_folder.sh"
doxygen=$1 source=$2 settings=$3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
{ cat "$settings" && echo 'WARN_AS_ERROR = FAIL_ON_WARNINGS'; } >"$folder/settings"
"$source/docs/api/make_pages.sh" "$doxygen" "$folder/settings" "$folder" || exit 1
cd "$folder/html" || exit 1
bad=0
complain() { echo "$*" && bad=1; }

mapfile -t names < <(sed -n 's/^\(tx_[A-Za-z0-9]*\)(.*/\1/p; s/^tx_Meas3D::\([A-Z][A-Za-z]*\)(.*/tx_Meas3D::\1/p' "$source/tests/module/exports.txt")
for name in "${names[@]}"; do
  grep -qE "memname\">[^<]*(<a [^>]*>[^<]*</a>[^<]*)*$name" ./*.html || complain "no page has $name"
  [[ "$name" == *::* ]] || grep -q "href=\"[a-z_0-9]*\.html#[a-z0-9]*\"[^>]*>$name<" index.html || complain "the main page does not lead to $name"
done
[ ${#names[@]} -gt 20 ] || complain "only ${#names[@]} exports"
for page in using conventions; do
  grep -q "href=\"page_$page.html\"" index.html || complain "the main page does not lead to $page"
done

# Every link of every page. An identifier is either id="..." or name="...".
count=0
while IFS=: read -r page link; do
  file=${link%%#*} mark=${link#"${link%%#*}"}
  count=$((count + 1))
  [ -e "${file:-$page}" ] || { complain "$page: a link to ${file:-$page}, which does not exist" && continue; }
  [ -z "$mark" ] || grep -qE "(id|name)=\"${mark#\#}\"" "${file:-$page}" || complain "$page: a link to $link, which is not there"
done < <(grep -oE '(href|src)="[^"]+"' ./*.html | sed -E 's/^\.\///; s/(href|src)="([^"]+)"/\2/' | grep -vE ':[a-z]+:' | sort -u)
[ $count -gt 100 ] || complain "only $count links"
found=$(grep_finds -rlP -e "$(own_folder "$source")" .)
[ -z "$found" ] || complain "a page names a folder of this machine: $found"
found=$(grep_finds -l '<script' ./*.html)
[ -z "$found" ] || complain "a page runs a script: $found"
echo "${#names[@]} exports, $count links"
exit $bad
