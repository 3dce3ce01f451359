#!/bin/bash
# Cross-builds OpenCV (one world DLL, only the modules Tarvix uses) with libjpeg-turbo, libpng, libtiff and libwebp from
# the distribution's source packages into the cache; nothing is installed on the system.
#
#   build_opencv.sh [--jobs N | --print-prefix]
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/cached_build.sh"

opencv_version=4.6.0
jpeg_version=2.1.5
png_version=1.6.39
tiff_version=4.5.0
webp_version=1.2.4
begin_build opencv "${BASH_SOURCE[0]}" "" "$@"
need_command nasm nasm
need_command dpkg-source dpkg-dev
[[ -f /usr/$triplet/lib/libz.a ]] || die "zlib for MinGW is missing: apt-get install libz-mingw-w64-dev"

# ---- sources: a private apt configuration with source entries, whatever the machine's own one has ----
mkdir -p "$work/apt/lists/partial" "$work/apt/cache/archives/partial" "$work/download"
. /etc/os-release
apt_options=()
write_apt_sources() {
    local found mirror='' security=''
    found="$(apt-get indextargets --format '$(SITE)' 'Created-By: Packages' 2>/dev/null | sort -u || true)"
    # The archives that the machine itself uses.
    local site
    while read -r site; do
        case "${site%/}" in
            */debian) mirror="${site%/}" ;;
            */debian-security) security="${site%/}" ;;
        esac
    done <<<"$found"
    [[ -n "$mirror" ]] || die "apt names no Debian archive on this machine; check its sources and run apt-get update"
    local signed="[signed-by=/usr/share/keyrings/debian-archive-keyring.gpg]"
    cat >"$work/apt/sources.list" <<EOF
deb-src $signed $mirror $VERSION_CODENAME main
${security:+deb-src $signed $security $VERSION_CODENAME-security main}
EOF
    apt_options=(-o "Dir::Etc::SourceList=$work/apt/sources.list" -o Dir::Etc::SourceParts=-
        -o "Dir::State::Lists=$work/apt/lists" -o "Dir::Cache=$work/apt/cache" -o APT::Sandbox::User=root)
}
write_apt_sources
say "fetching the source packages"
apt-get "${apt_options[@]}" update >>"$log" 2>&1 || die "the source index cannot be fetched: is there a network? (log: $log)"

# fetch_source PACKAGE UPSTREAM_VERSION DIRECTORY: unpacks the newest downloadable version of the package.
# A security version may be listed and yet be gone from the mirror; then the next older one is taken, at last
# the upstream archive alone, which apt has fetched and checked.
fetch_source() {
    local package="$1" upstream="$2" target="$3" version
    cd "$work/download"
    for version in $(apt-cache "${apt_options[@]}" showsrc --only-source "$package" | sed -n 's/^Version: //p' | sort -Vr); do
        [[ "$version" == *"$upstream"[+-]* ]] || continue
        if apt-get "${apt_options[@]}" source --download-only --only-source "$package=$version" >>"$log" 2>&1; then
            run_logged dpkg-source --no-check -x "${package}_${version#*:}.dsc" "$target"
            say "$package $version"
            record_version "$package" "$version"
            return
        fi
        say "$package $version is listed but cannot be downloaded"
    done
    local archive
    archive="$(ls "${package}_$upstream".orig.tar.* 2>/dev/null | grep -v '\.asc$' | head -n 1 || true)"
    [[ -n "$archive" ]] || die "no source of $package $upstream can be downloaded (log: $log)"
    mkdir -p "$target"
    run_logged tar -C "$target" --strip-components=1 -xf "$archive"
    say "$package $upstream, the upstream archive without the distribution's patches"
    record_version "$package" "$upstream (upstream)"
}
fetch_source libjpeg-turbo "$jpeg_version" "$work/jpeg"
fetch_source libpng1.6 "$png_version" "$work/png"
fetch_source tiff "$tiff_version" "$work/tiff"
fetch_source libwebp "$webp_version" "$work/webp"
fetch_source opencv "$opencv_version" "$work/opencv"
record_version zlib "$(dpkg-query -W -f '${Version}' libz-mingw-w64-dev)"
cd "$work"

# ---- build ----
zlib=("-DZLIB_INCLUDE_DIR=/usr/$triplet/include" "-DZLIB_LIBRARY=/usr/$triplet/lib/libz.a")

build libjpeg-turbo "$work/jpeg" -DENABLE_SHARED=OFF -DENABLE_STATIC=ON -DWITH_TURBOJPEG=OFF \
    -DCMAKE_ASM_NASM_COMPILER=nasm -DREQUIRE_SIMD=ON
build libpng "$work/png" -DPNG_SHARED=OFF -DPNG_STATIC=ON -DPNG_TESTS=OFF "${zlib[@]}"
# The compressions of TIFF that cameras and scanners write; no JBIG, LERC, LZMA, WebP and Zstandard inside TIFF.
build libtiff "$work/tiff" -DBUILD_SHARED_LIBS=OFF -Dtiff-tools=OFF -Dtiff-tests=OFF -Dtiff-contrib=OFF -Dtiff-docs=OFF \
    -Dcxx=OFF -Dlibdeflate=OFF -Djbig=OFF -Dlerc=OFF -Dlzma=OFF -Dwebp=OFF -Dzstd=OFF -Djpeg=ON -Dzlib=ON "${zlib[@]}" \
    "-DJPEG_INCLUDE_DIR=$staging/include" "-DJPEG_LIBRARY=$staging/lib/libjpeg.a"
