#!/usr/bin/env bash
# check_age.sh: warns if docs/building.md has results of other systems that are older than the last change to what uses
# OpenCV. Only warns: making the table again takes hours.
source "$(dirname "${BASH_SOURCE[0]}")/../common.sh"

rows=$(grep -E '^\| `scripts/matrix\.sh ' "$root/docs/building.md") || die "docs/building.md has no table of other systems"
oldest=$(sed -nE 's/.*\| ([0-9]{4}-[0-9]{2}-[0-9]{2}) \|$/\1/p' <<<"$rows" | sort | head -n 1)
not_run=$(grep -cvE '\| [0-9]{4}-[0-9]{2}-[0-9]{2} \|$' <<<"$rows" || true)
changed=$(git -C "$root" log -1 --format=%cd --date=format:%F -- bridge filters faces geometry features calib assist)
if [[ "$oldest" < "$changed" || $not_run -ne 0 ]]; then
  say "warning: results of other systems in docs/building.md: oldest ${oldest:-none}, rows not run: $not_run;" \
    "what uses OpenCV changed on $changed: run scripts/matrix.sh"
else
  say "results of other systems: none older than $oldest"
fi
