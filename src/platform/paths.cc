#include "platform/paths.h"

#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <mutex>
#include <optional>
#include <system_error>
#include <unordered_map>

#include "platform/codepage.h"
#include "util/text.h"

namespace fs = std::filesystem;

namespace tarv {
namespace {

struct CachedListing {
  fs::file_time_type mtime;
  bool settled = false;  // taken well after the folder's last change
  std::vector<std::string> names;
};

// File times tick in coarse steps, so a change right after a listing may leave
// the folder's time as it was. A listing is trusted only when the folder had
// not changed for this long before it was taken.
constexpr auto kSettleTime = std::chrono::seconds(2);

// Folder listings keyed by folder path. The atlas folder is listed on every
// lookup of a missing user file, so a listing is kept until the folder
// changes.
class ListingCache {
 public:
  std::vector<std::string> Get(const fs::path& folder) {
    std::error_code ec;
    const auto mtime = fs::last_write_time(folder, ec);
    if (ec) return {};
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto key = folder.string();
    if (auto it = cache_.find(key);
        it != cache_.end() && it->second.settled && it->second.mtime == mtime) {
      return it->second.names;
    }
    const bool settled = fs::file_time_type::clock::now() - mtime > kSettleTime;
    CachedListing listing{mtime, settled, Read(folder)};
    if (cache_.size() > kMaxFolders) cache_.clear();
    auto& slot = cache_[key] = std::move(listing);
    return slot.names;
  }

 private:
  static constexpr std::size_t kMaxFolders = 64;

