// Existence test and deletion used by the data store.
#ifndef TARVPLACES_UTIL_FILE_TESTS_H_
#define TARVPLACES_UTIL_FILE_TESTS_H_

#include <string>

namespace tarv {

// True when `path` (Windows-style, blanks trimmed) names an existing file.
// Folders do not count. With "*" or "?" in its last component the result
// tells whether any file matches; a path ending in "\" asks whether the
// folder holds any file. An empty path gives false. Never throws.
bool Exist(const std::string& path);

// Deletes the file(s) `path` names (wildcards allowed) when they exist,
// making them writable first. Errors are swallowed.
void Deleting(const std::string& path);

}  // namespace tarv

#endif  // TARVPLACES_UTIL_FILE_TESTS_H_
