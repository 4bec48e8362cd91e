#include <dlfcn.h>
#include <link.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

#include "platform/known_folders.h"

namespace fs = std::filesystem;

namespace tarv {

fs::path ModuleFolder() {
  Dl_info info{};
  link_map* map = nullptr;
  // Any function of this binary names it. The loader names the program
  // itself as it was started ("tarvplaces" when found on PATH), so the
  // program's own path comes from the kernel.
  if (dladdr1(reinterpret_cast<void*>(&ModuleFolder), &info, reinterpret_cast<void**>(&map),
              RTLD_DL_LINKMAP) == 0) {
    return {};
  }
  const bool program = map == nullptr || map->l_name == nullptr || map->l_name[0] == '\0';
  std::error_code ec;
  const fs::path binary = fs::canonical(program ? "/proc/self/exe" : map->l_name, ec);
  return ec ? fs::path() : binary.parent_path();
}

fs::path UserDataFolder() {
  const char* xdg = std::getenv("XDG_DATA_HOME");
  if (xdg != nullptr && xdg[0] == '/') return fs::path(xdg);
  const char* home = std::getenv("HOME");
  if (home != nullptr && home[0] == '/') return fs::path(home) / ".local" / "share";
  // A service started without HOME still has an entry in the user database.
  std::vector<char> buffer(16384);
  passwd entry{};
  passwd* found = nullptr;
  if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr &&
      found->pw_dir != nullptr && found->pw_dir[0] == '/') {
    return fs::path(found->pw_dir) / ".local" / "share";
  }
  return {};
}

}  // namespace tarv