  static std::vector<std::string> Read(const fs::path& folder) {
    std::vector<std::string> names;
    std::error_code ec;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
      names.push_back(it->path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  std::mutex mutex_;
  std::map<std::string, CachedListing> cache_;
};

ListingCache& Listings() {
  static ListingCache cache;
  return cache;
}

bool Exists(const fs::path& p) {
  std::error_code ec;
  return fs::exists(fs::symlink_status(p, ec));
}

// The entry of `folder` that equals `name` without regard to case, or "".
std::string FindEntry(const fs::path& folder, const std::string& name) {
  const auto names = ListDirectory(folder.empty() ? fs::path(".") : folder);
  if (std::binary_search(names.begin(), names.end(), name)) return name;
  for (const auto& entry : names) {
    if (SameFileName(entry, name)) return entry;
  }
  return {};
}

}  // namespace

bool SameFileName(std::string_view a, std::string_view b) {
  const std::string x = AnsiFromUtf8(a);
  const std::string y = AnsiFromUtf8(b);
  return std::equal(x.begin(), x.end(), y.begin(), y.end(),
                    [](char l, char r) { return AnsiUpper(l) == AnsiUpper(r); });
}

std::vector<std::string> ListDirectory(const fs::path& folder) {
  return Listings().Get(folder);
}

std::vector<fs::path> MatchingFiles(std::string_view windows_pattern) {
  std::string pattern(windows_pattern);
  std::string folder;
  const auto cut = pattern.find_last_of("\\/");
  if (cut != std::string::npos) {
    folder = pattern.substr(0, cut + 1);
    pattern.erase(0, cut + 1);
  }
  const bool everything = pattern.empty() || pattern == "*.*";
  const fs::path native_folder = folder.empty() ? fs::path(".") : NativePath(folder);
  const WildcardPattern matcher(everything ? std::string("*") : AnsiFromUtf8(pattern),
                                /*sets=*/false);
  std::vector<fs::path> files;
  for (const auto& name : ListDirectory(native_folder)) {
    if (!matcher.Matches(AnsiFromUtf8(name))) continue;
    std::error_code ec;
    const fs::path candidate = native_folder / name;
    if (fs::is_regular_file(candidate, ec)) files.push_back(candidate);
  }
  return files;
}

fs::path SlashedPath(std::string_view windows_path) {
  std::string slashed(windows_path);
  std::replace(slashed.begin(), slashed.end(), '\\', '/');
  return fs::path(slashed);
}

namespace {

struct Resolution {
  fs::path path;
  bool exists = false;
  fs::path checked_folder;  // for a missing path: the folder that lacks its next part
};

// Resolves a path that does not exist as written.
Resolution Resolve(const fs::path& direct) {
  const fs::path relative = direct.relative_path();
  const std::vector<fs::path> parts(relative.begin(), relative.end());
  // The deepest folder that exists as written; usually the atlas folder.
  std::size_t known = parts.size();
  fs::path resolved;
  while (known > 0) {
    --known;
    resolved = direct.root_path();
    for (std::size_t i = 0; i < known; ++i)
      resolved /= parts[i];
    if (known == 0 || Exists(resolved)) break;
  }
  for (std::size_t i = known; i < parts.size(); ++i) {
    const std::string name = parts[i].string();
    if (name.empty() || name == "." || name == "..") {
      resolved /= parts[i];
      continue;
    }
    const std::string found = FindEntry(resolved, name);
    if (found.empty()) {
      // Nothing below a missing folder can exist.
      Resolution missing{resolved, false, resolved.empty() ? fs::path(".") : resolved};
      for (; i < parts.size(); ++i)
        missing.path /= parts[i];
      return missing;
    }
    resolved /= found;
  }
  return {resolved, true, {}};
}

std::int64_t FolderStamp(const fs::path& folder) {
  struct stat info {};
  if (::stat(folder.c_str(), &info) != 0) return -1;
  return static_cast<std::int64_t>(info.st_mtim.tv_sec) * 1'000'000'000 + info.st_mtim.tv_nsec;
}

std::int64_t NowNs() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

// Resolutions of paths that are not spelled as on disk. A missing path stays
// missing while the folder that lacked its next part is unchanged (creating
// that part would change the folder's time); a found spelling stays right
// while it exists. One stat checks either.
class ResolutionCache {
 public:
  std::optional<fs::path> Find(const std::string& key) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto it = entries_.find(key);
    if (it == entries_.end()) return std::nullopt;
    const Entry& e = it->second;
    if (e.exists ? Exists(e.path) : (e.settled && FolderStamp(e.folder) == e.folder_stamp)) {
      return e.path;
    }
    entries_.erase(it);
    return std::nullopt;
  }
  void Store(const std::string& key, const Resolution& r, std::int64_t folder_stamp) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (entries_.size() > kMaxEntries) entries_.clear();
    const bool settled = r.exists || NowNs() - folder_stamp > kSettleNs;
    entries_[key] = Entry{r.path, r.exists, r.checked_folder, folder_stamp, settled};
  }
  void Clear() {
    const std::lock_guard<std::mutex> lock(mutex_);
    entries_.clear();
  }

 private:
  static constexpr std::size_t kMaxEntries = 4096;
  static constexpr std::int64_t kSettleNs = 2'000'000'000;
  struct Entry {
    fs::path path;
    bool exists = false;
    fs::path folder;
    std::int64_t folder_stamp = 0;
    bool settled = false;
  };
  std::mutex mutex_;
  std::unordered_map<std::string, Entry> entries_;
};

ResolutionCache& Resolutions() {
  static ResolutionCache cache;
  return cache;
}

}  // namespace

fs::path NativePath(std::string_view windows_path) {
  const fs::path direct = SlashedPath(windows_path);
  if (direct.empty() || Exists(direct)) return direct;
  const std::string key = direct.string();
  if (auto cached = Resolutions().Find(key)) return *cached;
  const Resolution r = Resolve(direct);
  // A folder that changed while it was looked at has a recent time, and a
  // recent entry is never trusted, so that race cannot leave a wrong entry.
  Resolutions().Store(key, r, r.exists ? 0 : FolderStamp(r.checked_folder));
  return r.path;
}

}  // namespace tarv
