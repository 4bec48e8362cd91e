import concurrent.futures
import ctypes
import datetime

import pytest

import tarvplaces
from tarvplaces import _native

SUMMER_1980 = datetime.datetime(1980, 7, 1, 12, 0)


class TestPlace:
    def test_place_with_the_zone_at_a_local_date(self, atlas):
        p = atlas.place("München", "D", when=SUMMER_1980)
        assert (p.name, p.country, p.longitude, p.latitude, p.timetable) == ("München", "D", 11.57549, 48.13743, 1)
        assert (p.zone, p.zone_name) == ("MET/S", "Central European Summer Time")
        assert (p.utc_offset, p.is_lmt, p.local_time) == (datetime.timedelta(hours=2), False, "normal")

    def test_the_iana_zone_and_its_names_at_the_date(self, atlas):
        before = atlas.language
        try:
            atlas.language = 1
            p = atlas.place("Seoul", "ROK", when=datetime.datetime(1987, 7, 1, 12, 0))
            atlas.language = 2
            german = atlas.place("Seoul", "ROK", when=datetime.datetime(1980, 7, 1, 12, 0))
        finally:
            atlas.language = before
        assert (p.iana, p.tz_abbreviation, p.zone_long_name) == ("Asia/Seoul", "KDT", "Korean Daylight Time")
        assert p.own_history and p.utc_offset == datetime.timedelta(hours=10)
        assert (german.tz_abbreviation, german.zone_long_name) == ("KST", "Koreanische Normalzeit")

    def test_without_a_date_the_standard_zone(self, atlas):
        p = atlas.place("München", "D")
        assert (p.zone, p.utc_offset) == ("MET", datetime.timedelta(hours=1))

    def test_a_date_means_its_noon(self, atlas):
        assert atlas.place("Berlin", "D", when=datetime.date(1980, 7, 1)).zone == "MET/S"

    def test_localize_gives_an_aware_time_at_the_offset(self, atlas):
        aware = atlas.place("München", "D", when=SUMMER_1980).localize(SUMMER_1980)
        assert aware.utcoffset() == datetime.timedelta(hours=2)
        assert aware.astimezone(datetime.timezone.utc) == datetime.datetime(1980, 7, 1, 10, 0, tzinfo=datetime.timezone.utc)

    def test_local_mean_time_is_the_places_own(self, atlas):
        p = atlas.place("München", "D", when=datetime.datetime(1850, 1, 1, 12, 0))
        assert p.is_lmt and p.zone_id == 0
        # 11.57549 degrees east: 46 minutes 18 seconds.
        assert p.utc_offset == datetime.timedelta(seconds=2778)

    def test_skipped_and_repeated_hours(self, atlas):
        assert atlas.place("Berlin", "D", when=datetime.datetime(1999, 3, 28, 2, 30)).local_time == "skipped"
        assert atlas.place("Berlin", "D", when=datetime.datetime(2010, 10, 31, 2, 30)).local_time == "repeated"

    def test_countries_by_iso_code_or_name_or_every_country(self, atlas):
        p = atlas.place("München", "DE")
        assert (p.country, p.country_iso, p.population > 1_000_000) == ("D", "DE", True)
        assert atlas.place("Soyapango", "ES") is None  # Spain
        assert atlas.place("Soyapango", code="ES").country_iso == "SV"  # the atlas's El Salvador
        assert atlas.place("Paris").country == "F"
        munich = atlas.place("Munich", "Allemagne")
        assert (munich.name, munich.other_name) == ("München", True)
        assert len(atlas.search("Par*")) == 50
        assert atlas.country("CA-QC").code == "CDN"
        assert atlas.country(code="ES").title == "El Salvador"
        assert atlas.country("Xanadu") is None
        with pytest.raises(TypeError):
            atlas.place("Paris", "F", code="F")

    def test_nothing_found_is_none_and_an_unknown_country_an_error(self, atlas):
        assert atlas.place("Xyzzyville", "D") is None
        with pytest.raises(tarvplaces.UnknownCountryError, match='"ZZZ"'):
            atlas.place("München", "ZZZ")

    def test_other_scripts_and_successor_codes(self, atlas):
        p = atlas.place("Москва", "RUS")
        assert (p.name, p.country) == ("Moskva", "SSR")


