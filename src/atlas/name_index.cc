#include "atlas/name_index.h"

#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <stdexcept>

#include "atlas/atlas_state.h"
#include "atlas/country_table.h"
#include "atlas/name_key.h"
#include "platform/file_status.h"
#include "platform/per_thread.h"
#include "text/bytes.h"
#include "text/lz.h"
#include "util/file_tests.h"
#include "util/text.h"

namespace tarv {
namespace {

constexpr std::size_t kHeaderSize = 16;
constexpr std::size_t kMaxKeyLength = 255;
constexpr std::uint16_t kFirstVersion = 1;  // populations in the entries
constexpr std::uint16_t kOwnNameBit = 0x8000;

bool EntryBefore(const NameIndexEntry& a, const NameIndexEntry& b) {
  if (a.key != b.key) return a.key < b.key;
  const double pa = Prominence(a.population, a.rank);
  const double pb = Prominence(b.population, b.rank);
  if (pa != pb) return pa > pb;
  return a.record < b.record;
}

std::uint32_t DecodeUint32(std::string_view bytes, std::size_t at) {
  return static_cast<std::uint32_t>(DecodeInt32(bytes, at));
}

// Decoded indexes per expanded image, dropped with the image.
class NameIndexes {
 public:
  using Images = std::pair<std::shared_ptr<const std::string>, std::shared_ptr<const std::string>>;

  std::shared_ptr<const NameIndex> Get(const std::string& file, const Images& images) {
    {
      const std::shared_lock<std::shared_mutex> lock(mutex_);
      const auto known = indexes_.find(file);
      if (known != indexes_.end() && known->second.first == images) return known->second.second;
    }
    const std::unique_lock<std::shared_mutex> lock(mutex_);
    const auto known = indexes_.find(file);
    if (known != indexes_.end() && known->second.first == images) return known->second.second;
    if (indexes_.size() > kMaxFiles) indexes_.clear();
    auto decoded = NameIndex::Read(images.first, file);
    if (!decoded) {
      NoteMalformedFile(decoded.fault());
      return nullptr;
    }
    (*decoded)->SetPlaceImage(images.second);
    const auto records = static_cast<std::int32_t>(
        std::min(images.second->size() / kPlaceRecordSize, kMaxPlaceRecords));
    if ((*decoded)->RecordCount() != records) {
      NoteMalformedFile({file, "written for a place file of " +
                                   std::to_string((*decoded)->RecordCount()) + " records, not " +
                                   std::to_string(records)});
      return nullptr;
    }
    std::shared_ptr<const NameIndex> index = *std::move(decoded);
    indexes_[file] = {images, index};
    return index;
  }

