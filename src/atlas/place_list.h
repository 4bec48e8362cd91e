// The place lists of the dialogs: a search's places as list items, and the
// place manager's list of a country's places with their coordinates.
#ifndef TARVPLACES_ATLAS_PLACE_LIST_H_
#define TARVPLACES_ATLAS_PLACE_LIST_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "atlas/name_index.h"
#include "tarvplaces/list_control.h"

namespace tarv {

// Runs SearchandStorePlaces for the internal code of `code` and lists the
// places in `control` (cleared first): each name trimmed (and written back
// trimmed into the found-place list), followed by " (" + country code + ")"
// when `code` is a continent or group; each item's data is its element number
// in the found-place list. `places_found` receives the search's result and
// `places_added` the number of items added. Item texts are Windows-1252 here;
// the public class converts them for the host. Returns the search's result.
std::int32_t SearchPlacesInForm(PlaceListControl& control, std::string_view search,
                                std::string_view code, std::int32_t& places_found,
                                std::int32_t& places_added, const NameQuery* query = nullptr);

// Fills the place manager's list with the places of `code` matching
// `search`: the text is trimmed (and handed back trimmed) and, with
// `prefix`, gets a "*" appended unless it already ends in one or is a
// pattern, so that typing the beginning of a name lists every place starting
// with it. A text holding "?", "[" or a "*" before its end is a pattern and
// searched as the accent-folding pattern of SearchandStorePlaces, except that
// "[...]" sets are taken as typed ("M[uü]nchen", "M[!u]nster"). "*" alone
// lists the whole file pair. Each item is the trimmed name, TAB,
// longitude and latitude in degree notation ("011E34' 33"", "48N08' 15""),
// and for a continent or group a TAB and the country code; its data is the
// place's record number (negative for a user place). Returns the number of
// items; none when a file cannot be read (noted as the call's atlas fault).
//
// With `other_names` (not for "*" alone or a pattern) the places the name
// index finds for the text (a name or the beginning of one, keyed as
// `query` when given) are listed too, under their own names, each in its
// place of the file's order; `*other_names` receives, item by item, whether
// the place was found by another of its names ("München" for "Munich").
std::int32_t Fill_SuchOrtListe(std::string_view code, std::string& search,
                               PlaceListControl& control, bool prefix,
                               std::vector<bool>* other_names = nullptr,
                               const NameQuery* query = nullptr);

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_PLACE_LIST_H_
