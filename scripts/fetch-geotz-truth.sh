#!/usr/bin/env bash
# Installs geo-tz 8.1.9 and its runtime dependencies at the versions and
# integrity hashes of tests/acceptance/geotz-truth/package-lock.json into
# .cache/geotz-truth: the zone boundaries the acceptance check of the zone
# map holds the atlas against. Idempotent: an install made from the same
# lock is kept. Prints the folder on success; fails loudly otherwise.
set -euo pipefail
cd "$(dirname "$0")/.."

source_dir=tests/acceptance/geotz-truth
target=.cache/geotz-truth
stamp="$target/.installed"
want="$(sha256sum "$source_dir/package.json" "$source_dir/package-lock.json" | sha256sum | cut -d' ' -f1)"

check() {
  (cd "$target" && node -e '
    const version = JSON.parse(require("fs").readFileSync("node_modules/geo-tz/package.json")).version;
    if (version !== "8.1.9") throw new Error("geo-tz " + version + " installed, 8.1.9 wanted");
    const zone = require("geo-tz/all").find(48.137, 11.575)[0];
    if (zone !== "Europe/Berlin") throw new Error("geo-tz answers " + zone + " for Munich");
  ')
}

if [ -f "$stamp" ] && [ "$(cat "$stamp")" = "$want" ] && check 2>/dev/null; then
  echo "$target"
  exit 0
fi

command -v npm >/dev/null || { echo "fetch-geotz-truth: npm is missing (apt-get install npm)" >&2; exit 1; }
echo "fetch-geotz-truth: installing geo-tz 8.1.9 into $target" >&2
rm -rf "$target"
mkdir -p "$target"
cp "$source_dir/package.json" "$source_dir/package-lock.json" "$target/"
# npm ci installs exactly the lock's versions and refuses any whose
# integrity hash differs.
if ! (cd "$target" && npm ci --ignore-scripts --no-audit --no-fund --loglevel=error >&2); then
  rm -rf "$target"
  echo "fetch-geotz-truth: npm ci failed" >&2
  exit 1
fi
if ! check; then
  rm -rf "$target"
  echo "fetch-geotz-truth: the installed geo-tz does not work" >&2
  exit 1
fi
echo "$want" >"$stamp"
echo "$target"
