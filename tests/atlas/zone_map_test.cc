#include "atlas/zone_map.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>
#include <random>
#include <stdexcept>
#include <vector>

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
    ring.longitudes.push_back(static_cast<std::int32_t>(std::lround(lon * kMapUnitsPerDegree)));
    ring.latitudes.push_back(static_cast<std::int32_t>(std::lround(lat * kMapUnitsPerDegree)));
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
  constexpr std::size_t kTile = kNodes + 9 * 4 + 4;  // after the nodes and the tile's start
  std::string trailing = good + '\0';
  const std::pair<std::string, std::string> kCases[] = {
      {"TPZH" + good.substr(4), "not a zone map"},
      {at(4, "\x03"), "version 3"},
      {good.substr(0, good.size() - 3), "cut off"},
      {at(8, "\x1C\x00"), "sea zone 1 names zone 28 of 28"},
      {at(58, "\xFF\xFF\xFF\x00"), "node count"},
      {at(kNodes + 4 * 4, std::string("\x01\x00\x00\x80", 4)), "out of order"},
      {at(kNodes + 4 * 4, std::string("\x05\x00\x00\x40", 4)), "lies in no box"},
      {at(kNodes + 2 * 4, std::string("\x01\x00\x00\xC0", 4)), "names tile 1 of 1"},
      {at(kNodes + 3 * 4, std::string("\x01\x00\x00\x00", 4)), "sea with a number"},
      {at(kNodes + 9 * 4, std::string("\x01\x00\x00\x00", 4)), "tile 0 starts at 1"},
      {at(kTile + 2, "\x1C\x00"), "tile 0 feature 0 names zone 28 of 28"},
      {at(kTile + 6, "\x02"), "ring of 2 vertices"},
      {at(kTile + 7, "\xFF\xFF\xFF\x7F"), "off the earth"},
      {trailing, "after the last field"}};
  for (const auto& [bytes, why] : kCases) {
    try {
      ZoneMap(bytes, "C:\\Atlas\\Zones.map", 28).CheckEveryTile();
      ADD_FAILURE() << why;
    } catch (const FormatViolation& e) {
      EXPECT_EQ(e.fault().file, "C:\\Atlas\\Zones.map");
      EXPECT_THAT(e.what(), HasSubstr(why));
    }
  }
}

// A process that asks about one city reads one tile: damage elsewhere is
// found by the question that reaches it, every time, and by no other.
TEST(ZoneMap, ADamagedTileFaultsEveryQuestionThatReachesIt) {
  std::string bytes = EncodeZoneMap(SmallMap());
  bytes[66 + 9 * 4 + 4 + 6] = '\x02';  // the first ring: 2 vertices
  const ZoneMap map(bytes, "Zones.map", 28);
  EXPECT_EQ(map.ZoneAt(10, 10), 25);
  EXPECT_EQ(map.ZoneAt(-60, -45), 8);
  for (int i = 0; i < 2; ++i)
    EXPECT_THROW(map.ZoneAt(-50, 45), FormatViolation);
  EXPECT_THROW(map.CheckEveryTile(), FormatViolation);
  EXPECT_EQ(map.ZoneAt(10, 10), 25);
  // Near the tile the search needs it; far from it, it does not.
  EXPECT_THROW(map.ZonesWithin(-50, 45, 5000), FormatViolation);
  EXPECT_THROW(map.ZonesWithin(0.01, 45, 5000), FormatViolation);
  EXPECT_TRUE(map.ZonesWithin(60, 45, 5000).empty());
}

// Metres on the plane about a point at `latitude`, for the cases below.
constexpr double kMetersPerDegree = 6'371'008.8 * std::numbers::pi / 180;
double FlatMeters(double east_degrees, double north_degrees, double latitude) {
  return std::hypot(east_degrees * std::cos(latitude * std::numbers::pi / 180) * kMetersPerDegree,
                    north_degrees * kMetersPerDegree);
}

struct Near {
  std::uint16_t zone;
  double meters;
};

