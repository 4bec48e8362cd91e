// Place files: one per country or US state, 38-byte records sorted by name,
// SZDD-compressed in the atlas folder, with a first-letter index beside them
// and an uncompressed user file of the same name in the sub-folder USER.
//
// Record numbers count from 1 within a file and are negated for records of
// the user file, so their sign tells where a place came from and their
// absolute value addresses it for changing or deleting.
#ifndef TARVPLACES_ATLAS_PLACE_FILE_H_
#define TARVPLACES_ATLAS_PLACE_FILE_H_

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "atlas/place_paths.h"
#include "atlas/place_record.h"

namespace tarv {

// Reads every place of a database file and of its user file, user places
// first (record numbers -1, -2, ...), deleted records left out but counted.
// `Country` stays empty. Returns the number of places, or a negative LZ error
// code after noting the file as the call's atlas fault (which the classic
// members show under the title "Read_Cp_Orte"): a file that cannot be
// opened, or whose compressed data ends before its length field (wherever
// it ends).
std::int32_t Read_Cp_ORTE(const std::string& place_file, PlaceList& result);

// Reads through the first-letter index the places of a country or group
// whose names match `search` (modes as in place_search.h: `pattern_mode`
// non-zero for the accent-folding pattern search, else a trailing "*" asks
// for a prefix search and anything else for the whole name). Appends to
// `result`. Only the runs of the search's index letter are read, each plus
// the first record of the next run: every entry whose character folds to
// that letter through GetLetter ("O" and "Ö" for "O"), each record once; a
// letter without a run reads record 1 only. An index entry that points
// before the first or past the last record reads nothing of its run.
// Returns the number of places found, or the first negative LZ error code of
// a place or index file (places found before it stay in `result`), noted as
// the call's atlas fault; no message. A damaged file is an error whichever
// run the search reads. Records past number 32767 cannot be numbered and are
// not read.
std::int32_t Read_Cp_Indexed_City(const std::string& place_file, std::string search,
                                  PlaceList& result, std::int16_t pattern_mode);

// Finds one place by its name in a country's files: a user place when
// `place_file` is a user file (its path holds "\USER\"), else a database
// place. Fills `place` (name trimmed) and returns true when found. A name
// ending in "*" never fills anything.
bool Get_City_Data(const std::string& place_file, std::string_view name, PlaceRecord& place);

// Get_City_Data on the user file of the database file `place_file`, and when
// that finds nothing on the database file itself, with a single search.
// `ref`, when given, receives where the place was read from.
bool FindPlaceUserFirst(const std::string& place_file, std::string_view name, PlaceRecord& place,
                        PlaceRef* ref = nullptr);

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_PLACE_FILE_H_
