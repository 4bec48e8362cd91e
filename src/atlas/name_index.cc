#include "atlas/name_index.h"

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>

#include "atlas/name_key.h"
#include "platform/lz.h"
#include "tarvplaces/atlas_error.h"
#include "util/bytes.h"
#include "util/file_tests.h"
#include "util/text.h"

namespace tarv {
namespace {

constexpr std::size_t kHeaderSize = 16;
constexpr std::size_t kEntryFixedSize = 1 + 2 + 4;  // key length, record, population
constexpr std::size_t kMaxKeyLength = 255;

bool EntryBefore(const NameIndexEntry& a, const NameIndexEntry& b) {
  if (a.key != b.key) return a.key < b.key;
  if (a.population != b.population) return a.population > b.population;
  return a.record < b.record;
}

std::uint32_t DecodeUint32(std::string_view bytes, std::size_t at) {
  return static_cast<std::uint32_t>(DecodeInt32(bytes, at));
}

// Decoded indexes per expanded image, dropped with the image.
class NameIndexes {
 public:
  std::shared_ptr<const NameIndex> Get(const std::string& file,
                                       const std::shared_ptr<const std::string>& bytes) {
    const std::lock_guard<std::mutex> lock(mutex_);
    auto& slot = indexes_[file];
    if (slot.first != bytes) {
      if (indexes_.size() > kMaxFiles) indexes_.clear();
      auto decoded = std::make_shared<const NameIndex>(*bytes, file);  // may throw
      auto& fresh = indexes_[file];
      fresh = {bytes, std::move(decoded)};
      return fresh.second;
    }
    return slot.second;
  }

 private:
  static constexpr std::size_t kMaxFiles = 512;
  std::mutex mutex_;
  std::map<std::string,
           std::pair<std::shared_ptr<const std::string>, std::shared_ptr<const NameIndex>>>
      indexes_;
};

NameIndexes& Indexes() {
  static NameIndexes indexes;
  return indexes;
}

// The folded key of a search text and whether it asks for a beginning; an
// empty key when the text cannot be asked.
std::pair<std::string, bool> KeyOfSearch(std::string_view search) {
  std::string text = Trim(search);
  bool prefix = false;
  if (!text.empty() && text.back() == '*') {
    prefix = true;
    text.pop_back();
  }
  if (text.find_first_of("*?[") != std::string::npos) return {"", false};
  return {NameKey(text), prefix};
}

}  // namespace

std::string NameIndexPathOf(const std::string& place_file) {
  const auto dot = place_file.rfind('.');
  return (dot == std::string::npos ? place_file + "." : place_file.substr(0, dot + 1)) + "NDX";
}

std::string EncodeNameIndex(std::vector<NameIndexEntry> entries, std::int32_t record_count) {
  for (const auto& e : entries) {
    if (e.key.empty() || e.key.size() > kMaxKeyLength) {
      throw std::invalid_argument("name index key of " + std::to_string(e.key.size()) + " bytes");
    }
    if (e.record < 1 || e.record > record_count ||
        e.record > static_cast<std::int32_t>(kMaxPlaceRecords)) {
      throw std::invalid_argument("name index record " + std::to_string(e.record) +
                                  " outside the place file");
    }
  }
  std::sort(entries.begin(), entries.end(), EntryBefore);
  entries.erase(std::unique(entries.begin(), entries.end(),
                            [](const auto& a, const auto& b) {
                              return a.key == b.key && a.record == b.record;
                            }),
                entries.end());
  std::string bytes(kNameIndexMagic);
  AppendInt16(bytes, static_cast<std::int16_t>(kNameIndexVersion));
  AppendInt16(bytes, 0);
  AppendInt32(bytes, record_count);
  AppendInt32(bytes, static_cast<std::int32_t>(entries.size()));
  for (const auto& e : entries) {
    bytes += static_cast<char>(e.key.size());
    bytes += e.key;
    AppendInt16(bytes, static_cast<std::int16_t>(e.record));
    AppendInt32(bytes, static_cast<std::int32_t>(e.population));
  }
  return bytes;
}

NameIndex::NameIndex(std::string_view bytes, const std::string& file) : bytes_(bytes) {
  const std::string_view b = bytes_;
  if (b.size() < kHeaderSize || b.substr(0, 4) != kNameIndexMagic) {
    throw AtlasError(file, "not a name index (no \"TPNX\" header)");
  }
  if (DecodeInt16(b, 4) != kNameIndexVersion) {
    throw AtlasError(
        file, "name index version " + std::to_string(DecodeInt16(b, 4)) + " is not known (1 is)");
  }
  record_count_ = DecodeInt32(b, 8);
  if (record_count_ < 0 || record_count_ > static_cast<std::int32_t>(kMaxPlaceRecords)) {
    throw AtlasError(file, "record count " + std::to_string(record_count_) + " out of range");
  }
  const std::uint32_t count = DecodeUint32(b, 12);
  // Each entry takes at least 8 bytes: a count beyond that is a lie.
  if (count > (b.size() - kHeaderSize) / (kEntryFixedSize + 1)) {
    throw AtlasError(file, std::to_string(count) + " entries do not fit in " +
                               std::to_string(b.size()) + " bytes");
  }
  entries_.reserve(count);
  std::size_t at = kHeaderSize;
  for (std::uint32_t i = 0; i < count; ++i) {
    const auto length = static_cast<std::uint8_t>(b[at]);
    if (length == 0 || at + 1 + length + 6 > b.size()) {
      throw AtlasError(file, "entry " + std::to_string(i + 1) + " is cut off or has no key");
    }
    Slot slot{static_cast<std::uint32_t>(at + 1), length, DecodeInt16(b, at + 1 + length),
              DecodeUint32(b, at + 1 + length + 2)};
    if (slot.record < 1 || slot.record > record_count_) {
      throw AtlasError(file, "entry " + std::to_string(i + 1) + " names record " +
                                 std::to_string(slot.record) + " of " +
                                 std::to_string(record_count_));
    }
    if (!entries_.empty() && KeyOf(slot) < KeyOf(entries_.back())) {
      throw AtlasError(file, "entry " + std::to_string(i + 1) + " is out of key order");
    }
    entries_.push_back(slot);
    at += 1 + length + 6;
  }
  if (at != b.size()) {
    throw AtlasError(file, std::to_string(b.size() - at) + " bytes after the last entry");
  }
}

std::vector<NameIndexEntry> NameIndex::Find(std::string_view key, bool prefix) const {
  std::vector<NameIndexEntry> found;
  if (key.empty()) return found;
  auto it = std::lower_bound(entries_.begin(), entries_.end(), key,
                             [this](const Slot& s, std::string_view k) { return KeyOf(s) < k; });
  for (; it != entries_.end(); ++it) {
    const std::string_view k = KeyOf(*it);
    if (prefix ? k.substr(0, key.size()) != key : k != key) break;
    found.push_back({std::string(k), it->record, it->population});
  }
  std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) {
    return a.population != b.population ? a.population > b.population : a.record < b.record;
  });
  found.erase(std::unique(found.begin(), found.end(),
                          [](const auto& a, const auto& b) { return a.record == b.record; }),
              found.end());
  return found;
}

