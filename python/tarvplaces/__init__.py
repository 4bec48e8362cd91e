"""Places, their coordinates and the legal time in force there at a date,
from a TarvPlaces atlas, through the C interface of libtarvplaces.so.

    >>> import datetime, tarvplaces
    >>> atlas = tarvplaces.Atlas("build/atlas")
    >>> p = atlas.place("München", "D", when=datetime.datetime(1980, 7, 1, 12, 0))
    >>> p.zone, p.utc_offset
    ('MET/S', datetime.timedelta(seconds=7200))
    >>> atlas.close()

A country is named as people name it: an ISO 3166 code ("DE", "DEU",
"US-CA"), the atlas's own code ("D", "USCA"), a group ("EUROPA", "US") or a
name in English, German, French, Spanish or the country's own language
("Germany", "Allemagne"). Where a code is both an ISO code and another
country's atlas code, the ISO meaning holds ("ES" is Spain); ``code="ES"``
instead of a country (``place``, ``search``, ``country``), or the country
"atlas:ES" anywhere, asks for the atlas's own code (El Salvador). Without a
country, ``place`` and ``search`` look in every country.

Each Atlas answers from its own folder, with its own user places; any
number may be open at once. Calls release the interpreter lock while the
library works, so other threads run meanwhile, on one Atlas or several;
searches that take the library a while run in parallel, while for a single
place taking the lock back costs about what the parallel part gains.

Which atlas
    ``Atlas(folder)`` opens an atlas folder. ``Atlas()`` opens the default
    atlas: the folder $TARV_ATLAS names, else the atlas installed with the
    library (``share/tarvplaces/atlas`` of an installed build, or the
    package's own ``tarvplaces/atlas`` when the package carries one). The
    places a user adds to the default atlas are kept in the user's data
    folder ($XDG_DATA_HOME/tarvplaces/USER, else
    ~/.local/share/tarvplaces/USER; %APPDATA%\\tarvplaces\\USER on
    Windows), never beside the installed atlas.

Records
    Answers are named tuples, immutable and compared by value: ``Place``
    (a place with the zone in force there), ``PointZone`` (the zone in
    force at coordinates), ``Zone`` (an entry of the zone table), ``Country`` (a country, US state or group) and
    ``TimetableEntry`` (a change of zone in a country's timetable). UTC
    offsets are ``datetime.timedelta`` values, east of UTC positive; times
    are naive ``datetime`` values of the local wall clock at the place.

Errors
    ``AtlasError`` (and ``AtlasWriteError``) for a file of the atlas that
    is missing, damaged or cannot be written, naming it, and for no
    atlas at all;
    ``UnknownCountryError`` (a ``LookupError``) for a country nothing
    names; ``TypeError`` and ``ValueError`` for an argument of the wrong
    type or one the library refuses (a text longer than 256 characters, a
    wildcard in a country, coordinates off the globe), naming it, and
    ``ValueError`` for a call on a closed Atlas. Finding nothing is no
    error: ``place`` and ``nearest`` return None, ``search`` an empty list.

The library
    The package loads libtarvplaces.so.3 from $TARVPLACES_LIBRARY, else
    from inside the package, else through the system's loader; importing
    it raises ImportError when there is none. ``__version__`` is the
    library's version ("0.1.0").

From the shell
    ``python -m tarvplaces place NAME [COUNTRY] [--date YYYY-MM-DD[THH:MM]]
    [--atlas DIR]`` prints a place with its coordinates and zone;
    ``python -m tarvplaces search TEXT [COUNTRY] ...`` lists the places a
    text matches. Exit status 0 found, 1 nothing found, 2 an error.
"""

import ctypes
import datetime
import os
import threading
import typing

from . import _native
from ._native import lib

__all__ = [
    "Atlas",
    "AtlasError",
    "AtlasInUseError",
    "AtlasWriteError",
    "Country",
    "Gap",
    "NearZone",
    "Place",
    "PointZone",
    "Reading",
    "Source",
    "TimetableEntry",
    "UnknownCountryError",
    "Zone",
    "set_message_sink",
]

__version__ = lib.tarv_version().decode()


class AtlasError(Exception):
    """An atlas file is missing, malformed or damaged, or there is no atlas
    at all (no folder, no default atlas); the message names the file or the
    folder."""


class AtlasWriteError(AtlasError):
    """A file could not be written: the user's places (``add_place``,
    ``delete_place``) or the text export (``export``); the message names
    it."""


class AtlasInUseError(AtlasError):
    """Kept for hosts that catch it; no longer raised, as any number of
    atlas folders may be open in one process."""


class UnknownCountryError(LookupError):
    """No country or group of that code or name in the atlas ("XX"); the
    message names the text and the atlas."""


_ERRORS = {
    _native.E_ARGUMENT: ValueError,
    _native.E_UTF8: ValueError,
    _native.E_HANDLE: ValueError,
    _native.E_UNKNOWN_COUNTRY: UnknownCountryError,
    _native.E_ATLAS: AtlasError,
    _native.E_WRITE: AtlasWriteError,
    _native.E_ATLAS_IN_USE: AtlasInUseError,
    _native.E_MEMORY: MemoryError,
}


def _check(status):
    """Returns OK or NOT_FOUND; raises for an error."""
    if status >= 0:
        return status
    raise _ERRORS.get(status, RuntimeError)(_native.last_error())


