#include <windows.h>

#include <algorithm>

#include "platform/device_names.h"
#include "platform/utf8_path.h"
#include "platform/whole_file.h"

namespace tarv {

WholeFile ReadWholeFile(const std::string& path, std::string& bytes, std::size_t size_hint,
                        bool follow_link) {
  bytes.clear();
  // "CON", "NUL", "COM1"... open devices whatever folder they are put in.
  if (NamesADevice(path)) return WholeFile::kNotRegular;
  const std::wstring wide = PathFromUtf8(path).wstring();
  const HANDLE file = ::CreateFileW(
      wide.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
      OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN | (follow_link ? 0 : FILE_FLAG_OPEN_REPARSE_POINT),
      nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    const DWORD failure = ::GetLastError();
    if (failure == ERROR_FILE_NOT_FOUND || failure == ERROR_PATH_NOT_FOUND) {
      return WholeFile::kMissing;
    }
    const DWORD attributes = ::GetFileAttributesW(wide.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
      return WholeFile::kNotRegular;
    }
    return WholeFile::kUnreadable;
  }
  BY_HANDLE_FILE_INFORMATION info{};
  if (::GetFileType(file) != FILE_TYPE_DISK ||
      (!follow_link && (::GetFileInformationByHandle(file, &info) == 0 ||
                        (info.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0))) {
    ::CloseHandle(file);
    return WholeFile::kNotRegular;
  }
  LARGE_INTEGER size{};
  if (size_hint == 0 && ::GetFileSizeEx(file, &size) != 0) {
    size_hint = static_cast<std::size_t>(size.QuadPart);
  }
  bytes.resize(size_hint);
  std::size_t done = 0;
  for (;;) {
    if (done == bytes.size()) bytes.resize(done + (done < 4096 ? 4096 : done / 2));
    const DWORD chunk = static_cast<DWORD>(std::min<std::size_t>(bytes.size() - done, 1 << 20));
    DWORD got = 0;
    if (::ReadFile(file, bytes.data() + done, chunk, &got, nullptr) == 0) {
      ::CloseHandle(file);
      bytes.clear();
      return WholeFile::kUnreadable;
    }
    if (got == 0) break;
    done += got;
  }
  ::CloseHandle(file);
  bytes.resize(done);
  return WholeFile::kRead;
}

}  // namespace tarv
