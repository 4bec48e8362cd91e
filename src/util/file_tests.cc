#include "util/file_tests.h"

#include <filesystem>
#include <system_error>

#include "platform/file_status.h"
#include "platform/paths.h"
#include "text/codepage.h"
#include "util/text.h"

namespace fs = std::filesystem;

namespace tarv {
namespace {

bool HasWildcard(const std::string& path) {
  return path.find_first_of("*?") != std::string::npos;
}

bool EndsInSeparator(const std::string& path) {
  return !path.empty() && (path.back() == '\\' || path.back() == '/');
}

void RemoveWritable(const fs::path& file) {
  std::error_code ec;
  fs::permissions(file, fs::perms::owner_write, fs::perm_options::add, ec);
  fs::remove(file, ec);
}

}  // namespace

std::vector<fs::path> MatchingFiles(std::string_view windows_pattern) {
  std::string pattern(windows_pattern);
  std::string folder;
  const auto cut = pattern.find_last_of("\\/");
  if (cut != std::string::npos) {
    folder = pattern.substr(0, cut + 1);
    pattern.erase(0, cut + 1);
  }
  const bool everything = pattern.empty() || pattern == "*.*";
  const fs::path native_folder = folder.empty() ? fs::path(".") : NativePath(folder);
  const WildcardPattern matcher(everything ? std::string("*") : AnsiFromUtf8(pattern),
                                /*sets=*/false);
  std::vector<fs::path> files;
  for (const auto& name : ListDirectory(native_folder)) {
    if (!matcher.Matches(AnsiFromUtf8(name))) continue;
    const fs::path candidate = native_folder / PathFromUtf8(name);
    if (StatFile(candidate).regular) files.push_back(candidate);
  }
  return files;
}

bool Exist(const std::string& path) {
  const std::string trimmed = Trim(path);
  if (trimmed.empty()) return false;
  if (HasWildcard(trimmed) || EndsInSeparator(trimmed)) return !MatchingFiles(trimmed).empty();
  if (KnownMissing(trimmed)) return false;
  const std::string slashed = SlashedString(trimmed);
  if (StatFile(slashed).regular) return true;
  const std::string native = Utf8OfPath(NativePath(trimmed));
  return native != slashed && StatFile(native).regular;
}

void Deleting(const std::string& path) {
  if (path.empty() || !Exist(path)) return;
  if (HasWildcard(path)) {
    for (const auto& file : MatchingFiles(path))
      RemoveWritable(file);
  } else {
    RemoveWritable(NativePath(path));
  }
}

}  // namespace tarv
