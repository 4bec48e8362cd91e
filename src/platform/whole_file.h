// Reads a whole file without ever waiting on something that is not one: a
// FIFO, a device or a folder put where an atlas or user file belongs is
// refused, not read (a FIFO without a writer would hang every reader).
#ifndef TARVPLACES_PLATFORM_WHOLE_FILE_H_
#define TARVPLACES_PLATFORM_WHOLE_FILE_H_

#include <cstddef>
#include <string>

namespace tarv {

enum class WholeFile {
  kRead,        // `bytes` hold the file
  kMissing,     // nothing at the path
  kNotRegular,  // a folder, FIFO, socket or device (or a link, where not followed)
  kUnreadable,  // there, but it cannot be opened or read
};

// Reads the file at the native path `path` into `bytes` (cleared first).
// `size_hint` is the size it is expected to have, to reserve once. With
// `follow_link` false a symbolic link at `path` is not read through.
WholeFile ReadWholeFile(const std::string& path, std::string& bytes, std::size_t size_hint = 0,
                        bool follow_link = true);

// A phrase for a result other than kRead ("is not a regular file"...).
const char* WholeFileProblem(WholeFile result);

}  // namespace tarv

#endif  // TARVPLACES_PLATFORM_WHOLE_FILE_H_
