"""The C interface of libtarvplaces.so (tarvplaces/tarvplaces.h) through ctypes.

The library is looked for, in this order:
  1. the file $TARVPLACES_LIBRARY names;
  2. libtarvplaces.so.3 inside this package (scripts/install-python.sh puts
     the built library there);
  3. libtarvplaces.so.3 through the system's loader (LD_LIBRARY_PATH, or a
     library installed with ``cmake --install`` and ``ldconfig``).
"""

import ctypes
import importlib
import os
import pathlib
import struct
import sys

SONAME = "libtarvplaces.so.3"

# Status values of tarv_status.
OK = 0
NOT_FOUND = 1
E_ARGUMENT = -1
E_UTF8 = -2
E_BUFFER = -3
E_HANDLE = -4
E_UNKNOWN_COUNTRY = -5
E_ATLAS = -6
E_WRITE = -7
E_ATLAS_IN_USE = -8
E_MEMORY = -9
E_BUSY = -10
E_INTERNAL = -11

NAME_SIZE = 96
CODE_SIZE = 32
ZONE_SIZE = 48
ZONE_NAME_SIZE = 160
IANA_SIZE = 64
COUNTRY_NAME_SIZE = 160


class LocalTime(ctypes.Structure):
    _fields_ = [(field, ctypes.c_int) for field in ("year", "month", "day", "hour", "minute", "second")]


class TimeReadingStruct(ctypes.Structure):
    _fields_ = [
        ("zone_id", ctypes.c_int32),
        ("zone", ctypes.c_char * ZONE_SIZE),
        ("zone_name", ctypes.c_char * ZONE_NAME_SIZE),
        ("utc_offset", ctypes.c_int32),
        ("tz_abbreviation", ctypes.c_char * ZONE_SIZE),
        ("zone_long_name", ctypes.c_char * ZONE_NAME_SIZE),
        ("is_default", ctypes.c_int32),
    ]


class TimeGapStruct(ctypes.Structure):
    _fields_ = [
        ("start", LocalTime),
        ("end", LocalTime),
        ("offset_before", ctypes.c_int32),
        ("offset_after", ctypes.c_int32),
    ]


TZDATA_SIZE = 16


class SourceStruct(ctypes.Structure):
    _fields_ = [
        ("kind", ctypes.c_int32),
        ("iana", ctypes.c_char * IANA_SIZE),
        ("tzdata_version", ctypes.c_char * TZDATA_SIZE),
        ("before_1970", ctypes.c_int32),
    ]


NEAR_ZONES = 4


class NearZoneStruct(ctypes.Structure):
    _fields_ = [
        ("iana", ctypes.c_char * IANA_SIZE),
        ("utc_offset", ctypes.c_int32),
        ("tz_abbreviation", ctypes.c_char * ZONE_SIZE),
        ("meters", ctypes.c_double),
    ]


# Both readings of a repeated local time, the gap of a skipped one, the
# answer's source and the zones near it, at the end of both records.
_CLOCK_CHANGE_FIELDS = [
    ("reading_count", ctypes.c_int32),
    ("readings", TimeReadingStruct * 2),
    ("has_gap", ctypes.c_int32),
    ("gap", TimeGapStruct),
    ("source", SourceStruct),
    ("near_count", ctypes.c_int32),
    ("near_zones", NearZoneStruct * NEAR_ZONES),
]


class PlaceStruct(ctypes.Structure):
    _fields_ = [
        ("name", ctypes.c_char * NAME_SIZE),
        ("country", ctypes.c_char * CODE_SIZE),
        ("longitude", ctypes.c_double),
        ("latitude", ctypes.c_double),
        ("timetable", ctypes.c_int32),
        ("user_place", ctypes.c_int32),
        ("zone_id", ctypes.c_int32),
        ("zone", ctypes.c_char * ZONE_SIZE),
        ("zone_name", ctypes.c_char * ZONE_NAME_SIZE),
        ("utc_offset", ctypes.c_int32),
        ("is_lmt", ctypes.c_int32),
        ("local_time", ctypes.c_int32),
        ("iana", ctypes.c_char * IANA_SIZE),
        ("tz_abbreviation", ctypes.c_char * ZONE_SIZE),
        ("zone_long_name", ctypes.c_char * ZONE_NAME_SIZE),
        ("own_history", ctypes.c_int32),
        ("country_name", ctypes.c_char * COUNTRY_NAME_SIZE),
        ("country_iso", ctypes.c_char * CODE_SIZE),
        ("population", ctypes.c_int64),
        ("other_name", ctypes.c_int32),
    ] + _CLOCK_CHANGE_FIELDS


