"""The Python host of the hostile-atlas suite: the protocol of hostile_host.c
(questions on stdin, one answer line each) through the tarvplaces package."""
import datetime
import sys

import tarvplaces


def found(p):
    if p is None:
        return "1 not found"
    return (f"0 {p.name} ({p.country}) {p.longitude:.5f} {p.latitude:.5f} tt{p.timetable} "
            f"{p.zone} {int(p.utc_offset.total_seconds())} lmt{int(p.is_lmt)} "
            f"kind{p.local_time} {p.iana}")


def answer(atlas, kind, *fields):
    if kind in ("place", "placefile"):
        name = open(fields[0], encoding="utf-8").read() if kind == "placefile" else fields[0]
        when = datetime.datetime.fromisoformat(fields[2]) if len(fields) == 3 else None
        return found(atlas.place(name, code=fields[1], when=when))
    if kind == "nearest":
        return found(atlas.nearest(fields[0], float(fields[1]), float(fields[2])))
    if kind == "search":
        places = atlas.search(fields[0], code=fields[1])
        return f"0 {len(places)}:" + "".join(" " + p.name for p in places) if places else "1 not found"
    if kind == "add":
        atlas.add_place(fields[0], fields[1], float(fields[2]), float(fields[3]))
        return "0 added"
    return f"2 unknown question {kind}"


def main():
    try:
        atlas, opened = tarvplaces.Atlas(sys.argv[1]), None
    except Exception as error:  # the atlas would not open: every question says why
        atlas, opened = None, error
    for line in sys.stdin:
        try:
            if opened is not None:
                raise opened
            print(answer(atlas, *line.rstrip("\r\n").split("\t")), flush=True)
        except (tarvplaces.AtlasError, ValueError, LookupError, OSError) as error:
            print(f"2 {type(error).__name__}: {error}", flush=True)


if __name__ == "__main__":
    main()
