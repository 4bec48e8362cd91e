// The periods of an IANA zone's history as the atlas sees them: each with its
// UTC offset and its kind (standard, summer, double summer), and the entry of
// the atlas's zone table that expresses it.
#ifndef TARVPLACES_TOOLS_ATLAS_ZONE_PERIODS_H_
#define TARVPLACES_TOOLS_ATLAS_ZONE_PERIODS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "atlas/tzif.h"
#include "atlas/zone_table.h"

namespace tarv::atlas {

enum class ZoneKind : char { kStandard = 'N', kSummer = 'S', kDoubleSummer = 'D' };

struct ZonePeriod {
  std::int64_t from = 0;        // seconds since the epoch (UTC)
  std::int32_t utc_offset = 0;  // seconds east of UTC
  ZoneKind kind = ZoneKind::kStandard;
  std::int32_t standard_offset = 0;  // the standard time this period belongs to
  std::string abbreviation;          // the IANA abbreviation ("CEST")
  bool local_mean_time = false;      // a return to local mean time (Lagos 1909-1914)
};

// The periods of `zone` that begin before `until` (seconds since the epoch),
// after its initial local mean time; a later return to local mean time is a
// period of its own, flagged local_mean_time. Kinds follow the conventional
// view: a period
// flagged daylight is summer time (double summer when it is two hours or more
// above the standard time before it); a "negative" daylight period, below
// the standard time around it (Ireland's winter GMT, Namibia's winter time),
// counts as the standard time and the periods one hour above it as summer.
std::vector<ZonePeriod> HistoricPeriods(const TzifZone& zone, std::int64_t until);

// The entry of the zone table whose offset equals `utc_offset` to the second
// and whose type letter is the kind's: the first whose abbreviation is one of
// `preferred` (in that order), else the first in table order; nullopt when
// the table has none. FindZoneEntry(table, 7200, kSummer, {"MET/S"}) is the
// identifier of "MET/S", where without the preference "WAT/S" would come first.
std::optional<std::int16_t> FindZoneEntry(const std::vector<ZoneRecord>& table,
                                          std::int32_t utc_offset, ZoneKind kind,
                                          const std::vector<std::string>& preferred = {});

}  // namespace tarv::atlas

#endif  // TARVPLACES_TOOLS_ATLAS_ZONE_PERIODS_H_
