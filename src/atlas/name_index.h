// The name index: every name a place is known by, mapped to its record in the
// country's place file, and the population of every record.
//
// Place files hold each place once, under its local name ("München"); the
// name index beside a place file ("D.dao" has "D.NDX") files each place under
// that name and its other names (English "Munich", German "Muenchen", other
// scripts romanised, "Мюнхен" as "myunkhen", or in their own folded letters
// where nothing romanises them), under folded keys (name_key.h). Whole-name
// searches ask it beside the place file and rank what both find by
// population; other searches ask it only when the place file finds nothing.
// It is SZDD-compressed like the place files; expanded, it reads
// (little-endian throughout):
//
//   offset  size  field
//   0       4     magic "TPNX"
//   4       2     version, 2
//   6       2     0
//   8       4     record count R of the place file the index was written for
//   12      4     number of entries
//   16      4*R   population of each record, in record order (unsigned)
//   16+4R   R     rank of each record (PlaceRank below)
//   16+5R   ...   entries, sorted by key bytes, then by prominence (below),
//                 highest first, then by record number:
//                   1    key length n (1-255)
//                   n    key (name_key.h)
//                   2    record number in the place file (1-based, 1-32767),
//                        plus 0x8000 where the key is one of the place's own
//                        name (its name in the place file, NameKeysOf)
//
// Version 1, which earlier atlases hold, has neither table: each entry
// carries its place's population (4 bytes after the record number), a
// record's population is the largest its entries give, and every record is
// an ordinary place.
//
// A reader checks every field: the magic, the version, counts against the
// bytes there are, every record number against the record count, the order
// of the keys, and that nothing follows the last entry. An index whose
// record count differs from its place file's was written for another file.
// Any such fault is an AtlasError naming the index file; a missing index is
// no error (searches then find what the place file's names find, in file
// order).
#ifndef TARVPLACES_ATLAS_NAME_INDEX_H_
#define TARVPLACES_ATLAS_NAME_INDEX_H_

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "atlas/atlas_fault.h"
#include "atlas/place_file.h"

namespace tarv {

inline constexpr std::string_view kNameIndexMagic = "TPNX";
inline constexpr std::uint16_t kNameIndexVersion = 2;

// What a place is, by GeoNames' feature code: 0 the capital of its country,
// 1 to 5 the seat of an administrative division of that level, 6 any other
// place, 7 a section of a bigger place.
inline constexpr std::uint8_t kCapitalRank = 0;
inline constexpr std::uint8_t kOrdinaryPlaceRank = 6;
inline constexpr std::uint8_t kSectionRank = 7;

// How strongly a whole-name search prefers a place: its population, a
// twentieth more for a seat of government (a capital, the seat of any
// division). Census figures of different years and boundaries differ by more
// than that: of two places of about one size and one name, the seat is the
// one people mean (Monticello, Kentucky, before a part of Lexington of the
// same name and 13 more inhabitants), while a place clearly larger stays
// first.
inline double Prominence(std::uint32_t population, std::uint8_t rank) {
  constexpr double kSeatWeight = 1.05;
  return static_cast<double>(population) * (rank < kOrdinaryPlaceRank ? kSeatWeight : 1.0);
}

// One name of a place as the builder files it.
struct NameIndexEntry {
  std::string key;          // 1-255 bytes (name_key.h)
  std::int32_t record = 0;  // 1-based record number in the place file
  std::uint32_t population = 0;
  std::uint8_t rank = kOrdinaryPlaceRank;
  bool own_name = false;  // a key of the place's name in the place file
};

// The path of a place file's name index: everything up to the path's last
// "." followed by "NDX" ("C:\Atlas\D.dao" gives "C:\Atlas\D.NDX").
std::string NameIndexPathOf(const std::string& place_file);

// The expanded bytes of a name index for a place file of `record_count`
// records: entries sorted as above, duplicates (same key and record) once.
// A record's population is the largest its entries give and its rank the
// lowest (0 and kOrdinaryPlaceRank for a record no entry names). Throws std::invalid_argument for
// an empty or over-long key or a record number outside 1..record_count.
std::string EncodeNameIndex(std::vector<NameIndexEntry> entries, std::int32_t record_count);

// A decoded name index.
class NameIndex {
 public:
  // Checks and decodes expanded bytes; the fault names `file` and what is
  // wrong.
  static ReadResult<std::shared_ptr<NameIndex>> Read(std::string_view bytes,
                                                     const std::string& file);
  // The same, keeping the image itself rather than a copy.
  static ReadResult<std::shared_ptr<NameIndex>> Read(std::shared_ptr<const std::string> image,
                                                     const std::string& file);

  std::int32_t RecordCount() const { return record_count_; }
  std::size_t size() const { return entries_.size(); }
  // The population and rank of record `record` (1-based); 0 and
  // kOrdinaryPlaceRank outside the file.
  std::uint32_t Population(std::int32_t record) const {
    return InFile(record) ? populations_[static_cast<std::size_t>(record - 1)] : 0;
  }
  std::uint8_t Rank(std::int32_t record) const {
    return InFile(record) ? ranks_[static_cast<std::size_t>(record - 1)] : kOrdinaryPlaceRank;
  }
  double ProminenceOf(std::int32_t record) const {
    return Prominence(Population(record), Rank(record));
  }

