// Writing place files and their first-letter indexes (for the atlas builder
// and for test atlases).
#ifndef TARVPLACES_ATLAS_PLACE_FILE_WRITER_H_
#define TARVPLACES_ATLAS_PLACE_FILE_WRITER_H_

#include <filesystem>
#include <string>
#include <vector>

#include "atlas/place_file.h"

namespace tarv {

// The run a name belongs to: its index letter as a search for it looks it up
// (GetLetter: accents folded, "'s-Hertogenbosch" under "S", digits under "Z").
char RunLetterOf(const PlaceRecord& place);

// Orders places for a database file: by run letter A to Z, then by `ranks`
// (lower first; all 0 when empty), then by name without regard to case, then
// by the name's bytes, so that every run letter forms one run and equal
// inputs give equal files. Readers rely on the runs only; the atlas builder
// ranks a city's further names after the main names of their run, so that a
// tie in the nearest-place search goes to the main name.
void SortForPlaceFile(std::vector<PlaceRecord>& places, const std::vector<int>& ranks = {});

// The bytes of a place file: the records back to back.
std::string EncodePlaceFile(const std::vector<PlaceRecord>& places);

// The index of sorted places: one 5-byte entry (run letter, 1-based number of
// the run's first record, 32-bit little-endian) wherever the run letter
// changes.
std::string EncodePlaceIndex(const std::vector<PlaceRecord>& places);

// Sorts `places` and writes "<code>.dao" (SZDD-compressed unless `compress`
// is false) and "<code>.IDX" into `folder`, each replaced atomically.
void WritePlaceFiles(const std::filesystem::path& folder, const std::string& code,
                     std::vector<PlaceRecord> places, bool compress = true,
                     const std::vector<int>& ranks = {});

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_PLACE_FILE_WRITER_H_