_LOCAL_TIME_KINDS = ("normal", "skipped", "repeated")


# Records are named tuples: immutable like frozen dataclasses, and made in a
# fraction of their time, which is most of what a lookup costs in Python.
class Zone(typing.NamedTuple):
    """A zone of the zone table (``Atlas.zones``, ``TimetableEntry.zone``):
    ``Zone(id=2, abbreviation='MET', name='Central European Standard Time',
    utc_offset=timedelta(hours=1), kind='N')``. The table's local mean time
    (id 0, ``is_lmt``) has the offset 0: a place's local mean time is the
    place's own, longitude / 15 hours (``Place.utc_offset``)."""

    id: int
    abbreviation: str
    name: str
    utc_offset: datetime.timedelta
    kind: str  # "L" local mean time, "N" standard, "S" summer, "D" double summer

    @property
    def is_lmt(self):
        """True for local mean time, the zone of id 0."""
        return self.id == 0


class Reading(typing.NamedTuple):
    """One reading of a local time the clocks went through twice (clocks
    set back), as ``Place.readings`` and ``PointZone.readings`` list them,
    the earlier first: Paris 1983-09-25 02:30 reads UTC+2 ("CEST") and then
    UTC+1 ("CET"). ``default`` marks the reading the atlas gives when the
    datetime asked has ``fold=0``, the earlier."""

    zone_id: int
    zone: str  # the zone table's abbreviation, "MET/S"
    zone_name: str
    utc_offset: datetime.timedelta
    tz_abbreviation: str  # tzdata's, "CEST"
    zone_long_name: str
    default: bool


class Gap(typing.NamedTuple):
    """The stretch of local time the clocks jumped over (clocks set
    forward), as ``Place.gap`` and ``PointZone.gap`` hold it: Paris
    1983-03-27 from 02:00 (the first local time that never was) to 03:00
    (the first after the gap), UTC+1 before and UTC+2 after."""

    start: datetime.datetime
    end: datetime.datetime
    offset_before: datetime.timedelta
    offset_after: datetime.timedelta


class Source(typing.NamedTuple):
    """Where a zone answer comes from, as ``Place.source`` and
    ``PointZone.source`` hold it: ``kind`` is "zone history" (an IANA
    zone's history in tzdata: the place's own, or the zone map's), "named
    zone" (the zone the user named for a user place), "timetable" (the
    country's timetable: no date asked, a user place in an atlas without a
    zone map) or "mean time" (the place's own local mean time); ``iana``
    and ``tzdata`` name the zone and the tzdata release ("2025b") of a
    history; ``before_1970`` is True for an instant before 1970 UTC, for
    which tzdata does not aim to be complete or right."""

    kind: str
    iana: str = ""
    tzdata: str = ""
    before_1970: bool = False


class NearZone(typing.NamedTuple):
    """Another zone whose area lies within 5 km of a place or point (by the
    atlas's zone map) and whose clock differs from the answer's at the
    instant asked, as ``Place.near_zones`` lists them, nearest first."""

    iana: str  # "America/New_York"
    utc_offset: datetime.timedelta  # its offset then
    tz_abbreviation: str  # "EST"
    meters: float  # how far its area begins


class PointZone(typing.NamedTuple):
    """The zone in force at coordinates by the atlas's map of the zones'
    boundaries, as ``Atlas.zone_at`` answers and ``Place.zone_here`` holds
    it: on land and in territorial waters the zone of the land, on the open
    sea the nautical zone of the longitude. Fields as a Place has them;
    local mean time is the point's own, longitude / 15 hours."""

    longitude: float
    latitude: float
    iana: str  # "America/Chicago"
    zone_id: int
    zone: str
    zone_name: str
    utc_offset: datetime.timedelta
    is_lmt: bool
    local_time: str  # "normal", "skipped" or "repeated"
    tz_abbreviation: str  # "CDT"
    zone_long_name: str
    readings: typing.Tuple[Reading, ...] = ()  # both readings of a repeated local time
    gap: typing.Optional[Gap] = None  # the gap a skipped local time fell into
    source: typing.Optional[Source] = None  # where the answer comes from
    near_zones: typing.Tuple[NearZone, ...] = ()  # zones within 5 km keeping another clock


