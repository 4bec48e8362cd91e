"""The zone map's acceptance check against geo-tz: its parts, then the check
itself on the atlas $TARV_ZONE_MAP_ATLAS names (geo-tz's answers cached in
$TARV_ZONE_MAP_CACHE), which prints the figures."""

import math
import os
import pathlib
import sys

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
import zone_map_acceptance as check  # noqa: E402


@pytest.fixture(scope="module")
def clocks():
    return check.Clocks()


@pytest.fixture(scope="module")
def geotz():
    return check.fetch_geotz()


def test_clocks_compare_every_day_of_the_range(clocks):
    assert clocks.same("Asia/Kolkata", "Asia/Calcutta")  # a link
    assert clocks.same("Europe/Berlin", "Europe/Berlin")
    # Apart only before 1980, and only from 2022 on.
    assert not clocks.same("Europe/Oslo", "Europe/Berlin")
    assert not clocks.same("Europe/Berlin", "Europe/Oslo")
    assert not clocks.same("America/Ciudad_Juarez", "America/Denver")
    assert not clocks.same("Etc/GMT-1", "Africa/Lagos")
    # No zone, or one tzdata does not know, keeps no clock at all.
    assert not clocks.same("", "")
    assert not clocks.same("Nowhere/Atlantis", "Nowhere/Atlantis")
    assert not clocks.same("", "Europe/Berlin")


def haversine(a, b):
    (lon1, lat1), (lon2, lat2) = [(math.radians(lon), math.radians(lat)) for lon, lat in (a, b)]
    h = math.sin((lat2 - lat1) / 2) ** 2 + math.cos(lat1) * math.cos(lat2) * math.sin((lon2 - lon1) / 2) ** 2
    return 2 * check.EARTH_RADIUS_M * math.asin(math.sqrt(h))


@pytest.mark.parametrize(
    "origin", [(11.575, 48.137), (179.9999, -16.5), (-179.9999, 0.0), (0.0, 89.999), (45.0, -89.9)]
)
def test_ring_points_lie_at_the_radius(origin):
    for bearing in range(0, 360, 45):
        lon, lat = check.destination(*origin, bearing, 250.0)
        assert -180.0 <= lon <= 180.0 and -90.0 <= lat <= 90.0
        assert haversine(origin, (lon, lat)) == pytest.approx(250.0, abs=0.01)
    assert check.destination(*(11.575, 48.137), 0.0, 250.0)[1] > 48.137


def test_expected_zone_takes_geotz_only_for_another_clock_of_the_country(clocks):
    serving = check.zones_serving()
    assert "Australia/Melbourne" in serving["AU"] and "Europe/Paris" in serving["MC"]
    # Yarrawonga lies in Victoria; GeoNames files it under Sydney.
    yarrawonga = check.expected_zone("AU", "Australia/Sydney", ["Australia/Melbourne"], serving, clocks)
    assert yarrawonga == "Australia/Melbourne"
    # Lisbon's zone does not serve Spain, whatever geo-tz says at the border.
    assert check.expected_zone("ES", "Europe/Madrid", ["Europe/Lisbon"], serving, clocks) == "Europe/Madrid"
    # The same clock under another name keeps GeoNames' name.
    assert check.expected_zone("IN", "Asia/Kolkata", ["Asia/Calcutta"], serving, clocks) == "Asia/Kolkata"
    # At sea by geo-tz: GeoNames'.
    assert check.expected_zone("PT", "Atlantic/Azores", ["Etc/GMT+2"], serving, clocks) == "Atlantic/Azores"
    # Over Xinjiang the boundaries overlap: GeoNames' zone, or one of its
    # clock (Kashgar keeps Ürümqi's), among them holds,
    # whichever comes first.
    both = ["Asia/Shanghai", "Asia/Urumqi"]
    assert check.expected_zone("CN", "Asia/Urumqi", both, serving, clocks) == "Asia/Urumqi"
    assert check.expected_zone("CN", "Asia/Shanghai", both[::-1], serving, clocks) == "Asia/Shanghai"
    assert check.expected_zone("CN", "Asia/Kashgar", both, serving, clocks) == "Asia/Kashgar"


