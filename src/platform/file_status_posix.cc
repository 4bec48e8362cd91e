#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>
#include <string_view>
#include <vector>

#include "platform/file_status_native.h"

namespace tarv::native {
namespace {

FileStatus StatusOf(const struct stat& info) {
  FileStatus status;
  status.exists = true;
  status.regular = S_ISREG(info.st_mode);
  status.directory = S_ISDIR(info.st_mode);
  status.size = static_cast<std::uint64_t>(info.st_size);
  status.mtime_ns =
      static_cast<std::int64_t>(info.st_mtim.tv_sec) * 1'000'000'000 + info.st_mtim.tv_nsec;
  status.device = static_cast<std::uint64_t>(info.st_dev);
  status.inode = static_cast<std::uint64_t>(info.st_ino);
  return status;
}

// A handle for looking up names only; where O_PATH is missing, a folder one
// may read.
#ifdef O_PATH
constexpr int kFolderHandleFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;
#else
constexpr int kFolderHandleFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
#endif

// Open handles on folders the calls look into. The kernel walks every name of
// a path on each stat; relative to a handle it walks one. A handle is used
// only for the folder the call found at the folder's path, so a folder
// renamed, replaced or mounted over is not looked into. (The handle keeps its
// folder's inode allocated, so no other folder can show the same number.)
class FolderHandles {
 public:
  FolderHandles() = default;
  FolderHandles(const FolderHandles&) = delete;
  FolderHandles& operator=(const FolderHandles&) = delete;
  ~FolderHandles() {
    for (const auto& h : handles_)
      ::close(h.fd);
  }

  // A descriptor of `folder` when it is the folder `status` describes, else -1.
  int For(std::string_view folder, const FileStatus& status) {
    for (auto it = handles_.begin(); it != handles_.end(); ++it) {
      if (it->folder != folder) continue;
      if (it->device == status.device && it->inode == status.inode) return it->fd;
      ::close(it->fd);
      handles_.erase(it);
      break;
    }
    const std::string path(folder);
    const int fd = ::open(path.c_str(), kFolderHandleFlags);
    if (fd < 0) return -1;
    struct stat info {};
    if (::fstat(fd, &info) != 0 || static_cast<std::uint64_t>(info.st_dev) != status.device ||
        static_cast<std::uint64_t>(info.st_ino) != status.inode) {
      ::close(fd);  // the folder changed in between; look the long way this time
      return -1;
    }
    if (handles_.size() == kMaxHandles) {
      ::close(handles_.front().fd);
      handles_.erase(handles_.begin());
    }
    handles_.push_back({path, fd, status.device, status.inode});
    return fd;
  }

 private:
  static constexpr std::size_t kMaxHandles = 8;
  struct Handle {
    std::string folder;
    int fd = -1;
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
  };
  std::vector<Handle> handles_;
};

thread_local FolderHandles folder_handles;

}  // namespace

FileStatus LookAt(const std::string& path, bool follow) {
  struct stat info {};
  if ((follow ? ::stat(path.c_str(), &info) : ::lstat(path.c_str(), &info)) != 0) return {};
  return StatusOf(info);
}

FileStatus LookInFolder(const std::string& path, std::size_t cut, const FileStatus& folder,
                        bool follow) {
  const int fd = folder_handles.For(std::string_view(path.data(), cut), folder);
  if (fd < 0) return LookAt(path, follow);
  struct stat info {};
  if (::fstatat(fd, path.c_str() + cut + 1, &info, follow ? 0 : AT_SYMLINK_NOFOLLOW) != 0) {
    return {};
  }
  return StatusOf(info);
}

// Read from the vDSO page, without a system call.
std::int64_t CoarseMonotonicNs() {
  struct timespec now {};
#ifdef CLOCK_MONOTONIC_COARSE
  ::clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
#else
  ::clock_gettime(CLOCK_MONOTONIC, &now);
#endif
  return static_cast<std::int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

}  // namespace tarv::native
