#include "platform/paths.h"

#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <stdexcept>
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

// Folders kept elsewhere, for the life of the process. Most processes have
// none, and then a path costs one atomic read.
class FolderMounts {
 public:
  void Add(std::string folder, std::string place) {
    const std::unique_lock lock(mutex_);
    for (const auto& [known, known_place] : mounts_) {
      if (known != folder) continue;
      if (known_place == place) return;
      throw std::invalid_argument("\"" + folder + "\" already keeps its files in \"" + known_place +
                                  "\", not \"" + place + "\"");
    }
    mounts_.emplace_back(std::move(folder), std::move(place));
    any_.store(true, std::memory_order_release);
  }

  std::string Map(std::string_view path) const {
    if (any_.load(std::memory_order_acquire)) {
      const std::shared_lock lock(mutex_);
      for (const auto& [folder, place] : mounts_) {
        if (!path.starts_with(folder)) continue;
        if (path.size() == folder.size()) return place;
        if (path[folder.size()] == '\\' || path[folder.size()] == '/')
          return place + std::string(path.substr(folder.size()));
      }
    }
    return std::string(path);
  }

 private:
  std::atomic<bool> any_{false};
  mutable std::shared_mutex mutex_;
  std::vector<std::pair<std::string, std::string>> mounts_;
};

FolderMounts& Mounts() {
  static auto* const mounts = new FolderMounts;
  return *mounts;
}

std::string WithoutTrailingSeparators(std::string path) {
  while (path.size() > 1 && (path.back() == '\\' || path.back() == '/'))
    path.pop_back();
  return path;
}

ListingCache& Listings() {
  static ListingCache cache;
  return cache;
}

}  // namespace

void MountFolder(std::string windows_folder, std::string native_folder) {
  windows_folder = WithoutTrailingSeparators(std::move(windows_folder));
  native_folder = WithoutTrailingSeparators(std::move(native_folder));
  if (windows_folder.empty() || native_folder.empty())
    throw std::invalid_argument("a folder kept elsewhere needs both paths");
  Mounts().Add(std::move(windows_folder), std::move(native_folder));
}

std::string MountedPath(std::string_view windows_path) {
  return Mounts().Map(windows_path);
}

void CreateUserFolder(std::string_view windows_folder, std::error_code& ec) {
  const fs::path native = NativePath(windows_folder);
  if (MountedPath(windows_folder) != windows_folder)
    fs::create_directories(native, ec);
  else
    fs::create_directory(native, ec);
}

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
