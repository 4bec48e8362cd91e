// The records the atlas answers with: places with their zone at a local
// time, zones, countries and timetable entries. Texts are UTF-8 without the
// atlas's padding blanks; coordinates are decimal degrees, east and north
// positive.
#ifndef TARVPLACES_RECORDS_H_
#define TARVPLACES_RECORDS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarv {

// A local wall-clock time at a place. Years 0-9999, months 1-12, days as the
// month has them, hours 0-23, minutes and seconds 0-59.
struct LocalTime {
  int Year = 2000;
  int Month = 1;
  int Day = 1;
  int Hour = 12;
  int Minute = 0;
  int Second = 0;
};

// Whether a local time existed once, was skipped (clocks set forward over
// it) or occurred twice (clocks set back).
enum class LocalTimeKind { kNormal, kSkipped, kRepeated };

// "normal", "skipped" or "repeated".
const char* LocalTimeName(LocalTimeKind kind);

// A zone of the zone table.
struct ZoneInfo {
  std::int16_t Id = 0;       // its place in the zone table; 0 is local mean time
  std::string Abbreviation;  // "MET/S"
  std::string Name;          // "Central European Summer Time"
  // Hours east of UTC; for local mean time at a place the place's own,
  // longitude / 15, rounded to 1e-6 hours (0 without a place).
  double UtcOffsetHours = 0.0;
  bool IsLmt = false;
  char Kind = ' ';  // 'L' local mean time, 'N' standard, 'S' summer, 'D' double summer
};

// One reading of a local time the clocks went through twice.
struct TimeReading {
  ZoneInfo Zone;               // the zone-table entry and the UTC offset of this reading
  std::string TzAbbreviation;  // tzdata's, "CEST"
  std::string ZoneLongName;    // in the atlas's language
};

// The stretch of local time the clocks jumped over.
struct TimeGap {
  LocalTime From;                  // the first local time that never was, 02:00
  LocalTime To;                    // the first after the gap, 03:00
  double OffsetBeforeHours = 0.0;  // UTC offsets on either side, east positive
  double OffsetAfterHours = 0.0;
};

// Where a zone answer comes from.
enum class ZoneSourceKind : std::uint8_t {
  kTimetable,    // the country's timetable: no date asked, a user place in an
                 // atlas without a zone map, an atlas without zone histories
  kZoneHistory,  // the history of an IANA zone in tzdata: the place's own, or
                 // the zone map's at a user place or at coordinates
  kNamedZone,    // the history of the IANA zone the user named for the place
  kMeanTime,     // the place's own local mean time, longitude / 15 hours
};

// The source of a zone answer and how far to trust it.
struct ZoneSource {
  ZoneSourceKind Kind = ZoneSourceKind::kTimetable;
  // The IANA zone whose history gave the answer (for local mean time, the
  // zone whose history says none had come yet), "" for a timetable; the
  // tzdata release the atlas was built from, "2025b", with it.
  std::string Iana;
  std::string TzdataVersion;
  // The instant lies before 1970 UTC: tzdata keeps the zones' earlier
  // history, but does not aim to be complete or right for it.
  bool Before1970 = false;
};

// One line for people: "Europe/Paris in tzdata 2025b", "local mean time of
// the place (longitude / 15)", "timetable 1 of D", each with "; before 1970,
// which tzdata does not aim to keep completely" where that holds, in the
// atlas's language (German when `german`).
std::string SourceText(const ZoneSource& source, std::int32_t timetable, const std::string& country,
                       bool german = false);

// Another zone whose area lies within 5 km of a place or point (by the
// atlas's zone map) and whose clock differs from the answer's at the instant
// asked: near a zone line a few kilometres decide the hour.
struct NearbyZone {
  std::string Iana;            // "America/New_York"
  double UtcOffsetHours = 0;   // its offset then, east positive
  std::string TzAbbreviation;  // tzdata's, "EST"
  double Meters = 0;           // how far from the place its area begins
};

