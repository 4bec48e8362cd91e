#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "platform/atomic_file.h"
#include "tarvplaces/atlas_error.h"

namespace fs = std::filesystem;

namespace tarv {
namespace {

[[noreturn]] void Fail(const fs::path& target, const std::string& step, int error) {
  throw AtlasWriteError(target.string(), step + ": " + std::strerror(error));
}

std::string Reason(const std::string& step, int error) {
  return step + ": " + std::strerror(error);
}

// Makes the rename itself durable.
void SyncFolder(const fs::path& folder) {
  const int fd = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY);
  if (fd >= 0) {
    ::fsync(fd);
    ::close(fd);
  }
}

// Opens and locks the temporary file. A writer that waited for the lock may
// find the file it locked renamed into place or removed by the writer before
// it; then it opens the name afresh.
int OpenLocked(const fs::path& target, const fs::path& temp) {
  for (;;) {
    // Never through a link someone put where the temporary file goes.
    const int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd < 0 && errno == ELOOP && ::unlink(temp.c_str()) == 0) continue;  // the link goes
    if (fd < 0) Fail(target, "creating its temporary file " + temp.filename().string(), errno);
    while (::flock(fd, LOCK_EX) != 0) {
      if (errno == EINTR) continue;
      const int error = errno;
      ::close(fd);
      Fail(target, "locking its temporary file", error);
    }
    struct stat held {};
    struct stat named {};
    if (::fstat(fd, &held) == 0 && ::stat(temp.c_str(), &named) == 0 &&
        held.st_dev == named.st_dev && held.st_ino == named.st_ino) {
      return fd;
    }
    ::close(fd);
  }
}

}  // namespace

StagedFile::StagedFile(fs::path target)
    : target_(std::move(target)), temp_(TemporaryPathOf(target_)) {
  // The system would take a path holding a NUL for the shorter one before it.
  if (target_.native().find('\0') != std::string::npos) Fail(target_, "naming it", EINVAL);
  handle_ = OpenLocked(target_, temp_);
  // The folder's permissions, not the process's umask: a user folder only its
  // owner may read keeps its files to its owner too.
  struct stat folder {};
  const fs::path parent = target_.parent_path();
  if (::stat(parent.empty() ? "." : parent.c_str(), &folder) == 0) {
    ::fchmod(static_cast<int>(handle_), (folder.st_mode & 0666) | 0600);
  }
  // What an interrupted writer left behind goes.
  if (::ftruncate(static_cast<int>(handle_), 0) != 0)
    FailAndRemove(Reason("emptying its temporary file", errno));
}

void StagedFile::FailAndRemove(const std::string& what) {
  ::unlink(temp_.c_str());
  ::close(static_cast<int>(handle_));
  handle_ = -1;
  throw AtlasWriteError(target_.string(), what);
}

void StagedFile::Write(std::string_view bytes) {
  if (handle_ < 0) return;
  std::size_t written = 0;
  while (written < bytes.size()) {
    const ssize_t n =
        ::write(static_cast<int>(handle_), bytes.data() + written, bytes.size() - written);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) FailAndRemove(Reason("writing", n < 0 ? errno : ENOSPC));
    written += static_cast<std::size_t>(n);
  }
  flushed_ = false;
}

void StagedFile::Flush() {
  if (handle_ < 0 || flushed_) return;
  if (::fsync(static_cast<int>(handle_)) != 0) FailAndRemove(Reason("flushing", errno));
  flushed_ = true;
}

StagedFile::~StagedFile() {
  if (handle_ < 0) return;
  ::unlink(temp_.c_str());
  ::close(static_cast<int>(handle_));
}

void StagedFile::Commit() {
  if (handle_ < 0) return;
  Flush();
  // Renamed while still locked: a waiting writer then finds the name free.
  if (::rename(temp_.c_str(), target_.c_str()) != 0) {
    FailAndRemove(Reason("putting it in place", errno));
  }
  ::close(static_cast<int>(handle_));  // the data was flushed before the rename
  handle_ = -1;
  SyncFolder(target_.parent_path());
}

}  // namespace tarv
