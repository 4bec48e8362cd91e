// What the file-status service asks of the operating system. One
// implementation per system: file_status_posix.cc, file_status_windows.cc.
#ifndef TARVPLACES_PLATFORM_FILE_STATUS_NATIVE_H_
#define TARVPLACES_PLATFORM_FILE_STATUS_NATIVE_H_

#include <cstdint>
#include <string>

#include "platform/file_status.h"

namespace tarv::native {

// The characters that end a folder's name in a path on this system.
#ifdef _WIN32
inline constexpr const char* kSeparators = "\\/";
#else
inline constexpr const char* kSeparators = "/";
#endif

// The status of the file at `path` (UTF-8), following a final link or not;
// an empty status when it cannot be looked at.
FileStatus LookAt(const std::string& path, bool follow);

// The status of the entry after path[cut] in the folder before it, which was
// found as `folder` in this call. Where the system allows, looked up relative
// to a handle held on that folder, so that only the last name is walked.
FileStatus LookInFolder(const std::string& path, std::size_t cut, const FileStatus& folder,
                        bool follow);

// A monotonic clock in nanoseconds that costs no system call; steps of a few
// milliseconds are fine for the one-second rule.
std::int64_t CoarseMonotonicNs();

}  // namespace tarv::native

#endif  // TARVPLACES_PLATFORM_FILE_STATUS_NATIVE_H_
