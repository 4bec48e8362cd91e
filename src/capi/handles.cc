#include "capi/handles.h"

#include <filesystem>
#include <memory>
#include <unordered_set>

#include "atlas/atlas_state.h"

namespace tarv::capi {
namespace {

// The handles open now, under the call lock. Never destroyed, like the lock.
std::unordered_set<const tarv_atlas*>& OpenHandles() {
  static auto* const handles = new std::unordered_set<const tarv_atlas*>;
  return *handles;
}

// A fresh process state for another atlas; the host's language stays.
void StartOver() {
  const std::int32_t language = CurrentAtlas().Language().Language();
  ResetDefaultAtlas();
  CurrentAtlas().Language().SetLanguage(language);
}

void RequireAtlasFiles(const std::string& folder) {
  for (const char* file : {"Country.dat", "Zones13.bin"}) {
    const std::filesystem::path path = std::filesystem::path(folder) / file;
    std::error_code ec;
    if (!std::filesystem::is_regular_file(path, ec)) {
      Fail(TARV_E_ATLAS, "no atlas at \"" + folder + "\": " + path.string() +
                             " is missing (build one with \"tarvplaces build-atlas --out DIR\")");
    }
  }
}

std::string InUse(const std::string& wanted) {
  return "cannot use the atlas \"" + wanted + "\": this process has the atlas \"" +
         CurrentAtlas().places_path + "\" open, and it holds one atlas at a time: close its handles first";
}

}  // namespace

tarv_atlas* OpenHandle(const std::string& folder) {
  const auto& open = OpenHandles();
  if (!folder.empty()) {
    if (!open.empty() && CurrentAtlas().places_path != folder) Fail(TARV_E_ATLAS_IN_USE, InUse(folder));
    RequireAtlasFiles(folder);
  }
  // Tables of a folder no handle uses any more must not answer for another.
  if (open.empty() && (folder.empty() || CurrentAtlas().places_path != folder)) StartOver();
  auto atlas = std::make_unique<tarv_atlas>();
  if (!folder.empty()) {
    atlas->places.PlacePath(folder);
    // Malformed tables fail here rather than in the first lookup.
    atlas->places.GetCountryID("");
    atlas->places.GetTimezoneId("");
  }
  OpenHandles().insert(atlas.get());
  return atlas.release();
}

void CloseHandle(tarv_atlas* atlas) {
  CheckOpen(atlas);
  OpenHandles().erase(atlas);
  delete atlas;
}

void SetPlacePathCallback(tarv_atlas& atlas, tarv_place_path_fn fn, void* user_data) {
  atlas.place_path_fn = fn;
  atlas.place_path_user = user_data;
  if (fn == nullptr) {
    atlas.places.FillPlacePath = nullptr;
    return;
  }
  atlas.places.FillPlacePath = [&atlas](std::string& folder) {
    const char* proposed = atlas.place_path_fn(atlas.place_path_user, folder.c_str());
    if (proposed == nullptr || *proposed == '\0' || folder == proposed) return;
    if (!IsUtf8(proposed)) {
      Fail(TARV_E_UTF8, "the place path callback gave a folder that is not UTF-8");
    }
    // The open handles share the folder whose tables are loaded.
    if (!folder.empty()) Fail(TARV_E_ATLAS_IN_USE, InUse(proposed));
    folder = proposed;
  };
}

void CheckOpen(const tarv_atlas* atlas) {
  Require(atlas, "the atlas handle");
  if (OpenHandles().count(atlas) == 0) {
    Fail(TARV_E_HANDLE, "the atlas handle is closed or was never opened");
  }
}

}  // namespace tarv::capi
