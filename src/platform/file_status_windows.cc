#include <windows.h>

#include "platform/device_names.h"
#include "platform/file_status_native.h"
#include "platform/utf8_path.h"

namespace tarv::native {
namespace {

// Seconds between 1601 (file times) and 1970, in 100 ns ticks.
constexpr std::int64_t kEpochDifference = 116'444'736'000'000'000;

}  // namespace

// One query by path, which opens nothing (under Wine no round trip to the
// server either): attributes, size and times. Windows gives a file's index
// only through an open handle, which would cost an open and a close per
// look; the creation time stands in for it: a file renamed over another
// keeps the time it was created, so it differs from the one it replaced even
// with the same size and modification time.
// Atlas folders hold no links; the status is the entry's own either way.
FileStatus LookAt(const std::string& path, bool /*follow*/) {
  if (NamesADevice(path)) return {};  // a device, not a file
  WIN32_FILE_ATTRIBUTE_DATA info{};
  if (::GetFileAttributesExW(PathFromUtf8(path).c_str(), GetFileExInfoStandard, &info) == 0) {
    return {};
  }
  FileStatus status;
  status.exists = true;
  status.directory = (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  status.regular = !status.directory && (info.dwFileAttributes & FILE_ATTRIBUTE_DEVICE) == 0;
  status.size = (std::uint64_t{info.nFileSizeHigh} << 32) | info.nFileSizeLow;
  const std::int64_t ticks =
      static_cast<std::int64_t>((std::uint64_t{info.ftLastWriteTime.dwHighDateTime} << 32) |
                                info.ftLastWriteTime.dwLowDateTime);
  status.mtime_ns = (ticks - kEpochDifference) * 100;
  status.inode =
      (std::uint64_t{info.ftCreationTime.dwHighDateTime} << 32) | info.ftCreationTime.dwLowDateTime;
  return status;
}

// Windows has no lookup relative to a folder handle for a file's status.
FileStatus LookInFolder(const std::string& path, std::size_t, const FileStatus&, bool follow) {
  return LookAt(path, follow);
}

// The tick count is read from memory the system keeps up to date.
std::int64_t CoarseMonotonicNs() {
  return static_cast<std::int64_t>(::GetTickCount64()) * 1'000'000;
}

}  // namespace tarv::native