class Place(typing.NamedTuple):
    """A place with the zone in force there (at the date asked for, else its
    standard zone), as ``Atlas.place``, ``Atlas.search`` and
    ``Atlas.nearest`` answer. Coordinates in decimal degrees, east and north
    positive; ``utc_offset`` east of UTC positive. The fields from ``iana``
    on have defaults, so records built by hand may leave them out."""

    name: str
    country: str
    longitude: float
    latitude: float
    timetable: int
    zone_id: int
    zone: str
    zone_name: str
    utc_offset: datetime.timedelta
    is_lmt: bool
    local_time: str  # "normal", or "skipped" / "repeated" for an hour the clocks jumped or repeated
    user_place: bool
    # With a date, where the atlas knows them (else ""): the IANA zone the
    # place follows ("Europe/Berlin"; a user place: its timetable's), tzdata's
    # abbreviation then ("CEST") and the zone's long name then in the atlas's
    # language ("Central European Summer Time").
    iana: str = ""
    tz_abbreviation: str = ""
    zone_long_name: str = ""
    own_history: bool = False  # the zone came from the place's own history
    country_name: str = ""  # in the atlas's language, "Germany"
    country_iso: str = ""  # "DE"; a US state's "US-CA": names the country again as `country`
    population: int = 0  # GeoNames' population; 0 for a user place or where unknown
    other_name: bool = False  # found by another of its names ("Munich" for München)
    # Atlas.nearest: the zone at the coordinates asked, where it differs from the place's.
    zone_here: typing.Optional[PointZone] = None
    readings: typing.Tuple[Reading, ...] = ()  # both readings of a repeated local time
    gap: typing.Optional[Gap] = None  # the gap a skipped local time fell into
    source: typing.Optional[Source] = None  # where the zone answer comes from
    near_zones: typing.Tuple[NearZone, ...] = ()  # zones within 5 km keeping another clock

    def localize(self, when):
        """`when` (a naive local wall-clock time at the place) as an aware
        datetime at this place's UTC offset, named after its zone:
        ``p.localize(datetime(1980, 7, 1, 12, 0)).isoformat()`` is
        '1980-07-01T12:00:00+02:00' for München then. The offset is the one
        of the place as looked up: look the place up at `when` first.
        ValueError for an aware datetime."""
        if when.tzinfo is not None:
            raise ValueError("localize takes the local wall-clock time as a naive datetime")
        return when.replace(tzinfo=datetime.timezone(self.utc_offset, self.zone or None))


class Country(typing.NamedTuple):
    """A country, US state or group of the atlas (``Atlas.countries``,
    ``Atlas.country``): ``Country(id=47, code='D', title='Deutschland',
    english='Germany', zone='MET', continent='EUROPA', continent_id=4,
    timetables=3, several_zones=False, iso='DE')``. A group ("EUROPA") has
    no ISO code, zone or timetables."""

    id: int
    code: str
    title: str  # the atlas's German title, "Deutschland"
    english: str
    zone: str  # the base zone as the table writes it, "MET"
    continent: str
    continent_id: int
    timetables: int
    several_zones: bool
    iso: str = ""  # "DE"; a US state's "US-CA"; "" where the atlas has none


class TimetableEntry(typing.NamedTuple):
    """An entry of a country's timetable (``Atlas.timetable``): from the
    local time `start` on, `zone` holds, until the next entry's start."""

    start: datetime.datetime
    julian_day: float
    zone: Zone


def _document_fields(record, **docs):
    for field, doc in docs.items():
        getattr(record, field).__doc__ = doc


