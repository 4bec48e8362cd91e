#!/usr/bin/env bash
# Fetches the open data (when needed) and builds the default atlas into
# build/atlas with the tool of the given preset (default: release).
set -euo pipefail
cd "$(dirname "$0")/.."
preset="${1:-release}"

bash scripts/fetch-data.sh
tool="build/$preset/apps/tarvplaces"
"$tool" build-atlas --out build/atlas.new
rm -rf build/atlas
mv build/atlas.new build/atlas
