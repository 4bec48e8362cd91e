#include "platform/change_counter.h"

#include <atomic>

namespace tarv {
namespace {

std::uint64_t* CounterIn(void* mapping) {
  return reinterpret_cast<std::uint64_t*>(static_cast<char*>(mapping) + kChangeCounterMagic.size());
}

}  // namespace

std::uint64_t ChangeCounter::Value() const noexcept {
  return std::atomic_ref<std::uint64_t>(*CounterIn(mapping_)).load(std::memory_order_acquire);
}

bool ChangeCounter::Bump() noexcept {
  if (!writable_) return false;
  std::atomic_ref<std::uint64_t>(*CounterIn(mapping_)).fetch_add(1, std::memory_order_acq_rel);
  return true;
}

bool BumpChangeCounter(const std::filesystem::path& user_folder) {
  const auto counter = ChangeCounter::Map(user_folder, /*create=*/true);
  return counter != nullptr && counter->Bump();
}

}  // namespace tarv
