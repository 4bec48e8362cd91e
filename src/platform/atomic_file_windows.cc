#include <windows.h>

#include <chrono>
#include <string>
#include <thread>

#include "platform/atomic_file.h"
#include "platform/paths.h"
#include "platform/windows_error.h"
#include "platform/windows_lock.h"
#include "tarvplaces/atlas_error.h"

namespace fs = std::filesystem;

namespace tarv {
namespace {

[[noreturn]] void Fail(const fs::path& target, const std::string& what) {
  throw AtlasWriteError(Utf8OfPath(target), what);
}

std::string Reason(const std::string& step) {
  return step + ": " + WindowsErrorText(::GetLastError());
}

HANDLE Held(std::intptr_t handle) {
  return reinterpret_cast<HANDLE>(handle);
}

// How long a writer keeps trying when a file is in use by someone who may
// let go of it soon (a reader of the target, a writer's pending delete).
constexpr auto kPatience = std::chrono::seconds(3);
constexpr auto kRetryPause = std::chrono::milliseconds(5);

std::uint64_t FileIndex(HANDLE file) {
  BY_HANDLE_FILE_INFORMATION info{};
  if (::GetFileInformationByHandle(file, &info) == 0) return 0;
  return (std::uint64_t{info.dwVolumeSerialNumber} << 32) ^
         ((std::uint64_t{info.nFileIndexHigh} << 32) | info.nFileIndexLow);
}

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// Opens and locks the temporary file. The file is shared with everyone (so
// that it can be moved while it is held); writers exclude each other by the
// lock. A writer that waited for the lock may find the file it locked put in
// place or removed by the writer before it; then it opens the name afresh.
// Access denied while another writer's removal is pending passes quickly; a
// real denial does not. The handle has no right to delete: a waiting
// writer's handle ends up on the target once the file it waits for is put in
// place, and a handle that may delete would make every program that opens
// the target without sharing deletion (the C runtime's fopen) fail until the
// waiter lets go.
HANDLE OpenLocked(const fs::path& target, const fs::path& temp) {
  const auto give_up = std::chrono::steady_clock::now() + kPatience;
  for (;;) {
    const HANDLE file = ::CreateFileW(temp.c_str(), GENERIC_READ | GENERIC_WRITE, kShareAll,
                                      nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
      const DWORD error = ::GetLastError();
      // A file pending deletion is still there (and refuses to be looked
      // at); where there is none, the folder itself refuses (read-only for
      // this user): no use waiting.
      const bool absent = error == ERROR_ACCESS_DENIED &&
                          ::GetFileAttributesW(temp.c_str()) == INVALID_FILE_ATTRIBUTES &&
                          ::GetLastError() == ERROR_FILE_NOT_FOUND;
      const bool busy =
          error == ERROR_SHARING_VIOLATION ||
          (error == ERROR_ACCESS_DENIED && !absent && std::chrono::steady_clock::now() < give_up);
      if (!busy) {
        ::SetLastError(error);
        Fail(target, Reason("creating its temporary file " + Utf8OfPath(temp.filename())));
      }
      std::this_thread::sleep_for(kRetryPause);
      continue;
    }
    if (!LockFarByte(file)) {
      const std::string why = Reason("locking its temporary file");
      ::CloseHandle(file);
      Fail(target, why);
    }
    const HANDLE named = ::CreateFileW(temp.c_str(), FILE_READ_ATTRIBUTES, kShareAll, nullptr,
                                       OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    const bool same = named != INVALID_HANDLE_VALUE && FileIndex(named) == FileIndex(file);
    if (named != INVALID_HANDLE_VALUE) ::CloseHandle(named);
    if (same) return file;
    ::CloseHandle(file);
  }
}

// Deletes the held and locked temporary file, marked for deletion before the
// lock is let go, so that no other writer can take it up between our close
// and a delete. The right to delete is taken only now (see OpenLocked).
void RemoveAndClose(HANDLE file, const fs::path& temp) {
  const HANDLE doomed = ::CreateFileW(temp.c_str(), DELETE, kShareAll, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
  if (doomed != INVALID_HANDLE_VALUE) {
    if (FileIndex(doomed) == FileIndex(file)) {
      FILE_DISPOSITION_INFO dispose{};
      dispose.DeleteFile = TRUE;
      ::SetFileInformationByHandle(doomed, FileDispositionInfo, &dispose, sizeof(dispose));
    }
    ::CloseHandle(doomed);
  }
  ::CloseHandle(file);
}

}  // namespace

StagedFile::StagedFile(fs::path target)
    : target_(std::move(target)), temp_(TemporaryPathOf(target_)) {
  // The system would take a path holding a NUL for the shorter one before it.
  if (target_.native().find(L'\0') != std::wstring::npos) Fail(target_, "naming it: invalid name");
  // On Windows "NUL.dao" is the null device in every folder: what was
  // written there would be lost without a word.
  if (NamesADevice(Utf8OfPath(target_))) {
    Fail(target_, "naming it: the name is reserved for a device on Windows");
  }
  handle_ = reinterpret_cast<std::intptr_t>(OpenLocked(target_, temp_));
  // What an interrupted writer left behind goes.
  LARGE_INTEGER start{};
  if (::SetFilePointerEx(Held(handle_), start, nullptr, FILE_BEGIN) == 0 ||
      ::SetEndOfFile(Held(handle_)) == 0) {
    FailAndRemove(Reason("emptying its temporary file"));
  }
}

void StagedFile::FailAndRemove(const std::string& what) {
  RemoveAndClose(Held(handle_), temp_);
  handle_ = -1;
  Fail(target_, what);
}

void StagedFile::Write(std::string_view bytes) {
  if (handle_ == -1) return;
  std::size_t written = 0;
  while (written < bytes.size()) {
    const DWORD chunk = static_cast<DWORD>(std::min<std::size_t>(bytes.size() - written, 1u << 30));
    DWORD done = 0;
    if (::WriteFile(Held(handle_), bytes.data() + written, chunk, &done, nullptr) == 0) {
      FailAndRemove(Reason("writing"));
    }
    if (done == 0) {
      ::SetLastError(ERROR_DISK_FULL);
      FailAndRemove(Reason("writing"));
    }
    written += done;
  }
  flushed_ = false;
}

void StagedFile::Flush() {
  if (handle_ == -1 || flushed_) return;
  if (::FlushFileBuffers(Held(handle_)) == 0) FailAndRemove(Reason("flushing"));
  flushed_ = true;
}

StagedFile::~StagedFile() {
  if (handle_ == -1) return;
  RemoveAndClose(Held(handle_), temp_);
}

void StagedFile::Commit() {
  if (handle_ == -1) return;
  Flush();
  // Moved while still held and locked (the handle shares deletion, which
  // permits it), so a waiting writer finds the name free only once the new
  // file is in place. ReplaceFileW would keep the target's attributes but
  // cannot take a replacement that is open. MoveFileExW opens the file with
  // the right to delete itself and closes it before it returns. A program holding the target
  // open makes the move fail (Windows renames over no open file); the data
  // is flushed already, so wait a little for it to let go, then fail with
  // the target as it was.
  const auto give_up = std::chrono::steady_clock::now() + kPatience;
  while (::MoveFileExW(temp_.c_str(), target_.c_str(),
                       MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) == 0) {
    const DWORD error = ::GetLastError();
    if ((error != ERROR_ACCESS_DENIED && error != ERROR_SHARING_VIOLATION) ||
        std::chrono::steady_clock::now() >= give_up) {
      FailAndRemove(Reason("putting it in place"));
    }
    std::this_thread::sleep_for(kRetryPause);
  }
  ::CloseHandle(Held(handle_));
  handle_ = -1;
}

}  // namespace tarv
