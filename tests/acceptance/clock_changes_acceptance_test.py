"""Repeated and skipped local times against Python's zoneinfo: the examples
people ask about (Paris 1983, Kyiv 1941), then 3,000 random places of
GeoNames' cities500, each at a random change of its zone's clock between
1900 and 2100. Every local time the clocks went through twice must be
flagged "repeated" with both readings as zoneinfo gives them for fold 0 and
fold 1; every one they jumped over "skipped" with the gap's ends and the
offsets on either side; a datetime with fold=1 gets the later reading.

The atlas is $TARV_ZONE_MAP_ATLAS (the default atlas), read through the
Python package; the places and the zone of each come from the atlas."""

import bisect
import datetime
import os
import pathlib
import random
import sys
import zoneinfo

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
import zone_map_acceptance as places_source  # noqa: E402

import tarvplaces  # noqa: E402

PLACES = 3000
SEED = 20261127
FIRST_YEAR, LAST_YEAR = 1900, 2100
UTC = datetime.timezone.utc
HOUR = datetime.timedelta(hours=1)
# Clocks are sampled weekly, then each change found to the second: no zone
# changes its clock twice within a week.
STEP = datetime.timedelta(days=7)


@pytest.fixture(scope="module")
def atlas():
    folder = os.environ.get("TARV_ZONE_MAP_ATLAS")
    if not folder or not pathlib.Path(folder, "Zones.hst").exists():
        pytest.skip("the default atlas is not built (scripts/build-atlas.sh)")
    return tarvplaces.Atlas(folder)


def offset_at(zone, instant):
    return instant.astimezone(zone).utcoffset()


def is_mean_time(zone, instant):
    return instant.astimezone(zone).tzname() == "LMT"


class Changes:
    """Every change of a zone's UTC offset 1900-2100 as (instant, before,
    after), changes out of or into local mean time left out: the atlas's
    local mean time is the place's own, not the zone's."""

    def __init__(self):
        self._zones = {}

    def of(self, name):
        if name not in self._zones:
            self._zones[name] = self._find(zoneinfo.ZoneInfo(name))
        return self._zones[name]

    @staticmethod
    def _find(zone):
        changes = []
        at = datetime.datetime(FIRST_YEAR, 1, 1, tzinfo=UTC)
        end = datetime.datetime(LAST_YEAR + 1, 1, 1, tzinfo=UTC)
        offset = offset_at(zone, at)
        while at < end:
            following = at + STEP
            if offset_at(zone, following) != offset:
                low, high = at, following  # offset(low) is the old one
                while high - low > datetime.timedelta(seconds=1):
                    middle = low + (high - low) / 2
                    middle = middle.replace(microsecond=0)
                    if offset_at(zone, middle) == offset:
                        low = middle
                    else:
                        high = middle
                after = offset_at(zone, high)
                if not is_mean_time(zone, low) and not is_mean_time(zone, high):
                    changes.append((high, offset, after))
                offset = after
                at = high
            else:
                at = following
        return changes


def local_times(change, rng):
    """(kind, local time) around a change: one within the gap or the
    repetition, one just before it."""
    instant, before, after = change
    first = (instant + min(before, after)).replace(tzinfo=None)  # where the stretch begins
    last = (instant + max(before, after)).replace(tzinfo=None)
    seconds = int((last - first).total_seconds())
    inside = first + datetime.timedelta(seconds=rng.randrange(seconds))
    kind = "repeated" if after < before else "skipped"
    return [(kind, inside), ("normal", first - datetime.timedelta(minutes=1))]


