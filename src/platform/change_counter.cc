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

std::string WhyNoChangeCounter(std::uint64_t size, std::string_view first_bytes) {
  if (size < kChangeCounterSize) return "is shorter than a change counter";
  if (first_bytes.substr(0, kChangeCounterMagic.size()) != kChangeCounterMagic) {
    return "is not a change counter (its first bytes are not \"TPCHANGE\")";
  }
  return {};
}

bool BumpChangeCounter(const std::filesystem::path& user_folder) {
  const auto counter = ChangeCounter::Map(user_folder, /*create=*/true);
  return counter != nullptr && counter->Bump();
}

}  // namespace tarv
