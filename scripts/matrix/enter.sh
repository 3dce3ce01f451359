#!/usr/bin/env bash
# enter.sh FOLDER CACHE SUITE ROW COMMIT: for matrix.sh, which gives it mounts and processes of its own. Mounts what a system
# has and the parts of the cache, and runs the row in that folder.
set -euo pipefail
folder=$1 cache=$2 suite=$3 row=$4 commit=$5

mount -t proc proc "$folder/proc"
mount --rbind /sys "$folder/sys"
mount --rbind /dev "$folder/dev"
mkdir -p "$folder/root/.cache/ccache"
mount --bind "$cache/ccache" "$folder/root/.cache/ccache"
mount --bind "$cache/packages-$suite" "$folder/var/cache/apt/archives"
exec chroot "$folder" /usr/bin/env -i HOME=/root PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
  TERM=dumb LANG=C.UTF-8 CMAKE_BUILD_PARALLEL_LEVEL="$(nproc)" /tarvix/scripts/matrix/row.sh "$row" "$commit"
