// Timetables: which zone of the zone table held at a group of places from
// which local date on, read from "ttx.dao" (every country but the USA) and
// "TTUSA.dao" (the US states), and the zone in force at a place and date.
//
// Timetable file: 10-byte records, little-endian: a double (a serial date,
// local wall-clock time from which the entry holds, or a marker) and a
// 16-bit zone index. A date of -N x 100,000 opens the block of timetable N
// within the current country section; a date at or below -100,000,000 opens
// the section of country int(|date| / 100,000,000). Zone codes 138, 139 and
// 140 stand for the last three entries of the loaded zone table.
#ifndef TARVPLACES_ATLAS_TIMETABLE_H_
#define TARVPLACES_ATLAS_TIMETABLE_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "atlas/found_place.h"
#include "atlas/zone_history.h"
#include "atlas/zone_table.h"

namespace tarv {

inline constexpr std::size_t kTimetableRecordSize = 10;
inline constexpr double kBlockMarkerStep = 100000.0;
inline constexpr double kSectionMarkerStep = 100000000.0;
// Serial dates: 1 January 1700, 1 January 1999, 1 January 2000, the
// smallest the host's date type holds (1 January 100), and the first it
// cannot hold (1 January 10000).
inline constexpr double kSerial1700 = -73046.0;
inline constexpr double kSerial1999 = 36161.0;
inline constexpr double kSerial2000 = 36526.0;
inline constexpr double kSmallestSerial = -657434.0;
inline constexpr double kLargestSerial = 2958466.0;

struct TimetableRecord {
  double Datum = 0.0;     // serial date (local) from which the zone holds
  std::int16_t Zone = 0;  // index into the zone table
  friend bool operator==(const TimetableRecord&, const TimetableRecord&) = default;
};

// One country section of a timetable file for the writer: timetables[0] is
// timetable 1. An empty timetable is written as its marker alone.
struct TimetableSection {
  std::int16_t country = 0;
  std::vector<std::vector<TimetableRecord>> timetables;
};

// The bytes of a timetable file holding `sections` in order.
std::string EncodeTimetableFile(const std::vector<TimetableSection>& sections);

// Reads timetable `number` of country `country_id` into `result` and returns
// the number of entries (16-bit).
//  - Both tables must be loaded already (the loaders' deliberate result is
//    honoured: the call that loads them returns 0 here).
//  - A reference date after 1 January 2000 gives one empty entry and 0: the
//    files end with 1999. Exactly 1 January 2000 gives the whole timetable.
//  - A reference date before 1 January 100 gives one entry, 1 January 1700
//    with zone 0 (local mean time), and 1.
//  - Otherwise the first entry is always 1 January 1700, zone 0, followed by
//    the block's records in file order; reading does not stop at the
//    reference date, so a caller gets the whole history. A missing section
//    or block leaves the 1700 entry alone.
//  - `usa` chooses "TTUSA.dao" over "ttx.dao"; `folder` names the folder to
//    read from, "" meaning the place folder.
//  - For France, entries in May of a year after 1975 move four months later,
//    a correction of that country's data.
// Reading stops at the next block marker or country marker. Section
// positions are remembered per file image, so asking the same file again
// jumps straight to the section. A missing file gives 0 entries silently. A
// file that cannot be read (damaged compressed data, even past the wanted
// block, an unknown compression mode) is an LZ error: the file is noted as
// the call's atlas fault (which the classic members show under the title
// "Read_Cp_TimeTable"), `*lz_error` (when given) receives the code, and what
// was read so far is returned. Zone numbers outside the zone table and entries whose date the
// host's date type cannot hold (NaN, infinite, before the year 100 or after
// 9999) throw AtlasError naming the file, country, timetable and entry.
std::int16_t Read_Cp_TimeTable(std::string_view code, std::int16_t country_id, double reference,
                               std::int32_t number, std::vector<TimetableRecord>& result, bool usa,
                               const std::string& folder = "", std::int32_t* lz_error = nullptr);

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
};

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

// The serial date a Julian day stands for in zone lookups: JulianInSerial,
// except that Julian days of years before 100 (which the host's date type
// cannot hold) and Julian days that are not finite give 1 January 100, a date
// at which every timetable still shows local mean time.
double LookupSerialOfJulian(double julian);

// The zone of a found place at the local serial date `date`: from the place's
// own history when it is a database place and the atlas has one for it (then
// `own_history` is set and `kind` says whether the local time was skipped or
// repeated), else from its country's timetable as ZoneAt gives it, with
// `kind` from LocalTimeStatus. A damaged history file throws AtlasError.
std::optional<ZoneAtDate> ZoneOfPlaceAt(const FoundPlace& place, double date);

// Where a database place's own history and a timetable of its country give
// different offsets (local mean time counting as an offset of its own),
// judged at noon on the 15th of every month from 1850 through 2100:
// the place's IANA zone and the ranges of years, first to last. nullopt for a
// place without an own history (a user place, an atlas without the files).
struct OwnHistoryDifference {
  std::string iana;
  std::vector<std::pair<int, int>> years;
};
std::optional<OwnHistoryDifference> CompareWithTimetable(const FoundPlace& place,
                                                         std::int16_t timetable);

// "1928-1980, 1986" for year ranges.
std::string YearRangesText(const std::vector<std::pair<int, int>>& years);

// The zone of a found place at the Julian day `julian` (ZoneOfPlaceAt at the
// serial date LookupSerialOfJulian gives). `zone_time` receives the zone's offset in hours,
// `is_lmt` whether it is local mean time. Returns the zone identifier, 0 for
// local mean time.
std::int16_t GetZonenIdOfPlaceData(const FoundPlace& place, double julian, bool& is_lmt,
                                   double& zone_time);

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_TIMETABLE_H_
