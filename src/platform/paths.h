// Windows-style atlas paths on the real file system.
//
// The component composes paths the way its hosts expect: the place folder as
// the host gave it, "\" between folder and file, names compared without regard
// to case. NativePath is the one place where such a path meets the file
// system; every file the component opens goes through it. On Windows that is
// the path as it stands (paths_windows.cc); elsewhere "\" becomes "/" and
// names are matched without regard to case (paths_posix.cc).
//
// Paths are UTF-8 text (utf8_path.h).
#ifndef TARVPLACES_PLATFORM_PATHS_H_
#define TARVPLACES_PLATFORM_PATHS_H_

#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "platform/device_names.h"
#include "platform/utf8_path.h"

namespace tarv {

// A key under which every spelling of one file on disk is the same: the
// path as it stands where the file system tells case apart (NativePath has
// found the spelling on disk), the path in capitals by the file system's own
// rules on Windows, where "D.DA_" and "d.da_" are one file.
std::string FileKey(std::string native_path);

// Maps a Windows-style path (UTF-8) to the file system: every "\" becomes a
// "/". When that path does not exist, each component is resolved without
// regard to case against the entries of its parent folder, so "d" finds
// "D.dao"'s sibling "d.dao" and "USER\D.dao" finds "user/d.DAO". Components
// that match nothing are kept as written (the path then names a file that
// does not exist yet, e.g. a user file about to be created). When several
// entries differ only in case, the exact spelling wins, then the first in
// byte order. Example: NativePath("/atlas\\USER\\d.dao") is
// "/atlas/User/D.dao" when that is the spelling on disk.
std::filesystem::path NativePath(std::string_view windows_path);

// True when NativePath found `windows_path` missing before and the deepest
// folder of it that exists (spelled as written) has not changed since, so it
// is missing still: one look at that folder instead of one per spelling.
bool KnownMissing(std::string_view windows_path);

// The path with every "\" turned into "/", nothing resolved: the first
// guess of NativePath, for callers that stat it themselves.
std::filesystem::path SlashedPath(std::string_view windows_path);
// The same as a plain string, for callers that only need its text.
std::string SlashedString(std::string_view windows_path);

// Keeps the files under `windows_folder` (a folder as the component composes
// its paths, "C:\Atlas\USER") in `native_folder` (UTF-8) instead: an atlas
// installed read-only keeps its user places in the user's own data folder.
// NativePath, SlashedPath, SlashedString and KnownMissing map every path
// under it. A folder keeps the place it was first given for the life of the
// process, so that every atlas object on it reads and writes the same files;
// another place for it throws std::invalid_argument.
void MountFolder(std::string windows_folder, std::string native_folder);

// `windows_path` with a mounted folder at its start replaced by its place.
std::string MountedPath(std::string_view windows_path);

// Creates the USER folder `windows_folder` ("C:\Atlas\USER") where it does
// not exist. Only that folder is made in an atlas folder: an atlas folder
// that vanished is not made up again. One kept in the user's data folder
// (MountFolder) is made with the folders above it, which a new account may
// not have yet.
void CreateUserFolder(std::string_view windows_folder, std::error_code& ec);

// Names (UTF-8) of the entries of a folder as the system lists them, not
// sorted and not cached; empty when the folder cannot be read.
std::vector<std::string> ReadFolderNames(const std::filesystem::path& folder);

// Names (UTF-8) of the entries of a folder, sorted by byte order; empty when
// the folder cannot be read. Listings are cached per folder and refreshed
// when the folder's modification time changes.
std::vector<std::string> ListDirectory(const std::filesystem::path& folder);

// True when the two file names (UTF-8) are equal without regard to case
// (Unicode case folding).
bool SameFileName(std::string_view a, std::string_view b);

}  // namespace tarv

#endif  // TARVPLACES_PLATFORM_PATHS_H_
