// Place search: the accent-folding pattern, the index letter, the
// letters-only comparison, the three name tests, and the found-place list
// that searches fill for the host.
//
// Search modes: 0 whole name, 1 pattern with accent folding, 2 prefix. Texts
// are Windows-1252; all comparisons ignore case.
#ifndef TARVPLACES_ATLAS_PLACE_SEARCH_H_
#define TARVPLACES_ATLAS_PLACE_SEARCH_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "atlas/found_place.h"
#include "atlas/name_index.h"
#include "atlas/place_file.h"
#include "tarvplaces/list_control.h"
#include "util/text.h"

namespace tarv {

// Runs a search for `search` in the country or group `code` and stores the
// places in the found-place list (replacing the last search's), numbered
// from 0; returns their number.
//
// "*" alone lists every place of the country's file pair. Any other text is
// first searched by whole name, or by prefix when it ends in "*"; a trailing
// "?" counts as that "*" here. Only when that finds nothing is it searched
// again as an accent-folding pattern, which honours "*", "?" and "[...]"
// anywhere: "Munchen" finds "München" then.
//
// A whole name (no wildcard) also finds the places one of whose other names
// it is (the name index), and all are ranked: user places first, in file
// order, then the database places most populous first (file order among
// equals), so the first place is the one people most likely mean: "Aktau"
// gives the city GeoNames lists as Shevchenko before a village named Aktau.
// Prefixes and patterns keep file order and ask the name index only when
// the place files find nothing. `query`, when given, is what the name index
// is asked instead of the key of `search`: hosts key the text as typed, in
// scripts the code page cannot write (name_index.h).
//
// When nothing is found and the text reads as two coordinates ("48N08
// 11E34", "48.14; 11.58", latitude first unless the letters say otherwise),
// the place nearest to them is stored. A lookup never writes the user's
// places. A place or index file that cannot be read makes the search store
// and return nothing; the reader notes it as the call's atlas fault.
std::int32_t SearchandStorePlaces(std::string_view code, std::string_view search,
                                  const NameQuery* query = nullptr);

// The same search into `found` instead of the found-place list: what every
// interface but classPlaces asks, so that lookups on one atlas may run at
// once.
std::int32_t SearchPlaces(std::string_view code, std::string_view search, const NameQuery* query,
                          std::vector<FoundPlace>& found);

// Fills `found` with the places of `list`: each with its country code (the
// list's, else `default_code`), its zone, and where given its population and
// whether another of its names found it.
void MakeFoundPlaces(const PlaceList& list, std::string_view default_code,
                     std::vector<FoundPlace>& found, const std::vector<PlaceWeight>& weights = {},
                     const std::vector<bool>& other_names = {});

// The found-place list of the last search.
const std::vector<FoundPlace>& FoundPlaces();

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_PLACE_SEARCH_H_
