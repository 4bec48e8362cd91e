"""The Python host of the hostile-atlas suite: the protocol of hostile_host.c
(questions on stdin, one answer line each) through the tarvplaces package."""
import datetime
import sys

import tarvplaces


def describe(p):
    return (f"{p.name} ({p.country}) {p.longitude:.5f} {p.latitude:.5f} tt{p.timetable} "
            f"{p.zone} {int(p.utc_offset.total_seconds())} lmt{int(p.is_lmt)} "
            f"kind{p.local_time} {p.iana}")


def answer(atlas, fields):
    kind = fields[0]
    if kind in ("place", "placefile"):
        name = open(fields[1], encoding="utf-8").read() if kind == "placefile" else fields[1]
        when = datetime.datetime.fromisoformat(fields[3]) if len(fields) == 4 else None
        place = atlas.place(name, code=fields[2], when=when)
        return "1 not found" if place is None else "0 " + describe(place)
    if kind == "nearest":
        place = atlas.nearest(fields[1], float(fields[2]), float(fields[3]))
        return "1 not found" if place is None else "0 " + describe(place)
    if kind == "search":
        places = atlas.search(fields[1], code=fields[2])
        if not places:
            return "1 not found"
        return f"0 {len(places)}:" + "".join(" " + p.name for p in places)
    if kind == "add":
        atlas.add_place(fields[1], fields[2], float(fields[3]), float(fields[4]))
        return "0 added"
    return f"2 unknown question {kind}"


def main():
    try:
        atlas = tarvplaces.Atlas(sys.argv[1])
        opened = None
    except Exception as error:  # the atlas would not open: every question says why
        atlas, opened = None, error
    for line in sys.stdin:
        fields = line.rstrip("\r\n").split("\t")
        try:
            if opened is not None:
                raise opened
            print(answer(atlas, fields), flush=True)
        except (tarvplaces.AtlasError, ValueError, LookupError, OSError) as error:
            print(f"2 {type(error).__name__}: {error}", flush=True)


if __name__ == "__main__":
    main()
