// Tells a reader, with one cheap question per call, whether anything in an
// atlas's folders changed since it last asked: a user place added by another
// process, an atlas file replaced, the USER folder made or removed.
//
// On Linux this is inotify on the atlas folder and its USER folder. Unlike a
// counter file that writers bump, it sees every change whoever made it, and
// another program can neither cut it (a mapped file that is cut short faults
// on the next read) nor replace it. Where the system has no such service
// (Windows) Start gives null and the readers follow the change counter,
// which Windows does not let anyone cut while it is mapped.
#ifndef TARVPLACES_PLATFORM_FOLDER_WATCH_H_
#define TARVPLACES_PLATFORM_FOLDER_WATCH_H_

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>

namespace tarv {

class FolderWatch {
 public:
  // Watches `user_folder` (which need not exist yet) and the atlas folder
  // that holds it. Null when they cannot be watched.
  static std::unique_ptr<FolderWatch> Start(const std::filesystem::path& user_folder);
  ~FolderWatch();
  FolderWatch(const FolderWatch&) = delete;
  FolderWatch& operator=(const FolderWatch&) = delete;

  // A number that has moved if anything changed in the folders before this
  // call began, whichever thread learned of it. One system call when
  // nothing changed.
  std::uint64_t Changes() noexcept;

 private:
  FolderWatch() = default;
  void Rewatch() noexcept;

  std::filesystem::path atlas_;
  std::filesystem::path user_;
  int fd_ = -1;
  std::mutex take_mutex_;
  std::atomic<std::uint64_t> changes_{0};
};

}  // namespace tarv

#endif  // TARVPLACES_PLATFORM_FOLDER_WATCH_H_
