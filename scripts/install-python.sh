#!/usr/bin/env bash
# Installs the Python package tarvplaces, with the library of the build in
# it, into a virtual environment (default .venv; created when missing, with
# the system's packages visible, as Debian 12 keeps pip out of its own
# Python). Run after the build:
#   bash scripts/install-python.sh [VENV] [LIBRARY]
# LIBRARY defaults to the release build's libtarvplaces.so.3, else the
# default build's.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
venv="${1:-$root/.venv}"
library="${2:-}"
[ -z "$library" ] || library="$(realpath "$library")"
if [ -z "$library" ]; then
  for preset in release default; do
    if [ -f "$root/build/$preset/src/capi/libtarvplaces.so.3" ]; then
      library="$root/build/$preset/src/capi/libtarvplaces.so.3"
      break
    fi
  done
fi
if [ -z "$library" ] || [ ! -f "$library" ]; then
  echo "install-python: no libtarvplaces.so.3: build first (cmake --build --preset default)" >&2
  exit 2
fi
[ -x "$venv/bin/python" ] || /usr/bin/python3 -m venv --system-site-packages "$venv"
# The build tree of setuptools goes to a scratch folder, not into python/.
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
cp -r "$root/python/." "$work/"
# The compiled Atlas.place needs this Python's headers (python3-dev);
# without them the package works through ctypes alone.
include=""
if "$venv/bin/python" -c 'import os, sys, sysconfig; sys.exit(not os.path.isfile(os.path.join(sysconfig.get_paths()["include"], "Python.h")))'; then
  include="$root/include"
else
  echo "install-python: no Python.h for $venv/bin/python (python3-dev): Atlas.place goes through ctypes" >&2
fi
TARVPLACES_LIBRARY="$library" TARVPLACES_INCLUDE="$include" "$venv/bin/pip" install --quiet --no-build-isolation --no-index \
  --force-reinstall "$work"
echo "installed tarvplaces into $venv with $library"
