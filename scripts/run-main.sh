#!/usr/bin/env bash
# Sets everything up, builds the release configuration and the default atlas
# from open data, and runs the main job: a place lookup with the zone in force
# at a local date.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release >/dev/null
bash scripts/build-atlas.sh release >/dev/null

build/release/apps/tarvplaces place München D --date 1980-07-01T12:00