def test_geotz_answers_in_the_order_asked(geotz, tmp_path):
    points = [(11.575, 48.137), (-30.0, 40.0), (139.69, 35.69), (-3.70, 40.42)]
    assert check.geotz_find(geotz, points, tmp_path / "p.bin") == [
        "Europe/Berlin",
        "Etc/GMT+2",
        "Asia/Tokyo",
        "Europe/Madrid",
    ]
    assert not (tmp_path / "p.bin").exists()
    # Over Ürümqi geo-tz gives both zones whose boundaries overlap there.
    (urumqi,) = check.geotz_find(geotz, [(87.6, 43.8)], tmp_path / "p.bin", "all")
    assert sorted(urumqi.split(" ")) == ["Asia/Shanghai", "Asia/Urumqi"]


def test_distance_to_geotz_boundary(geotz, clocks, tmp_path):
    # The Spanish-Portuguese border on the 41st parallel, to a metre.
    east, west = -5.5, -8.0
    for _ in range(30):
        middle = (east + west) / 2
        (zone,) = check.geotz_find(geotz, [(middle, 41.0)], tmp_path / "b.bin")
        east, west = (middle, west) if zone == "Europe/Madrid" else (east, middle)
    inside = check.destination(east, 41.0, 90.0, 100.0)
    distances = check.boundary_distances(
        geotz, tmp_path, clocks, [(*inside, "Europe/Madrid"), (-3.70, 40.42, "Europe/Madrid")]
    )
    assert distances[0] is not None and distances[0] <= 110.0
    assert distances[1] is None


class FakePointAtlas:
    """Answers geo-tz's zone, except `wrong` at the points in `wrong_at`."""

    def __init__(self, truth, wrong_at=(), wrong="America/Chicago"):
        self.truth = {(lon, lat): zone for lon, lat, zone in truth}
        self.wrong_at = set(wrong_at)
        self.wrong = wrong

    def zone_at(self, lon, lat):
        iana = self.wrong if (lon, lat) in self.wrong_at else self.truth[(lon, lat)]
        return type("PointZone", (), {"iana": iana})


def test_points_are_drawn_once_and_judged(geotz, clocks, tmp_path, capsys):
    points = check.draw_points(geotz, tmp_path, land=300, sea=30)
    assert [zone.startswith("Etc/") for _, _, zone in points] == [False] * 300 + [True] * 30
    assert (tmp_path / "points.bin").stat().st_size == 330 * 16
    # The same seed draws the same points, from the cache or anew.
    assert check.draw_points(geotz, tmp_path, land=300, sea=30) == points
    (tmp_path / "points.tsv").unlink()
    assert check.draw_points(geotz, tmp_path, land=300, sea=30) == points

    assert check.check_points(FakePointAtlas(points), geotz, tmp_path, clocks, 300, 30)
    # One miss in 330 is more than a thousandth, and this one lies far inland.
    inland = next((lon, lat) for lon, lat, zone in points if zone == "Asia/Shanghai")
    assert not check.check_points(FakePointAtlas(points, [inland]), geotz, tmp_path, clocks, 300, 30)
    out = capsys.readouterr().out
    assert "1 misses (1 on land, 0 at sea), 1 farther than 250 m" in out
    assert f"miss {inland[0]:.5f} {inland[1]:.5f}: geo-tz Asia/Shanghai, map America/Chicago; boundary > 250 m" in out


class FakePlaceAtlas:
    def __init__(self, zones):
        self.zones = zones  # (lon, lat) -> the zone of the atlas's place there

    def country(self, argument):
        return None if argument == "XX" else argument

    def nearest(self, argument, lon, lat, range, when):
        assert when is not None and range < 0.001
        zone = self.zones.get((lon, lat))
        return None if zone is None else type("Place", (), {"name": "P", "iana": zone})


def test_places_judged_by_the_expected_clock(geotz, clocks, tmp_path, capsys):
    rows = [
        # id, country, admin1, lat, lon, GeoNames' zone
        ("1", "AU", "07", -36.01923, 145.99973, "Australia/Sydney"),  # Yarrawonga: geo-tz Melbourne
        ("2", "US", "CA", 34.05223, -118.24368, "America/Los_Angeles"),
        ("3", "XX", "", 48.137, 11.575, "Europe/Berlin"),  # a country the atlas lacks
        ("4", "DE", "02", 48.2, 11.6, "Europe/Berlin"),  # no atlas place there
    ]
    cities = tmp_path / "cities.txt"
    cities.write_text(
        "".join(
            f"{i}\tN{i}\tN{i}\t\t{lat}\t{lon}\tP\tPPL\t{cc}\t\t{a1}\t\t\t\t500\t\t1\t{tz}\t2020-01-01\n"
            for i, cc, a1, lat, lon, tz in rows
        )
    )
    good = {(145.99973, -36.01923): "Australia/Melbourne", (-118.24368, 34.05223): "America/Los_Angeles"}
    assert check.check_places(FakePlaceAtlas(good), geotz, tmp_path, clocks, cities)
    out = capsys.readouterr().out
    assert "2 matched to an atlas place, 2 not" in out and "geo-tz's zone expected for 1 " in out
    assert "1 (the atlas knows no country XX)" in out and "1 (no place of DE at the coordinates)" in out

    # GeoNames' zone where geo-tz's keeps another clock of the country: a difference.
    bad = {**good, (145.99973, -36.01923): "Australia/Sydney"}
    assert not check.check_places(FakePlaceAtlas(bad), geotz, tmp_path, clocks, cities)
    assert "differs: 1 N1 (AU," in capsys.readouterr().out


