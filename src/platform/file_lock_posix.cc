#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "platform/file_lock.h"
#include "tarvplaces/atlas_error.h"

namespace tarv {

FolderLock::FolderLock(const std::filesystem::path& folder)
    : handle_(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
  if (handle_ < 0) {
    throw AtlasWriteError(folder.string(),
                          std::string("locking the folder: ") + std::strerror(errno));
  }
  while (::flock(static_cast<int>(handle_), LOCK_EX) != 0 && errno == EINTR) {
  }
}

FolderLock::~FolderLock() {
  ::flock(static_cast<int>(handle_), LOCK_UN);
  ::close(static_cast<int>(handle_));
}

}  // namespace tarv
