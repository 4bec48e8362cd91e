#include <windows.h>

#include <string>

#include "platform/change_counter.h"
#include "platform/file_lock.h"
#include "platform/paths.h"
#include "platform/windows_error.h"
#include "tarvplaces/atlas_error.h"

namespace tarv {
namespace {

// A byte no reader or writer of the counter ever touches; locking past the
// end of a file is allowed and keeps the counter's own bytes free.
constexpr DWORD kLockOffsetHigh = 0x7FFFFFFF;

}  // namespace

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
  OVERLAPPED at{};
  at.OffsetHigh = kLockOffsetHigh;
  if (::LockFileEx(held, LOCKFILE_EXCLUSIVE_LOCK, 0, 1, 0, &at) == 0) {
    const DWORD error = ::GetLastError();
    ::CloseHandle(held);
    throw AtlasWriteError(Utf8OfPath(folder), "locking the folder: " + WindowsErrorText(error));
  }
  handle_ = reinterpret_cast<std::intptr_t>(held);
}

FolderLock::~FolderLock() {
  const HANDLE held = reinterpret_cast<HANDLE>(handle_);
  OVERLAPPED at{};
  at.OffsetHigh = kLockOffsetHigh;
  ::UnlockFileEx(held, 0, 1, 0, &at);
  ::CloseHandle(held);
}

}  // namespace tarv
