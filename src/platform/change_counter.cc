#include "platform/change_counter.h"

namespace tarv {
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
