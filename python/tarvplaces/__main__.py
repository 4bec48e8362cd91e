"""A quick look into an atlas from the shell:

    python -m tarvplaces place München D --date 1980-07-01T12:00
    python -m tarvplaces search "Mün*" D

Without --atlas the default atlas answers ($TARV_ATLAS, else the one
installed with the package). Exit status: 0 found, 1 nothing found, 2 a
usage error or an atlas that cannot be read, with one line on stderr.
"""

import argparse
import datetime
import os
import re
import sys

import tarvplaces

FOUND, NOT_FOUND, FAILED = 0, 1, 2
PROGRAM = "python -m tarvplaces"

_DATE = re.compile(r"(\d{4})-(\d{2})-(\d{2})(?:T(\d{2}):(\d{2})(?::(\d{2}))?)?")
_LANGUAGES = {"en": 1, "de": 2}


class _UsageError(Exception):
    pass


class _Parser(argparse.ArgumentParser):
    # argparse would print the whole usage before the message; one line
    # that points at --help keeps a script's log readable.
    def error(self, message):
        raise _UsageError(f"{message} (see {self.prog} --help)")


def _date(text):
    """YYYY-MM-DD (its noon) or YYYY-MM-DDTHH:MM[:SS], a local time."""
    match = _DATE.fullmatch(text)
    if not match:
        raise argparse.ArgumentTypeError(f"{text!r} is no date YYYY-MM-DD[THH:MM]")
    numbers = [int(n) for n in match.groups(default="0")]
    try:
        if match.group(4) is None:
            return datetime.date(*numbers[:3])
        return datetime.datetime(*numbers)
    except ValueError as e:
        raise argparse.ArgumentTypeError(f"{text!r}: {e}") from None


def _offset(delta):
    """UTC+2:00, UTC-3:30; local mean time keeps its seconds (UTC+0:46:18)."""
    seconds = int(delta.total_seconds())
    sign = "-" if seconds < 0 else "+"
    hours, rest = divmod(abs(seconds), 3600)
    minutes, seconds = divmod(rest, 60)
    return f"UTC{sign}{hours}:{minutes:02d}" + (f":{seconds:02d}" if seconds else "")


def _print_place(p, typed, out):
    rows = [("Place", f"{p.name} ({p.country})" + (", user place" if p.user_place else ""))]
    if p.other_name:
        rows.append(("Known as", f"{typed} (another of its names)"))
    if p.country_name:
        rows.append(("Country", p.country_name + (f" ({p.country_iso})" if p.country_iso else "")))
    if p.population:
        rows.append(("Population", str(p.population)))
    rows += [
        ("Longitude", f"{p.longitude:.5f}"),
        ("Latitude", f"{p.latitude:.5f}"),
        ("Timetable", str(p.timetable)),
        ("Zone", f"{p.zone} ({p.zone_name}), {_offset(p.utc_offset)}"),
    ]
    if p.iana:
        long_name = f", {p.zone_long_name}" if p.zone_long_name else ""
        rows.append(("IANA zone", f"{p.iana} ({p.tz_abbreviation}{long_name})"))
    if p.local_time == "skipped":
        rows.append(("Local time", "skipped: clocks were set forward over this time"))
    elif p.local_time == "repeated":
        rows.append(("Local time", "repeated: this time occurred twice"))
    for label, value in rows:
        print(f"{label:<12}{value}", file=out)


def _print_search_line(p, out):
    print(
        f"{p.name:<30}{p.country:<8}{p.longitude:10.5f}{p.latitude:10.5f}  {p.zone:<7} {p.country_name}".rstrip(),
        file=out,
    )


def _say(err, text):
    print(f"{PROGRAM}: " + " ".join(str(text).split("\n")), file=err)


def _where(country):
    return f" in {country}" if country else ""


def _parser():
    parser = _Parser(prog=PROGRAM, description="Places, coordinates and the zone in force at a date.")
    commands = parser.add_subparsers(dest="command", required=True, metavar="{place,search}", parser_class=_Parser)

    def command(name, summary, what):
        sub = commands.add_parser(name, help=summary, description=summary)
        sub.add_argument("text", metavar=what, help="place name; search takes wildcards: Mün*, M?nchen")
        sub.add_argument(
            "country",
            nargs="?",
            metavar="COUNTRY",
            help="country: code, ISO code or name (D, DE, Germany, US-CA); without it every country",
        )
        sub.add_argument(
            "--date", type=_date, help="local date YYYY-MM-DD (its noon) or YYYY-MM-DDTHH:MM; without it standard zones"
        )
        sub.add_argument("--atlas", metavar="DIR", help="atlas folder (default: $TARV_ATLAS, else the installed atlas)")
        sub.add_argument("--lang", choices=sorted(_LANGUAGES), help="language of country and zone names")

    command("place", "the place of that name most people mean, with its coordinates and zone", "NAME")
    command("search", "every place matching a text (at most 50, the most populous first)", "TEXT")
    return parser


def main(argv=None, out=None, err=None):
    out = out or sys.stdout
    err = err or sys.stderr
    try:
        args = _parser().parse_args(argv)
    except _UsageError as e:
        _say(err, e)
        return FAILED
    try:
        with tarvplaces.Atlas(args.atlas) as atlas:
            if args.lang:
                atlas.language = _LANGUAGES[args.lang]
            if args.command == "place":
                place = atlas.place(args.text, args.country, when=args.date)
                if place is None:
                    _say(err, f'no place "{args.text}"{_where(args.country)}')
                    return NOT_FOUND
                _print_place(place, args.text, out)
            else:
                places = atlas.search(args.text, args.country, when=args.date)
                if not places:
                    _say(err, f'no place matches "{args.text}"{_where(args.country)}')
                    return NOT_FOUND
                for place in places:
                    _print_search_line(place, out)
    except (tarvplaces.AtlasError, tarvplaces.UnknownCountryError, ValueError) as e:
        # ValueError: what the library refuses (a text too long, a wildcard
        # in a country); the message says which.
        _say(err, e)
        return FAILED
    return FOUND


if __name__ == "__main__":
    try:
        status = main()
        sys.stdout.flush()
    except BrokenPipeError:
        # A reader that stopped early (| head) is no error; what is left in
        # the buffer goes nowhere instead of failing again at exit.
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        status = FOUND
    sys.exit(status)
