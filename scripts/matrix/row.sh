#!/usr/bin/env bash
# row.sh ROW COMMIT: one row of matrix.sh, run inside the bare system. Leaves the table's line in /tarvix-row.
set -euo pipefail
row=$1 commit=$2
cd /tarvix
. /etc/os-release
start=$SECONDS
status=0
system="Debian $(cat /etc/debian_version)"

install() {
  apt-get update -q
  DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "$@"
}

# How many tests passed, failed and were skipped, and why those were skipped: whole tests, and single cases of tests
# that passed.
count_tests() { # BUILD_FOLDER
  local log=$1/Testing/Temporary/LastTest.log failed total skipped reasons
  read -r failed total < <(sed -nE 's/.*% tests passed, ([0-9]+) tests failed out of ([0-9]+).*/\1 \2/p' /tmp/output | tail -n 1) || true
  [ -n "${total:-}" ] || { result="no test was run" && status=1 && return; }
  skipped=$(grep -c '\*\*\*Skipped' /tmp/output || true)
  result="$((total - failed - skipped)) passed, $failed failed, $skipped skipped"
  reasons=$({
    sed -n 's/^SKIPPED: //p' "$log"
    grep -A 1 -E ': Skipped$' "$log" | grep -vE ': Skipped$|^--$'
  } | sort -u | sed ':a;N;$!ba;s/\n/; /g' || true)
  [ -z "$reasons" ] || result+=" (not tested: $reasons)"
}

run() { # COMMAND...
  echo "--- $*"
  "$@" 2>&1 | tee /tmp/output || status=1
}

build=build/release
case $row in
  12 | 13)
    run ./demo.sh
    run ./test.sh
    count_tests $build
    ;;
  clang)
    install clang libomp-dev
    export CXX=clang++
    run ./test.sh
    count_tests $build
    ;;
  opencv-4.5.1) # Debian 12 gives what the host and the tests need newer than Debian 11's; docs/building.md lists it.
    sed 's/ bullseye / bookworm /' /etc/apt/sources.list >/etc/apt/sources.list.d/bookworm.list
    newer='g++* gcc* cpp* libc6* libc-* locales libcrypt* libpam* libstdc++* libgcc* libcc1-0 libgomp1 libitm1 libatomic1'
    newer+=' lib?san* libubsan1 libquadmath0 libgmp* libzstd* libmpfr* libmpc3 libisl* binutils* libbinutils libctf*'
    newer+=' libgprofng0 libjansson4 cmake* ninja-build nlohmann-json3-dev libcli11-dev libgtest-dev libgmock-dev'
    newer+=' googletest libbenchmark* abigail-tools libabigail0 lintian exiv2 libexiv2* pkg-config pkgconf* libpkgconf*'
    newer+=' opencv-data opencv-doc doxygen libxapian* libz3* python3-jsonschema fish*'
    printf 'Package: %s\nPin: release n=bookworm\nPin-Priority: %s\n\n' '*' 100 "$newer" 990 >/etc/apt/preferences.d/compiler
    system+=" with Debian 12's compiler"
    run ./demo.sh
    run ./test.sh
    count_tests $build
    ;;
  11) # No more than the module: the sample host and the tests need newer libraries.
    build=build/module
    install g++ cmake ninja-build libopencv-dev libxcb1-dev libwayland-dev qtbase5-dev opencv-data opencv-doc
    run cmake -S . -B $build -G Ninja -DCMAKE_BUILD_TYPE=Release -DTARVIX_BUILD_HOST=OFF -DTARVIX_BUILD_TESTS=OFF
    run cmake --build $build
    run cmake --install $build --prefix /opt/tarvix
    run cmake -S docs/examples -B build/examples -G Ninja -DCMAKE_PREFIX_PATH=/opt/tarvix
    run cmake --build build/examples
    run build/examples/example_edges /usr/share/doc/opencv-doc/examples/data/messi5.jpg
    if [ $status -eq 0 ] && grep -q '#' /tmp/output; then
      result="the module builds; a host finds it and draws edges"
    else
      status=1 result="failed"
    fi
    ;;
  arm64)
    build=build/arm64
    dpkg --add-architecture arm64
    install g++-aarch64-linux-gnu qemu-user cmake ninja-build ccache pkg-config opencv-data opencv-doc \
      libopencv-dev:arm64 libxcb1-dev:arm64 libwayland-dev:arm64 qtbase5-dev:arm64 libgtest-dev:arm64 libgmock-dev:arm64
    run cmake -S . -B $build -G Ninja -DCMAKE_BUILD_TYPE=Release -DTARVIX_BUILD_HOST=OFF \
      -DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_TOOLCHAIN_FILE=cmake/toolchains/aarch64-linux-gnu.cmake
    run cmake --build $build --target tests/geometry/all
    run ctest --test-dir $build -R '^geometry' --output-on-failure
    system+=", arm64 under QEMU"
    count_tests $build
    ;;
esac

cxx=$(sed -nE 's/^set\(CMAKE_CXX_COMPILER "(.*)"\)/\1/p' $build/CMakeFiles/*/CMakeCXXCompiler.cmake)
compiler=$("$cxx" --version | sed -nE '1s/.*clang version ([0-9.]+).*/clang \1/p')
[ -n "$compiler" ] || compiler="g++ $("$cxx" -dumpfullversion)"
folder=$(sed -nE 's/^OpenCV_DIR:PATH=//p' $build/CMakeCache.txt)
opencv=$(sed -nE 's/^ *set\(OpenCV_VERSION "?([0-9.]+)"?\)/\1/Ip' "$folder/OpenCVConfig.cmake" | head -n 1)
cmake=$(cmake --version | sed -nE '1s/.* ([0-9.]+)$/\1/p')
echo "| \`scripts/matrix.sh $row\` | $system | $compiler, CMake $cmake | $opencv | $result | $(((SECONDS - start + 59) / 60)) |" \
  "$commit | $(date -u +%F) |" >/tarvix-row
cat /tarvix-row
exit $status
