// One look at a path on disk, shared by the caches that must notice when a
// file changes (expanded images, path resolutions, folder listings).
//
// Every cache entry is checked against the file's status before it is used,
// so a file rewritten by another process is seen by the next call. A single
// call of the public interface, though, would otherwise look at the same file
// many times over (a lookup checks the user file, the place file, its index
// and the timetable file in several places). While a StatScope is open, a
// path is looked at once and the answer is kept until the scope closes: each
// public call sees every file as it was when the call first needed it.
#ifndef TARVPLACES_PLATFORM_FILE_STATUS_H_
#define TARVPLACES_PLATFORM_FILE_STATUS_H_

#include <cstdint>
#include <filesystem>
#include <string>

namespace tarv {

struct FileStatus {
  bool exists = false;  // the look succeeded
  bool regular = false;
  bool directory = false;
  std::uint64_t size = 0;
  std::int64_t mtime_ns = 0;  // since 1970, as the file system keeps it
  std::uint64_t device = 0;
  std::uint64_t inode = 0;

  // The same version of the same file: size, time, device and inode agree.
  bool SameVersion(const FileStatus& other) const {
    return exists == other.exists && size == other.size && mtime_ns == other.mtime_ns &&
           device == other.device && inode == other.inode;
  }
};

// stat(2) of `path`, or lstat(2) with `follow` false; remembered while a
// StatScope is open on this thread. Within a scope, a file in a folder the
// scope has looked at already is looked at relative to a handle on that
// folder (one name for the kernel to walk instead of the whole path), as long
// as the folder's path still leads to the folder the handle holds.
FileStatus StatFile(const std::string& path, bool follow = true);
inline FileStatus StatFile(const std::filesystem::path& path, bool follow = true) {
  return StatFile(path.native(), follow);
}

// Forgets what the open scope remembered. For the component's own writes.
void ForgetStatsOfThisCall();

// A number for what the open scope has seen, 0 outside any scope. Memos of
// things derived from file status (the expanded image of a path) hold for
// one number and start afresh when it changes.
std::uint64_t CallNumber();

// Opened by the public members that only read. Scopes nest; the outermost
// one forgets when it closes. One per thread.
class StatScope {
 public:
  StatScope();
  ~StatScope();
  StatScope(const StatScope&) = delete;
  StatScope& operator=(const StatScope&) = delete;
};

// Nanoseconds since 1970 by the system clock, the clock file times are in.
std::int64_t NowNs();

// File times tick in coarse steps (up to two seconds on some file systems), so
// a change within the tick something was read in may leave the time as it
// was. Caches trust only what they read this long after its last change.
inline constexpr std::int64_t kSettleNs = 2'000'000'000;

}  // namespace tarv

#endif  // TARVPLACES_PLATFORM_FILE_STATUS_H_
