// Writes a small zone map for an atlas, so that the C and Python hosts can
// be tested on coordinates whose zone differs from the nearest place's:
//
//   tarvplaces_test_zone_map ATLAS OUT   (OUT: the Zones.map to write)
//
// Around Berlin (13-14 east, 52-53 north) the map says America/Chicago, the
// rest of 5-16 east, 47-55 north is Europe/Berlin; everything else is open
// sea, Africa/Abidjan (UTC). Zone numbers come from ATLAS/Zones.hst.
#include <cstdint>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <limits>
#include <stdexcept>
#include <string>

#include "atlas/zone_history.h"
#include "atlas/zone_map.h"
#include "text/lz.h"

namespace {

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot read " + path);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::uint16_t NumberOf(const tarv::ZoneHistories& zones, const std::string& name) {
  for (std::size_t i = 0; i < zones.size(); ++i) {
    if (zones[i].name == name) return static_cast<std::uint16_t>(i);
  }
  throw std::runtime_error("Zones.hst has no zone " + name);
}

// A box in whole 1e-5 degrees.
tarv::ZoneMapData::Feature Box(std::uint16_t zone, int west, int east, int south, int north) {
  constexpr std::int32_t k = 100'000;
  tarv::ZoneMapData::Ring ring;
  ring.longitudes = {west * k, east * k, east * k, west * k};
  ring.latitudes = {south * k, south * k, north * k, north * k};
  return {zone, {ring}};
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s ATLAS OUT\n", argv[0]);
    return 2;
  }
  try {
    const std::string file = std::string(argv[1]) + "/" + tarv::kZoneHistoryFile;
    std::int32_t error = 0;
    const std::string bytes = tarv::ExpandSzdd(ReadFile(file), error);
    if (error != 0) throw std::runtime_error("cannot expand " + file);
    const tarv::ZoneHistories zones(bytes, file, std::numeric_limits<std::size_t>::max());

    tarv::ZoneMapData map;
    // The atlas keeps no Etc/GMT zones: a zone of UTC all year stands for
    // each nautical one.
    map.sea.fill(NumberOf(zones, "Africa/Abidjan"));
    map.nodes = {{tarv::ZoneMapData::NodeKind::kTile, 0}};
    // The first feature holding a point gives its zone.
    map.tiles = {{Box(NumberOf(zones, "America/Chicago"), 13, 14, 52, 53),
                  Box(NumberOf(zones, "Europe/Berlin"), 5, 16, 47, 55)}};

    std::ofstream out(argv[2], std::ios::binary);
    out << tarv::CompressSzdd(tarv::EncodeZoneMap(map));
    if (!out.flush()) throw std::runtime_error(std::string("cannot write ") + argv[2]);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "%s\n", e.what());
    return 1;
  }
  return 0;
}