std::vector<NameIndexEntry> NameIndex::Entries() const {
  std::vector<NameIndexEntry> all;
  all.reserve(entries_.size());
  for (const auto& slot : entries_)
    all.push_back({std::string(KeyOf(slot)), slot.record, slot.population});
  return all;
}

std::int32_t SearchNameIndex(std::string_view code, std::string_view search, PlaceList& result) {
  const auto [key, prefix] = KeyOfSearch(search);
  if (key.empty()) return 0;
  std::vector<std::string> files;
  std::vector<PlaceRef> refs;
  Get_CompressedFiles(Get_PraePost(GetCompressedPlaceFile(code)), files, refs);
  struct Hit {
    std::uint32_t population;
    PlaceRecord place;
    PlaceRef ref;
  };
  std::vector<Hit> hits;
  for (std::size_t f = 0; f < files.size(); ++f) {
    const std::string& file = files[f];
    if (TextContains(file, "\\USER\\")) continue;  // user places have no other names
    const std::string index_file = NameIndexPathOf(file);
    std::int32_t error = 0;
    const auto index_bytes = ExistingImage(index_file, error);
    if (error != 0) throw AtlasError(index_file, LZERROR_Msg(error, index_file));
    if (!index_bytes) continue;
    // A place file that cannot be read is the place search's to report.
    const auto places = ExistingImage(file, error);
    if (!places) continue;
    const auto index = Indexes().Get(index_file, index_bytes);
    const auto records =
        static_cast<std::int32_t>(std::min(places->size() / kPlaceRecordSize, kMaxPlaceRecords));
    if (index->RecordCount() != records) {
      throw AtlasError(index_file, "written for a place file of " +
                                       std::to_string(index->RecordCount()) + " records, " + file +
                                       " has " + std::to_string(records));
    }
    for (const auto& e : index->Find(key, prefix)) {
      const auto at = static_cast<std::size_t>(e.record - 1) * kPlaceRecordSize;
      const PlaceRecord place = DecodePlaceRecord(std::string_view(*places).substr(at));
      if (place.IsDeleted()) continue;
      PlaceRef ref = refs[f];
      ref.RecordNo = static_cast<std::int16_t>(e.record);
      hits.push_back({e.population, place, std::move(ref)});
    }
  }
  // Across a group's countries too, the place people mean most likely first.
  std::stable_sort(hits.begin(), hits.end(),
                   [](const Hit& a, const Hit& b) { return a.population > b.population; });
  for (auto& h : hits)
    result.Add(h.place, std::move(h.ref));
  return static_cast<std::int32_t>(hits.size());
}

}  // namespace tarv
