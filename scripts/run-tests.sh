#!/usr/bin/env bash
# Sets everything up, builds with warnings as errors, builds the default atlas
# from open data, and runs every test: once in the debug build, once under
# AddressSanitizer and UndefinedBehaviorSanitizer, the thread tests under
# ThreadSanitizer; then makes the Debian packages and the Python wheel and
# tries them as users would; then cross-builds for Windows and runs the suite
# under Wine (with a lookup by tarvplaces.exe, and the Windows archive;
# WINDOWS=0 to skip), and then every fuzz target for 30 seconds
# (FUZZ_SECONDS to change it, 0 to skip).
set -euo pipefail
cd "$(dirname "$0")/.."

# Each section says how long the run has taken so far.
section() { printf '== %s (at %dm%02ds)\n' "$1" $((SECONDS / 60)) $((SECONDS % 60)); }

bash scripts/setup.sh

cmake --preset default >/dev/null
cmake --build --preset default
section "building the default atlas"
bash scripts/build-atlas.sh default

for preset in default asan; do
  if [ "$preset" != default ]; then
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset"
  fi
  section "$preset tests"
  ctest --preset "$preset"
done

# Readers on two atlases while a writer changes user places, under
# ThreadSanitizer (the library and its tests only).
section "thread tests under ThreadSanitizer"
cmake --preset tsan >/dev/null
cmake --build --preset tsan
ctest --preset tsan

# The packages as each ecosystem installs them: Debian packages (installed,
# used and removed again), the Python wheel in a fresh environment, and the
# Windows archive under Wine.
section "Debian packages"
bash scripts/test-debian-packages.sh
section "Python wheel"
bash scripts/build-wheel.sh build/wheel
bash scripts/test-wheel.sh build/wheel/tarvplaces-*.whl

if [ "${WINDOWS:-1}" != 0 ]; then
  section windows
  bash scripts/setup.sh --windows
  bash scripts/run-windows-tests.sh
  section "Windows archive"
  bash scripts/test-windows-archive.sh
fi

if [ "${FUZZ_SECONDS:-30}" != 0 ]; then
  section fuzzing
  bash scripts/run-fuzz.sh "${FUZZ_SECONDS:-30}"
fi
section "all tests passed"
