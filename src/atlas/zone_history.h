// Every database place's own zone history: the IANA zone GeoNames gives the
// place, and that zone's whole history from tzdata, with the rule it follows
// after the last listed change. Timetables group places into a country's few
// histories; these files keep each place on its own.
//
// "Zones.hst", SZDD-compressed like the other files; expanded, little-endian:
//
//   offset  size  field
//   0       4     magic "TPZH"
//   4       2     version, 2
//   6       2     0
//   8       4     number of zones (1-4096)
//   12      ...   zones, in the order places refer to them:
//                   1  name length n (1-64), then n bytes: "Europe/Berlin"
//                   1  rule length m (0-255), then m bytes: the POSIX TZ
//                      string of later years ("CET-1CEST,M3.5.0,M10.5.0/3"),
//                      empty when the last period holds for ever
//                   2  zone-table entry of the rule's standard time
//                   2  zone-table entry of the rule's daylight time
//                   4  number of periods k (1-4096)
//                   k  periods in time order:
//                        8  start, seconds since 1970 UTC (signed; the
//                           first period's start is ignored: it holds from
//                           the beginning)
//                        4  UTC offset in seconds (east positive)
//                        1  flags: 1 daylight time, 2 local mean time
//                        2  zone-table entry (0 for local mean time)
//                        1  abbreviation length a (0-15), then a bytes
//   ...     1     length v (1-15) of the tzdata release the histories come
//                 from, then v bytes: "2025b"
//
// "<code>.TZP" beside each place file ("D.dao" has "D.TZP"), SZDD-compressed:
//
//   0       4     magic "TPZP"
//   4       2     version, 2
//   6       2     0
//   8       4     record count n of the place file it was written for
//   12      2n    per record, the zone's number in "Zones.hst" (uint16,
//                 0-based), 65535 for a record without one
//   12+2n   2     number of timetables t (0-999)
//   14+2n   2t    per timetable from 1 on, the zone whose history it keeps
//                 (65535 for none); a country without timetables has one,
//                 its history 0
//   ...     4     number of near-zone entries m (0-1,048,576)
//   ...     8m    the zones whose area lies within 5 km of a place (by the
//                 zone map) other than its own, ordered by record, then by
//                 distance; each: 4 record (1-based), 2 zone number, 2
//                 distance in metres (0-5000)
//
// Readers check every field: magic, version, counts against the bytes there
// are, every zone number against the zones, every entry against the zone
// table, the order of the starts, the rule's syntax, that nothing follows
// the last field, and the record count against the place file's. A fault is
// an AtlasError naming the file. An atlas without the files (or a place file
// without its ".TZP") answers from the timetables as before.
#ifndef TARVPLACES_ATLAS_ZONE_HISTORY_H_
#define TARVPLACES_ATLAS_ZONE_HISTORY_H_

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "atlas/posix_tz.h"
#include "tarvplaces/records.h"

