// One search over every country of the atlas at once, for hosts whose users
// do not know (or do not say) the country.
//
// A whole name or the beginning of one ("Paris", "Par*") is looked up in the
// name indexes of all countries together, merged once into one sorted list
// of keys (rebuilt when an index file changes), and in every user file. What
// it finds is ranked as a whole-name search in one country ranks it (user
// places first, then the places most prominent first, name_index.h) and cut
// to the number asked for. Other wildcards ("M?nchen", "M[uü]nchen") and
// countries without a name index are searched country by country through the
// place files, ranked alike.
#ifndef TARVPLACES_ATLAS_WORLD_SEARCH_H_
#define TARVPLACES_ATLAS_WORLD_SEARCH_H_

#include <cstdint>
#include <string_view>
#include <vector>

#include "atlas/found_place.h"
#include "atlas/name_index.h"

namespace tarv {

// The most places a world search returns unless asked for fewer.
inline constexpr std::int32_t kWorldSearchLimit = 50;

// Searches `search` (Windows-1252 as the place searches take it; `query`,
// when given, is the name index query of the text as the host typed it) in
// every country and puts at most `limit` places (1 to kWorldSearchLimit)
// into `found`, each with its country's code. Returns their number. A place
// or index file that cannot be read makes it find nothing (noted as the
// call's atlas fault); a damaged name index is an AtlasError.
std::int32_t SearchAllCountries(std::string_view search, std::int32_t limit, const NameQuery* query,
                                std::vector<FoundPlace>& found);

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_WORLD_SEARCH_H_
