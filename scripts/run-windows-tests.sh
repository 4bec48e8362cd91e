#!/usr/bin/env bash
# Cross-builds the library, tarvplaces.dll, the tool and the test suite for
# Windows with Debian's mingw-w64 and runs the suite and a lookup on the
# default atlas under Wine, headless and quiet. Needs the default atlas
# (scripts/build-atlas.sh) and scripts/setup.sh --windows. ICU for mingw is
# built from Debian's sources the first time (a few minutes) and cached.
set -euo pipefail
cd "$(dirname "$0")/.."

export WINEPREFIX="${WINEPREFIX:-${TMPDIR:-/tmp}/tarv-wine-$(id -u)}"
run="$PWD/cmake/windows/wine-run.sh"
# One Wine server for the whole run: every test program starts in a tenth of
# a second instead of one or two. The first program started under it also
# starts Wine's services, which keep its output open for as long as the
# server lives; that must not be a test's output, which ctest reads until it
# closes.
WINEDEBUG=-all wineserver -p </dev/null >/dev/null 2>&1 || true
"$run" cmd /c exit 0 </dev/null >/dev/null 2>&1 || true
trap 'WINEDEBUG=-all wineserver -k 2>/dev/null || true' EXIT

cmake --preset windows >/dev/null
cmake --build --preset windows
printf '== windows tests under Wine (built in %dm%02ds)\n' $((SECONDS / 60)) $((SECONDS % 60))
# Now and then Wine fails to start a program at all (no output, exit code
# at once); the preset runs a failed test a second time, so only a test that
# fails twice fails the run. The Linux suites run the same tests once.
ctest --preset windows --timeout 300
echo "== a lookup with tarvplaces.exe"
"$run" build/windows/bin/tarvplaces.exe --atlas "$PWD/build/atlas" place München D --date 1980-07-01T12:00