_document_fields(
    Zone,
    id="Index in the zone table (``Atlas.zones()[id]``); 0 is local mean time.",
    abbreviation='The abbreviation of the zone table ("MET", "MET/S", "EST").',
    name='The name of the zone ("Central European Standard Time").',
    utc_offset="The offset from UTC, a timedelta, east positive; 0 for local mean time.",
    kind='"L" local mean time, "N" standard time, "S" summer time, "D" double summer time.',
)
_document_fields(
    Place,
    name='The name as the atlas writes it ("München"; "Moskva" for "Москва").',
    country='The atlas\'s code of the place\'s country or US state ("D", "USCA").',
    longitude="Decimal degrees, east positive (11.57549).",
    latitude="Decimal degrees, north positive (48.13743).",
    timetable="The number of the country's timetable the place follows (``Atlas.timetable``).",
    zone_id="Index of the zone in the zone table (``Atlas.zones()``).",
    zone='The abbreviation of the zone in force ("MET/S"; "LMT" for local mean time).',
    zone_name='The name of that zone ("Central European Summer Time").',
    utc_offset="The offset from UTC in force, a timedelta, east positive; with local mean "
    "time the place's own, longitude / 15 hours.",
    is_lmt="True when local mean time was in force (before standard time came).",
    local_time='"normal"; with a date, "skipped" for a time the clocks jumped over or '
    '"repeated" for one they went through twice.',
    user_place="True for a place the user added (``Atlas.add_place``).",
    iana='With a date: the IANA zone the place follows ("Europe/Berlin"; a user place: its '
    'timetable\'s); else "".',
    tz_abbreviation='With a date: tzdata\'s abbreviation then ("CEST"); else "".',
    zone_long_name='With a date: the long name of the zone then, in the atlas\'s language '
    '("Mitteleuropäische Sommerzeit"); else "".',
    own_history="True when the zone came from the place's own history rather than its timetable.",
    country_name='The country\'s name in the atlas\'s language ("Deutschland", "Germany").',
    country_iso='The ISO code ("DE"; a US state\'s "US-CA"), which names the same country as '
    "``country`` in a call; \"\" where the atlas has none.",
    population="GeoNames' population; 0 for a user place or where unknown.",
    other_name='True when the place was found by another of its names ("Munich" for München).',
    zone_here="From ``Atlas.nearest``: the PointZone at the coordinates asked when its IANA zone "
    "differs from the place's (near a zone line); else None.",
    readings="For a repeated local time (clocks set back), both Readings, the earlier first; "
    "the fields above give the earlier one, or with ``when.fold == 1`` the later one, as "
    "zoneinfo reads a fold. Else ().",
    gap="For a skipped local time (clocks set forward), the Gap it fell into; the fields above "
    "give the clock after it. Else None.",
    source="Where the zone answer comes from, a Source.",
    near_zones="With a date: the NearZone records of the zones within 5 km that keep another "
    "clock then, nearest first; else ().",
)
_document_fields(
    PointZone,
    longitude="Decimal degrees, east positive, as asked.",
    latitude="Decimal degrees, north positive, as asked.",
    iana='The IANA zone in force there ("America/Chicago"; "Etc/GMT+5" on the open sea).',
    zone_id="Index of the zone in the zone table (``Atlas.zones()``).",
    zone='The abbreviation of the zone table\'s zone in force ("MET/S"; "LMT" for local mean time).',
    zone_name='The name of that zone ("Central European Summer Time").',
    utc_offset="The offset from UTC in force, a timedelta, east positive; with local mean "
    "time the point's own, longitude / 15 hours.",
    is_lmt="True when local mean time was in force.",
    local_time='"normal", "skipped" for a time the clocks jumped over or "repeated" for one '
    "they went through twice.",
    tz_abbreviation='tzdata\'s abbreviation then ("CDT").',
    zone_long_name="The long name of the zone then, in the atlas's language.",
    readings="As ``Place.readings``: both Readings of a repeated local time, else ().",
    gap="As ``Place.gap``: the Gap a skipped local time fell into, else None.",
    source="Where the zone answer comes from, a Source.",
    near_zones="With a date: the NearZone records of the zones within 5 km that keep another "
    "clock then, nearest first; else ().",
)
_document_fields(
    Reading,
    zone_id="Index of the reading's zone in the zone table (``Atlas.zones()``).",
    zone='The zone table\'s abbreviation of the reading ("MET/S").',
    zone_name='The name of that zone ("Central European Summer Time").',
    utc_offset="The offset from UTC of this reading, a timedelta, east positive.",
    tz_abbreviation='tzdata\'s abbreviation of this reading ("CEST").',
    zone_long_name="The long name of the zone then, in the atlas's language.",
    default="True for the reading the atlas gives with ``fold=0``, the earlier.",
)
_document_fields(
    Gap,
    start="The first local time that never was, a naive datetime (1983-03-27 02:00).",
    end="The first local time after the gap, a naive datetime (1983-03-27 03:00).",
    offset_before="The offset from UTC before the gap, a timedelta, east positive.",
    offset_after="The offset from UTC after the gap, a timedelta, east positive.",
)
_document_fields(
    Source,
    kind='"zone history", "named zone", "timetable" or "mean time".',
    iana='The IANA zone whose history answered ("Europe/Berlin"); "" for a timetable.',
    tzdata='The tzdata release the atlas was built from ("2025b"); "" for a timetable.',
    before_1970="True when the instant lies before 1970 UTC, which tzdata does not aim to keep "
    "completely.",
)
_document_fields(
    NearZone,
    iana='The IANA zone whose area lies near ("America/Chicago").',
    utc_offset="Its offset from UTC at the instant asked, a timedelta, east positive.",
    tz_abbreviation='tzdata\'s abbreviation of its clock then ("CST").',
    meters="How far from the place or point its area begins, in metres.",
)
_document_fields(
    Country,
    id="The atlas's number of the country (47 for Germany).",
    code='The atlas\'s own code ("D", "USCA"), as ``Place.country`` holds it.',
    title='The atlas\'s German title ("Deutschland").',
    english='The English name ("Germany").',
    zone='The base zone as the country table writes it ("MET").',
    continent='The continent\'s group ("EUROPA").',
    continent_id="The number of the continent (4 for Europe).",
    timetables="How many timetables the country has; 0 when it has none.",
    several_zones="True for a country spanning several zones.",
    iso='The ISO code ("DE"; a US state\'s "US-CA"); "" where the atlas has none (a group).',
)
_document_fields(
    TimetableEntry,
    start="The local time the entry starts, a naive datetime (the first entry: 1 January 1700).",
    julian_day="``start`` as a Julian day.",
    zone="The Zone that holds from ``start`` on.",
)


def _text(value, what):
    if not isinstance(value, str):
        raise TypeError(f"{what} must be a str, not {type(value).__name__}")
    # C strings end at a NUL: "D\x00XX" would be read as "D".
    if "\0" in value:
        raise ValueError(f"{what} holds a NUL character")
    return value.encode("utf-8")


def _degrees(value, what):
    """A float for the C interface; the library checks the range."""
    if isinstance(value, bool) or not isinstance(value, (int, float)):
        raise TypeError(f"{what} must be a number, not {type(value).__name__}")
    return float(value)


def _int16(value, what):
    """An int the C interface's 16 bits hold, never wrapped."""
    if isinstance(value, bool) or not isinstance(value, int):
        raise TypeError(f"{what} must be an int, not {type(value).__name__}")
    if not -32768 <= value <= 32767:
        raise ValueError(f"{what} {value} lies outside -32768 to 32767")
    return value


def _country(country, code, required=True):
    """The `country` argument of the C interface: a country as people name
    it, the atlas's own code with "atlas:" before it, or None for every
    country."""
    if code is not None:
        if country is not None:
            raise TypeError("give a country or an atlas code (code=), not both")
        return _text("atlas:" + _text(code, "code").decode(), "code")
    if country is None:
        if required:
            raise TypeError("a country is needed: a code, an ISO code or a name")
        return None
    return _text(country, "country")


