#include <dlfcn.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

#include "platform/known_folders.h"

namespace fs = std::filesystem;

namespace tarv {

fs::path ModuleFolder() {
  Dl_info info{};
  // Any function of this binary names it.
  if (dladdr(reinterpret_cast<void*>(&ModuleFolder), &info) == 0 || info.dli_fname == nullptr)
    return {};
  std::error_code ec;
  const fs::path binary = fs::canonical(info.dli_fname, ec);
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
