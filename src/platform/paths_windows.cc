// On Windows the hosts' paths are the file system's own: "\" and "/" both
// separate, drive letters and UNC names work, and the file system compares
// names without regard to case. Nothing is resolved.
#include <windows.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/paths.h"

namespace fs = std::filesystem;

namespace tarv {

std::string SlashedString(std::string_view windows_path) {
  return MountedPath(windows_path);
}

fs::path SlashedPath(std::string_view windows_path) {
  return PathFromUtf8(MountedPath(windows_path));
}

// Past MAX_PATH (260 characters) the file functions of Windows before 10,
// and of 10 without the long-path setting, refuse a path unless it is in
// the "\\?\" form, which they take literally: absolute, backslashes only,
// no "." or "..".
fs::path NativePath(std::string_view windows_path) {
  fs::path path = SlashedPath(windows_path);
  if (path.native().size() < MAX_PATH || path.native().starts_with(LR"(\\?\)")) return path;
  std::error_code ec;
  std::wstring full = fs::absolute(path, ec).lexically_normal().native();
  if (ec) return path;
  std::replace(full.begin(), full.end(), L'/', L'\\');
  // The literal form takes no trailing separator after a folder's name.
  if (full.size() > 3 && full.back() == L'\\') full.pop_back();
  if (full.starts_with(LR"(\\)")) return fs::path(LR"(\\?\UNC\)" + full.substr(2));
  return fs::path(LR"(\\?\)" + full);
}

// FindFirstFileExW, not the C runtime's directory functions, which give
// nothing for a folder whose path is longer than 260 characters.
std::vector<std::string> ReadFolderNames(const fs::path& folder) {
  std::vector<std::string> names;
  WIN32_FIND_DATAW entry{};
  const HANDLE find = ::FindFirstFileExW((folder / L"*").c_str(), FindExInfoBasic, &entry,
                                         FindExSearchNameMatch, nullptr, 0);
  if (find == INVALID_HANDLE_VALUE) return names;
  do {
    const std::wstring_view name(entry.cFileName);
    if (name != L"." && name != L"..") names.push_back(Utf8OfPath(fs::path(name)));
  } while (::FindNextFileW(find, &entry) != 0);
  ::FindClose(find);
  return names;
}

std::string FileKey(std::string native_path) {
  std::wstring wide = PathFromUtf8(native_path).native();
  // CharUpperBuffW maps as the file system's case-insensitive names do.
  ::CharUpperBuffW(wide.data(), static_cast<DWORD>(wide.size()));
  std::replace(wide.begin(), wide.end(), L'/', L'\\');
  return Utf8OfPath(std::filesystem::path(wide));
}

bool KnownMissing(std::string_view) {
  return false;
}

}  // namespace tarv