# The local times last asked, as the structs the library reads (and never
# writes): hosts ask one date for many places.
_LOCAL_TIMES = {}


def _local_time(when):
    if when is None:
        return None
    # Only the exact standard types are kept: a subclass may compare equal
    # to a datetime and still mean another time.
    if type(when) not in (datetime.datetime, datetime.date):
        return _new_local_time(when)
    local = _LOCAL_TIMES.get(when)
    if local is None:
        local = _new_local_time(when)
        if len(_LOCAL_TIMES) >= 256:
            _LOCAL_TIMES.clear()
        _LOCAL_TIMES[when] = local
    return local


def _new_local_time(when):
    if isinstance(when, datetime.datetime):
        if when.tzinfo is not None:
            raise ValueError("when is the local wall-clock time at the place: pass a naive datetime")
        return _native.LocalTime(when.year, when.month, when.day, when.hour, when.minute, when.second)
    if isinstance(when, datetime.date):
        return _native.LocalTime(when.year, when.month, when.day, 12, 0, 0)
    raise TypeError(f"when must be a datetime or a date, not {type(when).__name__}")


def _fold(when):
    """1 when `when` asks for the later reading of a repeated local time."""
    return getattr(when, "fold", 0) if isinstance(when, datetime.datetime) else 0


def _zone_of(s):
    """(zone_id, zone, zone_name, utc_offset, tz_abbreviation,
    zone_long_name) of a record struct or of one of its readings, which name
    them alike."""
    return (
        s.zone_id,
        s.zone.decode(),
        s.zone_name.decode(),
        datetime.timedelta(seconds=s.utc_offset),
        s.tz_abbreviation.decode(),
        s.zone_long_name.decode(),
    )


def _clock_change(s):
    """The readings and the gap of a struct, as Reading and Gap records."""
    readings = tuple(Reading(*_zone_of(r), bool(r.is_default)) for r in s.readings[: s.reading_count])
    gap = None
    if s.has_gap:
        g = s.gap
        gap = Gap(
            datetime.datetime(g.start.year, g.start.month, g.start.day, g.start.hour, g.start.minute, g.start.second),
            datetime.datetime(g.end.year, g.end.month, g.end.day, g.end.hour, g.end.minute, g.end.second),
            datetime.timedelta(seconds=g.offset_before),
            datetime.timedelta(seconds=g.offset_after),
        )
    return readings, gap


_SOURCE_KINDS = ("timetable", "zone history", "named zone", "mean time")


def _near_zones(s):
    return tuple(
        NearZone(z.iana.decode(), datetime.timedelta(seconds=z.utc_offset), z.tz_abbreviation.decode(), z.meters)
        for z in s.near_zones[: s.near_count]
    )


# The numbers of an answer and the raw bytes of its source, read in one
# call (_native.flat_reader); texts through ctypes, which stops at their NUL.
# Readings, gap and near zones are read only where their counts say there
# are some.
_TAIL_FIELDS = (
    "reading_count",
    "has_gap",
    "source.kind",
    "source.iana",
    "source.tzdata_version",
    "source.before_1970",
    "near_count",
)
_PLACE_NUMBERS = _native.flat_reader(
    _native.PlaceStruct,
    ("longitude", "latitude", "timetable", "user_place", "zone_id", "utc_offset", "is_lmt", "local_time")
    + ("own_history", "population", "other_name")
    + _TAIL_FIELDS,
)
_POINT_NUMBERS = _native.flat_reader(
    _native.PointZoneStruct,
    ("longitude", "latitude", "zone_id", "utc_offset", "is_lmt", "local_time") + _TAIL_FIELDS,
)

# Answers repeat few offsets and sources: made once each.
_OFFSETS = {}
_SOURCES = {}


def _offset(seconds):
    offset = _OFFSETS.get(seconds)
    if offset is None:
        offset = _OFFSETS[seconds] = datetime.timedelta(seconds=seconds)
    return offset


def _source_of(kind, iana, tzdata, before_1970):
    key = (kind, iana, tzdata, before_1970)
    source = _SOURCES.get(key)
    if source is None:
        text = lambda field: field.partition(b"\0")[0].decode()  # noqa: E731
        source = Source(_SOURCE_KINDS[kind], text(iana), text(tzdata), bool(before_1970))
        if len(_SOURCES) < 4096:
            _SOURCES[key] = source
    return source


def _zone_and_tail(s, zone_id, utc_offset, tail, fold):
    """The zone fields to give (those of the later reading of a repeated
    local time with fold 1), readings, gap, source and near zones."""
    reading_count, has_gap, kind, iana, tzdata, before_1970, near_count = tail
    zone = (
        zone_id,
        s.zone.decode(),
        s.zone_name.decode(),
        _offset(utc_offset),
        s.tz_abbreviation.decode(),
        s.zone_long_name.decode(),
    )
    readings, gap, near = (), None, ()
    if reading_count or has_gap:
        readings, gap = _clock_change(s)
        if fold and len(readings) == 2:
            zone = tuple(readings[1][:6])
    if near_count:
        near = _near_zones(s)
    return zone, readings, gap, _source_of(kind, iana, tzdata, before_1970), near


# Records are made as the tuples they are: the named tuple's own __new__ is
# a Python function, which costs as much again as the fields.
_new_record = tuple.__new__