build libwebp "$work/webp" -DBUILD_SHARED_LIBS=OFF -DWEBP_BUILD_ANIM_UTILS=OFF -DWEBP_BUILD_CWEBP=OFF \
    -DWEBP_BUILD_DWEBP=OFF -DWEBP_BUILD_GIF2WEBP=OFF -DWEBP_BUILD_IMG2WEBP=OFF -DWEBP_BUILD_VWEBP=OFF \
    -DWEBP_BUILD_WEBPINFO=OFF -DWEBP_BUILD_WEBPMUX=OFF -DWEBP_BUILD_EXTRAS=OFF
# Cameras through DirectShow: the Media Foundation back end does not compile with these headers.
build opencv "$work/opencv" \
    -DBUILD_LIST=world,core,imgproc,imgcodecs,photo,features2d,flann,calib3d,objdetect,videoio,highgui,stitching \
    -DBUILD_opencv_world=ON -DBUILD_SHARED_LIBS=ON \
    -DBUILD_TESTS=OFF -DBUILD_PERF_TESTS=OFF -DBUILD_EXAMPLES=OFF -DBUILD_DOCS=OFF -DBUILD_opencv_apps=OFF \
    -DBUILD_JAVA=OFF -DBUILD_opencv_python2=OFF -DBUILD_opencv_python3=OFF -DOPENCV_GENERATE_PKGCONFIG=OFF \
    -DBUILD_INFO_SKIP_EXTRA_FLAGS=ON -DBUILD_INFO_SKIP_SYSTEM_VERSION=ON -DBUILD_INFO_SKIP_TIMESTAMP=ON \
    -DBUILD_ZLIB=OFF -DBUILD_JPEG=OFF -DBUILD_PNG=OFF -DBUILD_TIFF=OFF -DBUILD_WEBP=OFF "${zlib[@]}" \
    "-DJPEG_INCLUDE_DIR=$staging/include" "-DJPEG_LIBRARY=$staging/lib/libjpeg.a" \
    "-DPNG_PNG_INCLUDE_DIR=$staging/include" "-DPNG_LIBRARY=$staging/lib/libpng.a" \
    "-DTIFF_INCLUDE_DIR=$staging/include" "-DTIFF_LIBRARY=$staging/lib/libtiff.a;$staging/lib/libjpeg.a;${zlib[1]#*=}" \
    "-DWEBP_INCLUDE_DIR=$staging/include" "-DWEBP_LIBRARY=$staging/lib/libwebp.a" \
    -DWITH_JPEG=ON -DWITH_PNG=ON -DWITH_TIFF=ON -DWITH_WEBP=ON -DWITH_OPENEXR=OFF -DWITH_JASPER=OFF \
    -DWITH_OPENJPEG=OFF -DWITH_GDAL=OFF -DWITH_GDCM=OFF \
    -DWITH_FFMPEG=OFF -DWITH_GSTREAMER=OFF -DWITH_DSHOW=ON -DWITH_MSMF=OFF -DWITH_1394=OFF \
    -DWITH_OBSENSOR=OFF -DWITH_WIN32UI=ON -DWITH_GTK=OFF -DWITH_QT=OFF -DWITH_VTK=OFF -DWITH_OPENGL=OFF \
    -DWITH_OPENCL=OFF -DWITH_DIRECTX=OFF -DWITH_IPP=OFF -DWITH_ITT=OFF -DWITH_EIGEN=OFF -DWITH_LAPACK=OFF \
    -DWITH_PROTOBUF=OFF -DWITH_QUIRC=OFF -DWITH_ADE=OFF -DWITH_TBB=OFF -DWITH_OPENMP=ON -DWITH_PTHREADS_PF=OFF \
    -DCPU_BASELINE=SSE3 -DCPU_DISPATCH=AVX2 -DOPENCV_ENABLE_NONFREE=OFF \
    -DENABLE_PRECOMPILED_HEADERS=OFF

cp "$work/opencv/LICENSE" "$staging/licenses/opencv.txt"
cp "$work/opencv/COPYRIGHT" "$staging/licenses/opencv-copyright.txt"
cp "$work/jpeg/LICENSE.md" "$staging/licenses/libjpeg-turbo.md"
cp "$work/png/LICENSE" "$staging/licenses/libpng.txt"
cp "$work/tiff/LICENSE.md" "$staging/licenses/libtiff.md"
cp "$work/webp/COPYING" "$staging/licenses/libwebp.txt"
cp /usr/share/doc/libz-mingw-w64-dev/copyright "$staging/licenses/zlib.txt"
cp "/usr/share/doc/gcc-mingw-w64-base/copyright" "$staging/licenses/gcc-runtime.txt" 2>/dev/null ||
    cp "/usr/share/doc/g++-mingw-w64-x86-64-posix/copyright" "$staging/licenses/gcc-runtime.txt"
cp "/usr/share/doc/mingw-w64-x86-64-dev/copyright" "$staging/licenses/mingw-w64-runtime.txt"
finish_build
