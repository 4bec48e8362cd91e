// One look at a path on disk, shared by the caches that must notice when a
// file changes (expanded images, path resolutions, folder listings).
//
// Every cache entry is checked against the file's status before it is used,
// and a call of the public interface would otherwise look at the same files
// many times over. While a StatScope is open, a path is looked at once and
// the answer is kept.
//
// How long it is kept is the freshness rule of the component:
//  - A scope names an atlas's USER folder, whose change counter
//    (change_counter.h) is created with the folder on the first call that
//    reads the atlas, wherever this process may write it. What was seen is
//    kept across calls until the counter moves, so that a place another
//    process added or deleted is seen by the next call, or until the
//    folders' watch (folder_watch.h, on Linux) tells of any other change in
//    the atlas folder or USER. A call that finds neither makes no system
//    call at all. Without a watch (Windows, or no inotify watches left)
//    what was seen is also looked at again once a second, for the changes
//    only the watch would tell of.
//  - Without a counter (a USER folder this process may not create or
//    write, a damaged counter file) what was seen is kept for one call
//    only, and every call looks at the files again.
#ifndef TARVPLACES_PLATFORM_FILE_STATUS_H_
#define TARVPLACES_PLATFORM_FILE_STATUS_H_

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <system_error>

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
#ifdef _WIN32
  const std::u8string utf8 = path.u8string();  // the native form is UTF-16
  return StatFile(std::string(utf8.begin(), utf8.end()), follow);
#else
  return StatFile(path.native(), follow);
#endif
}

// Forgets what the scopes remembered. For the component's own writes.
void ForgetStatsOfThisCall();

// Forgets everything this thread saw, as in a fresh thread. For hosts and
// tests that change atlas files behind the component's back and cannot wait a
// second.
void ForgetFileStatuses();

// A number for what the scopes have seen, 0 outside any scope. Memos of
// things derived from file status (the expanded image of a path) hold for
// one number and start afresh when it changes.
std::uint64_t CallNumber();

class ChangeCounter;
class FolderWatch;

// A folder whose change counter (change_counter.h) tells the scopes that
// what they saw may be stale: an atlas's USER folder. Owned by the atlas;
// the counter is mapped on first use and mapped again when the file was
// replaced. Any number of threads may open scopes on one WatchedFolder.
class WatchedFolder {
 public:
  // `folder` as the component writes it (Windows-style); `native` gives its
  // path on the file system, asked again whenever the counter is looked for.
  using NativeOf = std::filesystem::path (*)(std::string_view folder);
  // `make`, when given, creates the folder where it is missing, so that it
  // has a counter from the first call on (paths.h's CreateUserFolder).
  using MakeFolder = void (*)(std::string_view folder, std::error_code& ec);
  WatchedFolder(std::string folder, NativeOf native, MakeFolder make = nullptr);
  ~WatchedFolder();
  WatchedFolder(const WatchedFolder&) = delete;
  WatchedFolder& operator=(const WatchedFolder&) = delete;

  const std::string& Folder() const noexcept { return folder_; }

  // Why the counter file found is unusable, as a message for the host
  // ("The file ... is shorter than a change counter. ..."), once per
  // folder: "" when there is nothing to tell or it was told already.
  std::string TakeTrouble();

 private:
  friend class StatScope;
  // What tells of changes now: the folders' watch where the system has one
  // (folder_watch.h) and the counter as mapped now, each null when missing.
  // Looked for again at most once a second while missing.
  void ChangeSources(std::int64_t now, std::shared_ptr<FolderWatch>& watch,
                     std::shared_ptr<const ChangeCounter>& counter);
  std::shared_ptr<const ChangeCounter> Counter(std::int64_t now);

  const std::string folder_;
  const NativeOf native_;
  const MakeFolder make_;
  const std::uint64_t id_;  // unique in the process, unlike an address
  std::mutex mutex_;
  std::shared_ptr<const ChangeCounter> counter_;
  std::shared_ptr<FolderWatch> watch_;
  std::int64_t next_watch_ns_ = 0;
  std::int64_t next_try_ns_ = 0;
  std::string trouble_;
  std::atomic<bool> has_trouble_ = false;
  bool told_ = false;
};

// Opened by the public members that only read, on the folder whose counter
// to follow. Scopes nest; the outermost one of a thread decides what is
// still valid.
class StatScope {
 public:
  explicit StatScope(WatchedFolder& watched);
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
