// Files decoded once per expanded image and shared between threads.
#ifndef TARVPLACES_ATLAS_DECODED_FILES_H_
#define TARVPLACES_ATLAS_DECODED_FILES_H_

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>

#include "atlas/atlas_fault.h"
#include "platform/per_thread.h"

namespace tarv {

// Decoded files per expanded image, dropped with the image. A file that
// breaks its format is noted as malformed and gives nullptr. `Decoded` is
// made from (bytes, file, zone_count) and throws FormatViolation.
template <typename Decoded>
class DecodedFiles {
 public:
  std::shared_ptr<const Decoded> Get(const std::string& file,
                                     const std::shared_ptr<const std::string>& bytes,
                                     std::size_t zone_count) {
    ThreadMemo& memo = PerThread<ThreadMemo>();
    for (const Known& k : memo.known) {
      if (k.owner == this && k.bytes == bytes && k.zone_count == zone_count && k.file == file) {
        return k.decoded;
      }
    }
    std::shared_ptr<const Decoded> found;
    {
      const std::shared_lock<std::shared_mutex> lock(mutex_);
      const auto it = files_.find(file);
      if (it != files_.end() && it->second.bytes == bytes && it->second.zone_count == zone_count) {
        found = it->second.decoded;
      }
    }
    if (found) {
      std::rotate(memo.known.rbegin(), memo.known.rbegin() + 1, memo.known.rend());
      memo.known.front() = {this, file, bytes, zone_count, WithOwnCount(std::move(found))};
      return memo.known.front().decoded;
    }
    const std::unique_lock<std::shared_mutex> lock(mutex_);
    auto& slot = files_[file];
    if (slot.bytes != bytes || slot.zone_count != zone_count) {
      auto decoded =
          Decode([&] { return std::make_shared<const Decoded>(*bytes, file, zone_count); });
      if (!decoded) {
        NoteMalformedFile(decoded.fault());
        return nullptr;
      }
      if (files_.size() > kMaxFiles) files_.clear();
      files_[file] = {bytes, zone_count, *decoded};
      return *decoded;
    }
    return slot.decoded;
  }

 private:
  struct Slot {
    std::shared_ptr<const std::string> bytes;
    std::size_t zone_count = 0;
    std::shared_ptr<const Decoded> decoded;
  };
  // What this thread last found, with counts of its own, so that asking
  // again takes no lock and writes no count another thread writes. The held
  // bytes keep their address from being reused.
  struct Known {
    const DecodedFiles* owner = nullptr;
    std::string file;
    std::shared_ptr<const std::string> bytes;
    std::size_t zone_count = 0;
    std::shared_ptr<const Decoded> decoded;
  };
  struct ThreadMemo {
    std::array<Known, 4> known;
  };
  static constexpr std::size_t kMaxFiles = 512;
  std::shared_mutex mutex_;
  std::map<std::string, Slot> files_;
};

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_DECODED_FILES_H_
