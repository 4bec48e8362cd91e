// Writing place files and their first-letter indexes (for the atlas builder
// and for test atlases).
#ifndef TARVPLACES_ATLAS_PLACE_FILE_WRITER_H_
#define TARVPLACES_ATLAS_PLACE_FILE_WRITER_H_

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "atlas/place_file.h"

namespace tarv {

// The run a name belongs to: its index letter as a search for it looks it up
// (GetLetter: accents folded, "'s-Hertogenbosch" under "S", digits under "Z").
char RunLetterOf(const PlaceRecord& place);

// Orders places for a database file: by run letter A to Z, then by the
// letters of the name without regard to case (GetCleanString: "St. Gallen"
// and "ST GALLEN" are one name), then by `populations` (largest first; all 0
// when empty), then by the name's bytes; places equal in all of these keep
// their order. Every run letter forms one run, readers rely on nothing
// more; among places of one name the most populous comes first, so that a
// host taking the first match takes the one people mean most often. Returns,
// for each position of the sorted places, the position the place had before.
std::vector<std::size_t> SortForPlaceFile(std::vector<PlaceRecord>& places,
                                          const std::vector<std::int64_t>& populations = {});

// The bytes of a place file: the records back to back.
std::string EncodePlaceFile(const std::vector<PlaceRecord>& places);

// The index of sorted places: one 5-byte entry (run letter, 1-based number of
// the run's first record, 32-bit little-endian) wherever the run letter
// changes.
std::string EncodePlaceIndex(const std::vector<PlaceRecord>& places);

// Sorts `places` and writes "<code>.dao" (SZDD-compressed unless `compress`
// is false) and "<code>.IDX" into `folder`, each replaced atomically. With
// `name_keys` (one list per place, in the order of `places`) it writes the
// name index "<code>.NDX" as well: every key with the place's record number
// and population (clamped to 32 bits). With `place_zones` (one per place, in
// the order of `places`: its zone's number in "Zones.hst", or kNoPlaceZone)
// it writes the place zone file "<code>.TZP" too, with `timetable_zones`
// (the zone each timetable keeps the history of). Returns the number of
// index entries.
std::size_t WritePlaceFiles(const std::filesystem::path& folder, const std::string& code,
                            std::vector<PlaceRecord> places, bool compress = true,
                            const std::vector<std::int64_t>& populations = {},
                            const std::vector<std::vector<std::string>>& name_keys = {},
                            const std::vector<std::uint16_t>& place_zones = {},
                            const std::vector<std::uint16_t>& timetable_zones = {});

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_PLACE_FILE_WRITER_H_
