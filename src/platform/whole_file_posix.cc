#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/whole_file.h"

namespace tarv {

WholeFile ReadWholeFile(const std::string& path, std::string& bytes, std::size_t size_hint,
                        bool follow_link) {
  bytes.clear();
  // O_NONBLOCK: opening a FIFO for reading would otherwise wait for a writer.
  const int fd =
      ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | (follow_link ? 0 : O_NOFOLLOW));
  if (fd < 0) {
    if (errno == ENOENT || errno == ENOTDIR) return WholeFile::kMissing;
    return errno == ELOOP && !follow_link ? WholeFile::kNotRegular : WholeFile::kUnreadable;
  }
  struct stat status {};
  if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
    ::close(fd);
    return WholeFile::kNotRegular;
  }
  bytes.resize(size_hint > 0 ? size_hint : static_cast<std::size_t>(status.st_size));
  std::size_t done = 0;
  for (;;) {
    if (done == bytes.size()) bytes.resize(done + (done < 4096 ? 4096 : done / 2));
    const ssize_t n = ::read(fd, bytes.data() + done, bytes.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      ::close(fd);
      bytes.clear();
      return WholeFile::kUnreadable;
    }
    if (n == 0) break;
    done += static_cast<std::size_t>(n);
  }
  ::close(fd);
  bytes.resize(done);
  return WholeFile::kRead;
}

}  // namespace tarv