def _place(s, zone_here=None, fold=0):
    v = _PLACE_NUMBERS.unpack_from(s)
    zone, readings, gap, source, near = _zone_and_tail(s, v[4], v[5], v[11:], fold)
    zone_id, zone, zone_name, utc_offset, tz_abbreviation, zone_long_name = zone
    return _new_record(Place, (
        s.name.decode(),
        s.country.decode(),
        v[0],
        v[1],
        v[2],
        zone_id,
        zone,
        zone_name,
        utc_offset,
        bool(v[6]),
        _LOCAL_TIME_KINDS[v[7]],
        bool(v[3]),
        s.iana.decode(),
        tz_abbreviation,
        zone_long_name,
        bool(v[8]),
        s.country_name.decode(),
        s.country_iso.decode(),
        v[9],
        bool(v[10]),
        zone_here,
        readings,
        gap,
        source,
        near,
    ))


# The compiled Atlas.place where there is one (_native.compiled_lookup): it
# makes the common records itself, with these, and leaves the rest to
# _place.
_compiled_lookup = _native.compiled_lookup
if _compiled_lookup is not None:
    _compiled_lookup.bind(
        ctypes.cast(lib.tarv_place_lookup, ctypes.c_void_p).value, Place, _LOCAL_TIME_KINDS, _offset, _source_of
    )


def _point_zone(s, fold=0):
    v = _POINT_NUMBERS.unpack_from(s)
    zone, readings, gap, source, near = _zone_and_tail(s, v[2], v[3], v[6:], fold)
    zone_id, zone, zone_name, utc_offset, tz_abbreviation, zone_long_name = zone
    return _new_record(PointZone, (
        v[0],
        v[1],
        s.iana.decode(),
        zone_id,
        zone,
        zone_name,
        utc_offset,
        bool(v[4]),
        _LOCAL_TIME_KINDS[v[5]],
        tz_abbreviation,
        zone_long_name,
        readings,
        gap,
        source,
        near,
    ))


def _countries(countries):
    """The Country records of a list the library allocated, which is freed."""
    try:
        result = []
        for i in range(lib.tarv_country_list_size(countries)):
            c = lib.tarv_country_list_at(countries, i).contents
            result.append(
                Country(
                    c.id,
                    c.code.decode(),
                    c.title.decode(),
                    c.english.decode(),
                    c.zone.decode(),
                    c.continent.decode(),
                    c.continent_id,
                    c.timetables,
                    bool(c.several_zones),
                    c.iso.decode(),
                )
            )
        return result
    finally:
        lib.tarv_country_list_free(countries)


def _zone(s):
    return Zone(
        s.id, s.abbreviation.decode(), s.name.decode(), datetime.timedelta(seconds=s.utc_offset), s.kind.decode()
    )


