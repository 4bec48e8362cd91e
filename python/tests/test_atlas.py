"""The package's side of the C interface: Python values in, records out,
statuses as exceptions. The README's example (test_readme.py) is the
end-to-end lookup; what the atlas answers is the library's tests' business."""

import datetime

import pytest

import tarvplaces

SUMMER_1980 = datetime.datetime(1980, 7, 1, 12, 0)


def test_every_field_of_a_place_is_converted(atlas):
    p = atlas.place("Munich", "DE", when=SUMMER_1980)
    assert (p.name, p.country, p.country_iso, p.other_name, p.user_place) == ("München", "D", "DE", True, False)
    assert (p.iana, p.tz_abbreviation, p.own_history) == ("Europe/Berlin", "CEST", True)
    assert (p.zone_long_name, p.country_name) == ("Mitteleuropäische Sommerzeit", "Deutschland")
    assert atlas.place("Москва", "RUS").name == "Moskva"  # any script in, the atlas's spelling out
    assert p.zone_id > 0 and p.population > 1_000_000


@pytest.mark.parametrize(
    "when, local_time, is_lmt, offset",
    [
        (datetime.datetime(1850, 1, 1, 12, 0), "normal", True, 2778),  # 11.57549 degrees east
        (datetime.datetime(1999, 3, 28, 2, 30), "skipped", False, 7200),
        (datetime.datetime(2010, 10, 31, 2, 30), "repeated", False, 7200),
        (datetime.date(1980, 7, 1), "normal", False, 7200),  # a date means its noon
    ],
)
def test_kinds_of_local_time(atlas, when, local_time, is_lmt, offset):
    p = atlas.place("München", "D", when=when)
    assert (p.local_time, p.is_lmt, p.utc_offset) == (local_time, is_lmt, datetime.timedelta(seconds=offset))


def test_tables_become_records(atlas):
    germany = atlas.country("Allemagne")
    assert (germany.code, germany.title, germany.english, germany.iso) == ("D", "Deutschland", "Germany", "DE")
    assert (germany.zone, germany.continent, germany.timetables, germany.several_zones) == ("MET", "EUROPA", 3, False)
    assert germany in atlas.countries()
    met = atlas.zones()[2]
    assert (met.abbreviation, met.utc_offset, met.kind, met.is_lmt) == ("MET", datetime.timedelta(hours=1), "N", False)
    first, second = atlas.timetable("D", 1)[:2]
    assert first.start == datetime.datetime(1700, 1, 1) and first.zone.is_lmt
    assert second.julian_day > first.julian_day
    assert "München" in [p.name for p in atlas.search("Mün*", "D")]


def test_none_when_nothing_is_found_and_countries_by_atlas_code(atlas):
    assert atlas.place("Xyzzyville", "D") is None
    assert atlas.nearest("D", 0.0, 0.0, range=1.0) is None
    assert atlas.search("Xyzzyville", "D") == []
    assert atlas.country("Xanadu") is None
    assert atlas.place("Soyapango", "ES") is None  # Spain's ISO code
    assert atlas.place("Soyapango", code="ES").country_iso == "SV"  # the atlas's El Salvador
    assert atlas.country(code="ES").title == "El Salvador"
    assert atlas.place("Paris").country == atlas.search("Par*")[0].country == "F"  # every country


REFUSALS = [
    # Refused before the library sees them: a NUL would end the C string.
    (lambda a: a.place("München", "D\x00XX"), ValueError, "country holds a NUL"),
    (lambda a: a.place(b"M\xfcnchen", "D"), TypeError, "name must be a str, not bytes"),
    (lambda a: a.place("M\udcfcnchen", "D"), ValueError, "surrogates not allowed"),
    (lambda a: a.place("München", "D", when=SUMMER_1980.replace(tzinfo=datetime.timezone.utc)), ValueError, "naive"),
    (lambda a: a.place("München", "D", when="1980-07-01"), TypeError, "when must be a datetime or a date"),
    (lambda a: a.place("Paris", "F", code="F"), TypeError, "not both"),
    (lambda a: a.nearest(None, 10.0, 50.0), TypeError, "a country is needed"),
    (lambda a: a.nearest("D", "10", 50.0), TypeError, "longitude must be a number, not str"),
    (lambda a: a.timetable("D", 1.5), TypeError, "number must be an int"),
    (lambda a: a.add_place("D", "Ort", 10.0, 50.0, timetable=2**32 + 1), ValueError, "timetable 4294967297"),
    # The library's statuses.
    (lambda a: a.place("München", "ZZZ"), tarvplaces.UnknownCountryError, '"ZZZ"'),
    (lambda a: a.export("/proc/no-such-folder/export"), tarvplaces.AtlasWriteError, "no-such-folder"),
]


