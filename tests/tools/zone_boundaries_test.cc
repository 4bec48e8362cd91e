#include "atlas/zone_boundaries.h"

#include <gtest/gtest.h>

// Boost.Geometry's overlay leaves a factor GCC cannot prove set.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#include <boost/geometry.hpp>
#pragma GCC diagnostic pop

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>

#include "atlas/zone_map.h"
#include "atlas/zone_map_builder.h"
#include "tarvplaces/atlas_error.h"

namespace tarv {

// Maps in failures as their nodes and rings.
void PrintTo(const ZoneMapData& map, std::ostream* out) {
  for (const auto& node : map.nodes)
    *out << static_cast<int>(node.kind) << ":" << node.number << " ";
  for (const auto& tile : map.tiles) {
    *out << "| tile";
    for (const auto& feature : tile) {
      *out << " zone " << feature.zone;
      for (const auto& ring : feature.rings) {
        *out << " ring";
        for (std::size_t i = 0; i < ring.longitudes.size(); ++i)
          *out << " (" << ring.longitudes[i] << "," << ring.latitudes[i] << ")";
      }
    }
  }
}

namespace atlas {
namespace {

// A tile as geobuf writes it, byte by byte: keys ["tzid"], precision 1, one
// Polygon feature (0,0) (1,0) (0,1) whose tzid is "X/Y".
const std::string kTriangleTile(
    "\x0A\x04tzid"                      // key 0
    "\x18\x01"                          // precision: tenths of a degree
    "\x22\x19"                          // the feature collection
    "\x0A\x17"                          // a feature
    "\x0A\x0A"                          // its geometry
    "\x08\x04"                          // a Polygon
    "\x1A\x06\x00\x00\x14\x00\x13\x14"  // zigzag deltas (0,0) (+10,0) (-10,+10)
    "\x6A\x05\x0A\x03X/Y"               // value 0: "X/Y"
    "\x72\x02\x00\x00",                 // property: key 0 = value 0
    35);

// Writes geobuf for tests that need more than a triangle.
struct Writer {
  static std::string Varint(std::uint64_t v) {
    std::string out;
    for (; v >= 0x80; v >>= 7)
      out += static_cast<char>((v & 0x7F) | 0x80);
    return out + static_cast<char>(v);
  }
  static std::string Bytes(int field, const std::string& bytes) {
    return Varint(static_cast<std::uint64_t>(field) << 3 | 2) + Varint(bytes.size()) + bytes;
  }
  static std::string Number(int field, std::uint64_t v) {
    return Varint(static_cast<std::uint64_t>(field) << 3) + Varint(v);
  }
  using Ring = std::vector<std::pair<double, double>>;  // longitude, latitude; not closed
  // A MultiPolygon of polygons, each its outer ring and holes, at precision 6.
  static std::string Feature(const std::string& zone, const std::vector<std::vector<Ring>>& shape) {
    std::string lengths = Varint(shape.size()), coords;
    for (const auto& polygon : shape) {
      lengths += Varint(polygon.size());
      for (const auto& ring : polygon) {
        lengths += Varint(ring.size());
        std::int64_t x = 0, y = 0;
        for (const auto& [lon, lat] : ring) {
          const auto nx = std::llround(lon * 1e6), ny = std::llround(lat * 1e6);
          for (const std::int64_t d : {nx - x, ny - y})
            coords += Varint(static_cast<std::uint64_t>((d << 1) ^ (d >> 63)));
          x = nx;
          y = ny;
        }
      }
    }
    const std::string geometry = Number(1, 5) + Bytes(2, lengths) + Bytes(3, coords);
    return Bytes(1, geometry) + Bytes(13, Bytes(1, zone)) + Bytes(14, std::string("\0\0", 2));
  }
  static std::string Tile(const std::vector<std::string>& features) {
    std::string collection;
    for (const auto& f : features)
      collection += Bytes(1, f);
    return Bytes(1, "tzid") + Bytes(4, collection);
  }
};

TEST(BoundaryTile, DecodesAPolygonClosedAndOriented) {
  const auto features = DecodeBoundaryTile(kTriangleTile, "tile");
  ASSERT_EQ(features.size(), 1U);
  EXPECT_EQ(features[0].zone, "X/Y");
  ASSERT_EQ(features[0].shape.size(), 1U);
  const auto& outer = features[0].shape[0].outer();
  ASSERT_EQ(outer.size(), 4U);  // the closing vertex added back
  EXPECT_EQ(outer.front().x(), outer.back().x());
  EXPECT_TRUE(boost::geometry::covered_by(GeoPoint(0.2, 0.2), features[0].shape));
  EXPECT_TRUE(boost::geometry::covered_by(GeoPoint(0.5, 0.5), features[0].shape));  // the edge
  EXPECT_FALSE(boost::geometry::covered_by(GeoPoint(0.8, 0.8), features[0].shape));
}

TEST(BoundaryTile, DecodesMultiPolygonsWithHoles) {
  const Writer::Ring square{{0, 0}, {0, 4}, {4, 4}, {4, 0}};
  const Writer::Ring hole{{1, 1}, {3, 1}, {3, 3}, {1, 3}};
  const Writer::Ring island{{10, 10}, {11, 10}, {10, 11}};
  const auto features =
      DecodeBoundaryTile(Writer::Tile({Writer::Feature("A/B", {{square, hole}, {island}})}), "t");
  ASSERT_EQ(features.size(), 1U);
  const auto& shape = features[0].shape;
  ASSERT_EQ(shape.size(), 2U);
  EXPECT_EQ(shape[0].inners().size(), 1U);
  EXPECT_TRUE(boost::geometry::covered_by(GeoPoint(0.5, 0.5), shape));
  EXPECT_FALSE(boost::geometry::covered_by(GeoPoint(2, 2), shape));
  EXPECT_TRUE(boost::geometry::covered_by(GeoPoint(10.2, 10.2), shape));
}

TEST(BoundaryTile, BrokenBytesNameTheFileAndTheFault) {
  auto fault = [](const std::string& bytes) {
    try {
      DecodeBoundaryTile(bytes, "geo.dat at byte 7");
    } catch (const AtlasError& e) {
      EXPECT_EQ(e.file(), "geo.dat at byte 7");
      return e.problem();
    }
    return std::string("no fault");
  };
  EXPECT_NE(fault(kTriangleTile.substr(0, 30)).find("past its end"), std::string::npos);
  const std::string feature = Writer::Feature("A/B", {{{{0, 0}, {0, 1}, {1, 0}}}});
  EXPECT_NE(fault(Writer::Bytes(1, "name") + Writer::Bytes(4, Writer::Bytes(1, feature)))
                .find("without a tzid"),
            std::string::npos);
  std::string long_ring = kTriangleTile;
  long_ring.insert(16, "\x12\x01\x04", 3);  // ring lengths: one ring of 4 vertices
  long_ring[13] += 3;                       // the geometry,
  long_ring[11] += 3;                       // the feature
  long_ring[9] += 3;                        // and the collection grow
  EXPECT_NE(fault(long_ring).find("exceed"), std::string::npos);
  EXPECT_NE(fault(std::string("\x22\x80", 2)).find("past its end"), std::string::npos);
  EXPECT_NE(fault(Writer::Bytes(1, "tzid")).find("no feature collection"), std::string::npos);
  EXPECT_EQ(fault(Writer::Tile({})), "no fault");
}

// Made-up boundaries: the north-east quarter of the earth a tile, the
// north-west all of zone Z/B, the south-west open sea, the south-east a tile
// of one speck of land.
class MadeUpBoundaries : public ::testing::Test {
 protected:
  static ZoneBoundaries Make(const std::vector<std::string>& north_east) {
    const std::string ne = Writer::Tile(north_east);
    const std::string se = Writer::Tile({Writer::Feature("Z/B", {{kSpeck}})});
    const std::string index = R"({"timezones": ["Z/A", "Z/B"], "lookup": {
        "a": {"pos": 0, "len": )" +
                              std::to_string(ne.size()) + R"(}, "b": [1], "d": {"pos": )" +
                              std::to_string(ne.size()) + R"(, "len": )" +
                              std::to_string(se.size()) + "}}}";
    return ZoneBoundaries(index, ne + se, "index.json", "geo.dat");
  }

