#include "util/file_tests.h"

#include <filesystem>
#include <system_error>

#include "platform/file_status.h"
#include "platform/paths.h"
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
