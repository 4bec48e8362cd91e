// Folders the system knows for a program: where the component's own binary
// lies (an installed atlas sits at a fixed place beside it) and where the
// user's own data goes (user places of an atlas installed read-only).
#ifndef TARVPLACES_PLATFORM_KNOWN_FOLDERS_H_
#define TARVPLACES_PLATFORM_KNOWN_FOLDERS_H_

#include <filesystem>

namespace tarv {

// The folder of the binary this code was linked into: the shared library
// (libtarvplaces.so, tarvplaces.dll) or the program that linked the static
// library. Empty when the system cannot tell.
std::filesystem::path ModuleFolder();

// The user's data folder: $XDG_DATA_HOME, else $HOME/.local/share (an
// XDG_DATA_HOME that is not absolute is ignored, as the XDG rules say); on
// Windows the roaming application data folder (%APPDATA%). Empty when
// neither can be found.
std::filesystem::path UserDataFolder();

}  // namespace tarv

#endif  // TARVPLACES_PLATFORM_KNOWN_FOLDERS_H_
