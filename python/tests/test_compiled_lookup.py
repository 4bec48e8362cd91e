"""Atlas.place through the compiled lookup (tarvplaces._lookup) gives, field
for field, the record the ctypes path gives, whatever the answer holds, and
raises as it raises."""

import datetime
import importlib.machinery
import os
import pathlib
import shutil
import subprocess
import sys
import threading

import pytest

import tarvplaces

SUMMER_1980 = datetime.datetime(1980, 7, 1, 12, 0)
REPEATED = datetime.datetime(2010, 10, 31, 2, 30)

QUESTIONS = [
    ("München", "D", None),
    ("München", "D", SUMMER_1980),
    ("Munich", "DE", SUMMER_1980),  # another of its names
    ("Москва", "RUS", None),
    ("Paris", None, None),  # every country; a timetable's answer
    ("Mün*", "D", datetime.date(1980, 7, 1)),
    ("München", "D", datetime.datetime(1850, 1, 1, 12)),  # mean time
    ("München", "D", datetime.datetime(1999, 3, 28, 2, 30)),  # skipped: a gap
    ("München", "D", REPEATED),  # two readings
    ("München", "D", REPEATED.replace(fold=1)),
    ("Haparanda", "S", datetime.datetime(2020, 1, 15, 12)),  # Finland's clock 456 m away
    ("Xyzzyville", "D", None),
]


def by_ctypes(monkeypatch, call):
    with monkeypatch.context() as patch:
        patch.setattr(tarvplaces, "_compiled_lookup", None)
        return call()


@pytest.fixture(autouse=True)
def compiled():
    if tarvplaces._compiled_lookup is None:
        if os.environ.get("TARV_TEST_COMPILED_LOOKUP"):
            pytest.fail("the build made tarvplaces._lookup, but the package did not load it")
        pytest.skip("no compiled lookup beside this library")


@pytest.mark.parametrize("name, country, when", QUESTIONS)
def test_the_same_record_as_through_ctypes(atlas, monkeypatch, name, country, when):
    compiled = atlas.place(name, country, when)
    through_ctypes = by_ctypes(monkeypatch, lambda: atlas.place(name, country, when))
    assert compiled == through_ctypes
    # == takes True for 1 and 0.0 for 0: the types must agree too.
    assert [type(v) for v in compiled or ()] == [type(v) for v in through_ctypes or ()]
    assert compiled is None or type(compiled) is tarvplaces.Place


@pytest.mark.parametrize(
    "name, country, when, made_in_c",
    [
        ("München", "D", None, True),
        ("München", "D", SUMMER_1980, True),
        ("München", "D", datetime.datetime(1999, 3, 28, 2, 30), False),  # a gap
        ("München", "D", REPEATED, False),  # two readings
        ("Haparanda", "S", datetime.datetime(2020, 1, 15, 12), False),  # a nearby zone
    ],
)
def test_common_records_are_made_in_c_the_rest_by_python(atlas, name, country, when, made_in_c):
    from tarvplaces import _native

    answer = tarvplaces._compiled_lookup.place(
        atlas._open_handle().value,
        name.encode(),
        country.encode(),
        tarvplaces._local_time(when),
        _native.PlaceStruct(),
    )
    assert type(answer) is (tarvplaces.Place if made_in_c else int)
    assert made_in_c or answer == _native.OK


def test_a_module_that_does_not_load_leaves_ctypes(atlas_folder, tmp_path):
    """A damaged or foreign _lookup beside the library: the package still
    imports, and place answers through ctypes."""
    library = pathlib.Path(tarvplaces.lib._name).resolve()
    shutil.copyfile(library, tmp_path / library.name)
    (tmp_path / f"_lookup{importlib.machinery.EXTENSION_SUFFIXES[0]}").write_bytes(b"not a library")
    script = (
        "import tarvplaces, sys; "
        "assert tarvplaces._compiled_lookup is None; "
        "print(tarvplaces.Atlas(sys.argv[1]).place('München', 'D').zone)"
    )
    package_parent = pathlib.Path(tarvplaces.__file__).resolve().parents[1]
    environment = dict(os.environ, TARVPLACES_LIBRARY=str(tmp_path / library.name), PYTHONPATH=str(package_parent))
    done = subprocess.run(
        [sys.executable, "-c", script, str(atlas_folder)],
        env=environment,
        capture_output=True,
        text=True,
    )
    assert (done.returncode, done.stdout) == (0, "MET\n"), done.stderr


def test_user_places_and_atlas_codes(atlas_copy, monkeypatch):
    with tarvplaces.Atlas(atlas_copy) as atlas:
        atlas.add_place("D", "Py Kompiliert", 11.6, 48.1)
        for args, kwargs in [(("Py Kompiliert", "D", SUMMER_1980), {}), (("Soyapango",), {"code": "ES"})]:
            compiled = atlas.place(*args, **kwargs)
            assert compiled == by_ctypes(monkeypatch, lambda: atlas.place(*args, **kwargs))
        assert atlas.place("Py Kompiliert", "D").user_place


@pytest.mark.parametrize(
    "args, error, match",
    [
        (("München", "XX"), tarvplaces.UnknownCountryError, "XX"),
        ((5, "D"), TypeError, "name"),
        (("München", "D", SUMMER_1980.replace(tzinfo=datetime.timezone.utc)), ValueError, "naive"),
        (("München", "D", "1980-07-01"), TypeError, "when"),
        (("Mü\0nchen", "D"), ValueError, None),
    ],
)
def test_refusals_are_the_same(atlas, monkeypatch, args, error, match):
    with pytest.raises(error, match=match):
        atlas.place(*args)
    with pytest.raises(error, match=match):
        by_ctypes(monkeypatch, lambda: atlas.place(*args))


def test_a_closed_atlas_is_refused(atlas_folder):
    atlas = tarvplaces.Atlas(atlas_folder)
    atlas.close()
    with pytest.raises(ValueError, match="closed"):
        atlas.place("München", "D")


def test_threads_looking_up_at_once_get_their_own_answers(atlas):
    """The lookup runs without the interpreter lock; each thread's struct
    and record stay its own."""
    expected = {name: atlas.place(name, "D", SUMMER_1980) for name in ("München", "Berlin", "Hamburg")}
    wrong = []

    def look_up(name):
        for _ in range(2000):
            if atlas.place(name, "D", SUMMER_1980) != expected[name]:
                wrong.append(name)

    threads = [threading.Thread(target=look_up, args=(name,)) for name in expected]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert wrong == []
