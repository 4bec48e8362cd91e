#include "support/temp_folder.h"

#ifdef _WIN32
#include <windows.h>
#endif

#include <atomic>
#include <fstream>
#include <iterator>
#include <random>

#include "atlas/atlas_state.h"
#include "platform/file_status.h"
#include "platform/paths.h"

namespace fs = std::filesystem;

namespace tarv::testing {

#ifdef _WIN32
namespace {

// Tests make folders past 260 characters, which std::filesystem cannot
// remove here (the C runtime's stat takes no long-path prefix); Windows' own
// calls can, given the prefix.
void RemoveTree(const std::wstring& folder) {
  WIN32_FIND_DATAW found;
  const HANDLE search = ::FindFirstFileW((folder + L"\\*").c_str(), &found);
  if (search != INVALID_HANDLE_VALUE) {
    do {
      const std::wstring name = found.cFileName;
      if (name == L"." || name == L"..") continue;
      const std::wstring child = folder + L"\\" + name;
      const DWORD kind = found.dwFileAttributes;
      if ((kind & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        ::SetFileAttributesW(child.c_str(), FILE_ATTRIBUTE_NORMAL);
        ::DeleteFileW(child.c_str());
      } else if ((kind & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
        ::RemoveDirectoryW(child.c_str());  // the link, not what it points to
      } else {
        RemoveTree(child);
      }
    } while (::FindNextFileW(search, &found) != 0);
    ::FindClose(search);
  }
  ::RemoveDirectoryW(folder.c_str());
}

}  // namespace
#endif

TempFolder::TempFolder() {
  static std::atomic<unsigned> counter{0};
  std::random_device seed;
  const auto name = "tarvplaces-test-" + std::to_string(seed()) + "-" + std::to_string(++counter);
  path_ = fs::temp_directory_path() / name;
  fs::create_directories(path_);
}

TempFolder::~TempFolder() {
  // The change counters this thread maps go first: Windows keeps a mapped
  // file until it is unmapped, and a folder holding it cannot go.
  ForgetFileStatuses();
  std::error_code ec;
  fs::permissions(path_, fs::perms::owner_all, fs::perm_options::add, ec);
#ifdef _WIN32
  RemoveTree(L"\\\\?\\" + path_.native());
#else
  fs::remove_all(path_, ec);
#endif
}

fs::path TempFolder::Write(const std::string& relative, const std::string& bytes) const {
  const fs::path file = WriteUnannounced(relative, bytes);
  ForgetFileStatuses();
  return file;
}

fs::path TempFolder::WriteUnannounced(const std::string& relative, const std::string& bytes) const {
  const fs::path file = path_ / PathFromUtf8(relative);  // names are UTF-8
  fs::create_directories(file.parent_path());
  {
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  }
  return file;
}

std::string TempFolder::Read(const std::string& relative) const {
  std::ifstream in(path_ / PathFromUtf8(relative), std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::string WhyReadOnlyIsNotEnforced(bool folder) {
  static const bool file_ignored = [] {
    TempFolder probe;
    const auto file = probe.Write("ro.txt", "x");
    std::filesystem::permissions(file, std::filesystem::perms::owner_read);
    const bool writable = std::ofstream(file, std::ios::app).is_open();
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
    return writable;
  }();
  static const bool folder_ignored = [] {
    TempFolder probe;
    const auto ro = probe.path() / "ro";
    std::filesystem::create_directory(ro);
    std::filesystem::permissions(
        ro, std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    const bool writable = std::ofstream(ro / "x.txt").is_open();
    std::filesystem::permissions(ro, std::filesystem::perms::owner_all);
    return writable;
  }();
  if (folder ? folder_ignored : file_ignored) {
    return std::string("this process may write a read-only ") + (folder ? "folder" : "file") +
           " (root or an administrator; Windows folders cannot be made read-only)";
  }
  return {};
}

std::string WhySymlinksCannotBeMade() {
  static const std::string why = [] {
    TempFolder probe;
    std::error_code ec;
    std::filesystem::create_symlink(probe.path() / "target", probe.path() / "link", ec);
    return ec ? "this system makes no symbolic links here: " + ec.message() : std::string();
  }();
  return why;
}

bool RunningUnderWine() {
#ifdef _WIN32
  const HMODULE ntdll = ::GetModuleHandleW(L"ntdll.dll");
  return ntdll != nullptr && ::GetProcAddress(ntdll, "wine_get_version") != nullptr;
#else
  return false;
#endif
}

void AtlasTest::SetUp() {
  ResetDefaultAtlas();
  SetMessageSink([this](const Message& m) {
    messages_.push_back(m);
    return MsgAnswer::kOk;
  });
}

void AtlasTest::TearDown() {
  SetMessageSink(nullptr);
  ResetDefaultAtlas();
}

}  // namespace tarv::testing
