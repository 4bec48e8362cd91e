// The time zone boundaries of the timezone-boundary-builder project
// (OpenStreetMap data, ODbL) as the geo-tz package ships them: a quadtree
// over the earth (data/timezones.geojson.index.json) whose boxes are open
// sea, one zone, or a tile of outlines clipped to the box, each tile a
// geobuf FeatureCollection at a byte range of data/timezones.geojson.geo.dat.
#ifndef TARVPLACES_TOOLS_ATLAS_ZONE_BOUNDARIES_H_
#define TARVPLACES_TOOLS_ATLAS_ZONE_BOUNDARIES_H_

#include <array>
#include <boost/geometry/geometries/multi_polygon.hpp>
#include <boost/geometry/geometries/point_xy.hpp>
#include <boost/geometry/geometries/polygon.hpp>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace tarv::atlas {

// Longitude, latitude in degrees, on a flat map as geo-tz tests them.
using GeoPoint = boost::geometry::model::d2::point_xy<double>;
using GeoPolygon = boost::geometry::model::polygon<GeoPoint>;
using GeoMultiPolygon = boost::geometry::model::multi_polygon<GeoPolygon>;

struct BoundaryFeature {
  std::string zone;  // IANA name
  GeoMultiPolygon shape;
};

// The features of one geobuf FeatureCollection holding Polygons and
// MultiPolygons with a "tzid" property; rings come closed and oriented as
// Boost.Geometry wants them. Throws AtlasError naming `file` for bytes that
// are no such collection.
std::vector<BoundaryFeature> DecodeBoundaryTile(std::string_view bytes, const std::string& file);

struct BoundaryBox {
  double west = 0, east = 0, south = 0, north = 0;
};

// A box's quarters in the quadtree's order: north-east, north-west,
// south-west, south-east.
std::array<BoundaryBox, 4> QuartersOf(const BoundaryBox& b);

struct BoundaryNode {
  enum class Kind : std::uint8_t { kSea, kZone, kSplit, kTile };
  Kind kind = Kind::kSea;
  BoundaryBox box;
  std::vector<std::string> zones;  // kZone: the first holds, others overlap it
  std::uint32_t first = 0;         // kSplit: the quarters NE, NW, SW, SE; kTile: the tile
};

// The IANA name of nautical zone `index` (0 Etc/GMT+12 ... 24 Etc/GMT-12).
std::string SeaZoneName(std::size_t index);

class ZoneBoundaries {
 public:
  // Reads the index and every tile from the package folder (the one holding
  // data/). Throws AtlasError naming the file at fault.
  static ZoneBoundaries Read(const std::string& package);

  // From the index's JSON text and the tiles' bytes, named in errors by
  // `index_name` and `tiles_name`.
  ZoneBoundaries(std::string_view index_json, std::string_view tiles, const std::string& index_name,
                 const std::string& tiles_name);

  // The zones of the features holding the point, in tile order (a point on
  // a shared border lies in both); at sea the nautical zone of the
  // longitude alone.
  std::vector<std::string> ZonesAt(double longitude, double latitude) const;

  // Node 0 is the root; a split's quarters follow one another.
  const std::vector<BoundaryNode>& nodes() const { return nodes_; }
  const std::vector<std::vector<BoundaryFeature>>& tiles() const { return tiles_; }
  // Every zone a node or feature names.
  std::set<std::string> ZoneNames() const;

 private:
  std::vector<BoundaryNode> nodes_;
  std::vector<std::vector<BoundaryFeature>> tiles_;
};

}  // namespace tarv::atlas

#endif  // TARVPLACES_TOOLS_ATLAS_ZONE_BOUNDARIES_H_