 private:
  static constexpr std::size_t kMaxFiles = 512;
  std::shared_mutex mutex_;
  std::map<std::string, std::pair<Images, std::shared_ptr<const NameIndex>>> indexes_;
};

NameIndexes& Indexes() {
  return CurrentAtlas().Derived<NameIndexes>();
}

// The query of a search text keyed by `key_of`: a trailing "*" asks for the
// beginning, any other wildcard for a pattern the index cannot answer.
std::optional<NameQuery> QueryOf(std::string_view search, std::string (*key_of)(std::string_view)) {
  std::string text = Trim(search);
  bool prefix = false;
  if (!text.empty() && text.back() == '*') {
    prefix = true;
    text.pop_back();
  }
  if (text.find_first_of("*?[") != std::string::npos) return std::nullopt;
  NameQuery query{key_of(text), prefix};
  if (query.key.empty()) return std::nullopt;
  return query;
}

std::shared_ptr<const NameIndex> LookUpNameIndex(const std::string& place_file);

}  // namespace

std::string NameIndexPathOf(const std::string& place_file) {
  const auto dot = place_file.rfind('.');
  return (dot == std::string::npos ? place_file + "." : place_file.substr(0, dot + 1)) + "NDX";
}

std::string EncodeNameIndex(std::vector<NameIndexEntry> entries, std::int32_t record_count) {
  const auto records = static_cast<std::size_t>(std::max(record_count, 0));
  std::vector<std::uint32_t> populations(records, 0);
  std::vector<std::uint8_t> ranks(records, kOrdinaryPlaceRank);
  std::vector<bool> named(records, false);
  for (const auto& e : entries) {
    if (e.key.empty() || e.key.size() > kMaxKeyLength) {
      throw std::invalid_argument("name index key of " + std::to_string(e.key.size()) + " bytes");
    }
    if (e.record < 1 || e.record > record_count ||
        e.record > static_cast<std::int32_t>(kMaxPlaceRecords)) {
      throw std::invalid_argument("name index record " + std::to_string(e.record) +
                                  " outside the place file");
    }
    if (e.rank > kSectionRank) {
      throw std::invalid_argument("name index rank " + std::to_string(e.rank));
    }
    const auto r = static_cast<std::size_t>(e.record - 1);
    populations[r] = std::max(populations[r], e.population);
    ranks[r] = named[r] ? std::min(ranks[r], e.rank) : e.rank;
    named[r] = true;
  }
  for (auto& e : entries) {
    e.population = populations[static_cast<std::size_t>(e.record - 1)];
    e.rank = ranks[static_cast<std::size_t>(e.record - 1)];
  }
  std::sort(entries.begin(), entries.end(), EntryBefore);
  // A key twice for one record: once, as its own name if either is.
  std::vector<NameIndexEntry> unique;
  for (auto& e : entries) {
    if (!unique.empty() && unique.back().key == e.key && unique.back().record == e.record) {
      unique.back().own_name = unique.back().own_name || e.own_name;
      continue;
    }
    unique.push_back(std::move(e));
  }
  entries = std::move(unique);
  std::string bytes(kNameIndexMagic);
  AppendInt16(bytes, static_cast<std::int16_t>(kNameIndexVersion));
  AppendInt16(bytes, 0);
  AppendInt32(bytes, record_count);
  AppendInt32(bytes, static_cast<std::int32_t>(entries.size()));
  for (const auto population : populations)
    AppendInt32(bytes, static_cast<std::int32_t>(population));
  for (const auto rank : ranks)
    bytes += static_cast<char>(rank);
  for (const auto& e : entries) {
    bytes += static_cast<char>(e.key.size());
    bytes += e.key;
    AppendInt16(bytes, static_cast<std::int16_t>(static_cast<std::uint16_t>(e.record) |
                                                 (e.own_name ? kOwnNameBit : 0)));
  }
  return bytes;
}

ReadResult<std::shared_ptr<NameIndex>> NameIndex::Read(std::string_view bytes,
                                                       const std::string& file) {
  return Read(std::make_shared<const std::string>(bytes), file);
}

ReadResult<std::shared_ptr<NameIndex>> NameIndex::Read(std::shared_ptr<const std::string> image,
                                                       const std::string& file) {
  return tarv::Decode([&] {
    std::shared_ptr<NameIndex> index(new NameIndex(std::move(image)));
    index->Decode(file);
    return index;
  });
}

NameIndex::NameIndex(std::shared_ptr<const std::string> image)
    : image_(std::move(image)), bytes_(*image_) {}

void NameIndex::Decode(const std::string& file) {
  const std::string_view b = bytes_;
  if (b.size() < kHeaderSize || b.substr(0, 4) != kNameIndexMagic) {
    throw FormatViolation(file, "not a name index (no \"TPNX\" header)");
  }
  const auto version = static_cast<std::uint16_t>(DecodeInt16(b, 4));
  if (version != kNameIndexVersion && version != kFirstVersion) {
    throw FormatViolation(
        file, "name index version " + std::to_string(version) + " is not known (1 and 2 are)");
  }
  record_count_ = DecodeInt32(b, 8);
  if (record_count_ < 0 || record_count_ > static_cast<std::int32_t>(kMaxPlaceRecords)) {
    throw FormatViolation(file, "record count " + std::to_string(record_count_) + " out of range");
  }
  const auto records = static_cast<std::size_t>(record_count_);
  populations_.assign(records, 0);
  ranks_.assign(records, kOrdinaryPlaceRank);
  std::size_t at = kHeaderSize;
  if (version == kNameIndexVersion) {
    if (b.size() - kHeaderSize < 5 * records) {
      throw FormatViolation(file, "the populations and ranks of " + std::to_string(records) +
                                      " records do not fit in " + std::to_string(b.size()) +
                                      " bytes");
    }
    for (std::size_t r = 0; r < records; ++r, at += 4)
      populations_[r] = DecodeUint32(b, at);
    for (std::size_t r = 0; r < records; ++r, ++at) {
      ranks_[r] = static_cast<std::uint8_t>(b[at]);
      if (ranks_[r] > kSectionRank) {
        throw FormatViolation(file, "record " + std::to_string(r + 1) + " has rank " +
                                        std::to_string(ranks_[r]) + " (0 to 7 are known)");
      }
    }
  }
  DecodeEntries(at, DecodeUint32(b, 12), version == kFirstVersion, file);
}

void NameIndex::DecodeEntries(std::size_t at, std::uint32_t count, bool with_populations,
                              const std::string& file) {
  const std::string_view b = bytes_;
  const std::size_t fixed = 1 + 2 + (with_populations ? 4 : 0);  // length, record, population
  // Each entry takes its fixed bytes and a key byte at least: a count beyond
  // that is a lie.
  if (count > (b.size() - at) / (fixed + 1)) {
    throw FormatViolation(file, std::to_string(count) + " entries do not fit in " +
                                    std::to_string(b.size()) + " bytes");
  }
  entries_.reserve(count);
  for (std::uint32_t i = 0; i < count; ++i) {
    const auto length = static_cast<std::uint8_t>(b[at]);
    if (length == 0 || at + length + fixed > b.size()) {
      throw FormatViolation(file, "entry " + std::to_string(i + 1) + " is cut off or has no key");
    }
    const auto field = static_cast<std::uint16_t>(DecodeInt16(b, at + 1 + length));
    // Version 1 knows no own names: its record numbers use 15 bits as well.
    const bool own = !with_populations && (field & kOwnNameBit) != 0;
    const Slot slot{static_cast<std::uint32_t>(at + 1), length,
                    static_cast<std::int16_t>(own ? field & ~kOwnNameBit : field), own};
    if (slot.record < 1 || slot.record > record_count_) {
      throw FormatViolation(file, "entry " + std::to_string(i + 1) + " names record " +
                                      std::to_string(slot.record) + " of " +
                                      std::to_string(record_count_));
    }
    if (!entries_.empty() && KeyOf(slot) < KeyOf(entries_.back())) {
      throw FormatViolation(file, "entry " + std::to_string(i + 1) + " is out of key order");
    }
    if (with_populations) {
      auto& population = populations_[static_cast<std::size_t>(slot.record - 1)];
      population = std::max(population, DecodeUint32(b, at + 1 + length + 2));
    }
    entries_.push_back(slot);
    at += length + fixed;
  }
  if (at != b.size()) {
    throw FormatViolation(file, std::to_string(b.size() - at) + " bytes after the last entry");
  }
}

void NameIndex::Lookup(std::string_view key, bool prefix, std::vector<Hit>& hits) const {
  hits.clear();
  if (key.empty()) return;
  auto it = std::lower_bound(entries_.begin(), entries_.end(), key,
                             [this](const Slot& s, std::string_view k) { return KeyOf(s) < k; });
  for (; it != entries_.end(); ++it) {
    const std::string_view k = KeyOf(*it);
    if (prefix ? k.substr(0, key.size()) != key : k != key) break;
    hits.push_back({it->record, Population(it->record), Rank(it->record), it->own_name});
  }
  std::sort(hits.begin(), hits.end(), [](const Hit& a, const Hit& b) {
    const double pa = a.Prominence();
    const double pb = b.Prominence();
    return pa != pb ? pa > pb : a.record < b.record;
  });
  // A place under several keys of a beginning: once, as its own name if
  // any of them is.
  std::size_t kept = 0;
  for (std::size_t i = 0; i < hits.size(); ++i) {
    if (kept > 0 && hits[kept - 1].record == hits[i].record) {
      hits[kept - 1].own_name = hits[kept - 1].own_name || hits[i].own_name;
      continue;
    }
    hits[kept++] = hits[i];
  }
  hits.resize(kept);
}

std::vector<NameIndexEntry> NameIndex::Find(std::string_view key, bool prefix) const {
  std::vector<Hit> hits;
  Lookup(key, prefix, hits);
  std::vector<NameIndexEntry> found;
  for (const auto& h : hits) {
    // The first key of the record's entries under `key`.
    auto it = std::lower_bound(entries_.begin(), entries_.end(), key,
                               [this](const Slot& s, std::string_view k) { return KeyOf(s) < k; });
    while (it != entries_.end() && it->record != h.record)
      ++it;
    if (it == entries_.end()) continue;
    found.push_back({std::string(KeyOf(*it)), h.record, h.population, h.rank, h.own_name});
  }
  return found;
}

std::vector<NameIndexEntry> NameIndex::Entries() const {
  std::vector<NameIndexEntry> all;
  all.reserve(entries_.size());
  for (const auto& slot : entries_)
    all.push_back(
        {std::string(KeyOf(slot)), slot.record, Population(slot.record), Rank(slot.record)});
  return all;
}

std::shared_ptr<const NameIndex> NameIndexOf(const std::string& place_file) {
  // A lookup asks for its country's index several times: remembered for as
  // long as what the call looked at on disk holds.
  struct Known {
    std::string place_file;
    std::uint64_t call = 0;
    std::shared_ptr<const NameIndex> index;
  };
  auto& known = PerThread<std::array<Known, 4>>();
  const std::uint64_t call = CallNumber();
  if (call != 0) {
    for (const auto& k : known) {
      if (k.call == call && k.place_file == place_file) return k.index;
    }
  }
  const std::uint64_t faults_before = FaultNotes();
  auto index = WithOwnCount(LookUpNameIndex(place_file));
  // A failed read is not remembered: each call that needs the file fails.
  if (call != 0 && FaultNotes() == faults_before) {
    auto& oldest = *std::min_element(
        known.begin(), known.end(), [](const Known& a, const Known& b) { return a.call < b.call; });
    oldest = {place_file, call, index};
  }
  return index;
}

namespace {

std::shared_ptr<const NameIndex> LookUpNameIndex(const std::string& place_file) {
  const std::string index_file = NameIndexPathOf(place_file);
  std::int32_t error = 0;
  auto index_bytes = ExistingImage(index_file, error, Packing::kSzdd);
  if (error != 0) {
    // Searching without it would miss the places known by other names.
    NoteUnreadableFile(index_file, error);
    return nullptr;
  }
  if (!index_bytes) return nullptr;
  auto places = ExistingImage(place_file, error, Packing::kSzdd);
  if (!places) return nullptr;
  return Indexes().Get(index_file, {std::move(index_bytes), std::move(places)});
}

}  // namespace

std::optional<NameQuery> NameQueryOf(std::string_view ansi) {
  return QueryOf(ansi, &NameKey);
}

std::optional<NameQuery> NameQueryOfUtf8(std::string_view utf8) {
  return QueryOf(utf8, &TypedNameKey);
}

std::int32_t SearchNameIndex(std::string_view code, const NameQuery& query, PlaceList& result,
                             std::vector<PlaceWeight>* weights) {
  if (query.key.empty()) return 0;
  // Kept from call to call for their room: lookups ask on every call.
  struct Scratch {
    std::vector<std::string> files;
    std::vector<PlaceRef> refs;
    std::vector<NameIndex::Hit> found;
    struct Hit {
      PlaceWeight weight;
      PlaceRecord place;
      std::size_t file;
      std::int16_t record;
    };
    std::vector<Hit> hits;
  };
  Scratch& s = PerThread<Scratch>();
  s.files.clear();
  s.refs.clear();
  s.hits.clear();
  const std::string file_of_code = GetCompressedPlaceFile(code);
  if (GetContinentID(Get_PraePost(file_of_code)) == 0) {
    // One country: its database file; user places have no other names.
    s.files.push_back(file_of_code);
    s.refs.push_back({Get_Prae(Get_PraePost(file_of_code)), 0});
  } else {
    Get_CompressedFiles(Get_PraePost(file_of_code), s.files, s.refs);
  }
  for (std::size_t f = 0; f < s.files.size(); ++f) {
    const std::string& file = s.files[f];
    if (TextContains(file, "\\USER\\")) continue;
    const auto index = NameIndexOf(file);
    if (!index || !index->PlaceImage()) continue;
    const std::shared_ptr<const std::string>& places = index->PlaceImage();
    index->Lookup(query.key, query.prefix, s.found);
    for (const auto& e : s.found) {
      const auto at = static_cast<std::size_t>(e.record - 1) * kPlaceRecordSize;
      const PlaceRecord place = DecodePlaceRecord(std::string_view(*places).substr(at));
      if (place.IsDeleted()) continue;
      s.hits.push_back({{e.population, e.rank}, place, f, static_cast<std::int16_t>(e.record)});
    }
  }
  // Across a group's countries too, the place people mean most likely first.
  std::stable_sort(s.hits.begin(), s.hits.end(), [](const auto& a, const auto& b) {
    return a.weight.Prominence() > b.weight.Prominence();
  });
  for (const auto& h : s.hits) {
    result.Add(h.place, {s.refs[h.file].Country, h.record});
    if (weights != nullptr) weights->push_back(h.weight);
  }
  return static_cast<std::int32_t>(s.hits.size());
}

bool OwnNameAnswers(const PlaceRecord& place, const NameQuery& query) {
  // Blanks fold to nothing: the padded field has the name's keys.
  return NameKeysMatch(place.NameField(), query.key, query.prefix);
}

std::vector<PlaceWeight> WeightsOf(const std::vector<PlaceRef>& refs) {
  std::vector<PlaceWeight> weights(refs.size());
  std::string country;
  std::shared_ptr<const NameIndex> index;
  bool looked = false;
  for (std::size_t i = 0; i < refs.size(); ++i) {
    if (refs[i].RecordNo <= 0 || refs[i].Country.empty()) continue;
    if (!looked || refs[i].Country != country) {
      country = refs[i].Country;
      index = NameIndexOf(GetCompressedPlaceFile(country));
      looked = true;
    }
    if (index) weights[i] = {index->Population(refs[i].RecordNo), index->Rank(refs[i].RecordNo)};
  }
  return weights;
}

}  // namespace tarv