@pytest.mark.parametrize("call, error, match", REFUSALS, ids=[case[2] for case in REFUSALS])
def test_refusals_raise_saying_why(atlas, call, error, match):
    with pytest.raises(error, match=match):
        call(atlas)


def test_damaged_files_raise_naming_the_file_without_a_message_box(atlas_copy):
    data = (atlas_copy / "D.dao").read_bytes()
    (atlas_copy / "D.dao").write_bytes(data[: len(data) // 2])
    messages = []
    tarvplaces.set_message_sink(lambda title, text, style: messages.append(text))
    try:
        with tarvplaces.Atlas(atlas_copy) as atlas:
            for call in (lambda: atlas.place("München", "D"), lambda: atlas.nearest("D", 11.5, 48.1)):
                with pytest.raises(tarvplaces.AtlasError, match=r"D\.dao"):
                    call()
    finally:
        tarvplaces.set_message_sink(None)
    assert messages == []
    (atlas_copy / "Country.dat").write_bytes(b"58\tDeutschland\r\n")
    with pytest.raises(tarvplaces.AtlasError, match="Country.dat: line 1"):
        tarvplaces.Atlas(atlas_copy)


def test_user_places_and_the_export(atlas, atlas_copy, tmp_path):
    with tarvplaces.Atlas(atlas_copy) as other:
        assert other.add_place("D", "Py Ort 1", 10.25, 50.5, timetable=1) == []
        # Names a search cannot tell apart by their letters are told of.
        assert other.add_place("D", "Py-Ort 2", 10.5, 50.5) == ["Py Ort 1"]
        assert other.place("Py Ort 1", "D").user_place
        assert atlas.place("Py Ort 1", "D") is None  # each Atlas its own folder
        assert other.delete_place("D", "Py Ort 1") is True
        assert other.delete_place("D", "Py Ort 1") is False
        with pytest.raises(ValueError, match="timetable 9"):
            other.add_place("D", "Py Ort 3", 10.25, 50.5, timetable=9)
        other.export(tmp_path / "out")
    header = (tmp_path / "out" / "Cities.txt").read_bytes().split(b"\r\n")[0]
    assert header == b"Country\tCity\tLongitude\tLatitude\tTimetable\tUser"


def test_folder_language_and_closing(atlas_folder):
    atlas = tarvplaces.Atlas(atlas_folder)
    assert atlas.folder == str(atlas_folder)
    atlas.language = 1
    assert atlas.language == 1
    atlas.close()
    atlas.close()
    with pytest.raises(ValueError, match="closed"):
        atlas.place("München", "D")


def test_the_default_atlas_and_a_user_folder(atlas_folder, atlas_copy, tmp_path, monkeypatch):
    monkeypatch.setenv("TARV_ATLAS", str(atlas_folder))
    with tarvplaces.Atlas() as default:
        assert default.folder == str(atlas_folder)
    monkeypatch.delenv("TARV_ATLAS")
    with pytest.raises(tarvplaces.AtlasError, match="TARV_ATLAS is not set"):
        tarvplaces.Atlas()  # a build tree has no atlas installed beside the library
    with pytest.raises(ValueError, match="needs an atlas folder"):
        tarvplaces.Atlas(user_folder=tmp_path)
    mine = tmp_path / "data" / "tarvplaces" / "USER"
    with tarvplaces.Atlas(atlas_copy, user_folder=mine) as own:
        own.add_place("D", "Pyweiler", 10.25, 50.5)
        assert own.place("Pyweiler", "D").user_place
    assert (mine / "D.dao").is_file() and not (atlas_copy / "USER" / "D.dao").exists()
    with pytest.raises(ValueError, match="already keeps"):
        tarvplaces.Atlas(atlas_copy, user_folder=tmp_path)


def test_the_zone_at_coordinates(mapped_atlas, unmapped_atlas):
    z = mapped_atlas.zone_at(13.4, 52.5, when=SUMMER_1980)
    assert (z.longitude, z.latitude, z.iana) == (13.4, 52.5, "America/Chicago")
    assert (z.zone, z.tz_abbreviation) == ("CST/S", "CDT")
    assert (z.utc_offset, z.is_lmt, z.local_time) == (datetime.timedelta(hours=-5), False, "normal")
    assert z.zone_long_name == "Nordamerikanische Zentral-Sommerzeit" and z.zone_id > 0
    # Clocks went forward there at 2:00 on 27 April 1980.
    assert mapped_atlas.zone_at(13.4, 52.5, datetime.datetime(1980, 4, 27, 2, 30)).local_time == "skipped"
    assert mapped_atlas.zone_at(13.4, 52.5).iana == "America/Chicago"  # now
    assert mapped_atlas.zone_at(11.5, 48.1, datetime.date(1980, 1, 1)).utc_offset == datetime.timedelta(hours=1)
    assert unmapped_atlas.zone_at(13.4, 52.5) is None  # no map
    with pytest.raises(ValueError, match="latitude"):
        mapped_atlas.zone_at(13.4, 91.0)
    with pytest.raises(TypeError, match="longitude must be a number"):
        mapped_atlas.zone_at("13.4", 52.5)


def test_nearest_tells_the_zone_here_where_it_differs(mapped_atlas, unmapped_atlas):
    p = mapped_atlas.nearest("D", 13.4, 52.5, when=SUMMER_1980)
    assert (p.iana, p.utc_offset) == ("Europe/Berlin", datetime.timedelta(hours=2))
    assert p.zone_here == mapped_atlas.zone_at(13.4, 52.5, when=SUMMER_1980)
    undated = mapped_atlas.nearest("D", 13.4, 52.5)
    assert (undated.zone, undated.iana, undated.zone_here.iana) == ("MET", "", "America/Chicago")
    assert mapped_atlas.nearest("D", 11.575, 48.137, when=SUMMER_1980).zone_here is None
    # Without a map a place is what it always was.
    assert unmapped_atlas.nearest("D", 13.4, 52.5) == undated._replace(zone_here=None)
    assert mapped_atlas.nearest("D", 0.0, 0.0, range=1.0, when=SUMMER_1980) is None


def test_a_user_place_follows_the_map_or_the_zone_named(mapped_atlas):
    mapped_atlas.add_place("D", "Py Chicago", 13.5, 52.6)
    mapped_atlas.add_place("D", "Py Berlin", 13.7, 52.8, zone="Europe/Berlin")
    assert mapped_atlas.place("Py Chicago", "D", when=SUMMER_1980).iana == "America/Chicago"
    berlin = mapped_atlas.place("Py Berlin", "D", when=SUMMER_1980)
    assert (berlin.iana, berlin.utc_offset) == ("Europe/Berlin", datetime.timedelta(hours=2))
    assert mapped_atlas.nearest("D", 13.7, 52.8, when=SUMMER_1980).zone_here.iana == "America/Chicago"
    with pytest.raises(ValueError, match='knows no zone "Test/Nowhere"'):
        mapped_atlas.add_place("D", "Py Nirgends", 13.5, 52.6, zone="Test/Nowhere")
    with pytest.raises(TypeError, match="zone must be a str"):
        mapped_atlas.add_place("D", "Py Nirgends", 13.5, 52.6, zone=5)
    assert mapped_atlas.place("Py Nirgends", "D") is None
