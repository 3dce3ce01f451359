# own_folder FOLDER...: an expression for `LC_ALL=C grep -P` that finds the folders' paths. A path that only ends like a
# short one is another one: include/tarvix is not in the folder /tarvix.
own_folder() {
  local folder found=
  for folder in "$@"; do
    found+="${found:+|}(?:(?<![\\w./}>)-])|(?<=-[ILD])|(?<=file://))\\Q$folder\\E(?![\\w-])"
  done
  echo "$found"
}
# grep_finds ARGUMENT...: what `LC_ALL=C grep ARGUMENT...` prints, or that it failed: its status alone would be taken for
# "nothing found".
grep_finds() {
  local status=0
  LC_ALL=C grep "$@" || status=$?
  [ $status -le 1 ] || echo "grep failed with status $status"
}
