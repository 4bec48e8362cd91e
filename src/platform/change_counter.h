// The change counter of an atlas: a number in a small file of the atlas's
// USER folder, "Changes.cnt", that every process reads.
//
// The writers of user places add one to it after they replaced a file.
// Readers remember the number they saw with what they read; a reader that
// finds the number unchanged knows that no writer changed a user file since,
// and finds that out with one load from memory instead of one system call per
// file (the way SQLite's WAL index tells readers of a new commit).
//
// The file holds the eight bytes "TPCHANGE" and then the counter, a 64-bit
// number in the machine's byte order (the file is shared between processes on
// one machine only). It is created by the first writer, or by the first reader
// that may create or write the USER folder (file_status.h), with the folder's
// permissions, so that every process that can write user places can also bump
// the counter.
//
// A file that is missing and cannot be created, shorter than 16 bytes, not
// beginning with the magic, or not even readable maps to nothing: the callers
// then check the files on every call. A writer that may not write the file
// (another user's, on a folder it may write) changes files without bumping;
// readers see such a change when the folders' watch tells of it, or once they
// check the files again, within a second.
//
// Every process maps the file and reads the number with one load from
// memory. Windows refuses to cut a mapped file short. POSIX systems let any
// program cut it, and reading a mapping of a cut file faults (SIGBUS): there
// that load is guarded by a SIGBUS handler that jumps back to it (installed
// once, passing every other SIGBUS on to the handler before it), and the
// counter then reads as changed and is looked for again.
#ifndef TARVPLACES_PLATFORM_CHANGE_COUNTER_H_
#define TARVPLACES_PLATFORM_CHANGE_COUNTER_H_

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace tarv {

inline constexpr const char* kChangeCounterFile = "Changes.cnt";
inline constexpr std::size_t kChangeCounterSize = 16;
inline constexpr std::string_view kChangeCounterMagic{"TPCHANGE", 8};

class ChangeCounter {
 public:
  // Maps the counter file of `user_folder` (a path on disk). With `create`,
  // a missing or empty file is made (the folder is not). Null when there is
  // no usable counter; then `why` (when given) tells what is wrong with the
  // file as the end of a sentence ("is shorter than a change counter"), or
  // stays empty when it is only missing.
  static std::unique_ptr<ChangeCounter> Map(const std::filesystem::path& user_folder, bool create,
                                            std::string* why = nullptr);

  ~ChangeCounter();
  ChangeCounter(const ChangeCounter&) = delete;
  ChangeCounter& operator=(const ChangeCounter&) = delete;

  // The number as it stands now, one load from shared memory; a number no
  // bump gives when the file was cut short since it was mapped.
  std::uint64_t Value() const noexcept;

  // Adds one; false when the file was mapped for reading only.
  bool Bump() noexcept;

  // True while the file at the path is still the mapped one and still holds
  // the counter. A file that was replaced, removed or cut short since is no
  // longer seen by its writers, and reading a page cut off a mapping faults.
  bool StillValid() const noexcept;

  const std::filesystem::path& path() const noexcept { return path_; }

 private:
  ChangeCounter() = default;

  std::filesystem::path path_;
  std::intptr_t file_ = -1;                     // a descriptor, or a Windows file handle
  [[maybe_unused]] std::intptr_t section_ = 0;  // the Windows file-mapping object
  void* mapping_ = nullptr;
  bool writable_ = false;
  std::uint64_t device_ = 0;
  std::uint64_t inode_ = 0;
};

// Why a file of `size` bytes that begins with `first_bytes` holds no change
// counter, as the end of a sentence ("is shorter than a change counter"), or
// "" when it does. Each system's Map checks the file by this rule.
std::string WhyNoChangeCounter(std::uint64_t size, std::string_view first_bytes);

// Bumps the counter of `user_folder`, creating its file when needed. For
// the writers of user places, after their change is in place. False when
// there is no counter this process may write.
bool BumpChangeCounter(const std::filesystem::path& user_folder);

}  // namespace tarv

#endif  // TARVPLACES_PLATFORM_CHANGE_COUNTER_H_
