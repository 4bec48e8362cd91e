#!/usr/bin/env bash
# Makes the Windows archive (CPack ZIP of the Windows cross build, with
# build/atlas) and checks it as a Windows host developer meets it: unpacked
# into an empty folder, tarvplaces.exe answers under Wine from the archive's
# own atlas without being told where it is, and examples/c/host.c built with
# mingw against the unpacked headers and import library runs.
# Needs the Windows build (scripts/run-windows-tests.sh) and build/atlas.
#   bash scripts/test-windows-archive.sh
set -euo pipefail
cd "$(dirname "$0")/.."
fail() { echo "test-windows-archive: $*" >&2; exit 1; }
run="$PWD/cmake/windows/wine-run.sh"

bash scripts/setup.sh --package
[ -f build/atlas/Country.dat ] || fail "no atlas in build/atlas (scripts/build-atlas.sh)"
cmake --preset windows -DTARV_PACKAGE_ATLAS="$PWD/build/atlas" >/dev/null
cmake --build --preset windows
rm -f build/windows/tarvplaces-*-windows-x64.zip
(cd build/windows && cpack -G ZIP >/dev/null)
zip=$(ls build/windows/tarvplaces-*-windows-x64.zip)
awk -v n="$(basename "$zip")" -v s="$(stat -c %s "$zip")" 'BEGIN { printf "%s: %.1f MB\n", n, s / 1048576 }'

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
unzip -q "$zip" -d "$work"
root=$(echo "$work"/tarvplaces-*-windows-x64)
for f in bin/tarvplaces.dll bin/tarvplaces.exe lib/libtarvplaces.dll.a include/tarvplaces/tarvplaces.h \
         lib/cmake/TarvPlaces/TarvPlacesConfig.cmake lib/pkgconfig/tarvplaces.pc \
         share/tarvplaces/atlas/Country.dat NOTICE.txt; do
  [ -e "$root/$f" ] || fail "the archive lacks $f"
done

unset TARV_ATLAS
cd "$work"
"$run" "$root/bin/tarvplaces.exe" place München D --date 1980-07-01T12:00 | tr -d '\r' | tee tool.txt
grep -q 'UTC+2' tool.txt || fail "tarvplaces.exe did not answer from the archive's atlas"
PKG_CONFIG_LIBDIR="$root/lib/pkgconfig" x86_64-w64-mingw32-gcc -std=c99 -static-libgcc \
  "$OLDPWD/examples/c/host.c" $(PKG_CONFIG_LIBDIR="$root/lib/pkgconfig" pkg-config --cflags --libs tarvplaces) \
  -o "$root/bin/host.exe"
# A C program's argv is in the ANSI code page on Windows, not UTF-8: an
# ASCII name, as the example does no conversion.
"$run" "$root/bin/host.exe" - Berlin D 1980-07-01T12:00 | tr -d '\r' | tee host.txt
grep -q 'UTC+2:00' host.txt || fail "the C host built against the archive did not answer"
# The archive's CMake package gives the DLL as TarvPlaces::tarvplaces_shared.
mkdir consumer
cat >consumer/CMakeLists.txt <<CMAKE
cmake_minimum_required(VERSION 3.25)
project(host C)
find_package(TarvPlaces 0.1 REQUIRED)
add_executable(host "$OLDPWD/examples/c/host.c")
target_link_libraries(host PRIVATE TarvPlaces::tarvplaces_shared)
CMAKE
cmake -S consumer -B consumer/build -DTarvPlaces_DIR="$root/lib/cmake/TarvPlaces" \
  -DCMAKE_TOOLCHAIN_FILE="$OLDPWD/cmake/windows/mingw-w64-x86_64.cmake" >/dev/null
cmake --build consumer/build >/dev/null
cp consumer/build/host.exe "$root/bin/host-cmake.exe"
"$run" "$root/bin/host-cmake.exe" - Berlin D 1980-07-01T12:00 | tr -d '\r' | grep -q 'UTC+2:00' ||
  fail "the C host built with the archive's CMake package did not answer"
echo "windows archive: unpacked, answered under Wine, C host built (pkg-config, CMake) and ran"
