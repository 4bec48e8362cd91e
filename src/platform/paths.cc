#include "platform/paths.h"

#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <optional>
#include <system_error>
#include <unordered_map>

#include "platform/file_status.h"

namespace fs = std::filesystem;

namespace tarv {
namespace {

struct CachedListing {
  FileStatus folder;
  bool settled = false;  // taken well after the folder's last change
  std::vector<std::string> names;
};

// Folder listings keyed by folder path. The atlas folder is listed on every
// lookup of a missing user file, so a listing is kept until the folder
// changes.
class ListingCache {
 public:
  std::vector<std::string> Get(const fs::path& folder) {
    const FileStatus status = StatFile(folder);
    if (!status.exists) return {};
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto key = Utf8OfPath(folder);
    if (auto it = cache_.find(key);
        it != cache_.end() && it->second.settled && it->second.folder.SameVersion(status)) {
      return it->second.names;
    }
    // A listing is trusted only when the folder had settled before it was taken.
    const bool settled = NowNs() - status.mtime_ns > kSettleNs;
    std::vector<std::string> names = ReadFolderNames(folder);
    std::sort(names.begin(), names.end());
    CachedListing listing{status, settled, std::move(names)};
    if (cache_.size() > kMaxFolders) cache_.clear();
    auto& slot = cache_[key] = std::move(listing);
    return slot.names;
  }

 private:
  static constexpr std::size_t kMaxFolders = 64;

  std::mutex mutex_;
  std::map<std::string, CachedListing> cache_;
};

ListingCache& Listings() {
  static ListingCache cache;
  return cache;
}

}  // namespace

bool SameFileName(std::string_view a, std::string_view b) {
  // Case folding of the names as they are: transliterating them would make
  // "Москва" and "Moskva" one file.
  const auto x =
      icu::UnicodeString::fromUTF8(icu::StringPiece(a.data(), static_cast<std::int32_t>(a.size())));
  const auto y =
      icu::UnicodeString::fromUTF8(icu::StringPiece(b.data(), static_cast<std::int32_t>(b.size())));
  return x.caseCompare(y, U_FOLD_CASE_DEFAULT) == 0;
}

std::vector<std::string> ListDirectory(const fs::path& folder) {
  return Listings().Get(folder);
}

}  // namespace tarv