// The answer matches `expected` zone for zone, each distance within 0.1 %.
void ExpectNear(const ZoneMap& map, double lon, double lat, double meters,
                const std::vector<Near>& expected) {
  const auto near = map.ZonesWithin(lon, lat, meters);
  ASSERT_EQ(near.size(), expected.size()) << lon << " " << lat;
  for (std::size_t i = 0; i < near.size(); ++i) {
    EXPECT_EQ(near[i].zone, expected[i].zone) << lon << " " << lat << " #" << i;
    EXPECT_NEAR(near[i].meters, expected[i].meters, expected[i].meters * 1e-3)
        << lon << " " << lat << " #" << i;
  }
}

TEST(ZoneMapNear, FarFromEveryLineThereIsNothing) {
  const ZoneMap map(EncodeZoneMap(SmallMap()), "Zones.map", 28);
  for (const auto& [lon, lat] :
       {std::pair{-50.0, 45.0}, {-90.0, 45.0}, {130.0, 60.0}, {-60.0, -45.0}, {45.0, -20.0}}) {
    EXPECT_TRUE(map.ZonesWithin(lon, lat, 5000).empty()) << lon << " " << lat;
  }
}

TEST(ZoneMapNear, OffTheEarthOrWithoutADistanceThereIsNothing) {
  const ZoneMap map(EncodeZoneMap(SmallMap()), "Zones.map", 28);
  const double near_line = -10.001;  // in Coast, 79 m from the sea
  ASSERT_FALSE(map.ZonesWithin(near_line, 45, 5000).empty());
  EXPECT_TRUE(map.ZonesWithin(near_line, 45, -1).empty());
  EXPECT_TRUE(map.ZonesWithin(near_line, 45, NAN).empty());
  EXPECT_TRUE(map.ZonesWithin(180.0001, 45, 5000).empty());
  EXPECT_TRUE(map.ZonesWithin(-10, 90.0001, 5000).empty());
  EXPECT_TRUE(map.ZonesWithin(NAN, 45, 5000).empty());
  EXPECT_TRUE(map.ZonesWithin(-10, INFINITY, 5000).empty());
}

TEST(ZoneMapNear, AFeaturesEdgeAndTheCoastAKilometreAway) {
  const ZoneMap map(EncodeZoneMap(SmallMap()), "Zones.map", 28);
  const double km_north = 1000 / kMetersPerDegree;
  // North of Coast's northern edge, at sea in the tile; then inside it.
  ExpectNear(map, -50, 80 + km_north, 2000, {{27, 1000}});
  ExpectNear(map, -50, 80 - km_north, 2000, {{9, 1000}});
  // East of its eastern edge, and inside.
  const double km_east = 1000 / (kMetersPerDegree * std::cos(std::numbers::pi / 4));
  ExpectNear(map, -10 + km_east, 45, 2000, {{27, 1000}});
  ExpectNear(map, -10 - km_east, 45, 2000, {{11, 1000}});
  // Too short a distance to reach it.
  EXPECT_TRUE(map.ZonesWithin(-10 + km_east, 45, 990).empty());
}

TEST(ZoneMapNear, AHoleHasTheSurroundingZoneAtItsEdge) {
  const ZoneMap map(EncodeZoneMap(SmallMap()), "Zones.map", 28);
  const double d = FlatMeters(0.01, 0, 45);
  // In the hole (Island), then in Coast beside it; its edges are no coast.
  ExpectNear(map, -99.99, 45, 1000, {{27, d}});
  ExpectNear(map, -100.01, 45, 1000, {{26, d}});
  ExpectNear(map, -80.01, 59.99, 5000, {{27, FlatMeters(0.01, 0, 59.99)}});
}

TEST(ZoneMapNear, WholeBoxesAtTheirRectangles) {
  const ZoneMap map(EncodeZoneMap(SmallMap()), "Zones.map", 28);
  // The south-east's north-west quarter is all Inland, its southern edge
  // halfway between the root's.
  const double edge = -kMapNorth / 2;
  ExpectNear(map, 45, edge - 0.01, 2000, {{25, FlatMeters(0, 0.01, edge)}});
  // The tile's sea beside the all-Inland north-east.
  ExpectNear(map, -0.01, 45, 1000, {{25, FlatMeters(0.01, 0, 45)}});
  // Open sea across a line between nautical zones.
  ExpectNear(map, 7.49, -50, 1000, {{13, FlatMeters(0.01, 0, -50)}});
  ExpectNear(map, 7.51, -50, 1000, {{12, FlatMeters(0.01, 0, -50)}});
}

