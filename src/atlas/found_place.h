// A place a search found, as the found-place list and the zone lookups hold
// it: its record, where it came from and what the host gets with it.
#ifndef TARVPLACES_ATLAS_FOUND_PLACE_H_
#define TARVPLACES_ATLAS_FOUND_PLACE_H_

#include <cstdint>
#include <string>

#include "atlas/place_record.h"

namespace tarv {

// One element of the found-place list.
struct FoundPlace {
  std::string Country;  // code of the place's country file
  PlaceRecord Place;
  std::int16_t RecordNo = 0;  // as in PlaceRef
  float Longitude = 0.0F;
  float Latitude = 0.0F;
  std::int32_t ZoneId = 0;  // the zone the host gets for this place
  // GeoNames' population of a database place where the name index keeps it
  // (0 for user places and atlases without one).
  std::uint32_t Population = 0;
  // Found by another of its names (the name index), not by its own.
  bool OtherName = false;
};

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_FOUND_PLACE_H_
