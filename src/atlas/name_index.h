// The name index: every other name a place is known by, mapped to its record
// in the country's place file.
//
// Place files hold each place once, under its local name ("München"); the
// name index beside a place file ("D.dao" has "D.NDX") files each place also
// under its other names (English "Munich", German "Muenchen", other scripts
// transliterated: "Мюнхен" as "Myunkhen"), under folded keys (name_key.h).
// Searches ask it only after the searches by the place file's own names found
// nothing. It is SZDD-compressed like the place files; expanded, it reads
// (little-endian throughout):
//
//   offset  size  field
//   0       4     magic "TPNX"
//   4       2     version, 1
//   6       2     0
//   8       4     record count of the place file the index was written for
//   12      4     number of entries
//   16      ...   entries, sorted by key bytes, then by population, largest
//                 first, then by record number:
//                   1    key length n (1-255)
//                   n    key: NameKey bytes
//                   2    record number in the place file (1-based, 1-32767)
//                   4    population of the place (unsigned)
//
// A reader checks every field: the magic, the version, counts against the
// bytes there are, every record number against the record count, the order
// of the keys, and that nothing follows the last entry. An index whose
// record count differs from its place file's was written for another file.
// Any such fault is an AtlasError naming the index file; a missing index is
// no error (the search then finds what the place file's names find).
#ifndef TARVPLACES_ATLAS_NAME_INDEX_H_
#define TARVPLACES_ATLAS_NAME_INDEX_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "atlas/place_file.h"

namespace tarv {

inline constexpr std::string_view kNameIndexMagic = "TPNX";
inline constexpr std::uint16_t kNameIndexVersion = 1;

// One name of a place as the builder files it.
struct NameIndexEntry {
  std::string key;              // NameKey of the name, 1-255 bytes
  std::int32_t record = 0;      // 1-based record number in the place file
  std::uint32_t population = 0;
};

// The path of a place file's name index: everything up to the path's last
// "." followed by "NDX" ("C:\Atlas\D.dao" gives "C:\Atlas\D.NDX").
std::string NameIndexPathOf(const std::string& place_file);

// The expanded bytes of a name index for a place file of `record_count`
// records: entries sorted as above, duplicates (same key and record) once.
// Throws std::invalid_argument for an empty or over-long key or a record
// number outside 1..record_count.
std::string EncodeNameIndex(std::vector<NameIndexEntry> entries, std::int32_t record_count);

// A decoded name index.
class NameIndex {
 public:
  // Checks and decodes expanded bytes; throws AtlasError naming `file`.
  NameIndex(std::string_view bytes, const std::string& file);

  std::int32_t RecordCount() const { return record_count_; }
  std::size_t size() const { return entries_.size(); }

  // The places filed under `key` (or, with `prefix`, under every key that
  // begins with it), each once, most populous first, then by record number.
  std::vector<NameIndexEntry> Find(std::string_view key, bool prefix) const;
  // Every entry, in file order.
  std::vector<NameIndexEntry> Entries() const;

 private:
  struct Slot {
    std::uint32_t key_at;
    std::uint8_t key_length;
    std::int16_t record;
    std::uint32_t population;
  };
  std::string_view KeyOf(const Slot& slot) const {
    return std::string_view(bytes_).substr(slot.key_at, slot.key_length);
  }

  std::string bytes_;
  std::int32_t record_count_ = 0;
  std::vector<Slot> entries_;
};

// Asks the name indexes of a country or group (`code` as for
// GetCompressedPlaceFile) for `search`: the whole folded text, or its
// beginning when the text ends in "*". A text holding any other wildcard
// ("?", "[") or nothing to fold asks nothing. The places named are appended
// to `result` with their country code and their real record numbers, most
// populous first (across a group's countries too). Returns their number.
// Throws AtlasError for a damaged index.
std::int32_t SearchNameIndex(std::string_view code, std::string_view search, PlaceList& result);

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_NAME_INDEX_H_