def test_the_map_meets_its_targets():
    atlas = os.environ.get("TARV_ZONE_MAP_ATLAS")
    if not atlas:
        pytest.skip("TARV_ZONE_MAP_ATLAS names no atlas")
    cache = pathlib.Path(os.environ.get("TARV_ZONE_MAP_CACHE", pathlib.Path(atlas).parent / "zone-map-acceptance"))
    assert check.run(pathlib.Path(atlas), cache, check.fetch_geotz())


# Places users met with the wrong clock before the atlas had a map: user
# places entered by coordinates, and atlas places whose GeoNames zone keeps
# another clock than the boundaries of their country (Huế the other way:
# GeoNames' Bangkok would lose South Vietnam's UTC+8, which the place keeps).
# Offsets in hours at local noon, tzdata's.
USER_PLACES = [
    # country, name, longitude, latitude, named zone, date, offset, IANA zone
    ("USIN", "Gary Farm", -87.35, 41.60, None, (1990, 1, 15), -6, "America/Chicago"),
    ("USIN", "Gary East", -87.35, 41.60, "America/New_York", (1990, 1, 15), -5, "America/New_York"),
    ("RCH", "Aysén Farm", -72.0, -45.5, None, (2026, 7, 1), -3, "America/Coyhaique"),
    ("MEX", "Río Bravo Farm", -98.09206, 25.98725, None, (2015, 3, 20), -5, "America/Matamoros"),
]
ATLAS_PLACES = [
    ("Coyhaique", "RCH", (2026, 7, 1), -3, "America/Coyhaique"),
    ("Fernando de Noronha", "BR", (2020, 1, 15), -2, "America/Noronha"),
    ("Huế", "VN", (1972, 7, 1), 8, "Asia/Ho_Chi_Minh"),
    ("Ciudad Río Bravo", "MEX", (2015, 3, 20), -5, "America/Matamoros"),
]


def test_places_users_met_keep_the_clock_of_where_they_lie(tmp_path):
    atlas_folder = os.environ.get("TARV_ZONE_MAP_ATLAS")
    if not atlas_folder:
        pytest.skip("TARV_ZONE_MAP_ATLAS names no atlas")
    import datetime
    import shutil

    sys.path.insert(0, str(check.REPOSITORY / "python"))
    import tarvplaces

    # A copy, so that the user places go into a USER folder of its own.
    copy = tmp_path / "atlas"
    shutil.copytree(atlas_folder, copy, ignore=shutil.ignore_patterns("USER"))
    hours = datetime.timedelta(hours=1)
    with tarvplaces.Atlas(copy) as atlas:
        for country, name, lon, lat, zone, date, offset, iana in USER_PLACES:
            atlas.add_place(country, name, lon, lat, zone=zone)
            place = atlas.place(name, country, datetime.datetime(*date, 12))
            assert (place.iana, place.utc_offset / hours, place.user_place) == (iana, offset, True), name
            if zone is None:
                point = atlas.zone_at(lon, lat, datetime.datetime(*date, 12))
                assert (point.iana, point.utc_offset / hours) == (iana, offset), name
        for name, country, date, offset, iana in ATLAS_PLACES:
            place = atlas.place(name, country, datetime.datetime(*date, 12))
            assert (place.iana, place.utc_offset / hours, place.user_place) == (iana, offset, False), name
    # Without the map the user places keep their timetable's clock (Gary's
    # USIN timetable 0 is Eastern time), and nothing answers bare coordinates.
    (copy / "Zones.map").unlink()
    with tarvplaces.Atlas(tmp_path / "atlas") as atlas:
        place = atlas.place("Gary Farm", "USIN", datetime.datetime(1990, 1, 15, 12))
        assert place.utc_offset / hours == -5
        assert atlas.zone_at(-87.35, 41.60) is None
