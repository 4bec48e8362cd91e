// How well the atlas finds the places people mean by the names they type,
// measured on the atlas's own open data.
//
// For the most populous places of the atlas, every name GeoNames lists for a
// place (its name, ASCII name and alternate names, in every script) that no
// more populous place of its country also carries is typed as it is
// written, and once more without its diacritics when that differs, and
// looked up in the place's country with GetPlaceData. The lookup counts as
// right when the first place found lies where GeoNames puts the place. Two
// names are "the same" when they get the same key (TypedNameKey), which is
// how the search compares them. Names holding a wildcard ("*", "?", "[") or
// a character that is part of no name are not typed, nor airport codes,
// which the name index leaves out.
#ifndef TARVPLACES_TOOLS_ATLAS_NAME_CHECK_H_
#define TARVPLACES_TOOLS_ATLAS_NAME_CHECK_H_

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "atlas/geonames.h"
#include "tarvplaces/places.h"

namespace tarv::atlas {

struct NameCheckResult {
  std::size_t places = 0;           // places whose names were typed
  std::size_t typed = 0;            // lookups made
  std::size_t right = 0;            // of them, the place itself came first
  std::size_t shared = 0;           // lookups of names that less populous places carry too
  std::size_t shared_right = 0;     // of them, the most populous came first
  std::size_t unique = 0;           // lookups of names only this place of its country carries
  std::size_t far = 0;              // lookups whose first place lies over 50 km away
  std::vector<std::string> misses;  // "typed (code): what came first" for the first 50 misses

  double RightPercent() const {
    return typed == 0 ? 0.0 : 100.0 * static_cast<double>(right) / static_cast<double>(typed);
  }
};

// Runs the check on the atlas `places` is bound to, for the `top` most
// populous of `geonames` that the atlas holds. `code_of` gives a GeoNames
// place's atlas country code ("" when the atlas does not hold its country).
NameCheckResult CheckNames(classPlaces& places, const std::vector<GeoPlace>& geonames,
                           const std::function<std::string(const GeoPlace&)>& code_of,
                           std::size_t top);

// How the world search (classPlaces::SearchAllCountries) finds the `top`
// most populous places of the atlas by their GeoNames name typed without a
// country: right when the first place found lies where GeoNames puts the
// place; a miss is explained when a more prominent place elsewhere (or a
// user's place) carries the name and came first.
struct WorldCheckResult {
  std::size_t typed = 0;
  std::size_t right = 0;
  std::size_t namesakes = 0;        // misses with a more populous namesake first
  std::vector<std::string> misses;  // "typed: what came first (population)", all of them

  double RightPercent() const {
    return typed == 0 ? 0.0 : 100.0 * static_cast<double>(right) / static_cast<double>(typed);
  }
};
WorldCheckResult CheckWorldSearch(classPlaces& places, const std::vector<GeoPlace>& geonames,
                                  const std::function<std::string(const GeoPlace&)>& code_of,
                                  std::size_t top);

// Great-circle distance in kilometres (mean earth radius).
double DistanceKm(double longitude1, double latitude1, double longitude2, double latitude2);

}  // namespace tarv::atlas

#endif  // TARVPLACES_TOOLS_ATLAS_NAME_CHECK_H_
