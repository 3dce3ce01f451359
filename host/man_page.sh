#!/usr/bin/env bash
# man_page.sh PROGRAM VERSION: prints the manual page of tarvix, written by its own --help.
set -euo pipefail
program=$1 version=$2

# A help text as roff: headings, and a tagged paragraph for each "  name   text". The options of all commands are
# not repeated under each. Lines are matched as the program prints them and escaped where they are printed.
as_roff() {
  awk -v level="$1" '
    function roff(text) {
      gsub(/\\/, "\\e", text)
      gsub(/-/, "\\-", text)
      return text ~ /^[.\047]/ ? "\\&" text : text
    }
    /^Usage: / { print ".P\n.B " roff(substr($0, 8)); next }
    /^(Options|Positionals|Subcommands):$/ { print (level == "command" ? ".P" : ".SH " toupper(substr($0, 1, length - 1))); next }
    /^Exit status: / || (level == "command" && /^  (-h,--help|--verbose)/) || /^$/ { next }
    /^  [^ ]/ {
      text = substr($0, 3)
      gap = match(text, /   *[^ ]/)
      print ".TP\n.B " roff(gap ? substr(text, 1, gap - 1) : text)
      if (gap) print roff(substr(text, RSTART + RLENGTH - 1))
      next
    }
    { sub(/^ +/, ""); print roff($0) }'
}

help=$("$program" --help)
mapfile -t commands < <(sed -n '/^Subcommands:/,/^$/s/^  \([a-z][a-z-]*\) .*/\1/p' <<<"$help")
[ ${#commands[@]} -gt 0 ] || { echo "no commands in the help of $program" >&2 && exit 1; }

cat <<END
.TH TARVIX 1 "" "Tarvix $version" "User Commands"
.SH NAME
tarvix \\- computer\\-vision operations on image files
.SH SYNOPSIS
.B tarvix
.I command
.RI [ options ]
.br
.B tarvix
.RI [ command ]
.B \\-\\-help
.SH DESCRIPTION
The sample host of the library Tarvix: a command for each operation of the library, and a gallery that shows
them all. Coordinates are pixels of the image as seen, x to the right, y down, from the top left.
END
sed -n '/^Options:/,/^$/p' <<<"$help" | as_roff page
echo '.SH COMMANDS'
for command in "${commands[@]}"; do
  printf '.SS %s\n' "${command//-/\\-}"
  "$program" "$command" --help | as_roff command
done
cat <<'END'
.SH EXIT STATUS
.TP
.B 0
The operation was done. If it found nothing, a line on standard error says so.
.TP
.B 1
It failed; one line on standard error says why.
.TP
.B 2
The command line is wrong.
.SH FILES
The cascade files of the face detection,
.I haarcascade_frontalface_alt.xml
and
.IR lbpcascade_frontalface.xml ,
are beside the program.
.SH EXAMPLES
.nf
tarvix canny photo.jpg \-o edges.png \-\-low 80 \-\-high 200
tarvix calib photos/ \-\-board 9x6 \-o calibration
tarvix undistort photo.jpg \-o flat.png \-\-calib calibration
curl \-s https://example.org/photo.jpg | tarvix canny \- \-o \- | display
.fi
END
