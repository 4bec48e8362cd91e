// The zone table as the atlas's users read it: each entry named the way the
// people who live under it name their clock.
//
// The project's table (data/zones.tsv) fixes 287 entries: local mean time,
// the abbreviations GetTimezoneId's aliases end on, and an entry for every
// offset and kind of time (standard, summer, double summer) tzdata records.
// The builder keeps those fixed abbreviations and renames the rest after
// the long names Unicode CLDR gives each zone at each period of its history
// (ICU's time zone names, English), spending the entries by the population
// that lives under each name (population times years, 1900-2100): the most
// populous name of an offset and kind takes an existing entry of that
// offset and kind, further names take entries no period uses (a grid of
// quarter-hour offsets in the project's table). A period's entry is then the
// one of its offset, kind and CLDR name, else the first of its offset and kind.
#ifndef TARVPLACES_TOOLS_ATLAS_ZONE_DESIGN_H_
#define TARVPLACES_TOOLS_ATLAS_ZONE_DESIGN_H_

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "atlas/tzif.h"
#include "atlas/zone_table.h"

namespace tarv::atlas {

// The zone-table abbreviation an IANA abbreviation stands for ("CEST" is
// "MET/S", "UTC" is "GMT"); others stand for themselves.
std::string TableNameOf(const std::string& abbreviation);

// The English name of a period of `zone` (its offset, whether it is summer
// time, an instant inside it) as ZoneLongName gives it: CLDR's long name,
// else the zone's location name; before 1970, where ICU maps no names, the
// zone's name of 1970 if the period kept one of its 1970 offsets, else "".
std::string PeriodName(const std::string& zone, const TzifZone& tzif, std::int64_t probe,
                       std::int32_t offset, bool daylight);

struct ZoneDesign {
  std::vector<ZoneRecord> table;
  // Names left without an entry of their own, most populous first:
  // "name (offset kind): N people, shown as ABBR".
  std::vector<std::string> unnamed;
};

// One IANA zone with the number of people whose places use it.
struct ZonePopulation {
  TzifZone tzif;
  double population = 0;
};

// Designs the table from the project's `base` table and the zones places
// use (by IANA name); zones of no population keep the entries of their
// offsets and kinds but name none. Deterministic for the same inputs.
ZoneDesign DesignZoneTable(const std::vector<ZoneRecord>& base,
                           const std::map<std::string, ZonePopulation>& zones);

}  // namespace tarv::atlas

#endif  // TARVPLACES_TOOLS_ATLAS_ZONE_DESIGN_H_
