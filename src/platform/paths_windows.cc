// On Windows the hosts' paths are the file system's own: "\" and "/" both
// separate, drive letters and UNC names work, and the file system compares
// names without regard to case. Nothing is resolved.
#include <string>

#include "platform/paths.h"

namespace fs = std::filesystem;

namespace tarv {

std::string SlashedString(std::string_view windows_path) {
  return std::string(windows_path);
}

fs::path SlashedPath(std::string_view windows_path) {
  return PathFromUtf8(windows_path);
}

fs::path NativePath(std::string_view windows_path) {
  return PathFromUtf8(windows_path);
}

bool KnownMissing(std::string_view) {
  return false;
}

}  // namespace tarv
