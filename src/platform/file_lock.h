// An exclusive lock shared by the processes that change the files of one
// folder (the writers of user places), held for one read-modify-write.
#ifndef TARVPLACES_PLATFORM_FILE_LOCK_H_
#define TARVPLACES_PLATFORM_FILE_LOCK_H_

#include <cstdint>
#include <filesystem>

namespace tarv {

// Waits until no other holder of the folder's lock is left, then holds it
// until destroyed. Elsewhere the folder itself is locked (flock): the files
// in it are replaced by rename, so a lock on one would not be seen by a
// writer that opened its successor. Windows cannot lock a folder, so a byte
// far past the end of the folder's change counter ("Changes.cnt", created
// when missing) is locked instead. Throws AtlasWriteError naming the folder
// when the lock cannot be had.
class FolderLock {
 public:
  explicit FolderLock(const std::filesystem::path& folder);
  ~FolderLock();
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

 private:
  std::intptr_t handle_;
};

}  // namespace tarv

#endif  // TARVPLACES_PLATFORM_FILE_LOCK_H_
