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

namespace tarv::atlas {

// What the place files written so far hold.
struct PlaceCounts {
  std::size_t places = 0;         // records
  std::size_t local_names = 0;    // places named otherwise than GeoNames names them
  std::size_t index_entries = 0;  // entries of the name indexes
};

// Writes the country's place files into `out`: a record for each place the
// namer gives a name, the largest places first where the file cannot hold
// them all, each with the timetable of its zone; `zone_numbers` are the
// zones' numbers in Zones.hst.
void WriteCountryPlaces(const std::filesystem::path& out, const CountryPlan& country,
                        const CountryTimetables& timetables, const PlaceNamer& namer,
                        const std::map<std::string, std::uint16_t>& zone_numbers,
                        PlaceCounts& counts);

}  // namespace tarv::atlas

#endif  // TARVPLACES_TOOLS_ATLAS_PLACE_FILES_H_
