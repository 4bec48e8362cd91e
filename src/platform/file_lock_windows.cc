#include <windows.h>

#include <string>

#include "platform/change_counter.h"
#include "platform/file_lock.h"
#include "platform/utf8_path.h"
#include "platform/windows_error.h"
#include "platform/windows_lock.h"
#include "tarvplaces/atlas_error.h"

namespace tarv {

FolderLock::FolderLock(const std::filesystem::path& folder) : handle_(-1) {
  const std::filesystem::path file = folder / kChangeCounterFile;
  HANDLE held = ::CreateFileW(file.c_str(), GENERIC_READ | GENERIC_WRITE,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                              OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (held == INVALID_HANDLE_VALUE && ::GetLastError() == ERROR_ACCESS_DENIED) {
    // A counter only others may write can still be locked for reading.
    held = ::CreateFileW(file.c_str(), GENERIC_READ,
                         FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                         OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  }
  if (held == INVALID_HANDLE_VALUE) {
    throw AtlasWriteError(Utf8OfPath(folder),
                          "locking the folder: " + WindowsErrorText(::GetLastError()));
  }
  if (!LockFarByte(held)) {
    const DWORD error = ::GetLastError();
    ::CloseHandle(held);
    throw AtlasWriteError(Utf8OfPath(folder), "locking the folder: " + WindowsErrorText(error));
  }
  handle_ = reinterpret_cast<std::intptr_t>(held);
}

FolderLock::~FolderLock() {
  const HANDLE held = reinterpret_cast<HANDLE>(handle_);
  UnlockFarByte(held);
  ::CloseHandle(held);
}

}  // namespace tarv
