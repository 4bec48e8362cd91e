// Writing place files and their first-letter indexes (for the atlas builder
// and for test atlases).
#ifndef TARVPLACES_ATLAS_PLACE_FILE_WRITER_H_
#define TARVPLACES_ATLAS_PLACE_FILE_WRITER_H_

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "atlas/place_file.h"
#include "atlas/zone_history.h"

namespace tarv {

// The run a name belongs to: its index letter as a search for it looks it up
// (GetLetter: accents folded, "'s-Hertogenbosch" under "S", digits under "Z").
char RunLetterOf(const PlaceRecord& place);

// Orders places for a database file: by run letter A to Z, then by the
// letters of the name without regard to case (GetCleanString: "St. Gallen"
// and "ST GALLEN" are one name), then by `prominence` (highest first; all 0
// when empty; see Prominence in name_index.h), then by the name's bytes;
// places equal in all of these keep their order. Every run letter forms one
// run, readers rely on nothing more; among places of one name the most
// prominent comes first, so that a reader taking the first of a name takes
// the one a whole-name search ranks first. Returns, for each position of the
// sorted places, the position the place had before.
std::vector<std::size_t> SortForPlaceFile(std::vector<PlaceRecord>& places,
                                          const std::vector<double>& prominence = {});

// The bytes of a place file: the records back to back.
std::string EncodePlaceFile(const std::vector<PlaceRecord>& places);

// The index of sorted places: one 5-byte entry (run letter, 1-based number of
// the run's first record, 32-bit little-endian) wherever the run letter
// changes.
std::string EncodePlaceIndex(const std::vector<PlaceRecord>& places);

// What the atlas builder knows of each place beyond its record, one entry
// per place in the order the places are given; any list may be empty.
struct PlaceFileExtras {
  std::vector<std::int64_t> populations;  // clamped to 32 bits in the name index
  std::vector<std::uint8_t> ranks;        // PlaceRank (name_index.h)
  // Each place's name-index keys; with them "<code>.NDX" is written.
  std::vector<std::vector<std::string>> name_keys;
  // Each place's zone number in "Zones.hst" (or kNoPlaceZone); with them
  // "<code>.TZP" is written, with `timetable_zones`, the zone each timetable
  // keeps the history of.
  std::vector<std::uint16_t> place_zones;
  std::vector<std::uint16_t> timetable_zones;
  // Each place's near zones (their `record` left 0), for "<code>.TZP".
  std::vector<std::vector<PlaceNearZone>> near_zones;
};

// Sorts `places` (by `extras.populations` among equal names) and writes
// "<code>.dao" (SZDD-compressed unless `compress` is false) and "<code>.IDX"
// into `folder`, each replaced atomically, and the name index and the place
// zone file where `extras` holds what they need. Returns the number of name
// index entries.
std::size_t WritePlaceFiles(const std::filesystem::path& folder, const std::string& code,
                            std::vector<PlaceRecord> places, bool compress = true,
                            const PlaceFileExtras& extras = {});

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_PLACE_FILE_WRITER_H_
