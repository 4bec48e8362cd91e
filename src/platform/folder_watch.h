// Tells a reader, without a system call, whether anything in an atlas's
// folders changed: a user place written by any program, an atlas file
// replaced, the change counter cut, replaced or removed, the USER folder made
// or removed.
//
// On Linux a thread of the watch waits on inotify events of the atlas folder
// and the USER folder (which may live elsewhere) and counts them. It
// complements the change counter: the counter tells of the component's own
// writes the moment they are done (the writer bumps it before it returns);
// the watch tells of everything else as soon as the kernel has woken its
// thread, microseconds later. While both are there, readers keep what they
// saw with no time limit. Where the system has no such service (Windows)
// Start gives null.
#ifndef TARVPLACES_PLATFORM_FOLDER_WATCH_H_
#define TARVPLACES_PLATFORM_FOLDER_WATCH_H_

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>

namespace tarv {

class FolderWatch {
 public:
  // Watches the atlas folder and `user_folder` (which need not exist yet).
  // Null when the atlas folder cannot be watched.
  static std::unique_ptr<FolderWatch> Start(const std::filesystem::path& atlas_folder,
                                            const std::filesystem::path& user_folder);
  ~FolderWatch();
  FolderWatch(const FolderWatch&) = delete;
  FolderWatch& operator=(const FolderWatch&) = delete;

  // A number that moves whenever the watch learns of a change; one load.
  std::uint64_t Changes() const noexcept { return changes_->load(std::memory_order_acquire); }

  // False in a child forked since the watch started: the thread that
  // counts stayed in the parent. One load.
  bool Alive() const noexcept;

 private:
  struct Watcher;
  explicit FolderWatch(std::shared_ptr<Watcher> watcher);

  std::shared_ptr<Watcher> watcher_;
  const std::atomic<std::uint64_t>* changes_;
  std::uint64_t forks_ = 0;  // the process's forks when it started
};

}  // namespace tarv

#endif  // TARVPLACES_PLATFORM_FOLDER_WATCH_H_
