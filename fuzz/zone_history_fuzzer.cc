// Zone histories, place zone files and POSIX TZ rules from arbitrary bytes:
// a damaged file is a fault naming it or a working file whose answers
// keep their promises, never a crash or a hang; a rule text parses or not.
#include <cstdint>
#include <string>
#include <string_view>

#include "atlas/atlas_fault.h"
#include "atlas/posix_tz.h"
#include "atlas/zone_history.h"
#include "fuzz_support.h"

namespace {

constexpr std::size_t kZoneCount = 287;

// Instants around what histories hold: the 1800s, 1970, 2037 and far later.
constexpr std::int64_t kInstants[] = {-5364662400, -1,         0,          1000000000,
                                      2145916800,  4102444800, 32503680000};

void CheckHistories(std::string_view input) {
  using namespace tarv;
  try {
    const ZoneHistories histories(input, "Zones.hst", kZoneCount);
    for (std::size_t z = 0; z < histories.size() && z < 8; ++z) {
      const ZoneHistory& zone = histories[z];
      FUZZ_CHECK(!zone.periods.empty());
      for (const std::int64_t at : kInstants) {
        const HistoryAnswer answer = histories.At(z, at);
        FUZZ_CHECK(answer.zone_name == zone.name);
        FUZZ_CHECK(answer.entry >= 0 && static_cast<std::size_t>(answer.entry) < kZoneCount);
        // An offset of a listed period, or of the rule's two times.
        bool known = false;
        for (const auto& p : zone.periods)
          known = known || p.utc_offset == answer.utc_offset;
        if (const auto rule = PosixTzRule::Parse(zone.rule)) {
          known = known || answer.utc_offset == rule->standard_offset() ||
                  answer.utc_offset == rule->daylight_offset();
        }
        FUZZ_CHECK(known);
      }
    }
  } catch (const FormatViolation& e) {
    FUZZ_CHECK(e.fault().file == "Zones.hst");
  }
  try {
    const PlaceZones zones(input, "D.TZP", 16);
    for (std::int32_t r = -1; r <= zones.RecordCount() + 1 && r < 64; ++r) {
      if (const auto zone = zones.ZoneOf(r)) FUZZ_CHECK(*zone < 16);
    }
    if (const auto zone = zones.ZoneOfTimetable(0)) FUZZ_CHECK(*zone < 16);
  } catch (const FormatViolation& e) {
    FUZZ_CHECK(e.fault().file == "D.TZP");
  }
}

void CheckRule(std::string_view input) {
  const auto rule = tarv::PosixTzRule::Parse(input);
  if (!rule) return;
  for (const int year : {1900, 2038, 2100, 9999}) {
    const auto changes = rule->ChangesIn(year);
    FUZZ_CHECK(changes.size() == 0 || changes.size() == 2);
    if (changes.size() == 2) FUZZ_CHECK(changes[0].at <= changes[1].at);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  CheckHistories(input);
  if (size <= 64) CheckRule(input);
  return 0;
}
