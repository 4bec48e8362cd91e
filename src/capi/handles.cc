#include "capi/handles.h"

#include <shared_mutex>
#include <unordered_map>

namespace tarv::capi {
namespace {

// The handles open now. Never destroyed: a host may close handles from its
// own static destructors.
struct Registry {
  std::shared_mutex mutex;
  std::unordered_map<const tarv_atlas*, std::shared_ptr<Handle>> handles;
};

Registry& Handles() {
  static auto* const registry = new Registry;
  return *registry;
}

}  // namespace

Handle::Handle(const std::string& folder, const std::string& user_folder)
    : folder_(folder), user_folder_(user_folder) {
  if (!folder.empty()) atlas_ = Open(folder, language_);
}

std::shared_ptr<Atlas> Handle::Open(const std::string& folder, std::int32_t language) const {
  return std::make_shared<Atlas>(folder, folder == folder_ ? user_folder_ : "", language);
}

void Handle::AskCallback() {
  if (place_path_fn_ == nullptr) return;
  const std::string current = atlas_ ? atlas_->Folder() : std::string();
  const char* proposed = place_path_fn_(place_path_user_, current.c_str());
  if (proposed == nullptr || *proposed == '\0' || current == proposed) return;
  if (!IsUtf8(proposed)) {
    Fail(TARV_E_UTF8, "the place path callback gave a folder that is not UTF-8");
  }
  atlas_ = Open(proposed, language_);
}

std::shared_ptr<Atlas> Handle::AtlasOfCall() {
  const std::lock_guard lock(mutex_);
  if (!atlas_) AskCallback();
  if (!atlas_) {
    Fail(TARV_E_ATLAS, "no atlas folder: open the handle on one or give it a place path callback");
  }
  return atlas_;
}

std::shared_ptr<Atlas> Handle::AtlasOfCountryList() {
  {
    const std::lock_guard lock(mutex_);
    AskCallback();
  }
  return AtlasOfCall();
}

std::string Handle::Folder() {
  const std::lock_guard lock(mutex_);
  if (!atlas_) AskCallback();
  return atlas_ ? atlas_->Folder() : std::string();
}

std::int32_t Handle::Language() {
  const std::lock_guard lock(mutex_);
  return language_;
}

void Handle::SetLanguage(std::int32_t language) {
  const std::lock_guard lock(mutex_);
  if (language == language_) return;
  if (atlas_) atlas_ = Open(atlas_->Folder(), language);
  language_ = language;
}

void Handle::SetPlacePathCallback(tarv_place_path_fn fn, void* user_data) {
  const std::lock_guard lock(mutex_);
  place_path_fn_ = fn;
  place_path_user_ = user_data;
}

tarv_atlas* OpenHandle(const std::string& folder, const std::string& user_folder) {
  auto handle = std::make_shared<Handle>(folder, user_folder);
  auto atlas = std::make_unique<tarv_atlas>();
  Registry& registry = Handles();
  const std::unique_lock lock(registry.mutex);
  registry.handles.emplace(atlas.get(), std::move(handle));
  return atlas.release();
}

void CloseHandle(tarv_atlas* atlas) {
  HandleOf(atlas);
  Registry& registry = Handles();
  {
    const std::unique_lock lock(registry.mutex);
    if (registry.handles.erase(atlas) == 0) {
      Fail(TARV_E_HANDLE, "the atlas handle is closed or was never opened");
    }
  }
  delete atlas;
}

std::shared_ptr<Handle> HandleOf(const tarv_atlas* atlas) {
  Require(atlas, "the atlas handle");
  Registry& registry = Handles();
  const std::shared_lock lock(registry.mutex);
  const auto found = registry.handles.find(atlas);
  if (found == registry.handles.end()) {
    Fail(TARV_E_HANDLE, "the atlas handle is closed or was never opened");
  }
  return found->second;
}

}  // namespace tarv::capi