class TestLists:
    def test_search_returns_every_match(self, atlas):
        places = atlas.search("Mün*", "D")
        assert len(places) > 10
        assert all(p.name.startswith("Mün") for p in places)
        assert [p.name for p in places].count("München") == 1

    def test_search_in_a_group_gives_each_places_country(self, atlas):
        assert {p.country for p in atlas.search("Wien", "EUROPA")} >= {"A"}

    def test_search_that_finds_nothing_is_empty(self, atlas):
        assert atlas.search("Xyzzyville", "D") == []

    def test_nearest(self, atlas):
        assert atlas.nearest("D", 11.58, 48.14).name == "München"
        assert atlas.nearest("D", 0.0, 0.0, range=1.0) is None

    def test_countries_zones_and_timetables(self, atlas):
        germany = next(c for c in atlas.countries() if c.code == "D")
        assert (germany.title, germany.english, germany.timetables) == ("Deutschland", "Germany", 3)
        zones = atlas.zones()
        assert len(zones) == 287 and zones[2].abbreviation == "MET"
        entries = atlas.timetable("D", 1)
        assert entries[0].start == datetime.datetime(1700, 1, 1) and entries[0].zone.is_lmt
        assert [e.start for e in entries] == sorted(e.start for e in entries)
        assert any(e.start.year == 1980 and e.zone.abbreviation == "MET/S" for e in entries)

    def test_folder_and_language(self, atlas, atlas_folder):
        assert atlas.folder == str(atlas_folder)
        atlas.language = 1
        assert atlas.language == 1
        atlas.language = 2
        assert atlas.language == 2


class TestChanges:
    def test_user_places_are_added_and_deleted(self, atlas_copy):
        with tarvplaces.Atlas(atlas_copy) as atlas:
            assert atlas.add_place("D", "Neustadt Py", 10.25, 50.5, timetable=1) == []
            p = atlas.place("Neustadt Py", "D")
            assert p.user_place and p.longitude == pytest.approx(10.25)
            assert atlas.delete_place("D", "Neustadt Py") is True
            assert atlas.place("Neustadt Py", "D") is None
            assert atlas.delete_place("D", "Neustadt Py") is False
            with pytest.raises(ValueError, match="timetable 9"):
                atlas.add_place("D", "Neustadt Py", 10.25, 50.5, timetable=9)
            # Names a search cannot tell apart by their letters are told of.
            assert atlas.add_place("D", "Py Ort 1", 10.25, 50.5) == []
            assert atlas.add_place("D", "Py-Ort 2", 10.5, 50.5) == ["Py Ort 1"]

    def test_export_writes_the_text_files(self, atlas_copy, tmp_path):
        with tarvplaces.Atlas(atlas_copy) as atlas:
            atlas.export(tmp_path / "out")
        header = (tmp_path / "out" / "Cities.txt").read_bytes().split(b"\r\n")[0]
        assert header == b"Country\tCity\tLongitude\tLatitude\tTimetable\tUser"


