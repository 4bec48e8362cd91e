// Search texts that read as two coordinates ("48N08 11E34", "48.14; 11.58"):
// the place of a country nearest to them.
#ifndef TARVPLACES_ATLAS_TYPED_COORDINATES_H_
#define TARVPLACES_ATLAS_TYPED_COORDINATES_H_

#include <optional>
#include <string_view>

#include "atlas/nearest_place.h"

namespace tarv {

// The place of `code` nearest to the coordinates `text` reads as, latitude
// first unless hemisphere letters say otherwise. Hemisphere letters say which
// part is which. Without them, the reading (latitude first or longitude
// first) that lies inside the country's extent counts, latitude first when
// both do; when neither does there is no place to name, rather than the
// nearest one of a far corner. nullopt for a text that is no coordinates.
std::optional<NearestPlace> NearestToCoordinates(std::string_view code, std::string_view text);

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_TYPED_COORDINATES_H_
