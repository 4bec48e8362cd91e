#!/usr/bin/env python3
"""Designs data/zones.tsv, the atlas's zone table, from the tzdata on this machine.

The table must be able to express every distinct UTC offset with its kind
(standard, summer, double summer) that the IANA database records for any zone
between the end of local mean time and the end of 1999, so that the atlas
builder can map every historical period onto one entry. This script surveys
/usr/share/zoneinfo, names one entry per pair, adds the entries the alias list
of GetTimezoneId ends on, and fills the table to its fixed 287 entries with the
summer variants of regular standard zones (needed when a country starts summer
time after 1999).

It was run once to create data/zones.tsv; the TSV is the source of truth and
is edited by hand from then on. Run: python3 tools/design_zone_table.py > data/zones.tsv
"""
import os
import struct
import sys

ROOT = "/usr/share/zoneinfo"
END_1999 = 946684800  # 2000-01-01T00:00:00Z
TABLE_SIZE = 287
HOUR = 3600

# Standard zones with a well-known name (offset in seconds -> name, English name).
# The first name of an offset is the canonical one that lists show.
NAMED_STANDARD = [
    (0, "GMT", "Greenwich Mean Time"),
    (HOUR, "MET", "Middle European Time"),
    (2 * HOUR, "EET", "Eastern European Time"),
    (3 * HOUR, "MSK", "Moscow Time"),
    (-4 * HOUR, "AST", "Atlantic Standard Time"),
    (-5 * HOUR, "EST", "Eastern Standard Time (North America)"),
    (-6 * HOUR, "CST", "Central Standard Time (North America)"),
    (-7 * HOUR, "MST", "Mountain Standard Time"),
    (-8 * HOUR, "PST", "Pacific Standard Time"),
    (-9 * HOUR, "AKST", "Alaska Standard Time"),
    (-10 * HOUR, "AHST", "Alaska-Hawaii Standard Time"),
    (-3 * HOUR - 1800, "NST", "Newfoundland Standard Time"),
    (5 * HOUR + 1800, "IST", "India Standard Time"),
    (9 * HOUR, "JST", "Japan Standard Time"),
    (8 * HOUR, "CCT", "China Coast Time"),
    (10 * HOUR, "AEST", "Australian Eastern Standard Time"),
    (9 * HOUR + 1800, "ACST", "Australian Central Standard Time"),
    (12 * HOUR, "NZT", "New Zealand Standard Time"),
    (-3 * HOUR, "AGT", "Argentina Time"),
    (7 * HOUR, "ICT", "Indochina Time"),
    (7 * HOUR + 1800, "JVT", "Java Time"),
    (11 * HOUR, "Z11", "UTC+11"),
    (3 * HOUR + 1800, "IRT", "Iran Standard Time"),
    (-2 * HOUR, "FNT", "Fernando de Noronha Time"),
    (-1 * HOUR, "AZOT", "Azores Time"),
    (4 * HOUR, "GST", "Gulf Standard Time"),
    (5 * HOUR, "PKT", "Pakistan Standard Time"),
    (6 * HOUR, "BGT", "Bangladesh Time"),
    (-11 * HOUR, "SST", "Samoa Standard Time"),
    (-12 * HOUR, "Z-12", "UTC-12"),
]

# Further standard entries that alias targets need (name -> offset, English name).
EXTRA_STANDARD = [
    ("AHDT", -9 * HOUR, "Alaska-Hawaii Yukon Time"),
    ("HDT", -9 * HOUR - 1800, "Hawaii Daylight Zone Time"),
    ("BZT", -3 * HOUR, "Brazil Time"),
    ("NFT", 11 * HOUR + 1800, "Norfolk Island Time"),
    ("OZT", 4 * HOUR, "Oman Zone Time"),
    ("HST", -10 * HOUR, "Hawaii Standard Time"),
    ("WAT", HOUR, "West Africa Time"),
]

