#include "platform/paths.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <mutex>
#include <system_error>

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

fs::path NativePath(std::string_view windows_path) {
  std::string slashed(windows_path);
  std::replace(slashed.begin(), slashed.end(), '\\', '/');
  fs::path direct(slashed);
  if (slashed.empty() || Exists(direct)) return direct;

  fs::path resolved = direct.root_path();
  bool resolving = true;
  for (const auto& part : direct.relative_path()) {
    const std::string name = part.string();
    if (name.empty() || name == "." || name == ".." || !resolving) {
      resolved /= part;
      continue;
    }
    const fs::path exact = resolved / part;
    if (Exists(exact)) {
      resolved = exact;
      continue;
    }
    const std::string found = FindEntry(resolved, name);
    if (found.empty()) {
      resolving = false;  // nothing below a missing folder can exist
      resolved /= part;
    } else {
      resolved /= found;
    }
  }
  return resolved;
}

}  // namespace tarv
