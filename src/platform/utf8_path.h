// Paths are UTF-8 text everywhere in the component. These convert to and
// from std::filesystem::path, whose narrow constructors and string() would
// use the process's code page on Windows.
#ifndef TARVPLACES_PLATFORM_UTF8_PATH_H_
#define TARVPLACES_PLATFORM_UTF8_PATH_H_

#include <filesystem>
#include <string>
#include <string_view>

namespace tarv {

// The file system's path for UTF-8 text, and the UTF-8 text of a path.
std::filesystem::path PathFromUtf8(std::string_view utf8);
std::string Utf8OfPath(const std::filesystem::path& path);

}  // namespace tarv

#endif  // TARVPLACES_PLATFORM_UTF8_PATH_H_
