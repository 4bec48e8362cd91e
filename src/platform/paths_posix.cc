#include <algorithm>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <string>
#include <unordered_map>

#include "platform/file_status.h"
#include "platform/paths.h"

namespace fs = std::filesystem;

// On a case-sensitive file system, paths the hosts spell without regard to
// case are resolved against the folders' listings.
namespace tarv {
namespace {

bool Exists(const fs::path& p) {
  return StatFile(p, /*follow=*/false).exists;
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

std::vector<std::string> ReadFolderNames(const fs::path& folder) {
  std::vector<std::string> names;
  std::error_code ec;
  for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
    names.push_back(it->path().filename().string());
  }
  return names;
}

std::string FileKey(std::string native_path) {
  return native_path;
}

std::string SlashedString(std::string_view windows_path) {
  std::string slashed = MountedPath(windows_path);
  std::replace(slashed.begin(), slashed.end(), '\\', '/');
  return slashed;
}

fs::path SlashedPath(std::string_view windows_path) {
  return fs::path(SlashedString(windows_path));
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

// Resolutions of paths that are not spelled as on disk. A missing path stays
// missing while the folder that lacked its next part is unchanged (creating
// that part would change the folder's time); a found spelling stays right
// while it exists. One stat checks either.
class ResolutionCache {
 public:
  // Readers share the lock; only a stale entry takes it alone, to go.
  std::optional<fs::path> Find(const std::string& key) {
    {
      const std::shared_lock lock(mutex_);
      const auto it = entries_.find(key);
      if (it == entries_.end()) return std::nullopt;
      const Entry& e = it->second;
      if (e.exists ? Exists(e.path) : StillMissing(e)) return e.path;
    }
    const std::unique_lock lock(mutex_);
    entries_.erase(key);
    return std::nullopt;
  }
  // True when `key` was missing as written, below a folder spelled as
  // written that has not changed since: nothing on its path can have
  // appeared, under this spelling or another.
  bool KnownMissing(std::string_view key) {
    const std::shared_lock lock(mutex_);
    if (entries_.empty()) return false;
    const auto it = entries_.find(key);
    return it != entries_.end() && !it->second.exists && it->second.folder_as_written &&
           StillMissing(it->second);
  }
  void Store(const std::string& key, const Resolution& r, const FileStatus& folder) {
    const std::unique_lock lock(mutex_);
    if (entries_.size() > kMaxEntries) entries_.clear();
    const bool settled = r.exists || NowNs() - folder.mtime_ns > kSettleNs;
    const std::string checked = r.checked_folder.string();
    const bool as_written = !r.exists && folder.exists && !checked.empty() && checked != "." &&
                            key.size() > checked.size() &&
                            key.compare(0, checked.size(), checked) == 0 &&
                            (checked.back() == '/' || key[checked.size()] == '/');
    entries_[key] = Entry{r.path, r.exists, r.checked_folder, folder, settled, as_written};
  }
  void Clear() {
    const std::unique_lock lock(mutex_);
    entries_.clear();
  }

 private:
  static constexpr std::size_t kMaxEntries = 4096;
  struct Entry {
    fs::path path;
    bool exists = false;
    fs::path folder;
    FileStatus folder_status;
    bool settled = false;
    bool folder_as_written = false;  // the folder is the path's own beginning
  };
  static bool StillMissing(const Entry& e) {
    return e.settled && StatFile(e.folder).SameVersion(e.folder_status);
  }
  // Looked up by string_view, so that a path without backslashes needs no copy.
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view s) const noexcept {
      return std::hash<std::string_view>()(s);
    }
  };
  std::shared_mutex mutex_;
  std::unordered_map<std::string, Entry, Hash, std::equal_to<>> entries_;
};

ResolutionCache& Resolutions() {
  static ResolutionCache cache;
  return cache;
}

}  // namespace

fs::path NativePath(std::string_view windows_path) {
  const fs::path direct = SlashedPath(windows_path);
  if (direct.empty()) return direct;
  const std::string key = direct.string();
  if (Resolutions().KnownMissing(key)) return direct;
  if (Exists(direct)) return direct;
  if (auto cached = Resolutions().Find(key)) return *cached;
  const Resolution r = Resolve(direct);
  // A folder that changed while it was looked at has a recent time, and a
  // recent entry is never trusted, so that race cannot leave a wrong entry.
  Resolutions().Store(key, r, r.exists ? FileStatus{} : StatFile(r.checked_folder));
  return r.path;
}

bool KnownMissing(std::string_view windows_path) {
  if (windows_path.empty()) return false;
  if (windows_path.find('\\') == std::string_view::npos) {
    return Resolutions().KnownMissing(windows_path);
  }
  return Resolutions().KnownMissing(SlashedString(windows_path));
}

}  // namespace tarv