namespace tarv {

inline constexpr const char* kZoneHistoryFile = "Zones.hst";
inline constexpr std::string_view kZoneHistoryMagic = "TPZH";
inline constexpr std::string_view kPlaceZonesMagic = "TPZP";
inline constexpr std::uint16_t kZoneHistoryVersion = 2;
inline constexpr std::uint16_t kPlaceZonesVersion = 2;
// How far from a place another zone's area counts as near.
inline constexpr double kNearZoneMeters = 5000.0;
inline constexpr std::uint16_t kNoPlaceZone = 0xFFFF;

// LocalTimeKind (records.h): changes out of or into local mean time are not
// judged, since the atlas's local mean time is the place's own, not the
// zone's.

struct HistoryPeriod {
  std::int64_t from = 0;  // seconds since 1970 UTC; the first holds from the beginning
  std::int32_t utc_offset = 0;
  bool daylight = false;
  bool local_mean_time = false;
  std::int16_t entry = 0;    // the zone-table entry with this offset and kind
  std::string abbreviation;  // tzdata's ("CEST", "+03", "LMT")
  friend bool operator==(const HistoryPeriod&, const HistoryPeriod&) = default;
};

struct ZoneHistory {
  std::string name;  // "Europe/Berlin"
  std::vector<HistoryPeriod> periods;
  std::string rule;  // POSIX TZ string for the years after the periods, or ""
  std::int16_t rule_standard_entry = 0;
  std::int16_t rule_daylight_entry = 0;
};

// A change of offset that a local time fell into: the clock before and
// after it, and the stretch of local time it skipped or repeated, in local
// seconds since 1970 ([from, to): a skipped hour 02:00-03:00 runs from 02:00
// to 03:00 on the new clock's reading of its end; a repeated one from the
// later clock's first reading to the earlier clock's last).
struct ClockChange {
  struct Side {
    std::int32_t utc_offset = 0;
    bool daylight = false;
    std::int16_t entry = 0;    // the zone-table entry
    std::string abbreviation;  // tzdata's
    friend bool operator==(const Side&, const Side&) = default;
  };
  std::int64_t local_from = 0;
  std::int64_t local_to = 0;
  Side before;
  Side after;
  friend bool operator==(const ClockChange&, const ClockChange&) = default;
};

// The zone in force at a local time by a zone's history. A skipped local
// time takes the clock after the change, a repeated one the clock before it
// (the earlier reading); `change` tells both sides.
struct HistoryAnswer {
  std::string zone_name;  // "Europe/Berlin"
  std::int32_t utc_offset = 0;
  bool daylight = false;
  bool local_mean_time = false;
  std::int16_t entry = 0;
  std::string abbreviation;
  LocalTimeKind kind = LocalTimeKind::kNormal;
  std::optional<ClockChange> change;  // with kSkipped and kRepeated only
};

// The bytes of "Zones.hst", the histories of tzdata release
// `tzdata_version` ("2025b"). Throws std::invalid_argument for a zone the
// format cannot hold (no periods, a name or abbreviation too long, starts
// out of order, a rule that does not parse) or a release name of other than
// 1-15 printable characters.
std::string EncodeZoneHistories(const std::vector<ZoneHistory>& zones,
                                std::string_view tzdata_version);

// A zone whose area lies near a place: its number and the distance.
struct PlaceNearZone {
  std::int32_t record = 0;  // 1-based
  std::uint16_t zone = 0;
  std::uint16_t meters = 0;
  friend bool operator==(const PlaceNearZone&, const PlaceNearZone&) = default;
};

// The bytes of a ".TZP" file for a place file of zones.size() records, its
// country's timetables keeping the histories of `timetable_zones`, the
// zones near its places `near` (any order).
std::string EncodePlaceZones(const std::vector<std::uint16_t>& zones,
                             const std::vector<std::uint16_t>& timetable_zones = {},
                             std::vector<PlaceNearZone> near = {});

class ZoneHistories {
 public:
  // Checks and decodes expanded bytes; entries must lie below `zone_count`
  // (the zone table's size). Throws AtlasError naming `file`.
  ZoneHistories(std::string_view bytes, const std::string& file, std::size_t zone_count);

  std::size_t size() const { return zones_.size(); }
  const ZoneHistory& operator[](std::size_t i) const { return zones_[i]; }
  // The tzdata release the histories come from, "2025b".
  const std::string& tzdata_version() const { return tzdata_version_; }

  // The zone `i` holds at `local` (seconds since 1970 counted in local
  // wall-clock time): the last period whose start, in the clock before it,
  // is at or before `local`. A skipped local time so gets the new offset, a
  // repeated one the earlier; `kind` says which it was.
  HistoryAnswer At(std::size_t i, std::int64_t local) const;

  // The zone `i` holds at the instant `utc` (seconds since 1970 UTC): one
  // clock, never skipped or repeated.
  HistoryAnswer AtUtc(std::size_t i, std::int64_t utc) const;

