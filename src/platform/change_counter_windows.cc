#include <windows.h>

#include <atomic>
#include <string>

#include "platform/change_counter.h"
#include "platform/utf8_path.h"
#include "platform/windows_error.h"

namespace tarv {
namespace {

class Handle {
 public:
  explicit Handle(HANDLE h = INVALID_HANDLE_VALUE) : h_(h) {}
  ~Handle() { reset(); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  void reset(HANDLE h = INVALID_HANDLE_VALUE) {
    if (h_ != INVALID_HANDLE_VALUE && h_ != nullptr) ::CloseHandle(h_);
    h_ = h;
  }
  HANDLE get() const { return h_; }
  bool valid() const { return h_ != INVALID_HANDLE_VALUE && h_ != nullptr; }
  HANDLE release() {
    HANDLE h = h_;
    h_ = INVALID_HANDLE_VALUE;
    return h;
  }

 private:
  HANDLE h_;
};

// Every other process may read, write, rename and delete it while we hold it.
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

bool ReadAt(HANDLE file, void* bytes, DWORD count, std::uint64_t offset) {
  OVERLAPPED at{};
  at.Offset = static_cast<DWORD>(offset);
  at.OffsetHigh = static_cast<DWORD>(offset >> 32);
  DWORD done = 0;
  return ::ReadFile(file, bytes, count, &done, &at) != 0 && done == count;
}

// Writes the magic into a new, empty file and gives it its length. Two
// processes doing so at once write the same bytes; the counter is never
// written here, so a bump that came in between is kept.
bool Initialize(HANDLE file) {
  OVERLAPPED at{};
  DWORD done = 0;
  if (::WriteFile(file, kChangeCounterMagic.data(), static_cast<DWORD>(kChangeCounterMagic.size()),
                  &done, &at) == 0 ||
      done != kChangeCounterMagic.size()) {
    return false;
  }
  LARGE_INTEGER size{};
  if (::GetFileSizeEx(file, &size) == 0) return false;
  if (static_cast<std::uint64_t>(size.QuadPart) >= kChangeCounterSize) return true;
  LARGE_INTEGER end{};
  end.QuadPart = static_cast<LONGLONG>(kChangeCounterSize);
  return ::SetFilePointerEx(file, end, nullptr, FILE_BEGIN) != 0 && ::SetEndOfFile(file) != 0;
}

bool Missing(DWORD error) {
  return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

bool DeletePending(HANDLE file) {
  FILE_STANDARD_INFO info{};
  return ::GetFileInformationByHandleEx(file, FileStandardInfo, &info, sizeof(info)) == 0 ||
         info.DeletePending != 0;
}

}  // namespace

std::unique_ptr<ChangeCounter> ChangeCounter::Map(const std::filesystem::path& user_folder,
                                                  bool create, std::string* why) {
  if (why != nullptr) why->clear();
  const std::filesystem::path path = user_folder / kChangeCounterFile;
  bool writable = true;
  // OPEN_ALWAYS never creates the folder; a missing folder is a missing counter.
  Handle file(::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, kShareAll, nullptr,
                            create ? OPEN_ALWAYS : OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  DWORD error = file.valid() ? 0 : ::GetLastError();
  if (error == ERROR_ACCESS_DENIED || error == ERROR_WRITE_PROTECT ||
      error == ERROR_SHARING_VIOLATION) {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
      if (why != nullptr) *why = "is not a regular file";
      return nullptr;
    }
    writable = false;
    file.reset(::CreateFileW(path.c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING,
                             FILE_ATTRIBUTE_NORMAL, nullptr));
    error = file.valid() ? 0 : ::GetLastError();
  }
  if (!file.valid()) {
    if (why != nullptr && !Missing(error)) *why = "cannot be opened: " + WindowsErrorText(error);
    return nullptr;
  }
  BY_HANDLE_FILE_INFORMATION info{};
  if (::GetFileType(file.get()) != FILE_TYPE_DISK ||
      ::GetFileInformationByHandle(file.get(), &info) == 0 ||
      (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    if (why != nullptr) *why = "is not a regular file";
    return nullptr;
  }
  std::uint64_t size = (std::uint64_t{info.nFileSizeHigh} << 32) | info.nFileSizeLow;
  if (size == 0 && writable) {
    if (!Initialize(file.get())) {
      if (why != nullptr) *why = "cannot be written: " + WindowsErrorText(::GetLastError());
      return nullptr;
    }
    size = kChangeCounterSize;
  }
  char magic[kChangeCounterMagic.size()] = {};
  const bool read = size >= kChangeCounterSize && ReadAt(file.get(), magic, sizeof(magic), 0);
  const std::string wrong =
      WhyNoChangeCounter(size, std::string_view(magic, read ? sizeof(magic) : 0));
  if (!wrong.empty()) {
    if (why != nullptr) *why = wrong;
    return nullptr;
  }
  Handle section(::CreateFileMappingW(file.get(), nullptr,
                                      writable ? PAGE_READWRITE : PAGE_READONLY, 0,
                                      static_cast<DWORD>(kChangeCounterSize), nullptr));
  void* mapping = section.valid()
                      ? ::MapViewOfFile(section.get(), writable ? FILE_MAP_WRITE : FILE_MAP_READ, 0,
                                        0, kChangeCounterSize)
                      : nullptr;
  if (mapping == nullptr) {
    if (why != nullptr) *why = "cannot be mapped: " + WindowsErrorText(::GetLastError());
    return nullptr;
  }
  std::unique_ptr<ChangeCounter> counter(new ChangeCounter);
  counter->path_ = path;
  counter->file_ = reinterpret_cast<std::intptr_t>(file.release());
  counter->section_ = reinterpret_cast<std::intptr_t>(section.release());
  counter->mapping_ = mapping;
  counter->writable_ = writable;
  counter->device_ = info.dwVolumeSerialNumber;
  counter->inode_ = (std::uint64_t{info.nFileIndexHigh} << 32) | info.nFileIndexLow;
  return counter;
}

ChangeCounter::~ChangeCounter() {
  ::UnmapViewOfFile(mapping_);
  ::CloseHandle(reinterpret_cast<HANDLE>(section_));
  ::CloseHandle(reinterpret_cast<HANDLE>(file_));
}

// A replaced counter has another file index at the path; a deleted one is
// only pending deletion while mapped, and no longer seen by new writers.
bool ChangeCounter::StillValid() const noexcept {
  const HANDLE held = reinterpret_cast<HANDLE>(file_);
  if (DeletePending(held)) return false;
  Handle named(::CreateFileW(path_.c_str(), FILE_READ_ATTRIBUTES, kShareAll, nullptr, OPEN_EXISTING,
                             FILE_ATTRIBUTE_NORMAL, nullptr));
  BY_HANDLE_FILE_INFORMATION info{};
  if (!named.valid() || ::GetFileInformationByHandle(named.get(), &info) == 0) return false;
  return info.dwVolumeSerialNumber == device_ &&
         ((std::uint64_t{info.nFileIndexHigh} << 32) | info.nFileIndexLow) == inode_;
}

namespace {

std::uint64_t* CounterIn(void* mapping) {
  return reinterpret_cast<std::uint64_t*>(static_cast<char*>(mapping) + kChangeCounterMagic.size());
}

}  // namespace

// A mapped file cannot be cut short on Windows, so the mapping is safe to read.
std::uint64_t ChangeCounter::Value() const noexcept {
  return std::atomic_ref<std::uint64_t>(*CounterIn(mapping_)).load(std::memory_order_acquire);
}

bool ChangeCounter::Bump() noexcept {
  if (!writable_) return false;
  std::atomic_ref<std::uint64_t>(*CounterIn(mapping_)).fetch_add(1, std::memory_order_acq_rel);
  return true;
}

}  // namespace tarv
