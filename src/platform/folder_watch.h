// Tells a reader, without a system call, whether anything in an atlas's
// folders changed: a user place written by any program, an atlas file
// replaced, the change counter cut, replaced or removed, the USER folder made
// or removed.
//
// On Linux a thread of the watch waits on inotify events of the atlas folder
// and its USER folder and counts them. It complements the change counter:
// the counter tells of the component's own writes the moment they are done
// (the writer bumps it before it returns); the watch tells of everything
// else as soon as the kernel has woken its thread, microseconds later, where
// only the once-a-second check would have found it. Where the system has no
// such service (Windows) Start gives null.
#ifndef TARVPLACES_PLATFORM_FOLDER_WATCH_H_
#define TARVPLACES_PLATFORM_FOLDER_WATCH_H_

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>

namespace tarv {

class FolderWatch {
 public:
  // Watches `user_folder` (which need not exist yet) and the atlas folder
  // that holds it. Null when they cannot be watched.
  static std::unique_ptr<FolderWatch> Start(const std::filesystem::path& user_folder);
  ~FolderWatch();
  FolderWatch(const FolderWatch&) = delete;
  FolderWatch& operator=(const FolderWatch&) = delete;

  // A number that moves whenever the watch learns of a change; one load.
  std::uint64_t Changes() const noexcept { return changes_->load(std::memory_order_acquire); }

 private:
  struct Watcher;
  explicit FolderWatch(std::shared_ptr<Watcher> watcher);

  std::shared_ptr<Watcher> watcher_;
  const std::atomic<std::uint64_t>* changes_;
};

}  // namespace tarv

#endif  // TARVPLACES_PLATFORM_FOLDER_WATCH_H_
