#include "atlas/atlas_state.h"

#include "atlas/atlas_fault.h"
#include "platform/file_status.h"
#include "platform/paths.h"

namespace tarv {
namespace {

thread_local AtlasState* t_current = nullptr;

std::unique_ptr<AtlasState>& DefaultSlot() {
  static auto* const slot = new std::unique_ptr<AtlasState>(std::make_unique<AtlasState>());
  return *slot;
}

}  // namespace

AtlasState::AtlasState(std::string folder)
    : places_path(std::move(folder)), language_(std::make_unique<TarvLanguage>()) {}

AtlasState::~AtlasState() = default;

void AtlasState::TablesChanged() {
  static std::atomic<std::uint64_t> versions{0};
  tables_version = ++versions;
}

WatchedFolder& AtlasState::UserWatch() {
  Watch* watch = watch_.load(std::memory_order_acquire);
  if (watch != nullptr && watch->places_path == places_path) return watch->folder;
  const std::lock_guard<std::mutex> lock(derived_mutex_);
  watch = watch_.load(std::memory_order_relaxed);
  if (watch != nullptr && watch->places_path == places_path) return watch->folder;
  std::string folder = places_path;
  if (folder.empty() || folder.back() != '\\') folder += '\\';
  watches_.push_back(std::unique_ptr<Watch>(
      new Watch{places_path, WatchedFolder(folder + "USER", NativePath, CreateUserFolder)}));
  watch_.store(watches_.back().get(), std::memory_order_release);
  return watches_.back()->folder;
}

std::size_t AtlasState::NextDerivedSlot() {
  static std::atomic<std::size_t> next{0};
  const std::size_t slot = next++;
  if (slot >= kDerivedSlots) std::abort();  // a new kind of derived data needs a slot
  return slot;
}

void* AtlasState::MakeDerived(std::size_t slot, std::shared_ptr<void> (*make)()) {
  const std::lock_guard<std::mutex> lock(derived_mutex_);
  void* made = derived_[slot].load(std::memory_order_relaxed);
  if (made == nullptr) {
    owned_[slot] = make();
    made = owned_[slot].get();
    derived_[slot].store(made, std::memory_order_release);
  }
  return made;
}

AtlasState& CurrentAtlas() {
  return t_current != nullptr ? *t_current : DefaultAtlas();
}

AtlasState& DefaultAtlas() {
  return *DefaultSlot();
}

AtlasScope::AtlasScope(AtlasState& atlas) : outer_(t_current), images_(atlas.images.get()) {
  t_current = &atlas;
}

AtlasScope::~AtlasScope() {
  t_current = outer_;
}

void ResetDefaultAtlas() {
  DefaultSlot() = std::make_unique<AtlasState>();
  ClearAtlasFault();
  ForgetFileStatuses();
}

std::string AtlasFolder(std::string path) {
  if (path.empty()) path = CurrentAtlas().places_path;
  if (path.empty() || path.back() != '\\') path += '\\';
  return path;
}

}  // namespace tarv
