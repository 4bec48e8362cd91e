#!/usr/bin/env bash
# Builds the wheel of the Python package tarvplaces with the built
# library and the default atlas inside, for a `pip install` that needs
# nothing else. Run after the build of preset package (or release) and
# scripts/build-atlas.sh:
#   bash scripts/build-wheel.sh [OUT]        (OUT defaults to build/wheel)
# Prints the wheel's path and its size.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
out="${1:-$root/build/wheel}"
# The library of the packages' build, else of the release build.
library="$root/build/package/src/capi/libtarvplaces.so.3"
[ -e "$library" ] || library="$root/build/release/src/capi/libtarvplaces.so.3"
atlas="$root/build/atlas"
# Debian's python3 has the setuptools and wheel of python3-setuptools and
# python3-wheel; another python3 earlier on PATH may lack them.
python=/usr/bin/python3

if [ ! -e "$library" ]; then
  echo "build-wheel: no $library: build first (cmake --build --preset package)" >&2
  exit 2
fi
if [ ! -f "$atlas/Country.dat" ]; then
  echo "build-wheel: no atlas at $atlas: run scripts/build-atlas.sh" >&2
  exit 2
fi
if ! "$python" -c 'import os, sys, sysconfig; sys.exit(not os.path.isfile(os.path.join(sysconfig.get_paths()["include"], "Python.h")))'; then
  echo "build-wheel: no Python.h for $python, which the compiled Atlas.place needs: run scripts/setup.sh (python3-dev)" >&2
  exit 2
fi
for module in setuptools wheel; do
  if ! "$python" -c "import $module" 2>/dev/null; then
    echo "build-wheel: $python lacks $module: run scripts/setup.sh (python3-setuptools, python3-wheel)" >&2
    exit 2
  fi
done

# setuptools leaves build/ and *.egg-info beside setup.py: build from a copy.
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
cp -r "$root/python/." "$work/src/"
rm -rf "$work/src/build" "$work/src/"*.egg-info
cp "$root/packaging/NOTICE" "$work/src/NOTICE"

export TARVPLACES_LIBRARY="$(realpath "$library")"
export TARVPLACES_ATLAS="$atlas"
# The compiled Atlas.place, against the library's own header.
export TARVPLACES_INCLUDE="$root/include"
mkdir -p "$work/dist"
if ! "$python" -m pip wheel --quiet --no-deps --no-build-isolation --no-index -w "$work/dist" "$work/src"; then
  echo "build-wheel: pip wheel failed; trying setup.py bdist_wheel" >&2
  (cd "$work/src" && "$python" setup.py --quiet bdist_wheel --dist-dir "$work/dist")
fi

shopt -s nullglob
wheels=("$work/dist"/tarvplaces-*.whl)
if [ "${#wheels[@]}" -ne 1 ]; then
  echo "build-wheel: expected one wheel, got: ${wheels[*]:-none}" >&2
  exit 1
fi
mkdir -p "$out"
wheel="$(cd "$out" && pwd)/$(basename "${wheels[0]}")"
mv -f "${wheels[0]}" "$wheel"
size="$(stat -c %s "$wheel")"
echo "$wheel"
awk -v s="$size" 'BEGIN { printf "wheel: %.1f MB\n", s / 1000000 }'
