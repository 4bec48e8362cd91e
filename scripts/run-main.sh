#!/usr/bin/env bash
# Sets everything up, builds the release configuration and runs the main job:
# the country list of the sample atlas and a country lookup.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release >/dev/null

tool=build/release/apps/tarvplaces
"$tool" countries
echo
"$tool" country "Österr"
