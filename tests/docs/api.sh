#!/usr/bin/env bash
# api.sh DOXYGEN FOLDER EXPORTS: makes the pages of the exports. There must be no warning, and each export must be on one.
set -uo pipefail
doxygen=$1 folder=$2 exports=$3
cd "$folder" && rm -rf html && "$doxygen" || exit 1
missing=0
mapfile -t names < <(sed -n 's/^\(tx_[A-Za-z0-9]*\)(.*/\1/p; s/^tx_Meas3D::\([A-Z][A-Za-z]*\)(.*/tx_Meas3D::\1/p' "$exports")
for name in "${names[@]}"; do
  grep -qE "memname\">[^<]*(<a [^>]*>[^<]*</a>[^<]*)*$name" html/*.html || { echo "no page has $name" && missing=1; }
done
[ $missing -eq 0 ] && [ ${#names[@]} -gt 20 ]