class PointZoneStruct(ctypes.Structure):
    _fields_ = [
        ("longitude", ctypes.c_double),
        ("latitude", ctypes.c_double),
        ("iana", ctypes.c_char * IANA_SIZE),
        ("zone_id", ctypes.c_int32),
        ("zone", ctypes.c_char * ZONE_SIZE),
        ("zone_name", ctypes.c_char * ZONE_NAME_SIZE),
        ("utc_offset", ctypes.c_int32),
        ("is_lmt", ctypes.c_int32),
        ("local_time", ctypes.c_int32),
        ("tz_abbreviation", ctypes.c_char * ZONE_SIZE),
        ("zone_long_name", ctypes.c_char * ZONE_NAME_SIZE),
    ] + _CLOCK_CHANGE_FIELDS


def flat_reader(struct_type, names):
    """A struct.Struct that reads the named fields of a ctypes Structure
    ("source.kind" for a field of a nested one) from its buffer in one call:
    texts as their whole byte arrays, numbers as numbers. Reading dozens of
    fields through ctypes' descriptors costs more than the lookup itself."""
    codes = {ctypes.c_int32: "i", ctypes.c_int64: "q", ctypes.c_double: "d"}
    layout = []
    for name in names:
        owner, offset = struct_type, 0
        for part in name.split("."):
            field = getattr(owner, part)
            offset += field.offset
            owner = dict(owner._fields_)[part]
        code = f"{ctypes.sizeof(owner)}s" if issubclass(owner, ctypes.Array) else codes[owner]
        layout.append((offset, code, ctypes.sizeof(owner)))
    layout.sort()
    fmt, at = "=", 0
    for offset, code, size in layout:
        if offset < at:
            raise ValueError("fields overlap")
        fmt += (f"{offset - at}x" if offset > at else "") + code
        at = offset + size
    return struct.Struct(fmt)


class CountryStruct(ctypes.Structure):
    _fields_ = [
        ("id", ctypes.c_int32),
        ("code", ctypes.c_char_p),
        ("title", ctypes.c_char_p),
        ("english", ctypes.c_char_p),
        ("zone", ctypes.c_char_p),
        ("continent", ctypes.c_char_p),
        ("continent_id", ctypes.c_int32),
        ("timetables", ctypes.c_int32),
        ("several_zones", ctypes.c_int32),
        ("iso", ctypes.c_char_p),
    ]


class ZoneStruct(ctypes.Structure):
    _fields_ = [
        ("id", ctypes.c_int32),
        ("abbreviation", ctypes.c_char * ZONE_SIZE),
        ("name", ctypes.c_char * ZONE_NAME_SIZE),
        ("utc_offset", ctypes.c_int32),
        ("kind", ctypes.c_char),
    ]


class TimetableEntryStruct(ctypes.Structure):
    _fields_ = [("start", LocalTime), ("julian_day", ctypes.c_double), ("zone", ZoneStruct)]


MESSAGE_FN = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_char_p, ctypes.c_char_p, ctypes.c_int)


def _load():
    named = os.environ.get("TARVPLACES_LIBRARY")
    bundled = pathlib.Path(__file__).with_name(SONAME)
    path = named or (str(bundled) if bundled.exists() else SONAME)
    try:
        return ctypes.CDLL(path)
    except OSError as e:
        raise ImportError(
            f"tarvplaces cannot load {path}: {e}. Install the package with "
            "scripts/install-python.sh after the build, set TARVPLACES_LIBRARY to the built "
            "library (build/default/src/capi/libtarvplaces.so.3), or install the library "
            "with cmake --install"
        ) from e


lib = _load()

