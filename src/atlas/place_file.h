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

namespace tarv {

inline constexpr std::size_t kPlaceRecordSize = 38;
inline constexpr std::size_t kPlaceNameWidth = 28;
inline constexpr std::size_t kIndexEntrySize = 5;
inline constexpr std::size_t kPlaceLongitudeAt = 30;
inline constexpr std::size_t kPlaceLatitudeAt = 34;
// Record numbers are 16-bit: records past this one cannot be addressed.
inline constexpr std::size_t kMaxPlaceRecords = 32767;
// The first byte of a deleted record's name.
inline constexpr char kDeletedMark = '@';

// One place: name (Windows-1252, blank-padded to 28 bytes), the number of its
// timetable within its country, and its coordinates in decimal degrees
// (longitude east, latitude north positive).
struct PlaceRecord {
  std::array<char, kPlaceNameWidth> Name;
  std::int16_t Timetable = 0;
  float Longitude = 0.0F;
  float Latitude = 0.0F;

  PlaceRecord() { Name.fill(' '); }

  // The whole 28-byte field, blanks included.
  std::string_view NameField() const { return {Name.data(), Name.size()}; }
  // The name without leading and trailing blanks.
  std::string TrimmedName() const;
  // Stores `name` cut to 28 bytes or padded with blanks.
  void SetName(std::string_view name);
  bool IsDeleted() const { return Name[0] == kDeletedMark; }
};

// Where a place was read from.
struct PlaceRef {
  std::string Country;        // the country code of its file ("" where unknown)
  std::int16_t RecordNo = 0;  // 1-based record number, negative in the user file
};

// A list of places with their origins, in reading order.
struct PlaceList {
  std::vector<PlaceRecord> places;
  std::vector<PlaceRef> refs;

  std::size_t size() const { return places.size(); }
  // Empties the list and keeps its room.
  void clear() {
    places.clear();
    refs.clear();
  }
  void Add(const PlaceRecord& place, PlaceRef ref) {
    places.push_back(place);
    refs.push_back(std::move(ref));
  }
};

// Record codec: name bytes 0-27, timetable (16-bit) at 28, longitude and
// latitude (IEEE single) at 30 and 34, all little-endian. `bytes` must hold
// 38 bytes.
PlaceRecord DecodePlaceRecord(std::string_view bytes);
std::string EncodePlaceRecord(const PlaceRecord& place);

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

// The files to read for a country or group name ("D", "D.dao", "EUROPA").
// A single country gives its user file, then its database file. A group
// gives, for every member of the country table from position 1 to 11 before
// its end (groups and continents are never visited), its database file and
// then its user file. `refs` carries each file's country code. Returns the
// number of files, 0 when the country table is not loaded.
std::size_t Get_CompressedFiles(std::string_view name, std::vector<std::string>& files,
                                std::vector<PlaceRef>& refs);

// Reads the next record of an open LZ handle. Returns the bytes read: 38,
// 0 at the end (also for a partial last record), or a negative LZ error
// code. `place` is filled only for a whole record.
std::int32_t ReadPlaceStructure(std::int32_t handle, PlaceRecord& place,
                                std::int16_t length = static_cast<std::int16_t>(kPlaceRecordSize));

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
bool Get_City_Data_UserFirst(const std::string& place_file, std::string_view name,
                             PlaceRecord& place, PlaceRef* ref = nullptr);

// The text of an LZ error code; codes outside -1..-8 name the file.
std::string LZERROR_Msg(std::int32_t code, const std::string& file_name);

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_PLACE_FILE_H_
