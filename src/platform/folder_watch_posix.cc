#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>

#include "platform/folder_watch.h"

namespace tarv {
namespace {

// Everything that changes what a reader finds; reads and opens are not.
constexpr std::uint32_t kFileEvents =
    IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_MODIFY | IN_CLOSE_WRITE | IN_ATTRIB;
// The folder itself moved or went: the watch no longer follows its path.
constexpr std::uint32_t kFolderEvents = IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED | IN_UNMOUNT;
constexpr std::uint32_t kWatched = kFileEvents | kFolderEvents | IN_ONLYDIR;

// Children forked so far (counted in the child), so that a watch tells
// without asking the system whether its thread is in this process.
std::atomic<std::uint64_t> g_forks{0};

void CountForks() {
  static const int registered = ::pthread_atfork(nullptr, nullptr, [] { ++g_forks; });
  (void)registered;
}

}  // namespace

struct FolderWatch::Watcher {
  std::filesystem::path atlas;
  std::filesystem::path user;
  int events = -1;  // inotify
  int stop = -1;    // an eventfd the owner writes to end the thread
  pthread_t thread{};
  std::atomic<std::uint64_t> changes{0};

  ~Watcher() {
    if (events >= 0) ::close(events);
    if (stop >= 0) ::close(stop);
  }

  // Watches both paths again: adding a watch that exists changes nothing, a
  // folder that moved away is watched where its path now leads, and a USER
  // folder made since is watched from now on.
  void Rewatch() const {
    ::inotify_add_watch(events, atlas.c_str(), kWatched);
    ::inotify_add_watch(events, user.c_str(), kWatched);
  }

  void Run() {
    alignas(inotify_event) char buffer[4096];
    pollfd waits[2] = {{events, POLLIN, 0}, {stop, POLLIN, 0}};
    for (;;) {
      if (::poll(waits, 2, -1) < 0) {
        if (errno == EINTR) continue;
        return;
      }
      if (waits[1].revents != 0) return;
      bool rewatch = false;
      bool took = false;
      for (;;) {
        const ssize_t n = ::read(events, buffer, sizeof(buffer));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        took = true;
        for (ssize_t at = 0; at < n;) {
          const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
          // A full queue dropped events: all that is known is that things changed.
          if ((event->mask & (kFolderEvents | IN_Q_OVERFLOW | IN_CREATE)) != 0) rewatch = true;
          at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
        }
      }
      if (rewatch) Rewatch();
      if (took) changes.fetch_add(1, std::memory_order_release);
    }
  }
};

FolderWatch::FolderWatch(std::shared_ptr<Watcher> watcher)
    : watcher_(std::move(watcher)),
      changes_(&watcher_->changes),
      forks_(g_forks.load(std::memory_order_relaxed)) {}

bool FolderWatch::Alive() const noexcept {
  return g_forks.load(std::memory_order_relaxed) == forks_;
}

std::unique_ptr<FolderWatch> FolderWatch::Start(const std::filesystem::path& atlas_folder,
                                                const std::filesystem::path& user_folder) {
  CountForks();
  auto watcher = std::make_shared<Watcher>();
  watcher->atlas = atlas_folder.empty() ? "." : atlas_folder;
  watcher->user = user_folder;
  watcher->events = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  watcher->stop = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
  if (watcher->events < 0 || watcher->stop < 0 ||
      ::inotify_add_watch(watcher->events, watcher->atlas.c_str(), kWatched) < 0) {
    return nullptr;  // no such folder, or no watches left
  }
  watcher->Rewatch();
  const auto run = [](void* raw) -> void* {
    static_cast<Watcher*>(raw)->Run();
    return nullptr;
  };
  if (::pthread_create(&watcher->thread, nullptr, run, watcher.get()) != 0) return nullptr;
  return std::unique_ptr<FolderWatch>(new FolderWatch(std::move(watcher)));
}

FolderWatch::~FolderWatch() {
  // In a forked child the thread is the parent's: there is none to end.
  if (!Alive()) return;
  const std::uint64_t one = 1;
  while (::write(watcher_->stop, &one, sizeof(one)) < 0 && errno == EINTR) {
  }
  ::pthread_join(watcher_->thread, nullptr);
}

}  // namespace tarv
