// The user's own places: added to and deleted from the user file of a
// country (the sub-folder USER of the atlas folder), which every reader reads
// before the database file, so that a user place takes priority.
//
// Writes are crash-safe and safe between processes: the new contents go to a
// temporary file that is flushed to disk and then renamed over the user file
// (and likewise for its index), so a crash leaves the old or the new file,
// never a torn one; an advisory lock on the USER folder serialises the
// read-modify-write of concurrent writers.
#ifndef TARVPLACES_ATLAS_USER_PLACES_H_
#define TARVPLACES_ATLAS_USER_PLACES_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "atlas/place_file.h"

namespace tarv {

// A place to add or delete, with the number of its country.
struct UserPlace {
  std::int32_t CountryId = 0;
  PlaceRecord Place;
  // An IANA zone the user named for it ("America/Chicago"), kept beside the
  // user file; "" to follow the zone map at its coordinates.
  std::string Zone;
};

// A name as the user file keeps it: control characters (TAB, CR, LF, NUL...)
// become blanks, and blanks around it go. Hosts clean a name with it before
// they cut it to the 28-character field, so that adding and deleting agree.
std::string CleanPlaceName(std::string_view name);

// Adds `place` to its country's user file and returns -1 (true), also when
// the user file already holds a place of that name (any case; nothing is
// written then). Returns 0 when the country table is not loaded; when the
// country is unknown, or is one of the six continents and groups at the end
// of the table (no search reads places stored under them); when the name,
// cleaned by CleanPlaceName, is empty, begins with "@" (the mark of a deleted
// record) or with the eight bytes of the SZDD magic (which would make the
// plain user file read as compressed), or holds kUnmappable (a character the
// host's text had that the code page cannot take). The name is cut to 28
// characters. Records are kept sorted by their bytes, deleted ones included
// (each keeps its place), and the index gets an entry wherever the
// upper-cased first character changes. `record_no` receives the new record's
// number (negative). A named zone goes to the user file's zone file
// (user_zones.h), which drops the lines of places no longer there as it is
// rewritten; an added place without one loses any line its name had. The
// USER folder is created when needed. Throws AtlasWriteError when the folder
// cannot be written; the user file is then unchanged. A damaged zone file is
// not rewritten: the fault is noted and 0 returned.
std::int16_t AddCity(const UserPlace& place, std::int32_t& record_no);

// AddCity for a place given as a host gives it: `code` and `name` in the
// code page. Returns 0 without writing for an unknown country, a name longer
// than the 28 characters a record holds (stored cut, it would be found by
// neither the name the host used nor deleted by it), a timetable the
// country does not offer (0 to its number of timetables, 0 and 1 where it
// has none: any other names no history, and the place would answer local
// mean time in every year), and a `zone` ("" for none) the atlas's zone
// histories do not hold.
std::int16_t AddCheckedCity(std::string_view code, std::string_view name, double longitude,
                            double latitude, std::int16_t timetable, const std::string& zone,
                            std::int32_t& record_no);

// Marks the first record of the user file whose 28-character name equals the
// place's name, cleaned as AddCity cleans it (any case), as deleted: "@" is
// put before the name, which loses its last character when it is 28
// characters long. The file keeps its length and its index is not rewritten;
// the place's line in the zone file goes.
// Returns -1 whenever the country table is loaded (found or not), 0
// otherwise. A place only in the database cannot be deleted.
std::int16_t Delete_City(const UserPlace& place);

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_USER_PLACES_H_
