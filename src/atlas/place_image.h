// A place file's expanded bytes with the indexes its searches build over
// the runs of records an index letter points to, shared by every search of
// the same version of the file.
#ifndef TARVPLACES_ATLAS_PLACE_IMAGE_H_
#define TARVPLACES_ATLAS_PLACE_IMAGE_H_

#include <algorithm>
#include <bit>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "atlas/place_record.h"

namespace tarv {

// Records chained by a key: the records of one key in record order, found
// through an open-addressing table over the keys (at least half empty).
class KeyChains {
 public:
  // `keys` holds the key of record i at [ends[i-1], ends[i]); both must
  // outlive the chains.
  void Build(const std::string& keys, const std::vector<std::uint32_t>& ends) {
    keys_ = &keys;
    ends_ = &ends;
    const std::size_t count = ends.size();
    next_.assign(count, -1);
    std::vector<std::int32_t> tail(count, -1);
    slots_.assign(std::bit_ceil(std::max<std::size_t>(count * 2, 2)), -1);
    for (std::size_t i = 0; i < count; ++i) {
      auto& slot = slots_[SlotOf(Key(i))];
      if (slot < 0) {
        slot = static_cast<std::int32_t>(i);
        tail[i] = static_cast<std::int32_t>(i);
      } else {
        const auto head = static_cast<std::size_t>(slot);
        next_[static_cast<std::size_t>(tail[head])] = static_cast<std::int32_t>(i);
        tail[head] = static_cast<std::int32_t>(i);
      }
    }
  }

  // Calls `visit` with the position of each record whose key is `key`, in order.
  template <typename Visit>
  void ForEach(std::string_view key, Visit visit) const {
    for (auto i = slots_[SlotOf(key)]; i >= 0; i = next_[static_cast<std::size_t>(i)])
      visit(i);
  }

 private:
  std::string_view Key(std::size_t i) const {
    const std::uint32_t begin = i == 0 ? 0 : (*ends_)[i - 1];
    return std::string_view(*keys_).substr(begin, (*ends_)[i] - begin);
  }
  std::size_t SlotOf(std::string_view key) const {
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t at = std::hash<std::string_view>()(key) & mask;; at = (at + 1) & mask) {
      const std::int32_t slot = slots_[at];
      if (slot < 0 || Key(static_cast<std::size_t>(slot)) == key) return at;
    }
  }

  const std::string* keys_ = nullptr;
  const std::vector<std::uint32_t>* ends_ = nullptr;
  std::vector<std::int32_t> slots_;
  std::vector<std::int32_t> next_;  // the next record of the same key, or -1
};

// What searches derive from the names of one run of records (the records an
// index letter points to): the letters-only form of every name, the records
// grouped by that form folded to capitals, which is exactly what a
// whole-name search compares, and grouped by that form with the accent
// classes folded too, which is what a pattern search without wildcards
// compares. Built on the run's first search, so that a first lookup pays for
// its run only.
class RunIndex {
 public:
  RunIndex(std::string_view bytes, std::int32_t first, std::int32_t last);
  RunIndex(const RunIndex&) = delete;
  RunIndex& operator=(const RunIndex&) = delete;

  // The letters-only form of a record of the run (1-based record number).
  std::string_view Letters(std::int32_t record) const {
    const auto i = static_cast<std::size_t>(record - first_);
    const std::uint32_t begin = i == 0 ? 0 : ends_[i - 1];
    return std::string_view(letters_).substr(begin, ends_[i] - begin);
  }

  // Calls `visit` with each record whose letters in capitals are `key`, in order.
  template <typename Visit>
  void ForEachNamed(std::string_view key, Visit visit) const {
    by_capitals_.ForEach(key, [&](std::int32_t i) { visit(first_ + i); });
  }
  // Calls `visit` with each record whose letters folded by accent class are
  // `key`, in order.
  template <typename Visit>
  void ForEachClassFolded(std::string_view key, Visit visit) const {
    by_classes_.ForEach(key, [&](std::int32_t i) { visit(first_ + i); });
  }

 private:
  std::int32_t first_;
  std::string letters_;
  std::string capitals_;             // letters_ in capitals
  std::string classes_;              // letters_ folded by accent class
  std::vector<std::uint32_t> ends_;  // where each record's form ends in all three
  KeyChains by_capitals_;
  KeyChains by_classes_;
};

// A place file's expanded bytes with the run indexes its searches built.
class PlaceImage {
 public:
  explicit PlaceImage(std::shared_ptr<const std::string> bytes) : bytes_(std::move(bytes)) {}

  const std::shared_ptr<const std::string>& bytes() const { return bytes_; }
  std::int32_t RecordCount() const {
    return static_cast<std::int32_t>(std::min(bytes_->size() / kPlaceRecordSize, kMaxPlaceRecords));
  }
  std::string_view NameField(std::int32_t record) const {
    return std::string_view(*bytes_).substr((record - 1) * kPlaceRecordSize, kPlaceNameWidth);
  }
  // The index of records `first` to `last` (1-based, within the file).
  std::shared_ptr<const RunIndex> Run(std::int32_t first, std::int32_t last) const;

  // The index file the records call for, as the component writes it: for a
  // database file an entry wherever the index letter of the trimmed name
  // changes; for a user file (`user`) wherever the name's first byte, in
  // capitals, changes. Built once per image.
  const std::string& IndexFor(bool user) const;

 private:
  static constexpr std::size_t kMaxRuns = 64;
  std::shared_ptr<const std::string> bytes_;
  mutable std::once_flag index_once_[2];
  mutable std::string index_[2];
  mutable std::shared_mutex mutex_;
  mutable std::map<std::pair<std::int32_t, std::int32_t>, std::shared_ptr<const RunIndex>> runs_;
};

// What makes `bytes` no place file of `file` (a path whose name is the
// country's code), "" when they are one: no record at all, a size that is
// no whole number of records or past 32,767 of them; a record (not deleted) whose coordinates
// are not finite or lie beyond 180 degrees of longitude or 90 of latitude,
// or whose timetable is not one its country offers (0 to its count, 1 at
// least). Such a place would be answered as it is.
std::string PlaceFileProblem(std::string_view bytes, const std::string& file);

// The image of a place file as it is now, with the run indexes built so far;
// nullptr with `error` 0 for a file that does not exist, nullptr with the LZ
// error code for one that cannot be read. A file that breaks its format is
// noted as malformed (nullptr, `error` LZERROR_BADVALUE).
std::shared_ptr<const PlaceImage> PlaceImageOf(const std::string& file, std::int32_t& error);

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_PLACE_IMAGE_H_
