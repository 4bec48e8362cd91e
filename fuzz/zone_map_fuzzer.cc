// Zone maps and the user's named-zone files from arbitrary bytes: a damaged
// file is a fault naming it or a working file whose answers name zones it
// has, never a crash or a hang.
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "atlas/atlas_fault.h"
#include "atlas/user_zones.h"
#include "atlas/zone_map.h"
#include "fuzz_support.h"

namespace {

constexpr std::size_t kZoneCount = 40;

void CheckMap(std::string_view input) {
  using namespace tarv;
  try {
    const ZoneMap map(input, "Zones.map", kZoneCount);
    // A coarse grid, the poles, the 180th meridian and points off the earth.
    for (double lat = -90; lat <= 90; lat += 22.5) {
      for (double lon = -180; lon <= 180; lon += 22.5) {
        const auto zone = map.ZoneAt(lon, lat);
        FUZZ_CHECK(zone && *zone < kZoneCount);
      }
    }
    FUZZ_CHECK(!map.ZoneAt(180.5, 0) && !map.ZoneAt(0, -90.5));
    // Zones near a few points, across the 180th meridian and by a pole:
    // other zones than the point's, each once, nearest first, none farther
    // than asked.
    const std::pair<double, double> kNear[] = {
        {0, 0}, {-87.35, 41.6}, {179.999, -60}, {11.58, 89.99}};
    for (const auto& [lon, lat] : kNear) {
      const auto near = map.ZonesWithin(lon, lat, 5000);
      const auto own = map.ZoneAt(lon, lat);
      for (std::size_t i = 0; i < near.size(); ++i) {
        FUZZ_CHECK(near[i].zone < kZoneCount && near[i].zone != *own);
        FUZZ_CHECK(near[i].meters >= 0 && near[i].meters <= 5000);
        FUZZ_CHECK(i == 0 || near[i - 1].meters <= near[i].meters);
        for (std::size_t j = 0; j < i; ++j)
          FUZZ_CHECK(near[j].zone != near[i].zone);
      }
    }
    FUZZ_CHECK(map.ZonesWithin(180.5, 0, 5000).empty());
    map.CheckEveryTile();
  } catch (const FormatViolation& e) {
    FUZZ_CHECK(e.fault().file == "Zones.map");
  }
}

void CheckUserZones(std::string_view input) {
  using namespace tarv;
  try {
    const UserZones zones(input, "D.TZN");
    for (const auto& [name, zone] : zones.entries()) {
      FUZZ_CHECK(StorableZoneName(zone));
      FUZZ_CHECK(zones.ZoneOf(name) == zone);
    }
    // What is read back is what writing it again gives.
    FUZZ_CHECK(UserZones(EncodeUserZones(zones.entries()), "D.TZN").entries().size() ==
               zones.entries().size());
  } catch (const FormatViolation& e) {
    FUZZ_CHECK(e.fault().file == "D.TZN");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  CheckMap(input);
  CheckUserZones(input);
  return 0;
}
