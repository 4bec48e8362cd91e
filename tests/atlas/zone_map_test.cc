#include "atlas/zone_map.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

#include "atlas/atlas_fault.h"
#include "text/bytes.h"

namespace tarv {
namespace {

using Kind = ZoneMapData::NodeKind;
using ::testing::HasSubstr;

// A ring of whole degrees.
ZoneMapData::Ring Ring(std::initializer_list<std::pair<double, double>> points) {
  ZoneMapData::Ring ring;
  for (const auto& [lon, lat] : points) {
    ring.longitudes.push_back(static_cast<std::int32_t>(lon * kMapUnitsPerDegree));
    ring.latitudes.push_back(static_cast<std::int32_t>(lat * kMapUnitsPerDegree));
  }
  return ring;
}

// Zones 0-24 are the nautical zones, 25 "Inland", 26 "Island", 27 "Coast".
// The root splits in four: the north-east is all Inland; the north-west a
// tile where Coast holds a square from 170 W to 10 W, 10 N to 80 N, with a
// hole from 100 W to 80 W (Island, a feature listed after the square); the
// south-west is open sea; the south-east splits again, its north-west
// quarter all Inland, the rest sea.
ZoneMapData SmallMap() {
  ZoneMapData map;
  for (std::uint16_t i = 0; i < kSeaZoneCount; ++i)
    map.sea[i] = i;
  map.nodes = {{Kind::kSplit, 1}, {Kind::kZone, 25}, {Kind::kTile, 0},
               {Kind::kSea, 0},   {Kind::kSplit, 5}, {Kind::kSea, 0},
               {Kind::kZone, 25}, {Kind::kSea, 0},   {Kind::kSea, 0}};
  map.tiles = {{{27,
                 {Ring({{-170, 10}, {-10, 10}, {-10, 80}, {-170, 80}}),
                  Ring({{-100, 30}, {-80, 30}, {-80, 60}, {-100, 60}})}},
                {26, {Ring({{-100, 30}, {-80, 30}, {-80, 60}, {-100, 60}})}}}};
  return map;
}

TEST(ZoneMap, AnswersEachKindOfBoxAndTheSeaByLongitude) {
  const ZoneMap map(EncodeZoneMap(SmallMap()), "Zones.map", 28);
  const struct {
    double lon, lat;
    std::optional<std::uint16_t> zone;
  } kCases[] = {{10, 10, 25},
                {179.9999, 89.9999, 25},
                {180, 90, 25},  // all Inland, corners clamped
                {-50, 45, 27},
                {-10.00001, 79.99999, 27},  // in the square
                {-90, 45, 26},
                {-100, 45, 26},  // the hole: Island's
                {-175, 45, 0},
                {-5, 5, 12},
                {-7.5, 5, 12},
                {-7.50001, 5, 11},  // sea beside it
                {-60, -45, 8},
                {-180, -45, 0},  // the open south-west
                {45, -40, 25},
                {45, -45, 15},
                {135, -45, 21},
                {172.5, -80, 24},
                {180, -80, 0},  // the south-east
                {180.0001, 0, std::nullopt},
                {0, -90.5, std::nullopt},
                {NAN, 0, std::nullopt}};
  for (const auto& c : kCases)
    EXPECT_EQ(map.ZoneAt(c.lon, c.lat), c.zone) << c.lon << " " << c.lat;
}

TEST(ZoneMap, RefusesWhatTheFormatCannotHold) {
  ZoneMapData back = SmallMap();
  back.nodes[4].number = 2;
  ZoneMapData no_tile = SmallMap();
  no_tile.nodes[2].number = 1;
  ZoneMapData thin = SmallMap();
  thin.tiles[0][1].rings[0].longitudes.resize(2);
  thin.tiles[0][1].rings[0].latitudes.resize(2);
  for (const ZoneMapData& map : {back, no_tile, thin, ZoneMapData{}})
    EXPECT_THROW(EncodeZoneMap(map), std::invalid_argument);
}

TEST(ZoneMap, DamagedBytesAreFaultsNamingTheFile) {
  const std::string good = EncodeZoneMap(SmallMap());
  auto at = [&](std::size_t offset, std::string_view bytes) {
    return good.substr(0, offset) + std::string(bytes) + good.substr(offset + bytes.size());
  };
  constexpr std::size_t kNodes = 66;
  std::string trailing = good + '\0';
  const std::pair<std::string, std::string> kCases[] = {
      {"TPZH" + good.substr(4), "not a zone map"},
      {at(4, "\x02"), "version 2"},
      {good.substr(0, good.size() - 3), "cut off"},
      {at(8, "\x1C\x00"), "sea zone 1 names zone 28 of 28"},
      {at(58, "\xFF\xFF\xFF\x00"), "node count"},
      {at(kNodes + 4 * 4, std::string("\x01\x00\x00\x80", 4)), "out of order"},
      {at(kNodes + 4 * 4, std::string("\x05\x00\x00\x40", 4)), "lies in no box"},
      {at(kNodes + 2 * 4, std::string("\x01\x00\x00\xC0", 4)), "names tile 1 of 1"},
      {at(kNodes + 3 * 4, std::string("\x01\x00\x00\x00", 4)), "sea with a number"},
      {at(kNodes + 9 * 4 + 6, "\x02"), "ring of 2 vertices"},
      {at(kNodes + 9 * 4 + 7, "\xFF\xFF\xFF\x7F"), "off the earth"},
      {trailing, "after the last field"}};
  for (const auto& [bytes, why] : kCases) {
    try {
      ZoneMap(bytes, "C:\\Atlas\\Zones.map", 28);
      ADD_FAILURE() << why;
    } catch (const FormatViolation& e) {
      EXPECT_EQ(e.fault().file, "C:\\Atlas\\Zones.map");
      EXPECT_THAT(e.what(), HasSubstr(why));
    }
  }
}

}  // namespace
}  // namespace tarv