  // A place Lookup finds.
  struct Hit {
    std::int32_t record = 0;
    std::uint32_t population = 0;
    std::uint8_t rank = kOrdinaryPlaceRank;
    bool own_name = false;  // one of the keys that found it is its own name's
    double Prominence() const { return tarv::Prominence(population, rank); }
  };
  // The places filed under `key` (or, with `prefix`, under every key that
  // begins with it), each once, most prominent first, then by record number,
  // into `hits` (emptied first).
  void Lookup(std::string_view key, bool prefix, std::vector<Hit>& hits) const;
  // The same with the keys that found them.
  std::vector<NameIndexEntry> Find(std::string_view key, bool prefix) const;
  // Every entry, in file order.
  std::vector<NameIndexEntry> Entries() const;

  // The image of the place file the index was checked against (set by
  // NameIndexOf; null for an index decoded on its own).
  const std::shared_ptr<const std::string>& PlaceImage() const { return places_; }
  void SetPlaceImage(std::shared_ptr<const std::string> places) { places_ = std::move(places); }

  // Entry `i` of the file order, without copying its key.
  std::string_view KeyAt(std::size_t i) const { return KeyOf(entries_[i]); }
  std::int32_t RecordAt(std::size_t i) const { return entries_[i].record; }
  bool OwnNameAt(std::size_t i) const { return entries_[i].own_name; }

 private:
  struct Slot {
    std::uint32_t key_at;
    std::uint8_t key_length;
    std::int16_t record;
    bool own_name;
  };
  std::string_view KeyOf(const Slot& slot) const {
    return std::string_view(bytes_).substr(slot.key_at, slot.key_length);
  }
  bool InFile(std::int32_t record) const { return record >= 1 && record <= record_count_; }
  // Reads `count` entries from `at` on; version 1 entries carry populations.
  void DecodeEntries(std::size_t at, std::uint32_t count, bool with_populations,
                     const std::string& file);

  explicit NameIndex(std::shared_ptr<const std::string> image);
  // Throws FormatViolation for the first rule the bytes break.
  void Decode(const std::string& file);

  std::shared_ptr<const std::string> image_;
  std::shared_ptr<const std::string> places_;
  std::string_view bytes_;
  std::int32_t record_count_ = 0;
  std::vector<std::uint32_t> populations_;
  std::vector<std::uint8_t> ranks_;
  std::vector<Slot> entries_;
};

// The decoded name index of a database place file, with the record count the
// index was checked against: nullptr when the index or the place file does
// not exist (a place file that cannot be read is the place search's to
// report). Throws AtlasError naming the index when it is damaged, cannot be
// expanded, or was written for a place file of another record count.
// Decoded once per version of the two files.
std::shared_ptr<const NameIndex> NameIndexOf(const std::string& place_file);

// What a search asks the name index: the folded key of a whole name, or of
// the beginning of names (a trailing "*").
struct NameQuery {
  std::string key;
  bool prefix = false;
};

// The query of a search text in the atlas's letters (Windows-1252, trimmed
// as searches trim it); nullopt for a text holding another wildcard ("?",
// "[", a "*" before its end) or nothing a key keeps.
std::optional<NameQuery> NameQueryOf(std::string_view ansi);

// The same for a text as the host typed it (UTF-8): its romanisation's key,
// or, in a script nothing romanises, its folded letters (TypedNameKey).
std::optional<NameQuery> NameQueryOfUtf8(std::string_view utf8);

// Whether a place's own name is filed under the query's key (or a key the
// query's key begins, for a prefix), so that an index entry of that key is
// its own name rather than another of its names.
bool OwnNameAnswers(const PlaceRecord& place, const NameQuery& query);

// The population and rank of a found place.
struct PlaceWeight {
  std::uint32_t population = 0;
  std::uint8_t rank = kOrdinaryPlaceRank;
  double Prominence() const { return tarv::Prominence(population, rank); }
};

// Asks the name indexes of a country or group (`code` as for
// GetCompressedPlaceFile) for `query`. The places named are appended to
// `result` with their country code and their real record numbers, most
// prominent first (across a group's countries too); `weights`, when given,
// receives each one's population and rank. Returns their number. Throws
// AtlasError for a damaged index.
std::int32_t SearchNameIndex(std::string_view code, const NameQuery& query, PlaceList& result,
                             std::vector<PlaceWeight>* weights = nullptr);

// The weights of places already found (`refs` as the searches fill them): a
// database place's from its country's name index; none (0, an ordinary
// place) for a user place or a country without an index.
std::vector<PlaceWeight> WeightsOf(const std::vector<PlaceRef>& refs);

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_NAME_INDEX_H_
