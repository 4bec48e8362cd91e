"""A warm lookup makes no system call, through the C interface, in each way an
atlas is set up: fresh (no USER folder yet), installed read-only with the
user's places kept elsewhere, and with user places of its own. And a place
another process adds is still found by the very next call.

Runs warm_lookups (warm_lookups.c) under strace and counts the calls traced
between its markers. Needs $TARV_WARM_HOST (the host), $TARV_TEST_ATLAS (the
default atlas) and strace."""

import os
import pathlib
import shutil
import stat
import subprocess

import pytest

HOST = os.environ.get("TARV_WARM_HOST", "")
ATLAS = os.environ.get("TARV_TEST_ATLAS", "")
LOOKUPS = 10_000


def copy_atlas(folder):
    shutil.copytree(ATLAS, folder, ignore=shutil.ignore_patterns("USER"))
    return folder


def read_only(folder):
    for entry in [folder, *folder.iterdir()]:
        mode = entry.stat().st_mode
        entry.chmod(mode & ~(stat.S_IWUSR | stat.S_IWGRP | stat.S_IWOTH))


def calls_between_markers(trace):
    lines = trace.read_text().splitlines()
    begin = next(i for i, line in enumerate(lines) if '"<<begin>>' in line)
    end = next(i for i, line in enumerate(lines) if '"<<end>>' in line)
    return lines[begin + 1 : end]


def setups(tmp):
    fresh = copy_atlas(tmp / "fresh")
    installed = copy_atlas(tmp / "installed")
    read_only(installed)
    own = copy_atlas(tmp / "own")
    subprocess.run([HOST, str(own), "-", "add", "Eigenheim"], check=True)
    return {
        "fresh": (fresh, "-"),
        "installed read-only, user places elsewhere": (installed, str(tmp / "home/.local/share/tarvplaces/USER")),
        "with user places": (own, "-"),
    }


@pytest.mark.skipif(not HOST or not ATLAS, reason="needs $TARV_WARM_HOST and $TARV_TEST_ATLAS")
def test_warm_lookups_make_no_system_call_and_see_other_writers(tmp_path):
    strace = shutil.which("strace")
    assert strace, "strace is missing (scripts/setup.sh installs it)"
    for name, (atlas, user_folder) in setups(tmp_path).items():
        trace = tmp_path / (atlas.name + ".trace")
        host = subprocess.Popen(
            [strace, "-f", "-qq", "-o", str(trace), HOST, str(atlas), user_folder, str(LOOKUPS)],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            text=True,
        )
        try:
            assert host.stdout.readline() == "ready\n", name
            # Another process adds a place while the host waits.
            subprocess.run([HOST, str(atlas), user_folder, "add", "Tarvhausen"], check=True)
            host.stdin.write("go\n")
            host.stdin.flush()
            assert host.stdout.readline() == "found\n", name
        finally:
            host.stdin.close()
            assert host.wait(timeout=120) == 0, name
        calls = calls_between_markers(trace)
        assert calls == [], f"{name}: {len(calls)} system calls in {2 * LOOKUPS} lookups, first {calls[:5]}"
    # The fresh atlas got its USER folder with the counter; the installed one
    # stayed as it was, its user's folder made with the folders above it.
    assert (tmp_path / "fresh/USER/Changes.cnt").is_file()
    assert not (tmp_path / "installed/USER").exists()
    assert (tmp_path / "home/.local/share/tarvplaces/USER/Changes.cnt").is_file()