TEST(ZoneMapNear, SortedEachZoneOnceWithItsNearestBox) {
  const ZoneMap map(EncodeZoneMap(SmallMap()), "Zones.map", 28);
  // Inland lies 111 m east (the south-east's quarter) and 157 m north-east.
  ExpectNear(map, -0.001, -0.001, 1000, {{25, FlatMeters(0.001, 0, 0)}});
  // From the corner of the tile: Inland, then the sea beyond the line at
  // 7.5 W, then Coast's corner.
  const auto near = map.ZonesWithin(-0.001, 0.001, 2'000'000);
  ASSERT_EQ(near.size(), 3u);
  EXPECT_EQ(near[0].zone, 25);
  EXPECT_EQ(near[1].zone, 11);
  EXPECT_NEAR(near[1].meters, FlatMeters(7.499, 0, 0.001), 1);
  EXPECT_EQ(near[2].zone, 27);
  EXPECT_NEAR(near[2].meters, FlatMeters(9.999, 9.999, 0.001), 10);
}

TEST(ZoneMapNear, LongitudesWrapAtThe180thMeridian) {
  const ZoneMap map(EncodeZoneMap(SmallMap()), "Zones.map", 28);
  // Etc/GMT-12's open sea beside Etc/GMT+12's across the line.
  ExpectNear(map, 179.995, -60, 1000, {{0, FlatMeters(360 - 179.995 - kMapEast, 0, -60)}});
  // The tile's sea beside all-Inland.
  ExpectNear(map, -179.995, 45, 1000, {{25, FlatMeters(360 - 179.995 - kMapEast, 0, 45)}});
}

// Zones 0-24 nautical, 25 West, 26 East. The north-east is a tile: West from
// 0 to 20 E, East from 20.001 E (a 107 m seam, as simplifying two outlines
// apart leaves), West again from 40 E and East from 50.02 E (2 km of water),
// all from 10 N to 20 N; a patch of East on the first West, listed after
// it; and East from 20.001 N to 25 N above the first West. The north-west
// is all West; the south-west a tile where West lies from 20 W to 0, 10 S
// to the equator; the rest sea.
ZoneMapData SeamMap() {
  ZoneMapData map;
  for (std::uint16_t i = 0; i < kSeaZoneCount; ++i)
    map.sea[i] = i;
  map.nodes = {
      {Kind::kSplit, 1}, {Kind::kTile, 0}, {Kind::kZone, 25}, {Kind::kTile, 1}, {Kind::kSea, 0}};
  auto box = [](double west, double east, double south = 10, double north = 20) {
    return Ring({{west, south}, {east, south}, {east, north}, {west, north}});
  };
  map.tiles = {{{25, {box(0, 20)}},
                {26, {box(20.001, 30)}},
                {25, {box(40, 50)}},
                {26, {box(50.02, 60)}},
                {26, {box(5, 6, 12, 13)}},
                {26, {box(0, 20, 20.001, 25)}}},
               {{25, {box(-20, 0, -10, 0)}}}};
  return map;
}

