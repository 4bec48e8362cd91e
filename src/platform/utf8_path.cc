#include "platform/utf8_path.h"

namespace fs = std::filesystem;

namespace tarv {

fs::path PathFromUtf8(std::string_view utf8) {
  return fs::path(std::u8string_view(reinterpret_cast<const char8_t*>(utf8.data()), utf8.size()));
}

std::string Utf8OfPath(const fs::path& path) {
  const std::u8string text = path.u8string();
  return std::string(text.begin(), text.end());
}

}  // namespace tarv
