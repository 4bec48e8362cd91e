#include <windows.h>

#include "platform/file_status_native.h"
#include "platform/paths.h"

namespace tarv::native {
namespace {

// Seconds between 1601 (file times) and 1970, in 100 ns ticks.
constexpr std::int64_t kEpochDifference = 116'444'736'000'000'000;

}  // namespace

// Opens the entry for its attributes only, sharing everything, so that a
// look never stands in a writer's way. The file index stands in for the
// inode: it tells a file replaced under the same name.
FileStatus LookAt(const std::string& path, bool follow) {
  if (IsReservedDeviceName(path)) return {};  // a device, not a file
  const HANDLE file = ::CreateFileW(
      PathFromUtf8(path).c_str(), FILE_READ_ATTRIBUTES,
      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
      FILE_FLAG_BACKUP_SEMANTICS | (follow ? 0 : FILE_FLAG_OPEN_REPARSE_POINT), nullptr);
  if (file == INVALID_HANDLE_VALUE) return {};
  BY_HANDLE_FILE_INFORMATION info{};
  const bool ok =
      ::GetFileInformationByHandle(file, &info) != 0 && ::GetFileType(file) == FILE_TYPE_DISK;
  ::CloseHandle(file);
  if (!ok) return {};
  FileStatus status;
  status.exists = true;
  status.directory = (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  status.regular = !status.directory && (info.dwFileAttributes & FILE_ATTRIBUTE_DEVICE) == 0;
  status.size = (std::uint64_t{info.nFileSizeHigh} << 32) | info.nFileSizeLow;
  const std::int64_t ticks =
      static_cast<std::int64_t>((std::uint64_t{info.ftLastWriteTime.dwHighDateTime} << 32) |
                                info.ftLastWriteTime.dwLowDateTime);
  status.mtime_ns = (ticks - kEpochDifference) * 100;
  status.device = info.dwVolumeSerialNumber;
  status.inode = (std::uint64_t{info.nFileIndexHigh} << 32) | info.nFileIndexLow;
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