// A place with the zone in force there: at the local time asked for, or its
// standard zone.
struct PlaceInfo {
  std::string Name;         // "München"
  std::string Country;      // the atlas code of its country, "D"
  std::string CountryName;  // in the atlas's language, "Germany" or "Deutschland"
  std::string CountryIso;   // "DE"; a US state's "US-CA"; "" where the atlas has none
  double Longitude = 0.0;
  double Latitude = 0.0;
  std::int32_t Timetable = 0;
  std::int32_t RecordNo = 0;  // its record in its country's file, negative for a user place
  bool UserPlace = false;
  std::uint32_t Population = 0;  // GeoNames'; 0 for a user place or where unknown
  bool OtherName = false;        // found by another of its names ("Munich" for München)
  ZoneInfo Zone;
  // With a local time: whether it existed once, was skipped or repeated; and
  // where the atlas knows them, the IANA zone the place follows
  // ("Europe/Berlin"; a user place: its timetable's), tzdata's abbreviation
  // then ("CEST") and the zone's long name then in the atlas's language.
  LocalTimeKind LocalTime = LocalTimeKind::kNormal;
  std::string Iana;
  std::string TzAbbreviation;
  std::string ZoneLongName;
  bool OwnHistory = false;  // the zone came from the place's own history, not its timetable
  // A repeated local time: both readings, the earlier first; the answer
  // above is the earlier, as it always was. A skipped one: the gap, whose
  // later clock the answer above gives. From the own history only.
  std::vector<TimeReading> Readings;
  std::optional<TimeGap> Gap;
  ZoneSource Source;  // where the zone answer comes from
  // With a local time: the zones within 5 km that keep another clock then,
  // nearest first (from the own history only).
  std::vector<NearbyZone> NearbyZones;
};

// The zone in force at coordinates, by the atlas's map of the zones'
// boundaries: on land and in territorial waters the zone of the land, on the
// open sea the nautical zone of the longitude ("Etc/GMT+5").
struct PointZone {
  double Longitude = 0.0;
  double Latitude = 0.0;
  std::string Iana;  // "America/Chicago"
  // At the local time asked for (or at the present instant without one);
  // local mean time is the point's own, longitude / 15.
  ZoneInfo Zone;
  LocalTimeKind LocalTime = LocalTimeKind::kNormal;
  std::string TzAbbreviation;  // tzdata's, "CDT"
  std::string ZoneLongName;    // in the atlas's language
  // As for PlaceInfo: both readings of a repeated local time, the gap of a
  // skipped one, and where the answer comes from.
  std::vector<TimeReading> Readings;
  std::optional<TimeGap> Gap;
  ZoneSource Source;
  std::vector<NearbyZone> NearbyZones;
};

// How a country lookup reads a text that is both an ISO 3166 code and one of
// the atlas's own codes: "ES" is Spain's ISO code and El Salvador's atlas
// code, "RU" Russia's and Burundi's.
enum class CountryCodes {
  kIso,    // the ISO meaning, as everyone who knows ISO codes means it
  kAtlas,  // the atlas's own codes first, as classPlaces has always read them
};

// A country, a US state or a group of the atlas.
struct CountryInfo {
  std::int32_t Id = 0;   // its number in the country table
  std::string Code;      // the atlas code every lookup takes: "D", "USCA"; for a group its
                         // name in the table's language ("EUROPA" or "EUROPE", "USA")
  std::string Iso;       // "DE"; a US state's ISO 3166-2 code, "US-CA"; "" for a group
  std::string Title;     // the table's German title, "Deutschland"
  std::string English;   // "Germany"
  bool IsGroup = false;  // a continent or the USA, whose member countries a search reads
  std::string Zone;      // the base zone as the table writes it, "MEZ"
  std::string Continent;
  std::int32_t ContinentId = 0;
  std::int32_t Timetables = 0;  // how many timetables it has, 0 for none
  bool SeveralZones = false;    // it spans several zones
};

// One entry of a timetable: from the local time `From` on, `Zone` holds.
struct TimetableEntry {
  LocalTime From;
  double JulianDay = 0.0;  // `From` as a Julian day
  ZoneInfo Zone;           // for local mean time without an offset (no place)
};

}  // namespace tarv

#endif  // TARVPLACES_RECORDS_H_
