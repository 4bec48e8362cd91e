#!/usr/bin/env bash
# Sets everything up, builds with warnings as errors, builds the default atlas
# from open data, and runs every test: once in the debug build and once under
# AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh

cmake --preset default >/dev/null
cmake --build --preset default
echo "== building the default atlas"
bash scripts/build-atlas.sh default

for preset in default asan; do
  if [ "$preset" != default ]; then
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset"
  fi
  echo "== $preset tests"
  ctest --preset "$preset"
done
