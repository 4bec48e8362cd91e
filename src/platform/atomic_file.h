// Writing files so that a crash leaves the old or the new file, never a torn
// one, and no temporary files pile up. The file operations are the system's
// own (atomic_file_posix.cc: flock, fsync, rename; atomic_file_windows.cc:
// an unshared handle, write-through, MoveFileExW).
#ifndef TARVPLACES_PLATFORM_ATOMIC_FILE_H_
#define TARVPLACES_PLATFORM_ATOMIC_FILE_H_

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace tarv {

// The temporary file a new version of `target` is written to: the target's
// path up to the last "." of its name, with the extension "~~~"
// ("USER/D.dao" becomes "USER/D.~~~", "Cities.txt" "Cities.~~~"). One fixed
// name per target: what an interrupted write left there is the next writer's
// to overwrite, so such files never pile up. A place file, its index and its
// name index share one ("D.~~~"); they are written one after the other.
std::filesystem::path TemporaryPathOf(const std::filesystem::path& target);

// A new version of `target`, written to its temporary file (at once, or
// piece by piece with Write) and put in its place by Commit. The temporary
// file is locked from its creation to its rename, so a second writer of the
// same target (another thread or process) waits instead of writing into it;
// it is flushed to disk before the rename. Without Commit the temporary file
// is removed and `target` stays as it was. Throws AtlasWriteError naming
// `target` when a step fails; the target is then unchanged and the temporary
// file removed.
class StagedFile {
 public:
  explicit StagedFile(std::filesystem::path target);
  // Writes `bytes` and flushes them.
  StagedFile(std::filesystem::path target, std::string_view bytes);
  ~StagedFile();
  StagedFile(const StagedFile&) = delete;
  StagedFile& operator=(const StagedFile&) = delete;

  // Appends to the temporary file.
  void Write(std::string_view bytes);
  // Makes what was written durable; writers of several files flush them all
  // before they commit any.
  void Flush();
  // Flushes, renames the temporary file over the target and makes the
  // rename durable.
  void Commit();

 private:
  // Removes the temporary file and throws AtlasWriteError naming the target
  // with `what` went wrong.
  [[noreturn]] void FailAndRemove(const std::string& what);

  std::filesystem::path target_;
  std::filesystem::path temp_;
  std::intptr_t handle_ = -1;  // the locked temporary file until Commit
  bool flushed_ = true;
};

// StagedFile(target, bytes).Commit().
void WriteFileAtomically(const std::filesystem::path& target, std::string_view bytes);

}  // namespace tarv

#endif  // TARVPLACES_PLATFORM_ATOMIC_FILE_H_
