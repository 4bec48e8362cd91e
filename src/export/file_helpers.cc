#include "export/file_helpers.h"

#include <filesystem>
#include <system_error>

#include "platform/paths.h"
#include "util/file_tests.h"

namespace fs = std::filesystem;

namespace tarv {
namespace {

bool HasWildcard(const std::string& path) {
  return path.find_first_of("*?") != std::string::npos;
}

void Remove(const fs::path& file, bool clear_attributes) {
  std::error_code ec;
  if (clear_attributes) fs::permissions(file, fs::perms::owner_write, fs::perm_options::add, ec);
  fs::remove(file, ec);
}

}  // namespace

std::string AddBackslash(const std::string& path, bool want) {
  const bool has = !path.empty() && path.back() == '\\';
  if (has && !want) return path.substr(0, path.size() - 1);
  if (!has && want) return path + '\\';
  return path;
}

bool FileExists(const std::string& path) {
  std::string p = path;
  if (!p.empty() && p.front() == '"') p.erase(0, 1);
  if (!p.empty() && p.back() == '"') p.pop_back();
  if (p.empty()) return false;
  if (HasWildcard(p)) return !MatchingFiles(p).empty();
  std::error_code ec;
  const auto status = fs::status(NativePath(p), ec);
  return !ec && fs::exists(status) && !fs::is_directory(status);
}

std::string GetFilePath(const std::string& path) {
  const auto cut = path.rfind('\\');
  if (cut == std::string::npos) return path;
  return path.substr(0, cut + 1);
}

std::string GetFileName(const std::string& path, std::string* title, std::string* extension) {
  const auto cut = path.rfind('\\');
  const std::string name = cut == std::string::npos ? path : path.substr(cut + 1);
  std::string t = name;
  std::string e;
  if (const auto dot = name.rfind('.'); dot != std::string::npos) {
    e = name.substr(dot + 1);
    t = name.substr(0, name.size() - e.size() - 1);
  }
  if (title != nullptr) *title = t;
  if (extension != nullptr) *extension = e;
  return name;
}

std::string GetFileTitle(const std::string& path) {
  std::string title;
  GetFileName(path, &title);
  return title;
}

std::string SetFileExtension(const std::string& path, const std::string& extension) {
  return GetFilePath(path) + GetFileTitle(path) + "." + extension;
}

bool DeleteFile(const std::string& path, bool clear_attributes) {
  if (HasWildcard(path)) {
    for (const auto& file : MatchingFiles(path))
      Remove(file, clear_attributes);
  } else if (!path.empty()) {
    Remove(NativePath(path), clear_attributes);
  }
  return !FileExists(path);
}

}  // namespace tarv
