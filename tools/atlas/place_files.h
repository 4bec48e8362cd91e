// The place files of one country: "<code>.dao" with its letter index, the
// name index "<code>.NDX" and the place zone file "<code>.TZP".
#ifndef TARVPLACES_TOOLS_ATLAS_PLACE_FILES_H_
#define TARVPLACES_TOOLS_ATLAS_PLACE_FILES_H_

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>

#include "atlas/country_files.h"
#include "atlas/place_names.h"
#include "atlas/timetable_files.h"
#include "atlas/zone_history.h"
#include "atlas/zone_map.h"

namespace tarv::atlas {

// What the place files written so far hold.
struct PlaceCounts {
  std::size_t places = 0;         // records
  std::size_t local_names = 0;    // places named otherwise than GeoNames names them
  std::size_t index_entries = 0;  // entries of the name indexes
  // Places within 5 km of a zone whose clock differs from their own at
  // 2020-01-01 00:00 UTC.
  std::size_t near_another_clock = 0;
};

// The zones near each place by the zone map, which the place zone files
// keep so that a lookup need not search the map.
class NearZoneFinder {
 public:
  NearZoneFinder(const ZoneMap& map, const ZoneHistories& histories)
      : map_(map), histories_(histories) {}
  // The zones other than `own` whose area lies within 5 km, nearest first
  // (the map's own zone at the point at 0 m); `record` left 0.
  std::vector<PlaceNearZone> Of(double longitude, double latitude, std::uint16_t own) const;
  // Whether one of them keeps another clock than `own` at 2020-01-01 00:00 UTC.
  bool DiffersIn2020(std::uint16_t own, const std::vector<PlaceNearZone>& near) const;

 private:
  const ZoneMap& map_;
  const ZoneHistories& histories_;
};

// Writes the country's place files into `out`: a record for each place the
// namer gives a name, the largest places first where the file cannot hold
// them all, each with the timetable of its zone; `zone_numbers` are the
// zones' numbers in Zones.hst; with `near` (an atlas with a zone map), the
// zones near each place.
void WriteCountryPlaces(const std::filesystem::path& out, const CountryPlan& country,
                        const CountryTimetables& timetables, const PlaceNamer& namer,
                        const std::map<std::string, std::uint16_t>& zone_numbers,
                        const NearZoneFinder* near, PlaceCounts& counts);

}  // namespace tarv::atlas

#endif  // TARVPLACES_TOOLS_ATLAS_PLACE_FILES_H_
