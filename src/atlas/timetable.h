// Timetables: which zone of the zone table held at a group of places from
// which local date on (timetable_file.h reads them), and the zone a
// country's timetable gives at a local date, with the daylight-saving rules
// after 1999.
#ifndef TARVPLACES_ATLAS_TIMETABLE_H_
#define TARVPLACES_ATLAS_TIMETABLE_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "atlas/timetable_file.h"
#include "atlas/zone_history.h"
#include "atlas/zone_table.h"

namespace tarv {

// The zone in force for a country's timetable, or a place's own history, at
// a local serial date.
struct ZoneAtDate {
  std::int16_t zone_id = 0;
  ZoneRecord zone;
  // From the place's own history only: its IANA zone ("Europe/Berlin"),
  // tzdata's abbreviation at that instant ("CEST"), the exact offset in
  // seconds and whether it is daylight time.
  bool own_history = false;
  std::string iana;
  std::string abbreviation;
  std::int32_t utc_seconds = 0;
  bool daylight = false;
  LocalTimeKind kind = LocalTimeKind::kNormal;
  // A skipped or repeated local time of the own history: both clocks.
  std::optional<ClockChange> change;
  // Where the answer comes from: a history (the place's own, the map's, or
  // one the user named) of tzdata release `tzdata_version`, or the timetable.
  ZoneSourceKind source = ZoneSourceKind::kTimetable;
  std::string tzdata_version;
  // The zones within 5 km whose clock differs then, nearest first.
  std::vector<NearbyZone> nearby;
};

// Zone `id` of the zone table as a ZoneAtDate, and its record without a
// copy; a blank record outside the table.
ZoneAtDate ZoneOfId(std::int16_t id);
const ZoneRecord& ZoneRecordOf(std::int16_t id);

// The zone that holds for `code`'s timetable `timetable` at the local serial
// date `date`:
//  - up to 1 January 2000 from the timetable (the last entry at or before the
//    date); timetable 0 is the country's default history: its block 1 when
//    the timetable file has one, else the country's base zone for every
//    date;
//  - later dates from the standard zone the history ends on in 1999 and the
//    summer-time period
//    of the date's own year (GetDaylightSavingDate), inside which the zone's
//    summer variant holds ("MET" becomes "MET/S", "GMT" becomes "WET/S").
// nullopt for groups and continents, unknown countries, dates that are not
// finite, and a timetable file that cannot be read (after its LZ error was
// shown and noted): an unreadable history is no history of local mean time.
// A rules file that cannot be read throws AtlasError.
std::optional<ZoneAtDate> ZoneAt(std::string_view code, std::int16_t timetable, double date);

// The classic form: fills `record` with the zone of ZoneAt and returns its
// offset (hours east of UTC); leaves `record` alone and returns 0 when there
// is none.
float Get_TZData(std::string_view code, std::int16_t timetable, double date, ZoneRecord& record);

// The local start (`end_flag` 0) or end (`end_flag` -1) of summer time in
// `year` for a country's timetable, as a serial date: from the atlas's rules
// file when it has the timetable, else from the rule its last years before
// 2000 imply. 0 when the timetable has no summer time that year; for summer
// time the whole year, 1 January 00:00 and 1 January of the next year.
double GetDaylightSavingDate(std::string_view code, std::int16_t timetable, int year,
                             std::int16_t end_flag);

// The country's base zone abbreviation ("TimezoneShort" of "Country.dat"),
// "" for an unknown country.
std::string Get_BaseTimeZone(std::string_view code);

// Fills `record` with the base zone's record; returns its zone identifier.
std::int16_t Fill_BaseTimeZoneData(std::string_view code, ZoneRecord& record);

// The abbreviation (trimmed) of the standard zone a country's timetable ends
// on in 1999 (the last zone before 2000 that is no summer variant), or the
// base zone when the country has no such history; "" for an unknown country
// and when the timetable file cannot be read.
std::string GetRightTimeZone(std::string_view code, std::int16_t timetable);

// Whether a local wall-clock time exists once, not at all (clocks were set
// forward over it) or twice (clocks were set back over it) under a country's
// timetable: changes before 2000 come from the timetable, later ones from the
// year's summer-time period. Changes out of local mean time are not judged.
// The zone identifier of GetRightTimeZone's answer, found by its place in
// the table, not by its text (abbreviations may be shared): 0 when there is
// none.
std::int16_t RightTimeZoneId(std::string_view code, std::int16_t timetable);

LocalTimeKind LocalTimeStatus(std::string_view code, std::int16_t timetable, double date);

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_TIMETABLE_H_
