// Existence tests, wildcard listings and deletion used by the data store.
#ifndef TARVPLACES_UTIL_FILE_TESTS_H_
#define TARVPLACES_UTIL_FILE_TESTS_H_

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace tarv {

// True when `path` (Windows-style, blanks trimmed) names an existing file.
// Folders do not count. With "*" or "?" in its last component the result
// tells whether any file matches; a path ending in "\" asks whether the
// folder holds any file. An empty path gives false. Never throws.
bool Exist(const std::string& path);

// The files (not folders) whose names match the "*" / "?" pattern in the last
// component of `windows_pattern`, compared without regard to case as the
// atlas's letters fold; "*.*" also matches names without a dot, as on
// Windows. A path that ends in "\" lists every file of that folder. Sorted
// by name.
std::vector<std::filesystem::path> MatchingFiles(std::string_view windows_pattern);

// Deletes the file(s) `path` names (wildcards allowed) when they exist,
// making them writable first. Errors are swallowed.
void Deleting(const std::string& path);

}  // namespace tarv

#endif  // TARVPLACES_UTIL_FILE_TESTS_H_
