"""python -m tarvplaces as a shell user runs it: a new interpreter with the
environment of the tests (PYTHONPATH, TARVPLACES_LIBRARY)."""

import os
import subprocess
import sys

import pytest


def run(*args, env=None):
    result = subprocess.run(
        [sys.executable, "-m", "tarvplaces", *map(str, args)],
        capture_output=True,
        text=True,
        env=env,
        timeout=60,
    )
    return result.returncode, result.stdout, result.stderr


def test_place_prints_coordinates_and_the_zone_at_the_date(atlas_folder):
    status, out, err = run("place", "München", "D", "--date", "1980-07-01T12:00", "--atlas", atlas_folder)
    assert (status, err) == (0, "")
    lines = out.splitlines()
    assert lines[0] == "Place       München (D)"
    assert "Longitude   11.57549" in lines and "Latitude    48.13743" in lines
    assert "Zone        MET/S (Central European Summer Time), UTC+2:00" in lines
    assert any(line.startswith("IANA zone   Europe/Berlin (CEST") for line in lines)


@pytest.mark.parametrize(
    "args, offset",
    [
        (("München", "D", "--date", "1850-01-01"), "UTC+0:46:18"),  # local mean time keeps its seconds
        (("New York", "USNY", "--date", "1980-01-15"), "UTC-5:00"),
        (("Mumbai", "IND"), "UTC+5:30"),
    ],
)
def test_offsets_west_and_in_half_hours(atlas_folder, args, offset):
    status, out, _ = run("place", *args, "--atlas", atlas_folder)
    assert status == 0
    assert [line for line in out.splitlines() if line.startswith("Zone")][0].endswith(offset)


def test_search_lists_one_place_a_line_and_the_default_atlas_answers(atlas_folder):
    env = dict(os.environ, TARV_ATLAS=str(atlas_folder))
    status, out, err = run("search", "Münch*", "D", env=env)
    assert (status, err) == (0, "")
    names = [line[:30].rstrip() for line in out.splitlines()]
    assert names[:4] == ["Münchberg", "Müncheberg", "Münchehofe", "München"]
    assert out.splitlines()[3].split()[1:4] == ["D", "11.57549", "48.13743"]


@pytest.mark.parametrize(
    "args, status",
    [
        (("place", "Xyzzyville", "D"), 1),
        (("search", "Xyzzy*", "D"), 1),
        (("place", "München", "Xanadu"), 2),
        (("place", "München", "D", "--date", "1980-13-01"), 2),
        (("place", "München", "D", "--date", "tomorrow"), 2),
        (("place",), 2),
        (("locate", "München"), 2),
    ],
)
def test_nothing_found_and_usage_errors_say_so_in_one_line(atlas_folder, args, status):
    code, out, err = run(*args, "--atlas", atlas_folder)
    assert (code, out) == (status, "")
    assert len(err.splitlines()) == 1 and err.startswith("python -m tarvplaces: ")


def test_a_folder_without_an_atlas_is_an_error(tmp_path):
    status, out, err = run("place", "München", "D", "--atlas", tmp_path)
    assert (status, out) == (2, "")
    assert len(err.splitlines()) == 1 and str(tmp_path) in err
