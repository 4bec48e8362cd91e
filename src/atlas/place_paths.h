// Where the place files of a country or group are: the compressed file in
// the atlas folder, its index beside it, the user's file in USER.
#ifndef TARVPLACES_ATLAS_PLACE_PATHS_H_
#define TARVPLACES_ATLAS_PLACE_PATHS_H_

#include <string>
#include <string_view>
#include <vector>

#include "atlas/place_record.h"

namespace tarv {

// The path of a place file's index: everything up to the path's last "."
// followed by "IDX" ("C:\Atlas\D.dao" gives "C:\Atlas\D.IDX").
std::string IndexPathOf(const std::string& place_file);

// The place file of a country code: place folder + internal abbreviation +
// ".dao"; place folder + name without extension for the six group names
// (AFRIKA, AMERIKA, ASIEN, EUROPA, OCEANIEN, USA); the place folder alone for
// an empty code. A code holding "\", "/", ":" or ".." counts as empty, so no
// code can name a file outside the place folder.
std::string GetCompressedPlaceFile(std::string_view code);

// The user file of a place file: "USER\" put behind the path's last "\"
// ("C:\Atlas\D.dao" gives "C:\Atlas\USER\D.dao").
std::string Get_UserFile(const std::string& place_file);

// Whether `place_file` is a user file: it lies in a folder named USER. User
// files are written plain, the atlas's own files compressed.
bool IsUserFile(std::string_view place_file);

// The files to read for a country or group name ("D", "D.dao", "EUROPA").
// A single country gives its user file, then its database file. A group
// gives, for every member of the country table from position 1 to 11 before
// its end (groups and continents are never visited), its database file and
// then its user file. `refs` carries each file's country code. Returns the
// number of files, 0 when the country table is not loaded.
std::size_t Get_CompressedFiles(std::string_view name, std::vector<std::string>& files,
                                std::vector<PlaceRef>& refs);

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_PLACE_PATHS_H_