_handle = ctypes.c_void_p
_status = ctypes.c_int
_text = ctypes.c_char_p
_PROTOTYPES = {
    "tarv_version": (_text, []),
    "tarv_last_error": (_text, []),
    "tarv_open": (_status, [_text, ctypes.POINTER(_handle)]),
    "tarv_open_with_user_folder": (_status, [_text, _text, ctypes.POINTER(_handle)]),
    "tarv_open_default": (_status, [ctypes.POINTER(_handle)]),
    "tarv_close": (_status, [_handle]),
    "tarv_atlas_folder": (_status, [_handle, ctypes.c_char_p, ctypes.c_size_t, ctypes.POINTER(ctypes.c_size_t)]),
    "tarv_place_lookup": (
        _status,
        [_handle, _text, _text, ctypes.POINTER(LocalTime), ctypes.POINTER(PlaceStruct), ctypes.POINTER(ctypes.c_int32)],
    ),
    "tarv_search": (_status, [_handle, _text, _text, ctypes.POINTER(LocalTime), ctypes.POINTER(ctypes.c_void_p)]),
    "tarv_place_list_size": (ctypes.c_size_t, [ctypes.c_void_p]),
    "tarv_place_list_at": (ctypes.POINTER(PlaceStruct), [ctypes.c_void_p, ctypes.c_size_t]),
    "tarv_place_list_free": (None, [ctypes.c_void_p]),
    "tarv_nearest": (
        _status,
        [_handle, _text, ctypes.c_double, ctypes.c_double, ctypes.c_double, ctypes.POINTER(PlaceStruct)],
    ),
    "tarv_zone_at": (
        _status,
        [_handle, ctypes.c_double, ctypes.c_double, ctypes.POINTER(LocalTime), ctypes.POINTER(PointZoneStruct)],
    ),
    "tarv_nearest_here": (
        _status,
        [
            _handle,
            _text,
            ctypes.c_double,
            ctypes.c_double,
            ctypes.c_double,
            ctypes.POINTER(LocalTime),
            ctypes.POINTER(PlaceStruct),
            ctypes.POINTER(PointZoneStruct),
            ctypes.POINTER(ctypes.c_int32),
        ],
    ),
    "tarv_countries": (_status, [_handle, ctypes.POINTER(ctypes.c_void_p)]),
    "tarv_country_list_size": (ctypes.c_size_t, [ctypes.c_void_p]),
    "tarv_country_list_at": (ctypes.POINTER(CountryStruct), [ctypes.c_void_p, ctypes.c_size_t]),
    "tarv_country_list_free": (None, [ctypes.c_void_p]),
    "tarv_find_country": (_status, [_handle, _text, ctypes.POINTER(ctypes.c_void_p)]),
    "tarv_zones": (_status, [_handle, ctypes.POINTER(ctypes.c_void_p)]),
    "tarv_zone_list_size": (ctypes.c_size_t, [ctypes.c_void_p]),
    "tarv_zone_list_at": (ctypes.POINTER(ZoneStruct), [ctypes.c_void_p, ctypes.c_size_t]),
    "tarv_zone_list_free": (None, [ctypes.c_void_p]),
    "tarv_timetable_entries": (_status, [_handle, _text, ctypes.c_int32, ctypes.POINTER(ctypes.c_void_p)]),
    "tarv_timetable_size": (ctypes.c_size_t, [ctypes.c_void_p]),
    "tarv_timetable_at": (ctypes.POINTER(TimetableEntryStruct), [ctypes.c_void_p, ctypes.c_size_t]),
    "tarv_timetable_free": (None, [ctypes.c_void_p]),
    "tarv_add_place": (_status, [_handle, _text, _text, ctypes.c_double, ctypes.c_double, ctypes.c_int32]),
    "tarv_add_place_in_zone": (
        _status, [_handle, _text, _text, ctypes.c_double, ctypes.c_double, ctypes.c_int32, _text]
    ),
    "tarv_user_places_alike": (
        _status,
        [_handle, _text, _text, ctypes.c_char_p, ctypes.c_size_t, ctypes.POINTER(ctypes.c_size_t)],
    ),
    "tarv_delete_place": (_status, [_handle, _text, _text]),
    "tarv_export": (_status, [_handle, _text]),
    "tarv_language": (_status, [_handle, ctypes.POINTER(ctypes.c_int32)]),
    "tarv_set_language": (_status, [_handle, ctypes.c_int32]),
    "tarv_set_message_sink": (_status, [MESSAGE_FN, ctypes.c_void_p]),
}
for _name, (_restype, _argtypes) in _PROTOTYPES.items():
    _function = getattr(lib, _name)
    _function.restype = _restype
    _function.argtypes = _argtypes


def last_error():
    return lib.tarv_last_error().decode("utf-8", "replace")


def _load_compiled_lookup():
    """tarvplaces._lookup, the compiled Atlas.place: inside the package (a
    wheel), else beside the library loaded (a build tree). None when neither
    holds one built for this interpreter; Atlas.place then works through
    ctypes alone, as every other member does."""
    try:
        from . import _lookup

        return _lookup
    except ImportError:
        pass
    if os.sep not in lib._name:
        return None  # found by the loader: no folder of its own to look in (never the current one)
    # Looked for in the library's folder as if it were part of the package,
    # for this one import only.
    folder = str(pathlib.Path(lib._name).parent)
    package_path = sys.modules[__package__].__path__
    package_path.append(folder)
    try:
        return importlib.import_module(f"{__package__}._lookup")
    except (ImportError, OSError):
        return None
    finally:
        package_path.remove(folder)


compiled_lookup = _load_compiled_lookup()
