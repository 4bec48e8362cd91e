#!/usr/bin/env bash
# Times the zone map's lookups and geo-tz 8.1.9's find on the same 110,000
# points (100,000 on land, 10,000 at sea, the acceptance check's), all warm,
# and prints the lookups per second of each and their ratio to geo-tz's:
# Atlas::ZoneAt (the zone with its clock, labels and flags at an instant),
# Atlas::ZoneNameAt (the IANA zone only, what geo-tz's find answers) and the
# map's search alone. Exits 1 when ZoneAt takes more than 2 us or ZoneNameAt
# is not at least 10 times as fast as geo-tz.
#   bench/zone_map_vs_geotz.sh [BUILD_DIR [ATLAS]]   (build/release, build/atlas)
set -euo pipefail
cd "$(dirname "$0")/.."

build="${1:-build/release}"
atlas="${2:-build/atlas}"
points_dir=build/zone-map-points
passes=5

bench="$build/bench/tarvplaces_bench"
[ -x "$bench" ] || { echo "zone_map_vs_geotz: no $bench (build the benchmarks first)" >&2; exit 1; }
[ -f "$atlas/Zones.map" ] || { echo "zone_map_vs_geotz: $atlas has no Zones.map" >&2; exit 1; }

modules="$(bash scripts/fetch-geotz-truth.sh)"
python3 tests/acceptance/zone_map_acceptance.py --draw-only --geotz "$modules" "$atlas" "$points_dir" >&2
points="$points_dir/points.bin"

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

echo "geo-tz: a first pass, then $passes timed passes over the points" >&2
node tests/acceptance/geotz_find.js "$modules" time "$points" "$passes" >"$work/geotz.json"
echo "ours: Google Benchmark, $passes repetitions" >&2
TARV_ZONE_ATLAS="$atlas" TARV_ZONE_POINTS="$points" "$bench" --benchmark_filter='^ZoneMap/' \
  --benchmark_repetitions="$passes" --benchmark_format=json >"$work/ours.json"

python3 - "$work/geotz.json" "$work/ours.json" <<'EOF'
import json
import sys

geotz = json.load(open(sys.argv[1]))
ours = json.load(open(sys.argv[2]))
best = {}
for run in ours["benchmarks"]:
    if run.get("run_type") != "iteration":
        continue
    if run.get("error_occurred"):
        sys.exit(f"zone_map_vs_geotz: {run['name']}: {run.get('error_message')}")
    # Counters are keys of the run; below 1 some point got no zone.
    if run.get("found", 0.0) < 1.0:
        sys.exit(f"zone_map_vs_geotz: {run['name']} found no zone for some points")
    assert run["time_unit"] == "ns", run["time_unit"]
    name = run["run_name"]
    best[name] = min(best.get(name, float("inf")), run["real_time"])
if not best:
    sys.exit("zone_map_vs_geotz: the benchmark ran no ZoneMap case")

theirs = geotz["best_ns"]
print(f"{geotz['points']:,} points, best of the passes, ns per lookup and lookups per second:")
print(f"  geo-tz find (node)        {theirs:8.1f} ns  {1e9 / theirs:>12,.0f} /s")
passed = True
for name, ns in sorted(best.items(), key=lambda item: -item[1]):
    ratio = theirs / ns
    verdict = "(the search alone, not judged)"
    if name.startswith("ZoneMap/ZoneAt/"):
        ok = ns <= 2000
        passed &= ok
        verdict = "at most 2 us: " + ("ok" if ok else "MISSED")
    elif name == "ZoneMap/ZoneNameAt":
        ok = ratio >= 10
        passed &= ok
        verdict = "at least 10x geo-tz: " + ("ok" if ok else "MISSED")
    print(f"  {name:<25} {ns:8.1f} ns  {1e9 / ns:>12,.0f} /s  {ratio:6.1f}x geo-tz  {verdict}")
print("targets (ZoneAt at most 2,000 ns, ZoneNameAt at least 10x geo-tz): " + ("met" if passed else "NOT met"))
sys.exit(0 if passed else 1)
EOF
