#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "interface/install_paths.h"
#include "platform/known_folders.h"
#include "platform/utf8_path.h"
#include "tarvplaces/atlas.h"

namespace fs = std::filesystem;

namespace tarv {

AtlasLocation InstalledAtlasBeside(const fs::path& binary_folder) {
  if (binary_folder.empty()) return {};
  // "atlas" beside the binary: the Python package's layout.
  for (const char* relative : {kAtlasFromLibraryFolder, kAtlasFromProgramFolder, "atlas"}) {
    const fs::path folder = (binary_folder / relative).lexically_normal();
    std::error_code ec;
    if (!fs::is_regular_file(folder / "Country.dat", ec)) continue;
    // Installed atlases are the system's: what the user adds is the user's.
    const fs::path data = UserDataFolder();
    if (data.empty()) return {Utf8OfPath(folder), ""};
    return {Utf8OfPath(folder), Utf8OfPath(data / "tarvplaces" / "USER")};
  }
  return {};
}

AtlasLocation DefaultAtlasLocation() {
  const char* named = std::getenv("TARV_ATLAS");
  if (named != nullptr && *named != '\0') return {named, ""};
  return InstalledAtlasBeside(ModuleFolder());
}

}  // namespace tarv
