#include "platform/folder_watch.h"

namespace tarv {

// Readers on Windows follow the change counter (see the header).
std::unique_ptr<FolderWatch> FolderWatch::Start(const std::filesystem::path&) {
  return nullptr;
}

FolderWatch::~FolderWatch() = default;

void FolderWatch::Rewatch() noexcept {}

std::uint64_t FolderWatch::Changes() noexcept {
  return changes_.load(std::memory_order_relaxed);
}

}  // namespace tarv