# Summer variants the alias list ends on, or that "T/S" and "T/DS" build.
REQUIRED_VARIANTS = ["AHDT/S", "AST/S", "ACST/S", "HDT/S", "IST/S", "JVT/S", "MET/S",
                     "WET/S", "Z11/S", "AGT/S", "BGT/S", "BZT/S", "CCT/S", "EET/S",
                     "GST/S", "HST/S", "IRT/S", "JST/S", "NFT/S", "NST/S", "NZT/S",
                     "OZT/S", "SST/S", "WAT/S", "WET/DS", "MET/DS", "MSK/S", "MSK/DS"]

# Abbreviations GetTimezoneId treats as aliases of other entries: the table
# must not hold an entry of that name, or it could never be found.
ALIASES = {"CAT", "NAD", "UT", "GT", "WET", "WEZ", "MEZ", "CET", "MES", "WES", "AGD", "AZT",
           "BGD", "BZD", "CCD", "EED", "GSD", "HSD", "IRD", "JSD", "JVD", "NFD", "NSD", "OZD",
           "SSD", "WAD", "RS3", "RS4", "RS5", "WE2", "ME2", "SAT", "SAS", "SAST", "BT", "MOT",
           "ADT", "SAD", "AHT", "AHD", "IDL", "DAT", "OEZ", "IND", "INT", "KED", "JT", "MT",
           "KET", "KYT", "CED", "NT", "NAT", "GMD", "11D", "NZD"}

# The last three entries are the zones the timetable codes 138, 139 and 140
# stand for.
LAST_THREE = ["WET/S", "MET/S", "MET/DS"]
CODE_SLOTS = 138
RESERVED = ["Z-0015", "Z+0015", "Z-0045"]


def read_tzif(path):
    data = open(path, "rb").read()
    if data[:4] != b"TZif":
        return None
    def counts(at):
        return struct.unpack(">6l", data[at + 20:at + 44])
    isutc, isstd, leap, timecnt, typecnt, charcnt = counts(0)
    at, size = 44, 4
    if data[4] >= ord("2"):
        at += timecnt * 5 + typecnt * 6 + charcnt + leap * 8 + isstd + isutc
        isutc, isstd, leap, timecnt, typecnt, charcnt = counts(at)
        at, size = at + 44, 8
    times = struct.unpack(">%d%s" % (timecnt, "q" if size == 8 else "l"), data[at:at + timecnt * size])
    at += timecnt * size
    index = data[at:at + timecnt]
    at += timecnt
    types = [struct.unpack(">lBB", data[at + 6 * i:at + 6 * i + 6]) for i in range(typecnt)]
    at += 6 * typecnt
    chars = data[at:at + charcnt]
    return [(t, types[index[i]][0], types[index[i]][1],
             chars[types[index[i]][2]:chars.index(b"\0", types[index[i]][2])].decode())
            for i, t in enumerate(times)]


def survey():
    """(offset, kind) -> {abbreviation: [zones]} for the periods before 2000."""
    pairs = {}
    for folder, dirs, files in os.walk(ROOT):
        dirs[:] = sorted(d for d in dirs if d not in ("posix", "right"))
        for f in sorted(files):
            path = os.path.join(folder, f)
            try:
                transitions = read_tzif(path)
            except (OSError, struct.error, ValueError):
                continue
            if not transitions:
                continue
            zone = path[len(ROOT) + 1:]
            standard = None
            for t, off, isdst, abbr in transitions:
                if t >= END_1999:
                    break
                if abbr == "LMT":
                    continue
                if not isdst:
                    standard = off
                    kind = "N"
                elif standard is not None and off - standard >= 2 * HOUR:
                    kind = "D"
                else:
                    kind = "S"
                pairs.setdefault((off, kind), {}).setdefault(abbr, []).append(zone)
    return pairs