TEST(ZoneMapNear, SeamsAreNoSeaButWaterIs) {
  const ZoneMap map(EncodeZoneMap(SeamMap()), "Zones.map", 27);
  ExpectNear(map, 19.99, 15, 5000, {{26, FlatMeters(0.011, 0, 15)}});
  // In the seam itself, at sea.
  ExpectNear(map, 20.0004, 15, 5000,
             {{25, FlatMeters(0.0004, 0, 15)}, {26, FlatMeters(0.0006, 0, 15)}});
  ExpectNear(map, 49.99, 15, 5000, {{15, FlatMeters(0.01, 0, 15)}, {26, FlatMeters(0.03, 0, 15)}});
  // West's edge along the tile's box, beside the all-West north-west: no
  // sea there, but beyond where West ends.
  EXPECT_TRUE(map.ZonesWithin(-0.01, 15, 5000).empty());
  ExpectNear(map, -0.01, 9.99, 5000, {{12, FlatMeters(0.01, 0, 9.99)}});
  // A seam along the box is no sea either.
  ExpectNear(map, -0.01, 20.0005, 5000, {{26, FlatMeters(0.01, 0.0005, 20.0005)}});
  // The line between two nautical zones at 7.5 W meets the south-west's
  // box where West lies, not its sea.
  EXPECT_TRUE(map.ZonesWithin(-7.5, 0.01, 5000).empty());
  // West where East overlaps it: East is there.
  ExpectNear(map, 5.5, 12.5, 5000, {{26, 0}});
}

// An independent reckoning for SmallMap: every region as rectangles or
// rings, in metres on the same plane, longitudes wrapped by trying the
// point 360 degrees either way.
class SmallMapRegions {
 public:
  SmallMapRegions() {
    const ZoneMapData map = SmallMap();
    Boxes(map, 0, -kMapEast, kMapEast, -kMapNorth, kMapNorth);
    for (const auto& feature : map.tiles[0]) {
      std::vector<std::vector<std::pair<double, double>>> rings;
      for (const auto& ring : feature.rings) {
        rings.emplace_back();
        for (std::size_t k = 0; k < ring.longitudes.size(); ++k)
          rings.back().emplace_back(ring.longitudes[k] / 1e5, ring.latitudes[k] / 1e5);
      }
      polygons_.push_back({feature.zone, rings});
    }
  }

  // Each zone within `meters`, but `own`, with its distance.
  std::map<std::uint16_t, double> Within(double lon, double lat, double meters,
                                         std::uint16_t own) const {
    std::map<std::uint16_t, double> best;
    auto note = [&](std::uint16_t zone, double d) {
      if (zone == own || d > meters) return;
      auto [it, added] = best.emplace(zone, d);
      if (!added) it->second = std::min(it->second, d);
    };
    for (const double shift : {0.0, -360.0, 360.0}) {
      const Flat flat{lon + shift, lat};
      for (const auto& r : rects_)
        note(r.zone, flat.ToRect(r.west, r.east, r.south, r.north));
      for (const auto& p : polygons_)
        note(p.zone, flat.ToPolygon(p.rings));
    }
    return best;
  }

 private:
  struct Rect {
    std::uint16_t zone;
    double west, east, south, north;
  };
  struct Polygon {
    std::uint16_t zone;
    std::vector<std::vector<std::pair<double, double>>> rings;
  };
  struct Flat {
    double lon, lat;
    double X(double x) const {
      return (x - lon) * std::cos(lat * std::numbers::pi / 180) * kMetersPerDegree;
    }
    double Y(double y) const { return (y - lat) * kMetersPerDegree; }
    double ToRect(double w, double e, double s, double n) const {
      const double x = std::clamp(lon, w, e), y = std::clamp(lat, s, n);
      return std::hypot(X(x), Y(y));
    }
    double ToSegment(std::pair<double, double> a, std::pair<double, double> b) const {
      const double ax = X(a.first), ay = Y(a.second), bx = X(b.first), by = Y(b.second);
      const double t = std::clamp(
          (-ax * (bx - ax) - ay * (by - ay)) / ((bx - ax) * (bx - ax) + (by - ay) * (by - ay)), 0.0,
          1.0);
      return std::hypot(ax + t * (bx - ax), ay + t * (by - ay));
    }
    double ToPolygon(const std::vector<std::vector<std::pair<double, double>>>& rings) const {
      bool inside = false;
      double d = INFINITY;
      for (const auto& ring : rings) {
        for (std::size_t i = 0; i < ring.size(); ++i) {
          const auto a = ring[i], b = ring[(i + 1) % ring.size()];
          d = std::min(d, ToSegment(a, b));
          if ((a.second > lat) != (b.second > lat) &&
              lon < a.first + (lat - a.second) * (b.first - a.first) / (b.second - a.second)) {
            inside = !inside;
          }
        }
      }
      return inside ? 0 : d;
    }
  };

