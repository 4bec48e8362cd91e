#include <fcntl.h>
#include <setjmp.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <utility>

#include "platform/change_counter.h"

namespace tarv {
namespace {

class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() {
    if (fd_ >= 0) ::close(fd_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  void reset(int fd) {
    if (fd_ >= 0) ::close(fd_);
    fd_ = fd;
  }
  int get() const { return fd_; }
  int release() { return std::exchange(fd_, -1); }

 private:
  int fd_;
};

// Writes the magic into a new, empty file and gives it its length. Two
// processes doing so at once write the same bytes; the counter is never
// written here, so a bump that came in between is kept.
bool Initialize(int fd) {
  if (::pwrite(fd, kChangeCounterMagic.data(), kChangeCounterMagic.size(), 0) !=
      static_cast<ssize_t>(kChangeCounterMagic.size())) {
    return false;
  }
  struct stat info {};
  if (::fstat(fd, &info) != 0) return false;
  if (static_cast<std::size_t>(info.st_size) >= kChangeCounterSize) return true;
  return ::ftruncate(fd, static_cast<off_t>(kChangeCounterSize)) == 0;
}

// Reading a mapping whose file another program cut short faults (SIGBUS).
// The one load that reads the counter is guarded: the fault jumps back to
// it, and the counter reads as unreadable. Any other SIGBUS goes to the
// handler that was there before, or ends the process as it would have.
struct sigaction g_previous_bus_handler;
thread_local sigjmp_buf* volatile t_counter_read = nullptr;

void OnBusError(int signal, siginfo_t* info, void* context) {
  if (sigjmp_buf* jump = t_counter_read; jump != nullptr) {
    t_counter_read = nullptr;
    siglongjmp(*jump, 1);
  }
  const struct sigaction& previous = g_previous_bus_handler;
  if ((previous.sa_flags & SA_SIGINFO) != 0) {
    previous.sa_sigaction(signal, info, context);
  } else if (previous.sa_handler != SIG_DFL && previous.sa_handler != SIG_IGN) {
    previous.sa_handler(signal);
  } else if (previous.sa_handler == SIG_DFL || info->si_code > 0) {
    // The default action (a fault from the kernel is never ignored).
    ::signal(SIGBUS, SIG_DFL);
    ::raise(SIGBUS);
  }
}

void GuardBusErrors() {
  static std::once_flag once;
  std::call_once(once, [] {
    struct sigaction action {};
    action.sa_sigaction = OnBusError;
    ::sigemptyset(&action.sa_mask);
    // SA_NODEFER: the jump out of the handler leaves SIGBUS unblocked.
    action.sa_flags = SA_SIGINFO | SA_NODEFER | SA_ONSTACK;
    ::sigaction(SIGBUS, &action, &g_previous_bus_handler);
  });
}

constexpr std::uint64_t kUnreadable = ~std::uint64_t{0};

}  // namespace

std::unique_ptr<ChangeCounter> ChangeCounter::Map(const std::filesystem::path& user_folder,
                                                  bool create, std::string* why) {
  if (why != nullptr) why->clear();
  const std::filesystem::path path = user_folder / kChangeCounterFile;
  bool writable = true;
  Descriptor fd(::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW));
  if (fd.get() < 0 && errno == ENOENT && create) {
    struct stat folder {};
    if (::stat(user_folder.c_str(), &folder) == 0 && S_ISDIR(folder.st_mode)) {
      // Whoever may write the folder may write the counter.
      const mode_t mode = (folder.st_mode & 0666) | 0600;
      Descriptor made(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
      if (made.get() >= 0) ::fchmod(made.get(), mode);
      fd.reset(made.release());
    }
  }
  if (fd.get() < 0 && (errno == EACCES || errno == EPERM || errno == EROFS)) {
    writable = false;
    fd.reset(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
  }
  if (fd.get() < 0) {
    if (why != nullptr && errno != ENOENT)
      *why = std::string("cannot be opened: ") + std::strerror(errno);
    return nullptr;
  }

  struct stat info {};
  if (::fstat(fd.get(), &info) != 0 || !S_ISREG(info.st_mode)) {
    if (why != nullptr) *why = "is not a regular file";
    return nullptr;
  }
  if (info.st_size == 0 && writable) {
    if (!Initialize(fd.get())) {
      if (why != nullptr) *why = std::string("cannot be written: ") + std::strerror(errno);
      return nullptr;
    }
    info.st_size = static_cast<off_t>(kChangeCounterSize);
  }
  char magic[kChangeCounterMagic.size()] = {};
  const ssize_t got = static_cast<std::size_t>(info.st_size) < kChangeCounterSize
                          ? 0
                          : ::pread(fd.get(), magic, sizeof(magic), 0);
  const std::string wrong =
      WhyNoChangeCounter(static_cast<std::uint64_t>(info.st_size),
                         std::string_view(magic, static_cast<std::size_t>(got > 0 ? got : 0)));
  if (!wrong.empty()) {
    if (why != nullptr) *why = wrong;
    return nullptr;
  }
  GuardBusErrors();
  void* mapping = ::mmap(nullptr, kChangeCounterSize, PROT_READ, MAP_SHARED, fd.get(), 0);
  if (mapping == MAP_FAILED) {
    if (why != nullptr) *why = std::string("cannot be mapped: ") + std::strerror(errno);
    return nullptr;
  }
  std::unique_ptr<ChangeCounter> counter(new ChangeCounter);
  counter->path_ = path;
  counter->file_ = fd.release();
  counter->mapping_ = mapping;
  counter->writable_ = writable;
  counter->device_ = static_cast<std::uint64_t>(info.st_dev);
  counter->inode_ = static_cast<std::uint64_t>(info.st_ino);
  return counter;
}

ChangeCounter::~ChangeCounter() {
  ::munmap(mapping_, kChangeCounterSize);
  ::close(static_cast<int>(file_));
}

// One load from the mapping, guarded: a file cut short since it was mapped
// reads as a number no bump gives, so that readers take it as a change and
// look for the counter again.
std::uint64_t ChangeCounter::Value() const noexcept {
  sigjmp_buf jump;
  if (sigsetjmp(jump, 0) != 0) return kUnreadable;
  t_counter_read = &jump;
  std::atomic_signal_fence(std::memory_order_seq_cst);
  const std::uint64_t value =
      std::atomic_ref<std::uint64_t>(*reinterpret_cast<std::uint64_t*>(
                                         static_cast<char*>(mapping_) + kChangeCounterMagic.size()))
          .load(std::memory_order_acquire);
  std::atomic_signal_fence(std::memory_order_seq_cst);
  t_counter_read = nullptr;
  return value;
}

// Through the descriptor, under a lock on it: writers of other processes
// bump the same file, and the mapping is for reading only.
bool ChangeCounter::Bump() noexcept {
  if (!writable_) return false;
  const int fd = static_cast<int>(file_);
  // Writers of other processes bump the same file: one at a time.
  if (::flock(fd, LOCK_EX) != 0) return false;
  const off_t at = static_cast<off_t>(kChangeCounterMagic.size());
  constexpr auto kSize = static_cast<ssize_t>(sizeof(std::uint64_t));
  std::uint64_t value = 0;
  bool done = ::pread(fd, &value, sizeof(value), at) == kSize;
  if (done) {
    ++value;
    done = ::pwrite(fd, &value, sizeof(value), at) == kSize;
  }
  ::flock(fd, LOCK_UN);
  return done;
}

bool ChangeCounter::StillValid() const noexcept {
  struct stat mapped {};
  struct stat named {};
  if (::fstat(static_cast<int>(file_), &mapped) != 0 || ::stat(path_.c_str(), &named) != 0)
    return false;
  return static_cast<std::size_t>(mapped.st_size) >= kChangeCounterSize &&
         named.st_dev == mapped.st_dev && named.st_ino == mapped.st_ino &&
         static_cast<std::uint64_t>(mapped.st_ino) == inode_ &&
         static_cast<std::uint64_t>(mapped.st_dev) == device_;
}

}  // namespace tarv
