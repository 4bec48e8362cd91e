#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>

#include "platform/folder_watch.h"

namespace tarv {
namespace {

// Everything that changes what a reader finds; reads and opens are not.
constexpr std::uint32_t kFileEvents = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO |
                                      IN_MODIFY | IN_CLOSE_WRITE | IN_ATTRIB;
// The folder itself moved or went: the watch no longer follows its path.
constexpr std::uint32_t kFolderEvents = IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED | IN_UNMOUNT;

}  // namespace

std::unique_ptr<FolderWatch> FolderWatch::Start(const std::filesystem::path& user_folder) {
  const int fd = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  if (fd < 0) return nullptr;
  std::unique_ptr<FolderWatch> watch(new FolderWatch);
  watch->fd_ = fd;
  watch->atlas_ = user_folder.parent_path().empty() ? "." : user_folder.parent_path();
  watch->user_ = user_folder;
  if (::inotify_add_watch(fd, watch->atlas_.c_str(), kFileEvents | kFolderEvents | IN_ONLYDIR) < 0) {
    return nullptr;  // no such folder, or no watches left
  }
  watch->Rewatch();
  return watch;
}

FolderWatch::~FolderWatch() {
  if (fd_ >= 0) ::close(fd_);
}

void FolderWatch::Rewatch() noexcept {
  // Adding a watch that exists changes nothing; a folder that moved away is
  // watched where its path now leads. A USER folder that is missing is
  // watched once the atlas folder tells of its creation.
  ::inotify_add_watch(fd_, atlas_.c_str(), kFileEvents | kFolderEvents | IN_ONLYDIR);
  ::inotify_add_watch(fd_, user_.c_str(), kFileEvents | kFolderEvents | IN_ONLYDIR);
}

std::uint64_t FolderWatch::Changes() noexcept {
  alignas(inotify_event) char buffer[4096];
  // One thread at a time takes events off the queue and counts them before
  // the next looks: a thread that found the queue empty while another still
  // held events it had not counted would miss a change made before its call.
  const std::lock_guard lock(take_mutex_);
  bool took = false;
  bool folder_event = false;
  for (;;) {
    const ssize_t n = ::read(fd_, buffer, sizeof(buffer));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    took = true;
    for (ssize_t at = 0; at < n;) {
      const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
      // A full queue dropped events: all that is known is that things changed.
      if ((event->mask & (kFolderEvents | IN_Q_OVERFLOW | IN_CREATE)) != 0) folder_event = true;
      at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
    }
  }
  if (folder_event) Rewatch();
  if (took) changes_.fetch_add(1, std::memory_order_relaxed);
  return changes_.load(std::memory_order_relaxed);
}

}  // namespace tarv