def test_paris_and_kyiv_read_both_ways(atlas):
    autumn = datetime.datetime(1983, 9, 25, 2, 30)
    p = atlas.place("Paris", "FR", autumn)
    assert p.local_time == "repeated" and p.utc_offset == 2 * HOUR
    assert [r.utc_offset for r in p.readings] == [2 * HOUR, HOUR]
    assert [r.default for r in p.readings] == [True, False]
    assert [r.tz_abbreviation for r in p.readings] == ["CEST", "CET"]
    later = atlas.place("Paris", "FR", autumn.replace(fold=1))
    assert later.utc_offset == HOUR and later.tz_abbreviation == "CET"
    assert later.readings == p.readings

    spring = atlas.place("Paris", "FR", datetime.datetime(1983, 3, 27, 2, 30))
    assert spring.local_time == "skipped" and spring.readings == ()
    assert spring.gap == tarvplaces.Gap(
        datetime.datetime(1983, 3, 27, 2), datetime.datetime(1983, 3, 27, 3), HOUR, 2 * HOUR
    )
    assert spring.utc_offset == 2 * HOUR  # the clock after the gap, as always

    kyiv = datetime.datetime(1941, 9, 19, 23, 30)
    k = atlas.place("Kyiv", "UA", kyiv)
    assert k.local_time == "repeated"
    assert [r.utc_offset for r in k.readings] == [3 * HOUR, 2 * HOUR]
    assert atlas.place("Kyiv", "UA", kyiv.replace(fold=1)).utc_offset == 2 * HOUR
    # A time the clocks went through once has neither.
    once = atlas.place("Paris", "FR", datetime.datetime(1983, 7, 1, 12))
    assert once.local_time == "normal" and once.readings == () and once.gap is None


def test_random_changes_agree_with_zoneinfo(atlas):
    rng = random.Random(SEED)
    cities = places_source.read_places(places_source.CITIES)
    changes = Changes()
    known_country = {}
    tried = repeated = skipped = 0
    wrong = []
    while tried < PLACES:
        geonameid, name, _, argument, lon, lat, _ = rng.choice(cities)
        if argument not in known_country:
            known_country[argument] = atlas.country(argument) is not None
        if not known_country[argument]:
            continue
        found = atlas.nearest(argument, lon, lat, range=places_source.PLACE_RANGE_DEGREES, when=datetime.date(2000, 1, 1))
        if found is None or not found.iana or not found.own_history:
            continue
        zone_changes = changes.of(found.iana)
        if not zone_changes:
            continue
        tried += 1
        change = rng.choice(zone_changes)
        zone = zoneinfo.ZoneInfo(found.iana)
        for kind, local in local_times(change, rng):
            earlier = local.replace(tzinfo=zone, fold=0).utcoffset()
            later_offset = local.replace(tzinfo=zone, fold=1).utcoffset()
            p = atlas.nearest(argument, lon, lat, range=places_source.PLACE_RANGE_DEGREES, when=local)
            folded = atlas.nearest(argument, lon, lat, range=places_source.PLACE_RANGE_DEGREES, when=local.replace(fold=1))
            case = f"{geonameid} {name} ({found.iana}) at {local.isoformat()}"
            if kind == "repeated":
                repeated += 1
                ok = (
                    p.local_time == "repeated"
                    and [r.utc_offset for r in p.readings] == [earlier, later_offset]
                    and p.utc_offset == earlier
                    and folded.utc_offset == later_offset
                )
            elif kind == "skipped":
                skipped += 1
                instant, before, after = change
                ok = (
                    p.local_time == "skipped"
                    and p.gap is not None
                    and (p.gap.offset_before, p.gap.offset_after) == (earlier, later_offset) == (before, after)
                    and p.gap.start == (instant + before).replace(tzinfo=None)
                    and p.gap.end == (instant + after).replace(tzinfo=None)
                    and p.utc_offset == after
                )
            else:
                ok = p.local_time == "normal" and p.utc_offset == earlier and not p.readings and p.gap is None
            if not ok:
                wrong.append(f"{case}: {kind} expected, atlas {p.local_time} {p.utc_offset} {p.readings} {p.gap}")
    print(
        f"\nclock changes: {tried:,} places, {repeated:,} repeated and {skipped:,} skipped local times and as many"
        f" just before them; {len(wrong)} disagree with zoneinfo"
    )
    assert not wrong, "\n".join(wrong[:50])


def test_changes_are_found_to_the_second():
    berlin = Changes().of("Europe/Berlin")
    instants = [c[0] for c in berlin]
    at = bisect.bisect_left(instants, datetime.datetime(1980, 4, 6, 1, tzinfo=UTC))
    assert berlin[at] == (datetime.datetime(1980, 4, 6, 1, tzinfo=UTC), HOUR, 2 * HOUR)
    # Berlin left local mean time in 1893; the first change counted is 1916's.
    assert berlin[0][0].year == 1916
