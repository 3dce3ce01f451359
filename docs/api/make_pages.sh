#!/usr/bin/env bash
# make_pages.sh DOXYGEN DOXYFILE FOLDER: writes FOLDER/html. The pages are plain: without the scripts that Doxygen brings,
# which are libraries of others, and which would be shipped in a package of ours.
set -euo pipefail
doxygen=$1 settings=$2 folder=$3
rm -rf "$folder/html"
{ cat "$settings" && printf 'OUTPUT_DIRECTORY = "%s"\n' "$folder"; } | "$doxygen" -
rm -f "$folder"/html/*.js
sed -i -e '/<script[^>]*>$/,/<\/script>/d' -e 's/<script[^>]*>[^<]*<\/script>//g' "$folder"/html/*.html