def hhmm(offset):
    sign = "+" if offset >= 0 else "-"
    a = abs(offset)
    text = "%s%02d%02d" % (sign, a // HOUR, a % HOUR // 60)
    return text + ("%02d" % (a % 60) if a % 60 else "")


def utc_text(offset):
    sign = "+" if offset >= 0 else "-"
    a = abs(offset)
    text = "UTC%s%d" % (sign, a // HOUR)
    if a % HOUR:
        text += ":%02d" % (a % HOUR // 60)
    if a % 60:
        text += ":%02d" % (a % 60)
    return text


def regular(offset):
    return offset % 900 == 0


def main():
    pairs = survey()
    entries = [("LMT", 0, "L", "Local Mean Time")]
    names = {"LMT"}
    standard_name = {}

    def variant_title(name, offset, kind):
        base = name.split("/")[0]
        label = "summer time" if kind == "S" else "double summer time"
        if base == "WET":
            return "Western European " + ("Summer Time" if kind == "S" else "Double Summer Time")
        for e in entries:
            if e[0] == base and not e[3].startswith("UTC"):
                title = "%s, %s" % (e[3].split(" (")[0], label)
                if len(title) <= 45:
                    return title
        return "%s, %s" % (utc_text(offset), label)

    def add(name, offset, kind, title):
        assert name not in names and len(name) <= 12, name
        names.add(name)
        entries.append((name, offset, kind, title[:45]))

    for offset, name, title in NAMED_STANDARD:
        standard_name.setdefault(offset, name)
        add(name, offset, "N", title)
    for name, offset, title in EXTRA_STANDARD:
        add(name, offset, "N", title)

    for offset, kind in sorted(pairs):
        if kind != "N" or offset in standard_name:
            continue
        abbrs = pairs[(offset, kind)]
        best = sorted(abbrs, key=lambda a: (not a.isalpha(), -len(abbrs[a]), a))[0]
        zone = abbrs[best][0].split("/")[-1].replace("_", " ")
        if best.isalpha() and best not in names and best not in ALIASES and len(best) <= 8:
            name = best
        elif regular(offset) and offset % HOUR == 0:
            name = "Z%+03d" % (offset // HOUR) if offset < 0 else "Z%02d" % (offset // HOUR)
        else:
            name = (best if best.isalpha() else "Z") + hhmm(offset)
        if name in names:
            name = "Z" + hhmm(offset)
        title = ("%s Mean Time" % zone) if best.endswith("MT") else utc_text(offset)
        if not best.endswith("MT") and regular(offset):
            title = utc_text(offset)
        standard_name[offset] = name
        add(name, offset, "N", "%s (%s)" % (title, utc_text(offset)) if "Mean" in title else title)

    def base_name(offset):
        if offset in standard_name:
            return standard_name[offset]
        return "Z" + hhmm(offset)

    variant_names = {"S": "/S", "D": "/DS"}
    shift = {"S": HOUR, "D": 2 * HOUR}
    for offset, kind in sorted(pairs):
        if kind == "N":
            continue
        base_off = offset - shift[kind]
        name = base_name(base_off) + variant_names[kind]
        if base_off == 0:
            name = "WET" + variant_names[kind]
        if len(name) > 12:
            name = "Z" + hhmm(base_off) + variant_names[kind]
        if name in names:
            continue
        add(name, offset, kind, variant_title(name, offset, kind))

    by_name = {e[0]: e for e in entries}
    for name in REQUIRED_VARIANTS:
        if name in names:
            continue
        base, suffix = name.split("/")
        kind = "S" if suffix == "S" else "D"
        base_off = 0 if base == "WET" else by_name[base][1]
        offset = base_off + shift[kind]
        add(name, offset, kind, variant_title(name, offset, kind))
        by_name[name] = entries[-1]

    # Fill to the fixed size with summer variants of regular standard zones,
    # from the most central offsets outward.
    candidates = sorted((e for e in entries if e[2] == "N" and regular(e[1])),
                        key=lambda e: (abs(e[1]), e[1], e[0]))
    for name, offset, kind, title in candidates:
        if len(entries) >= TABLE_SIZE:
            break
        if name == "GMT":
            continue
        variant = name + "/S"
        if variant in names or len(variant) > 12:
            continue
        add(variant, offset + HOUR, "S", "%s, summer time" % utc_text(offset + HOUR))
    # Then every whole and half hour from UTC-12 to UTC+14 gets a standard
    # entry and its summer variant, so later rule changes stay expressible.
    for offset in sorted(range(-12 * HOUR, 14 * HOUR + 1, 1800), key=lambda o: (abs(o), o)):
        if len(entries) >= TABLE_SIZE:
            break
        if offset not in standard_name:
            name = "Z" + hhmm(offset) if offset % HOUR else (
                "Z%+03d" % (offset // HOUR) if offset < 0 else "Z%02d" % (offset // HOUR))
            standard_name[offset] = name
            add(name, offset, "N", utc_text(offset))
        variant = standard_name[offset] + "/S"
        if len(entries) < TABLE_SIZE and variant not in names and offset != 0:
            add(variant, offset + HOUR, "S", "%s, summer time" % utc_text(offset + HOUR))
    # Then double summer variants of the whole hours, and the quarter hours.
    for offset in sorted(range(-12 * HOUR, 12 * HOUR + 1, HOUR), key=lambda o: (abs(o), o)):
        variant = ("WET" if offset == 0 else standard_name[offset]) + "/DS"
        if len(entries) < TABLE_SIZE and variant not in names:
            add(variant, offset + 2 * HOUR, "D", variant_title(variant, offset + 2 * HOUR, "D"))
    for offset in sorted(range(-12 * HOUR + 900, 14 * HOUR, 1800), key=lambda o: (abs(o), o)):
        if len(entries) < TABLE_SIZE and offset not in standard_name:
            name = "Z" + hhmm(offset)
            standard_name[offset] = name
            add(name, offset, "N", utc_text(offset))
    if len(entries) > TABLE_SIZE:
        sys.exit("table too large: %d" % len(entries))

    # The last three entries are fixed.
    tail = [e for e in entries if e[0] in LAST_THREE]
    entries = [e for e in entries if e[0] not in LAST_THREE]
    # Timetables cannot name entries 138-140 (those codes stand for the last
    # three entries), so three quarter-hour offsets no zone has used go there.
    spare = [e for e in entries if e[0] in RESERVED]
    entries = [e for e in entries if e[0] not in RESERVED]
    entries[CODE_SLOTS:CODE_SLOTS] = spare
    while len(entries) + len(tail) < TABLE_SIZE:
        sys.exit("table too small: %d" % (len(entries) + len(tail)))
    entries += sorted(tail, key=lambda e: LAST_THREE.index(e[0]))

    order = sorted(range(len(entries)), key=lambda i: (entries[i][2] != "L", entries[i][1],
                                                         "LNSD".index(entries[i][2]), entries[i][0]))
    sort_index = {i: rank for rank, i in enumerate(order)}
    print("# The atlas's zone table: 287 entries, compiled into Zones13.bin by the build.")
    print("# Columns: index, abbreviation (<= 12), English name (<= 45), UTC offset (+hh:mm[:ss],")
    print("# east positive), kind (L local mean time, N standard, S summer, D double summer),")
    print("# sort index (order by offset), extra (index of the standard zone a variant belongs")
    print("# to, else -1), show (1 = offered in zone lists, 0 = historical mean time).")
    print("# A summer variant is named after its standard zone with \"/S\", a double summer")
    print("# variant with \"/DS\". Entries 284-286 are what the timetable codes 138-140 stand for.")
    print("index\tabbreviation\tname\toffset\tkind\tsort\textra\tshow")
    index_of = {e[0]: i for i, e in enumerate(entries)}
    for i, (name, offset, kind, title) in enumerate(entries):
        extra = index_of.get(name.split("/")[0], -1) if "/" in name else -1
        show = 1 if (kind == "L" or regular(offset)) else 0
        sign = "+" if offset >= 0 else "-"
        a = abs(offset)
        off = "%s%d:%02d" % (sign, a // HOUR, a % HOUR // 60) + (":%02d" % (a % 60) if a % 60 else "")
        print("%d\t%s\t%s\t%s\t%s\t%d\t%d\t%d" % (i, name, title, off, kind, sort_index[i], extra, show))


if __name__ == "__main__":
    main()
