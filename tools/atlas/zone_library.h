// The IANA zones the atlas's places use, each read from its TZif file once
// and seen through the zone table: the timetable it gives up to 1999, its
// changes from 2000 through 2037, and its whole history for the places that
// use it ("Zones.hst").
#ifndef TARVPLACES_TOOLS_ATLAS_ZONE_LIBRARY_H_
#define TARVPLACES_TOOLS_ATLAS_ZONE_LIBRARY_H_

#include <cstdint>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "atlas/geonames.h"
#include "atlas/timetable.h"
#include "atlas/tzif.h"
#include "atlas/zone_design.h"
#include "atlas/zone_history.h"
#include "atlas/zone_periods.h"
#include "atlas/zone_table.h"

namespace tarv::atlas {

inline constexpr std::int64_t kUnix2000 = 946684800;
inline constexpr std::int64_t kUnix2038 = 2145916800;
inline constexpr double kSerialOf1970 = 25569.0;
inline constexpr std::int32_t kHour = 3600;
// The years the rules file gives summer time for; timetables end with 1999.
inline constexpr int kFirstRuleYear = 2000;
inline constexpr int kLastRuleYear = 2037;

// The local serial date of an instant (seconds since 1970) at a UTC offset.
double LocalSerial(std::int64_t unix_seconds, std::int32_t offset);

// One IANA zone as the atlas uses it.
struct AtlasZone {
  TzifZone tzif;
  std::vector<TimetableRecord> history;  // from the end of local mean time to 1999
  std::vector<TimetableRecord> later;    // its changes from 2000 through 2037
  std::int32_t standard_1999 = 0;        // standard offset at the end of 1999
  std::int16_t standard_entry_1999 = 0;  // its entry (0 before any standard time)
  int zones_since = 0;                   // year local mean time ended
  ZoneHistory own;                       // the whole history, for places of this zone

  // The whole history as one list, later changes included: what timetables
  // are told apart by.
  std::vector<std::pair<double, std::int16_t>> Key() const;
};

// The zones of one designed zone table, each worked out on first use.
class ZoneLibrary {
 public:
  // `zones` are the TZif files read already (by IANA name), `root` the
  // folder further ones come from.
  ZoneLibrary(std::string root, std::vector<ZoneRecord> table,
              std::map<std::string, ZonePopulation> zones)
      : root_(std::move(root)), table_(std::move(table)), tzifs_(std::move(zones)) {}

  const AtlasZone& Get(const std::string& name);

  // The standard-time entry of `offset`, the one `hint` names if there are
  // several (0 when there is none).
  std::int16_t StandardEntry(std::int32_t offset, const std::string& hint = "") const;
  std::string NameOf(std::int16_t id) const;
  const std::vector<ZoneRecord>& table() const { return table_; }
  // Periods expressed by an entry of their offset but another kind.
  const std::vector<std::string>& approximated() const { return approximated_; }

 private:
  std::int16_t Entry(const std::string& zone, double from, std::int64_t probe, std::int32_t offset,
                     ZoneKind kind, std::int32_t standard, const std::string& abbreviation);
  ZoneHistory OwnHistory(const std::string& name, const TzifZone& tzif);
  void SetRuleEntries(const std::string& name, const PosixTzRule& rule, ZoneHistory& own);
  const TzifZone& Tzif(const std::string& zone) const { return tzifs_.at(zone).tzif; }

  std::string root_;
  std::vector<ZoneRecord> table_;
  std::map<std::string, ZonePopulation> tzifs_;
  std::map<std::string, AtlasZone> zones_;
  std::vector<std::string> approximated_;
};

// Reads the TZif file of every zone `places` use from `zoneinfo`, designs
// the zone table for them from the project's table at `zones_tsv`, and
// returns the library over that table, which also knows the zones of `more`
// (named by the atlas without a place of theirs: their times keep entries
// but name none); `unnamed` receives the zone names left without an entry
// of their own.
ZoneLibrary LoadZones(const std::string& zoneinfo, const std::string& zones_tsv,
                      const std::vector<GeoPlace>& places, std::vector<std::string>& unnamed,
                      const std::set<std::string>& more = {});

// The contents of "Zones.hst": the own history of every zone, numbered in
// name order.
struct ZoneHistoryFile {
  std::map<std::string, std::uint16_t> numbers;  // IANA name -> number
  std::vector<ZoneHistory> histories;
  std::string tzdata_version;  // the release they come from, "2025b"
};
ZoneHistoryFile NumberZoneHistories(const std::set<std::string>& names, ZoneLibrary& zones);

// The tzdata release of a zoneinfo folder, from the "# version 2025b" line
// that opens its "tzdata.zi". Throws AtlasError naming the file when it is
// missing or names none.
std::string ReadTzdataVersion(const std::string& zoneinfo);

// "Zones13.bin" and "Zones.hst".
void WriteZoneTable(const std::filesystem::path& out, const std::vector<ZoneRecord>& table);
void WriteZoneHistories(const std::filesystem::path& out, const ZoneHistoryFile& file);

}  // namespace tarv::atlas

#endif  // TARVPLACES_TOOLS_ATLAS_ZONE_LIBRARY_H_