class Atlas:
    """An open atlas: Atlas(folder=None, *, user_folder=None).

    `folder` is an atlas folder ("build/atlas", a str or path); without one
    the default atlas opens: the folder $TARV_ATLAS names, else the atlas
    installed with the library (the one this package carries), whose user
    places are kept in the user's data folder
    ($XDG_DATA_HOME/tarvplaces/USER, ~/.local/share/tarvplaces/USER,
    %APPDATA%\\tarvplaces\\USER), never beside the package. `user_folder`
    keeps the user places of `folder` elsewhere than in its USER folder
    (for an atlas the user cannot write); within one process a folder keeps
    the user folder it was first opened with (another raises ValueError).
    Raises AtlasError when there is no usable atlas.

    Close it (or use it in a with statement) when done; any method of a
    closed atlas raises ValueError. Any number of atlases may be open, and
    threads may call one at the same time."""

    def __init__(self, folder=None, *, user_folder=None):
        """Opens `folder`, or the default atlas when it is None (see the
        class); AtlasError when there is no usable atlas."""
        self._handle = None
        handle = ctypes.c_void_p()
        if folder is None:
            if user_folder is not None:
                raise ValueError("a user folder needs an atlas folder")
            _check(lib.tarv_open_default(ctypes.byref(handle)))
        else:
            _check(
                lib.tarv_open_with_user_folder(
                    _text(os.fspath(folder), "folder"),
                    None if user_folder is None else _text(os.fspath(user_folder), "user_folder"),
                    ctypes.byref(handle),
                )
            )
        self._handle = handle

    def close(self):
        """Closes the atlas; later calls raise ValueError. Closing twice is fine."""
        handle, self._handle = self._handle, None
        if handle is not None:
            _check(lib.tarv_close(handle))

    def __enter__(self):
        """The atlas itself, for ``with Atlas(...) as atlas:``."""
        return self

    def __exit__(self, *exc):
        """Closes the atlas at the end of the with statement."""
        self.close()

    def __del__(self):
        """Closes an atlas nobody closed."""
        # At interpreter exit the module's globals may be gone already.
        handle = getattr(self, "_handle", None)
        if handle is not None and lib is not None:
            lib.tarv_close(handle)

    def _open_handle(self):
        if self._handle is None:
            raise ValueError("the atlas is closed")
        return self._handle

    @property
    def folder(self):
        """The atlas folder as it was opened (a str): the folder given, or
        the one the default atlas was found in."""
        handle = self._open_handle()
        needed = ctypes.c_size_t(0)
        status = lib.tarv_atlas_folder(handle, None, 0, ctypes.byref(needed))
        if status != _native.E_BUFFER:
            _check(status)
        buffer = ctypes.create_string_buffer(needed.value)
        _check(lib.tarv_atlas_folder(handle, buffer, needed.value, None))
        return buffer.value.decode()

    def place(self, name, country=None, when=None, *, code=None):
        """The Place of that name most people mean, in a country or group
        ("DE", "D", "Germany", "EUROPA"; every country when None; `code` an
        atlas code instead) with the zone in force at the local time `when`
        (a naive datetime, or a date for its noon), or its standard zone when
        `when` is None. At a local time the clocks went through twice,
        ``when.fold`` picks the reading as zoneinfo does (0 the earlier, 1
        the later); the record lists both. None when no place is found; UnknownCountryError for
        a country nothing names; AtlasError for a damaged atlas file."""
        place = _native.PlaceStruct()
        local = _local_time(when)
        handle = self._open_handle()
        name = _text(name, "name")
        country = _country(country, code, required=False)
        if _compiled_lookup is not None:
            found = _compiled_lookup.place(handle.value, name, country, local, place)
            if type(found) is not int:
                return found
            status = _check(found)
        else:
            status = _check(
                lib.tarv_place_lookup(
                    handle, name, country, None if local is None else ctypes.byref(local), ctypes.byref(place), None
                )
            )
        return None if status == _native.NOT_FOUND else _place(place, fold=_fold(when))

    def search(self, text, country=None, when=None, *, code=None):
        """Every place matching `text` ("Mün*", "M?nchen", "Munchen") in a
        country or group, as a list of Place, each with the zone in force at
        `when` (as for ``place``; its standard zone when None): a whole name
        puts the place most people mean first. In every country when
        `country` is None: at most 50, the user's own first, then the most
        populous ("Par*" for typing ahead). An empty list when nothing
        matches; UnknownCountryError for a country nothing names."""
        local = _local_time(when)
        places = ctypes.c_void_p()
        _check(
            lib.tarv_search(
                self._open_handle(),
                _text(text, "text"),
                _country(country, code, required=False),
                None if local is None else ctypes.byref(local),
                ctypes.byref(places),
            )
        )
        try:
            fold = _fold(when)
            return [
                _place(lib.tarv_place_list_at(places, i).contents, fold=fold)
                for i in range(lib.tarv_place_list_size(places))
            ]
        finally:
            lib.tarv_place_list_free(places)

    def nearest(self, country, longitude, latitude, range=0.0, when=None):
        """The Place of a country nearest to the coordinates (decimal
        degrees, east and north positive), with the zone in force at `when`
        (as for ``place``), or its standard zone when `when` is None; with a
        `range` other than 0 only places closer than that many degrees
        count. None when no place qualifies. Where the atlas's zone map puts
        the coordinates in another IANA zone than the place (near a zone
        line), ``zone_here`` holds that PointZone (at `when`, or now);
        else it is None."""
        place = _native.PlaceStruct()
        here = _native.PointZoneStruct()
        differs = ctypes.c_int32()
        local = _local_time(when)
        status = _check(
            lib.tarv_nearest_here(
                self._open_handle(),
                _country(country, None),
                _degrees(longitude, "longitude"),
                _degrees(latitude, "latitude"),
                _degrees(range, "range"),
                None if local is None else ctypes.byref(local),
                ctypes.byref(place),
                ctypes.byref(here),
                ctypes.byref(differs),
            )
        )
        if status == _native.NOT_FOUND:
            return None
        fold = _fold(when)
        return _place(place, _point_zone(here, fold) if differs.value else None, fold)

    def zone_at(self, longitude, latitude, when=None):
        """The PointZone in force at the coordinates (decimal degrees, east
        and north positive) at the local time `when` there (a naive
        datetime, or a date for its noon), or at the present instant when
        `when` is None, by the atlas's map of the zones' boundaries. None
        for an atlas without a zone map; ValueError for coordinates off the
        earth."""
        zone = _native.PointZoneStruct()
        local = _local_time(when)
        status = _check(
            lib.tarv_zone_at(
                self._open_handle(),
                _degrees(longitude, "longitude"),
                _degrees(latitude, "latitude"),
                None if local is None else ctypes.byref(local),
                ctypes.byref(zone),
            )
        )
        return None if status == _native.NOT_FOUND else _point_zone(zone, _fold(when))

    def countries(self):
        """Every country and US state of the atlas as a list of Country,
        sorted by title."""
        countries = ctypes.c_void_p()
        _check(lib.tarv_countries(self._open_handle(), ctypes.byref(countries)))
        return _countries(countries)

    def country(self, name=None, *, code=None):
        """The Country (or group) a code, ISO code or name names ("DE",
        "Allemagne", "US-CA", "EUROPA"; `code` an atlas code instead), or
        None when nothing does."""
        countries = ctypes.c_void_p()
        _check(lib.tarv_find_country(self._open_handle(), _country(name, code), ctypes.byref(countries)))
        found = _countries(countries)
        return found[0] if found else None

    def zones(self):
        """The zone table as a list of Zone, by id (287 zones in the default
        atlas); ``zones()[p.zone_id]`` is the zone of a Place."""
        zones = ctypes.c_void_p()
        _check(lib.tarv_zones(self._open_handle(), ctypes.byref(zones)))
        try:
            return [_zone(lib.tarv_zone_list_at(zones, i).contents) for i in range(lib.tarv_zone_list_size(zones))]
        finally:
            lib.tarv_zone_list_free(zones)

    def timetable(self, country, number):
        """The entries of a country's timetable `number` as a list of
        TimetableEntry, from 1 January 1700 (local mean time) to its last
        change before 2000. 0 is the country's default history;
        ``Country.timetables`` tells how many it has, and a number it does
        not have gives the single local-mean-time entry."""
        entries = ctypes.c_void_p()
        _check(
            lib.tarv_timetable_entries(
                self._open_handle(), _country(country, None), _int16(number, "number"), ctypes.byref(entries)
            )
        )
        try:
            result = []
            for i in range(lib.tarv_timetable_size(entries)):
                e = lib.tarv_timetable_at(entries, i).contents
                s = e.start
                start = datetime.datetime(s.year, s.month, s.day, s.hour, s.minute, s.second)
                result.append(TimetableEntry(start, e.julian_day, _zone(e.zone)))
            return result
        finally:
            lib.tarv_timetable_free(entries)

    def add_place(self, country, name, longitude, latitude, timetable=0, zone=None):
        """Adds a place of the user's to a country (not a group): found
        before the atlas's places of the same name, by this and every other
        Atlas on the folder. `timetable` is one of the country's (0 to
        ``Country.timetables``). `zone` is the IANA zone the user names for
        the place ("America/Chicago"), which then gives its zone at any
        date; without one the place follows the atlas's zone map at its
        coordinates (its timetable in an atlas without a map). Adding a
        name that exists already is fine. ValueError says why one cannot
        be added (an empty name, one longer than 28 characters, letters the
        atlas cannot write, a timetable the country lacks, a zone the atlas
        does not know); AtlasWriteError when the user folder cannot be
        written. Returns the names of the country's other user places with
        the same letters ("Testort 1" for "Testort 2"), which a search finds
        with it: worth telling the user."""
        _check(
            lib.tarv_add_place_in_zone(
                self._open_handle(),
                _country(country, None),
                _text(name, "name"),
                _degrees(longitude, "longitude"),
                _degrees(latitude, "latitude"),
                _int16(timetable, "timetable"),
                None if zone is None else _text(zone, "zone"),
            )
        )
        return self.user_places_alike(country, name)

    def user_places_alike(self, country, name):
        """The names (a list of str) of the user places of a country spelled
        otherwise whose names have the same letters as `name` (digits,
        blanks and marks aside), which a search finds together with it."""
        handle = self._open_handle()
        args = (handle, _country(country, None), _text(name, "name"))
        needed = ctypes.c_size_t(0)
        status = lib.tarv_user_places_alike(*args, None, 0, ctypes.byref(needed))
        if status != _native.E_BUFFER:
            _check(status)
        buffer = ctypes.create_string_buffer(needed.value)
        _check(lib.tarv_user_places_alike(*args, buffer, needed.value, None))
        return buffer.value.decode().splitlines()

    def delete_place(self, country, name):
        """Deletes the user's place of that name from a country; True when
        it was deleted, False when the country has no user place of that
        name (the atlas's own places cannot be deleted)."""
        status = _check(lib.tarv_delete_place(self._open_handle(), _country(country, None), _text(name, "name")))
        return status == _native.OK

    def export(self, folder=None):
        """Writes the whole atlas as Countries.txt, Cities.txt, Zones.txt and
        Timetable.txt (TAB-separated, Windows-1252, CR LF) into `folder`
        (created when missing), or into the atlas folder when None. The old
        files stay as they were when it fails (AtlasWriteError)."""
        target = None if folder is None else _text(os.fspath(folder), "folder")
        _check(lib.tarv_export(self._open_handle(), target))

    @property
    def language(self):
        """The language of this atlas's texts: 2 German (the default), 1
        English. Country, zone and continent names of the calls that start
        after a change follow it (``Place.country_name``,
        ``Place.zone_long_name``); other Atlas objects keep their own."""
        language = ctypes.c_int32()
        _check(lib.tarv_language(self._open_handle(), ctypes.byref(language)))
        return language.value

    @language.setter
    def language(self, value):
        _check(lib.tarv_set_language(self._open_handle(), value))


_sink_lock = threading.Lock()
_sink = None  # the C function object must live as long as it is installed


def set_message_sink(function):
    """Routes the component's messages (a change counter it cannot use) to
    `function(title, text, style)`, for every Atlas of the process.
    `style` holds the buttons (low 4 bits) and the icon (16 critical, 32
    question, 48 exclamation, 64 information); the function returns the
    button chosen (1 OK, 2 Cancel, 3 Abort, 4 Retry, 5 Ignore, 6 Yes, 7 No;
    None counts as OK, and so does an exception it raises). It runs on the
    thread of the call that has the message and must not call the atlas.
    None restores the default, which writes "title: text" to stderr."""
    global _sink

    def call(_user, title, text, style):
        try:
            answer = function(title.decode(), text.decode(), style)
            return 1 if answer is None else int(answer)
        except Exception:  # an exception cannot cross the C library
            return 1

    with _sink_lock:
        sink = None if function is None else _native.MESSAGE_FN(call)
        _check(lib.tarv_set_message_sink(sink if sink is not None else _native.MESSAGE_FN(), None))
        _sink = sink