 private:
  std::vector<ZoneHistory> zones_;
  std::vector<std::optional<PosixTzRule>> rules_;
  std::string tzdata_version_;
};

class PlaceZones {
 public:
  // Checks and decodes expanded bytes; every number must lie below
  // `zone_count` or be kNoPlaceZone. Throws AtlasError naming `file`.
  PlaceZones(std::string_view bytes, const std::string& file, std::size_t zone_count);

  std::int32_t RecordCount() const { return static_cast<std::int32_t>(zones_.size()); }
  // The zone number of record `record` (1-based), nullopt for none.
  std::optional<std::uint16_t> ZoneOf(std::int32_t record) const;
  // The zone whose history timetable `number` keeps (0 counts as 1).
  std::optional<std::uint16_t> ZoneOfTimetable(std::int32_t number) const;
  // The zones near record `record`, nearest first.
  std::vector<PlaceNearZone> NearZonesOf(std::int32_t record) const;

 private:
  std::vector<std::uint16_t> zones_;
  std::vector<std::uint16_t> timetables_;
  std::vector<PlaceNearZone> near_;  // by record, then distance
};

// The path of a place file's zone file: "C:\Atlas\D.dao" gives "C:\Atlas\D.TZP".
std::string PlaceZonesPathOf(const std::string& place_file);

// Local wall-clock seconds since 1970 of a local serial date.
std::int64_t LocalSecondsOfSerial(double serial);

// The own history of record `record` of the database place file of `code`
// (a mapped country code) at the local serial `date`, nullopt when the atlas
// has no own history for it (no "Zones.hst", no ".TZP", no zone for the
// record). Throws AtlasError for a damaged file.
std::optional<HistoryAnswer> OwnHistoryAt(std::string_view code, std::int32_t record, double date);

// The decoded histories and the zone number of that record, for callers
// that ask one place at many dates; nullopt as for OwnHistoryAt.
struct PlaceHistory {
  std::shared_ptr<const ZoneHistories> histories;
  std::uint16_t zone = 0;
  bool named = false;  // a zone the user named for a user place
  HistoryAnswer At(double date) const;
  HistoryAnswer AtUtc(std::int64_t utc) const { return histories->AtUtc(zone, utc); }
};
std::optional<PlaceHistory> OwnHistoryOf(std::string_view code, std::int32_t record);

// The same for the zone whose history timetable `timetable` of `code` keeps
// (which user places of that timetable follow): nullopt without the files.
std::optional<HistoryAnswer> TimetableHistoryAt(std::string_view code, std::int32_t timetable,
                                                double date);

// The history of the zone the atlas's map ("Zones.map") gives at the
// coordinates; nullopt for an atlas without a map or "Zones.hst", and for
// coordinates off the earth. A damaged file is noted and fails the call.
std::optional<PlaceHistory> MapHistoryAt(double longitude, double latitude);

// The zones whose area lies within 5 km of database place `record` of
// `code` other than its own, nearest first, as the builder found them on the
// zone map; empty without the files.
std::vector<PlaceNearZone> NearZonesOfRecord(std::string_view code, std::int32_t record);
// The same by the zone map at coordinates, the zone there included (at 0 m):
// for user places and points. Empty for an atlas without a map.
std::vector<PlaceNearZone> NearZonesOnMap(double longitude, double latitude);

// The history of the IANA zone `iana` ("America/Chicago"); nullopt when
// "Zones.hst" has no such zone or the atlas has no histories.
std::optional<PlaceHistory> NamedHistory(std::string_view iana);

// The history of the zone the user named for their place `name` of the
// country `code` (user_zones.h); nullopt where they named none. A damaged
// file, or one naming a zone the atlas does not know, is noted and fails the
// call.
std::optional<PlaceHistory> UserNamedHistory(std::string_view code, std::string_view name);

// Whether the current atlas has a zone map.
bool HasZoneMap();

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_ZONE_HISTORY_H_
