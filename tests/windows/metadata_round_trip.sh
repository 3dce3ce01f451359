#!/usr/bin/env bash
# Usage: metadata_round_trip.sh EXIV2 PHOTOS PROGRAM...
# What a photograph carries, through the Windows program and back: exiv2, which is this system's own and shares no code
# with it, marks the input and reads the results.
set -euo pipefail
exiv2=$1 photos=$2
shift 2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
cp "$photos/home.jpg" in.jpg
"$exiv2" -M "set Exif.Image.Orientation Short 6" -M "set Exif.Image.Artist Ascii Ann" \
    -M "set Exif.Photo.FocalLengthIn35mmFilm Short 28" -M "set Exif.GPSInfo.GPSLatitudeRef Ascii N" \
    -M "set Exif.GPSInfo.GPSLatitude Rational 48/1 8/1 21/1" -M "set Exif.Photo.PixelXDimension Long 512" \
    -M "set Exif.Photo.PixelYDimension Long 384" -M "set Xmp.xmp.Label kept" in.jpg

is() { # FILE KEY VALUE
    local value
    value=$("$exiv2" -K "$2" -Pv "$1" || true)
    [ "$value" = "$3" ] || { echo "$1: $2 is '$value' and not '$3'"; exit 1; }
}
for kind in jpg png tif webp; do
    out=out.$kind
    "$@" load in.jpg -o "$out"
    is "$out" Exif.Image.Artist Ann
    is "$out" Exif.Image.Orientation 1
    is "$out" Exif.Photo.FocalLengthIn35mmFilm 28
    is "$out" Exif.GPSInfo.GPSLatitude "48/1 8/1 21/1"
    is "$out" Exif.Photo.PixelXDimension 384
    is "$out" Exif.Photo.PixelYDimension 512
    is "$out" Xmp.xmp.Label kept
    "$@" load in.jpg -o stripped.$kind --strip
    is stripped.$kind Exif.Image.Artist ""
    echo "$kind: as it was"
done
