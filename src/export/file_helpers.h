// Path and file utilities for Windows-style paths ("\" separators, "." before
// the extension). None of them shows a message or throws.
#ifndef TARVPLACES_EXPORT_FILE_HELPERS_H_
#define TARVPLACES_EXPORT_FILE_HELPERS_H_

#include <string>

namespace tarv {

// With `want` true: `path` ending in "\" (one is appended when missing).
// With `want` false: `path` without its trailing "\": AddBackslash("C:\", false)
// is "C:".
std::string AddBackslash(const std::string& path, bool want);

// True when `path` names an existing file (not a folder). Surrounding double
// quotation marks are ignored; with "*" or "?" it tells whether any file
// matches. An empty or unreadable path gives false.
bool FileExists(const std::string& path);

// The folder part, ending in "\": GetFilePath("C:\a\b.txt") is "C:\a\". A path
// without "\" comes back unchanged (not as an empty folder part).
std::string GetFilePath(const std::string& path);

// The name part after the last "\"; `title` receives the name without its
// extension and `extension` the part after the name's last ".":
// "a.b.txt" gives title "a.b" and extension "txt". Either out-argument may
// be null.
std::string GetFileName(const std::string& path, std::string* title = nullptr,
                        std::string* extension = nullptr);

// The name without its extension: GetFileTitle("C:\a\b.txt") is "b".
std::string GetFileTitle(const std::string& path);

// GetFilePath(path) + GetFileTitle(path) + "." + extension. An empty
// extension leaves the trailing "."; a path without "\" yields its title
// twice, since GetFilePath returns such a path whole. Callers pass full
// paths.
std::string SetFileExtension(const std::string& path, const std::string& extension);

// Deletes the file, or every file matching a "*" / "?" pattern, read-only and
// hidden ones included (with `clear_attributes` they are made writable
// first). Returns true when nothing of the path is left (!FileExists(path)).
bool DeleteFile(const std::string& path, bool clear_attributes);

}  // namespace tarv

#endif  // TARVPLACES_EXPORT_FILE_HELPERS_H_
