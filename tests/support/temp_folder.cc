#include "support/temp_folder.h"

#ifdef _WIN32
#include <windows.h>
#endif

#include <atomic>
#include <fstream>
#include <iterator>
#include <random>

#include "atlas/process_state.h"
#include "platform/file_status.h"
#include "platform/paths.h"

namespace fs = std::filesystem;

namespace tarv::testing {

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
  fs::remove_all(path_, ec);
}

fs::path TempFolder::Write(const std::string& relative, const std::string& bytes) const {
  const fs::path file = path_ / PathFromUtf8(relative);  // names are UTF-8
  fs::create_directories(file.parent_path());
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
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
  ResetProcessState();
  SetMessageSink([this](const Message& m) {
    messages_.push_back(m);
    return MsgAnswer::kOk;
  });
}

void AtlasTest::TearDown() {
  SetMessageSink(nullptr);
  ResetProcessState();
}

}  // namespace tarv::testing
