#include "export/atomic_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <system_error>

#include "tarvplaces/atlas_error.h"

namespace fs = std::filesystem;

namespace tarv {
namespace {

[[noreturn]] void Fail(const fs::path& target, const std::string& step, int error) {
  throw AtlasError(target.string(), step + ": " + std::strerror(error));
}

// Makes the rename itself durable.
void SyncFolder(const fs::path& folder) {
  const int fd = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY);
  if (fd >= 0) {
    ::fsync(fd);
    ::close(fd);
  }
}

}  // namespace

void WriteFileAtomically(const fs::path& target, std::string_view bytes) {
  fs::path temp = target;
  temp += ".tmp-" + std::to_string(::getpid());
  const int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) Fail(target, "cannot create temporary file", errno);
  std::size_t written = 0;
  while (written < bytes.size()) {
    const ssize_t n = ::write(fd, bytes.data() + written, bytes.size() - written);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      const int error = n < 0 ? errno : ENOSPC;
      ::close(fd);
      ::unlink(temp.c_str());
      Fail(target, "cannot write", error);
    }
    written += static_cast<std::size_t>(n);
  }
  if (::fsync(fd) != 0 || ::close(fd) != 0) {
    const int error = errno;
    ::unlink(temp.c_str());
    Fail(target, "cannot flush", error);
  }
  if (::rename(temp.c_str(), target.c_str()) != 0) {
    const int error = errno;
    ::unlink(temp.c_str());
    Fail(target, "cannot replace", error);
  }
  SyncFolder(target.parent_path());
}

}  // namespace tarv