  static std::uint16_t Number(const std::string& zone) {
    if (zone == "Z/A") return 1;
    if (zone == "Z/B") return 2;
    for (std::size_t i = 0; i < kSeaZoneCount; ++i) {
      if (SeaZoneName(i) == zone) return static_cast<std::uint16_t>(10 + i);
    }
    throw std::out_of_range(zone);
  }

  // Some 10 m across.
  static inline const Writer::Ring kSpeck{{30, -30}, {30, -29.9999}, {30.0001, -30}};
};

// A square, clockwise from its south-west corner, with wiggles of 100 m and
// 300 m north of its northern edge and one of 134 m (0.0017 degrees at the
// 45th parallel, the tile's middle) east of its eastern edge.
const Writer::Ring kWigglySquare{
    {10, 0},     {10, 10}, {11.99, 10}, {12, 10.0027}, {12.01, 10}, {14.99, 10}, {15, 10.0009},
    {15.01, 10}, {20, 10}, {20, 5.01},  {20.0017, 5},  {20, 4.99},  {20, 0}};

TEST_F(MadeUpBoundaries, ZonesAtFollowTheTreeAndTheFullOutlines) {
  const auto b = Make({Writer::Feature("Z/A", {{kWigglySquare}})});
  using V = std::vector<std::string>;
  EXPECT_EQ(b.ZonesAt(15, 5), V{"Z/A"});
  EXPECT_EQ(b.ZonesAt(15, 10.0005), V{"Z/A"});   // inside the small wiggle
  EXPECT_EQ(b.ZonesAt(50, 50), V{"Etc/GMT-3"});  // in the tile, no feature
  EXPECT_EQ(b.ZonesAt(-100, 50), V{"Z/B"});
  EXPECT_EQ(b.ZonesAt(-100, -50), V{"Etc/GMT+7"});
  EXPECT_EQ(b.ZonesAt(30.00002, -29.99998), V{"Z/B"});  // the speck
  EXPECT_EQ(b.ZonesAt(0, 0), V{"Etc/GMT"});             // the middle lines belong north and east
  EXPECT_EQ(b.ZoneNames(), (std::set<std::string>{"Z/A", "Z/B"}));
}

// Starts each ring at its south-westernmost vertex: where a ring starts is
// the simplification's choice and no matter to a lookup.
ZoneMapData Normalized(ZoneMapData map) {
  for (auto& tile : map.tiles) {
    for (auto& feature : tile) {
      for (auto& ring : feature.rings) {
        std::size_t first = 0;
        for (std::size_t i = 1; i < ring.longitudes.size(); ++i) {
          if (std::pair(ring.longitudes[i], ring.latitudes[i]) <
              std::pair(ring.longitudes[first], ring.latitudes[first])) {
            first = i;
          }
        }
        std::rotate(ring.longitudes.begin(), ring.longitudes.begin() + first,
                    ring.longitudes.end());
        std::rotate(ring.latitudes.begin(), ring.latitudes.begin() + first, ring.latitudes.end());
      }
    }
  }
  return map;
}

TEST_F(MadeUpBoundaries, MapKeepsTheTreeAndDropsWhatIsBelowTheTolerance) {
  const auto map = BuildZoneMap(
      Make({Writer::Feature("Z/A", {{kWigglySquare}}), Writer::Feature("Z/B", {{kSpeck}})}),
      Number);
  ZoneMapData expected;
  for (std::size_t i = 0; i < kSeaZoneCount; ++i)
    expected.sea[i] = static_cast<std::uint16_t>(10 + i);
  using K = ZoneMapData::NodeKind;
  expected.nodes = {{K::kSplit, 1}, {K::kTile, 0}, {K::kZone, 2}, {K::kSea, 0}, {K::kSea, 0}};
  ZoneMapData::Ring ring{{1000000, 1000000, 1199000, 1200000, 1201000, 2000000, 2000000},
                         {0, 1000000, 1000000, 1000270, 1000000, 1000000, 0}};
  expected.tiles = {{{1, {ring}}}};
  EXPECT_EQ(Normalized(map), expected);
  EXPECT_EQ(VertexCount(map), 7U);
}

TEST_F(MadeUpBoundaries, OutlinesKeepTheirVerticesOnTheTilesEdge) {
  // Along the tile's southern edge from (1.02, 0) to (1, 0), then off it: a
  // plain simplification would cut the corner at (1, 0), leaving land just
  // north of the edge, far from any boundary, at sea.
  const Writer::Ring ring{{1.02, 0}, {1, 0}, {0.99, 0.001}, {0.99, 1}, {1.02, 1}};
  const auto boundaries = Make({Writer::Feature("Z/A", {{ring}})});
  const ZoneMap map(EncodeZoneMap(BuildZoneMap(boundaries, Number)), "Zones.map", 40);
  EXPECT_EQ(boundaries.ZonesAt(1.005, 0.0002).front(), "Z/A");
  EXPECT_EQ(map.ZoneAt(1.005, 0.0002), 1);
}

TEST_F(MadeUpBoundaries, BusyTilesSplitIntoQuartersThatStillAnswerRight) {
  // A star of 2,000 points 2 km deep round (45 E, 45 N): nothing to drop.
  Writer::Ring star;
  for (int i = 0; i < 2000; ++i) {
    const double angle = -2 * std::numbers::pi * i / 2000;  // clockwise
    const double radius = i % 2 == 0 ? 5.0 : 5.02;
    star.emplace_back(45 + radius * std::cos(angle), 45 + radius * std::sin(angle));
  }
  const auto boundaries = Make({Writer::Feature("Z/A", {{star}})});
  const auto map = BuildZoneMap(boundaries, Number);
  EXPECT_GT(map.nodes.size(), 9U);
  for (const auto& tile : map.tiles) {
    std::size_t vertices = 0;
    for (const auto& f : tile)
      for (const auto& r : f.rings)
        vertices += r.longitudes.size();
    EXPECT_LE(vertices, kMaxTileVertices + 64);
  }
  const ZoneMap lookup(EncodeZoneMap(map), "Zones.map", 40);
  boost::geometry::model::linestring<GeoPoint> outline;
  for (const auto& [x, y] : star)
    outline.emplace_back(x, y);
  outline.push_back(outline.front());
  int compared = 0;
  // A grid of points 0.3 degrees apart over the star and round it.
  for (double lon = 39.013; lon < 51; lon += 0.3) {
    for (double lat = 39.007; lat < 51; lat += 0.3) {
      // Within 250 m of the outline either answer is right.
      if (boost::geometry::distance(GeoPoint(lon, lat), outline) < 0.004) continue;
      ++compared;
      EXPECT_EQ(lookup.ZoneAt(lon, lat), Number(boundaries.ZonesAt(lon, lat).front()))
          << lon << " " << lat;
    }
  }
  EXPECT_GT(compared, 1200);
}

}  // namespace
}  // namespace atlas
}  // namespace tarv