  // Sea split at the lines between nautical zones.
  void Sea(double w, double e, double s, double n) {
    for (int band = 0; band < 25; ++band) {
      const double west = std::max(w, band == 0 ? -180 : -187.5 + 15 * band);
      const double east = std::min(e, band == 24 ? 180 : -172.5 + 15 * band);
      if (west <= east) rects_.push_back({static_cast<std::uint16_t>(band), west, east, s, n});
    }
  }

  void Boxes(const ZoneMapData& map, std::uint32_t node, double w, double e, double s, double n) {
    const auto& box = map.nodes[node];
    const double lon = (w + e) / 2, lat = (s + n) / 2;
    switch (box.kind) {
      case Kind::kSea:
        Sea(w, e, s, n);
        break;
      case Kind::kZone:
        rects_.push_back({static_cast<std::uint16_t>(box.number), w, e, s, n});
        break;
      case Kind::kSplit:
        Boxes(map, box.number, lon, e, lat, n);
        Boxes(map, box.number + 1, w, lon, lat, n);
        Boxes(map, box.number + 2, w, lon, s, lat);
        Boxes(map, box.number + 3, lon, e, s, lat);
        break;
      case Kind::kTile: {
        // The sea around the tile's square: four strips.
        const auto& square = map.tiles[box.number][0].rings[0];
        const auto [sw, se] =
            std::minmax_element(square.longitudes.begin(), square.longitudes.end());
        const auto [ss, sn] = std::minmax_element(square.latitudes.begin(), square.latitudes.end());
        const double west = *sw / 1e5, east = *se / 1e5, south = *ss / 1e5, north = *sn / 1e5;
        Sea(w, west, s, n);
        Sea(east, e, s, n);
        Sea(west, east, s, south);
        Sea(west, east, north, n);
        break;
      }
    }
  }

  std::vector<Rect> rects_;
  std::vector<Polygon> polygons_;
};

TEST(ZoneMapNear, AgreesWithReckoningEveryRegionOnRandomPoints) {
  const ZoneMap map(EncodeZoneMap(SmallMap()), "Zones.map", 28);
  const SmallMapRegions regions;
  std::mt19937_64 random(20251127);
  std::uniform_real_distribution<double> lon(-180, 180), lat(-89.99, 89.99), scale(2, 6.5);
  std::size_t listed = 0;
  for (int i = 0; i < 3000; ++i) {
    // Near the lines a third of the time, where most of the answers are.
    double x = lon(random), y = lat(random);
    if (i % 3 == 0) {
      const double lines[] = {-170, -100, -80, -10, 0, 7.5, -7.5, 179.9999, -179.9999};
      x = std::clamp(lines[i / 3 % 9] + lon(random) / 1800, -180.0, 180.0);
    }
    const double meters = std::pow(10, scale(random));
    const std::uint16_t own = *map.ZoneAt(x, y);
    const auto expected = regions.Within(x, y, meters, own);
    const auto near = map.ZonesWithin(x, y, meters);
    std::map<std::uint16_t, double> got;
    for (std::size_t k = 0; k < near.size(); ++k) {
      EXPECT_TRUE(got.emplace(near[k].zone, near[k].meters).second) << "twice: " << near[k].zone;
      if (k > 0) {
        EXPECT_LE(near[k - 1].meters, near[k].meters);
      }
    }
    ASSERT_EQ(got.size(), expected.size()) << x << " " << y << " " << meters;
    for (const auto& [zone, d] : expected) {
      ASSERT_TRUE(got.contains(zone)) << x << " " << y << " " << meters << " zone " << zone;
      EXPECT_NEAR(got[zone], d, 1e-6 * meters + 1e-6) << x << " " << y << " zone " << zone;
    }
    listed += near.size();
  }
  EXPECT_GT(listed, 1000u);  // the points found something to compare
}

}  // namespace
}  // namespace tarv
