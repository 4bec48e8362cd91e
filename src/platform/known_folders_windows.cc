#include <windows.h>
//
#include <knownfolders.h>
#include <shlobj.h>

#include <string>

#include "platform/known_folders.h"

namespace fs = std::filesystem;

namespace tarv {

fs::path ModuleFolder() {
  HMODULE module = nullptr;
  // Any function of this binary names it; its count of references stays.
  if (!GetModuleHandleExW(
          GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
          reinterpret_cast<LPCWSTR>(&ModuleFolder), &module)) {
    return {};
  }
  std::wstring name(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = GetModuleFileNameW(module, name.data(), static_cast<DWORD>(name.size()));
    if (length == 0) return {};
    if (length < name.size()) {
      name.resize(length);
      return fs::path(name).parent_path();
    }
    name.resize(name.size() * 2);
  }
}

fs::path UserDataFolder() {
  PWSTR folder = nullptr;
  fs::path result;
  if (SUCCEEDED(SHGetKnownFolderPath(FOLDERID_RoamingAppData, 0, nullptr, &folder)))
    result = fs::path(folder);
  CoTaskMemFree(folder);
  return result;
}

}  // namespace tarv
