// The lock the Windows writers hold (Windows only): a byte far past any
// data of a file, so that readers of the data are never in its way, locked
// exclusively and waited for, as flock is elsewhere.
#ifndef TARVPLACES_PLATFORM_WINDOWS_LOCK_H_
#define TARVPLACES_PLATFORM_WINDOWS_LOCK_H_

#include <windows.h>

namespace tarv {

inline constexpr DWORD kLockOffsetHigh = 0x7FFFFFFF;

// Waits for the byte of `file`; false (GetLastError tells) when it cannot.
inline bool LockFarByte(HANDLE file) {
  OVERLAPPED at{};
  at.OffsetHigh = kLockOffsetHigh;
  return ::LockFileEx(file, LOCKFILE_EXCLUSIVE_LOCK, 0, 1, 0, &at) != 0;
}

inline void UnlockFarByte(HANDLE file) {
  OVERLAPPED at{};
  at.OffsetHigh = kLockOffsetHigh;
  ::UnlockFileEx(file, 0, 1, 0, &at);
}

}  // namespace tarv

#endif  // TARVPLACES_PLATFORM_WINDOWS_LOCK_H_
