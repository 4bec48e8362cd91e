// The place of a country nearest to given coordinates.
#ifndef TARVPLACES_ATLAS_NEAREST_PLACE_H_
#define TARVPLACES_ATLAS_NEAREST_PLACE_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "atlas/place_file.h"

namespace tarv {

struct NearestPlace {
  PlaceRecord place;
  PlaceRef ref;
  std::int32_t position = 0;  // in reading order, from 0
  double distance = 0.0;      // degrees, plane measure
};

// The place of `code`'s file pair (user places first) nearest to
// `longitude`, `latitude` (decimal degrees), measured as the plain distance
// of the two number pairs in degrees: no scaling of longitudes by latitude
// and no wrap-around at 180 degrees, so a place just across the date line
// counts as far away. Only distances strictly below 1000 degrees count, and
// with `range_degrees` non-zero only those strictly below it. Ties go to the
// place read first. nullopt when no place qualifies or the country table is
// not loaded.
std::optional<NearestPlace> FindNearestPlace(std::string_view code, double longitude,
                                             double latitude, double range_degrees);

// The line that describes a nearest place: the 28-character name field with
// its blanks, longitude, latitude (the shared single-precision conversion),
// timetable number, and with `with_position` its position in reading order,
// fields separated by TAB: "München                     \t11.57549\t48.13743\t1\t0".
std::string NearestPlaceLine(const NearestPlace& nearest, bool with_position);

// Sets `result` to the line of the nearest place (the position field only
// when `range_degrees` is 0), or to "" when none qualifies; leaves it
// untouched when the country table cannot be loaded.
void SearchNearestPlace(std::string& result, std::string_view code, double longitude,
                        double latitude, double range_degrees);

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_NEAREST_PLACE_H_
