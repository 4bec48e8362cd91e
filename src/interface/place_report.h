// Answers of the place service as records: a found place with the zone in
// force at a local date, the nearest place, the country, zone and timetable
// tables. The command-line tool and the C interface both report these, so
// the reading of the members' text lines lives here once.
#ifndef TARVPLACES_INTERFACE_PLACE_REPORT_H_
#define TARVPLACES_INTERFACE_PLACE_REPORT_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "atlas/timetable.h"
#include "tarvplaces/places.h"

namespace tarv {

// A zone of the zone table as hosts show it. Texts are UTF-8 without their
// padding blanks.
struct ZoneReport {
  std::int16_t id = 0;
  std::string abbreviation;  // "MET/S"
  std::string name;          // "Middle European Time, summer time"
  // Hours east of UTC; for local mean time (zone 0) the place's own,
  // longitude / 15, rounded to 1e-6 hours.
  double utc_offset = 0.0;
  bool is_lmt = false;
  char kind = ' ';  // L local mean time, N standard, S summer, D double summer
};

// "normal", "skipped" or "repeated".
const char* LocalTimeName(LocalTimeKind kind);

struct PlaceReport {
  std::string name;     // trimmed, UTF-8
  std::string country;  // the place's country code ("D", also in a group search)
  // The country's name in the host's language ("Germany", "Deutschland") and
  // its ISO code ("DE", a US state's "US-CA"; "" where the atlas names none).
  std::string country_name;
  std::string country_iso;
  // GeoNames' population where the atlas keeps it (0 for user places), and
  // whether another of its names found the place ("Munich" for München).
  std::uint32_t population = 0;
  bool other_name = false;
  double longitude = 0.0;
  double latitude = 0.0;
  std::int32_t timetable = 0;
  bool user_place = false;
  ZoneReport zone;
  // Whether the date's local time existed once, was skipped or occurred
  // twice at the place; kNormal without a date.
  LocalTimeKind local_time = LocalTimeKind::kNormal;
  // With a date, where the atlas knows it: the IANA zone the place follows
  // ("Asia/Seoul"; for a user place its timetable's), tzdata's abbreviation
  // at that instant ("KST", "+03", "LMT"), and the zone's long name then in
  // the host's language ("Korean Standard Time", "Koreanische Normalzeit";
  // "Local Mean Time" for local mean time). Empty otherwise.
  std::string iana;
  std::string tz_abbreviation;
  std::string zone_long_name;
  // Whether the zone came from the place's own history rather than its
  // timetable.
  bool own_history = false;
};

// The zone `id` for a place at `longitude` (which only local mean time
// needs). Loads the zone table when needed; an id outside it gives a blank
// zone with that id.
ZoneReport ReportZone(classPlaces& places, std::int16_t id, double longitude);

// Element `index` of the found-place list of the last search, with the zone
// in force at `julian` (a Julian day, local time at the place) and its kind
// of local time, both from the place's own timetable (not from the first
// place of its name), or with its standard zone when there is no date.
// nullopt for an element outside the list.
std::optional<PlaceReport> ReportFoundPlace(classPlaces& places, std::int32_t index,
                                            std::optional<double> julian);

// The place of `code` nearest to the coordinates (see GetNearestPlace) with
// the standard zone of its timetable; nullopt when none qualifies.
std::optional<PlaceReport> ReportNearestPlace(classPlaces& places, const std::string& code,
                                              double longitude, double latitude,
                                              double range_degrees);

struct CountryReport {
  std::int32_t index = 0;  // position in the country table
  std::int32_t id = 0;
  std::string title;    // German title, "Deutschland"
  std::string code;     // "D"
  std::string english;  // "Germany"
  std::string iso;      // "DE"; a US state's "US-CA"; "" where the atlas has none
  std::string zone;     // base zone as the table writes it, "MET"
  std::string continent;
  std::int32_t continent_id = 0;
  std::int32_t timetables = 0;
  bool several_zones = false;
};

// The countries of the country table (without the fallback entry and the
// continents at its end), sorted by title when `sorted`, else in the file's
// order.
std::vector<CountryReport> ReportCountries(classPlaces& places, bool sorted);

// The zone table, every entry that has all its fields.
std::vector<ZoneReport> ReportZones(classPlaces& places);

struct TimetableEntryReport {
  double serial = 0.0;  // local date from which the zone holds (serial date)
  double julian = 0.0;  // the same as a Julian day
  ZoneReport zone;      // for local mean time without an offset (no place)
};

// The entries of a country's timetable (see GetTimeTableArray).
std::vector<TimetableEntryReport> ReportTimetable(classPlaces& places, const std::string& code,
                                                  std::int16_t number);

}  // namespace tarv

#endif  // TARVPLACES_INTERFACE_PLACE_REPORT_H_