class TestFaults:
    def test_arguments_are_refused_naming_them(self, atlas):
        # A NUL would end the C string: "D\x00XX" must not answer for D.
        with pytest.raises(ValueError, match="country holds a NUL"):
            atlas.place("München", "D\x00XX")
        with pytest.raises(ValueError, match="timetable 4294967297"):
            atlas.add_place("D", "Ort", 10.0, 50.0, timetable=2**32 + 1)
        with pytest.raises(TypeError, match="longitude must be a number, not str"):
            atlas.nearest("D", "10", 50.0)
        with pytest.raises(TypeError, match="number must be an int"):
            atlas.timetable("D", 1.5)
        with pytest.raises(ValueError, match="latitude 95"):
            atlas.nearest("D", 10.0, 95.0)
        with pytest.raises(ValueError, match="wildcard"):
            atlas.search("Neu*", "D*")
        with pytest.raises(ValueError, match="longer than 256 characters"):
            atlas.search("[" * 1_000_000, "D")

    def test_a_folder_without_an_atlas(self, tmp_path):
        with pytest.raises(tarvplaces.AtlasError, match="Country.dat"):
            tarvplaces.Atlas(tmp_path)

    def test_a_damaged_place_file_names_itself(self, atlas_copy):
        data = (atlas_copy / "D.dao").read_bytes()
        (atlas_copy / "D.dao").write_bytes(data[: len(data) // 2])
        messages = []
        tarvplaces.set_message_sink(lambda title, text, style: messages.append((text, style)))
        try:
            with tarvplaces.Atlas(atlas_copy) as atlas:
                with pytest.raises(tarvplaces.AtlasError, match=r"D\.dao.*corrupt"):
                    atlas.place("München", "D")
                with pytest.raises(tarvplaces.AtlasError, match=r"D\.dao"):
                    atlas.nearest("D", 11.5, 48.1)
                assert atlas.place("Wien", "A").name == "Wien"
        finally:
            tarvplaces.set_message_sink(None)
        assert messages == []  # the exception tells it, no message box as well

    def test_a_malformed_country_table(self, atlas_copy):
        (atlas_copy / "Country.dat").write_bytes(b"58\tDeutschland\r\n")
        with pytest.raises(tarvplaces.AtlasError, match="Country.dat: line 1"):
            tarvplaces.Atlas(atlas_copy)

    def test_two_atlases_see_only_their_own_user_places(self, atlas, atlas_copy):
        with tarvplaces.Atlas(atlas_copy) as other:
            other.add_place("D", "Py Zweitort", 10.5, 50.25, timetable=1)
            assert other.place("Py Zweitort", "D").user_place
            assert atlas.place("Py Zweitort", "D") is None
            assert atlas.place("Wien", "A").name == other.place("Wien", "A").name == "Wien"

    def test_a_closed_atlas(self, atlas_folder):
        atlas = tarvplaces.Atlas(atlas_folder)
        atlas.close()
        atlas.close()
        with pytest.raises(ValueError, match="closed"):
            atlas.place("München", "D")

    def test_bad_arguments(self, atlas):
        with pytest.raises(TypeError):
            atlas.place(b"M\xfcnchen", "D")
        with pytest.raises(ValueError):
            atlas.place("M\udcfcnchen", "D")  # a lone surrogate cannot be UTF-8
        with pytest.raises(ValueError, match="naive"):
            atlas.place("München", "D", when=SUMMER_1980.replace(tzinfo=datetime.timezone.utc))

    def test_the_library_refuses_impossible_local_times(self, atlas):
        # datetime cannot hold 29 February 1999; a C host can pass it.
        place = _native.PlaceStruct()
        when = _native.LocalTime(1999, 2, 29, 12, 0, 0)
        status = _native.lib.tarv_place_lookup(
            atlas._handle, "München".encode(), b"D", ctypes.byref(when), ctypes.byref(place), None
        )
        assert status == _native.E_ARGUMENT
        assert "no such local time" in _native.last_error()

    def test_bytes_that_are_not_utf8_reach_the_library_as_an_error(self, atlas):
        place = _native.PlaceStruct()
        status = _native.lib.tarv_place_lookup(atlas._handle, b"M\xfcnchen", b"D", None, ctypes.byref(place), None)
        assert status == _native.E_UTF8
        assert "not UTF-8" in _native.last_error()


class TestRawInterface:
    """What a ctypes user of the library meets when he gets it wrong."""

    def test_null_pointers(self, atlas):
        place = _native.PlaceStruct()
        assert _native.lib.tarv_place_lookup(None, b"Wien", b"A", None, ctypes.byref(place), None) == _native.E_ARGUMENT
        assert "handle is NULL" in _native.last_error()
        assert _native.lib.tarv_place_lookup(atlas._handle, None, b"A", None, ctypes.byref(place), None) == _native.E_ARGUMENT
        assert _native.lib.tarv_place_lookup(atlas._handle, b"Wien", b"A", None, None, None) == _native.E_ARGUMENT

    def test_a_buffer_too_small_learns_the_size_needed(self, atlas):
        needed = ctypes.c_size_t()
        buffer = ctypes.create_string_buffer(4)
        status = _native.lib.tarv_atlas_folder(atlas._handle, buffer, len(buffer), ctypes.byref(needed))
        assert status == _native.E_BUFFER and buffer.raw == b"\0" * 4
        assert needed.value == len(atlas.folder.encode()) + 1

    def test_a_closed_handle(self, atlas_folder):
        atlas = tarvplaces.Atlas(atlas_folder)
        handle = atlas._handle
        atlas.close()
        place = _native.PlaceStruct()
        assert _native.lib.tarv_place_lookup(handle, b"Wien", b"A", None, ctypes.byref(place), None) == _native.E_HANDLE
        assert "closed" in _native.last_error()
        assert _native.lib.tarv_close(handle) == _native.E_HANDLE


class TestThreads:
    def test_one_atlas_from_two_threads(self, atlas):
        def look_up(name):
            return {(p.name, p.longitude) for p in (atlas.place(name, "D") for _ in range(100))}

        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            munich, berlin = pool.map(look_up, ["München", "Berlin"])
        assert munich == {("München", 11.57549)} and berlin == {("Berlin", 13.41053)}

    def test_two_atlases_from_four_threads_while_one_changes(self, atlas, atlas_copy):
        with tarvplaces.Atlas(atlas_copy) as other:
            def look_up(which, name):
                return {(p.name, p.user_place) for p in (which.place(name, "D") for _ in range(100))}

            def add_and_delete():
                for i in range(10):
                    other.add_place("D", f"Py Faden {i}", 10.5, 50.25, timetable=1)
                    assert other.place(f"Py Faden {i}", "D").user_place
                    other.delete_place("D", f"Py Faden {i}")
                return True

            with concurrent.futures.ThreadPoolExecutor(4) as pool:
                runs = [pool.submit(look_up, atlas, "München"), pool.submit(look_up, other, "Berlin"),
                        pool.submit(look_up, atlas, "Berlin"), pool.submit(add_and_delete)]
                results = [run.result() for run in runs]
            assert results[:3] == [{("München", False)}, {("Berlin", False)}, {("Berlin", False)}]
            assert results[3] and other.place("Py Faden 9", "D") is None
