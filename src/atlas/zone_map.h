// The map of the IANA zones: which zone's boundaries hold any coordinates.
// The builder makes it from the time zone boundaries of the
// timezone-boundary-builder project (OpenStreetMap data, ODbL), simplified
// so that a point more than 250 m from a boundary gets the boundaries' zone.
//
// "Zones.map", SZDD-compressed like the other files; expanded, little-endian:
//
//   offset  size  field
//   0       4     magic "TPZM"
//   4       2     version, 1
//   6       2     0
//   8       50    the 25 nautical zones of the open sea, west to east
//                 (Etc/GMT+12 ... Etc/GMT-12), as zone numbers of "Zones.hst"
//   58      4     number of nodes n (1-4,194,304)
//   62      4     number of tiles t (0-1,048,576)
//   66      4n    nodes, node 0 the root; each a uint32 whose top two bits
//                 say what the box is and whose other 30 bits a number:
//                   0  open sea (number 0)
//                   1  all of it one zone (number: the zone in "Zones.hst")
//                   2  split in four (number: the first of the four nodes,
//                      later than this one, for the quarters north-east,
//                      north-west, south-west, south-east in that order)
//                   3  a tile of outlines (number: the tile, below t)
//   66+4n   ...   tiles in order; each:
//                   2  number of features f (1-4096)
//                   f  features in order; each:
//                        2  zone number in "Zones.hst"
//                        2  number of rings r (1-65535)
//                        r  rings; each:
//                             varint vertex count c (3-1,000,000)
//                             c vertices: longitude, then latitude, in
//                               1e-5 degrees, zigzag varints; the first
//                               absolute, each later one the difference
//                               from the one before
//
// The root box spans longitudes -179.9999 to 179.9999 and latitudes -89.9999
// to 89.9999, each box splitting at its middle (north and east taking the
// middle line itself). A point lies in a feature when a ray from it crosses
// the feature's rings an odd number of times; the first feature of a tile
// holding the point gives its zone, and a point in no feature lies at sea.
// The open sea keeps the nautical zone of its longitude: 15-degree bands
// centred on multiples of 15 degrees, the eastern band taking a boundary
// line, and both 180th meridians in Etc/GMT+12.
//
// Readers check every field: magic, version, counts against the bytes there
// are, every zone number against the zones of "Zones.hst", that split nodes
// point forward and every node is some box's, vertices within the earth,
// and that nothing follows the last tile. A fault is an AtlasError naming
// the file.
#ifndef TARVPLACES_ATLAS_ZONE_MAP_H_
#define TARVPLACES_ATLAS_ZONE_MAP_H_

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarv {

inline constexpr const char* kZoneMapFile = "Zones.map";
inline constexpr std::string_view kZoneMapMagic = "TPZM";
inline constexpr std::uint16_t kZoneMapVersion = 1;
inline constexpr std::size_t kSeaZoneCount = 25;
// Map coordinates are whole 1e-5 degrees.
inline constexpr double kMapUnitsPerDegree = 1e5;
// The edges of the root box.
inline constexpr double kMapEast = 179.9999;
inline constexpr double kMapNorth = 89.9999;

// What a map holds, as the builder makes it and tests write it.
struct ZoneMapData {
  enum class NodeKind : std::uint8_t { kSea = 0, kZone = 1, kSplit = 2, kTile = 3 };
  struct Node {
    NodeKind kind = NodeKind::kSea;
    std::uint32_t number = 0;
    friend bool operator==(const Node&, const Node&) = default;
  };
  struct Ring {
    // Whole 1e-5 degrees; the ring closes on its own (the last vertex is not
    // repeated).
    std::vector<std::int32_t> longitudes;
    std::vector<std::int32_t> latitudes;
    friend bool operator==(const Ring&, const Ring&) = default;
  };
  struct Feature {
    std::uint16_t zone = 0;
    std::vector<Ring> rings;
    friend bool operator==(const Feature&, const Feature&) = default;
  };
  std::array<std::uint16_t, kSeaZoneCount> sea{};
  std::vector<Node> nodes;                  // nodes[0] is the root
  std::vector<std::vector<Feature>> tiles;  // each tile's features in order
  friend bool operator==(const ZoneMapData&, const ZoneMapData&) = default;
};

// The bytes of "Zones.map". Throws std::invalid_argument for a map the
// format cannot hold (counts out of range, a split node pointing back, a
// tile number past the tiles, a ring of fewer than 3 vertices).
std::string EncodeZoneMap(const ZoneMapData& map);

// Which of the 25 nautical zones (0 for Etc/GMT+12, 12 for Etc/GMT, 24 for
// Etc/GMT-12) the open sea keeps at `longitude`.
std::size_t SeaZoneIndex(double longitude);

class ZoneMap {
 public:
  // Checks and decodes expanded bytes; zone numbers must lie below
  // `zone_count` (the zones of "Zones.hst"). Throws FormatViolation naming
  // `file`.
  ZoneMap(std::string_view bytes, const std::string& file, std::size_t zone_count);

  // The zone number (in "Zones.hst") at the coordinates, in degrees east and
  // north; nullopt for coordinates off the earth or not finite.
  std::optional<std::uint16_t> ZoneAt(double longitude, double latitude) const;

 private:
  struct Ring {
    std::uint32_t first = 0;  // into xs_/ys_
    std::uint32_t count = 0;
  };
  struct Feature {
    std::uint16_t zone = 0;
    std::uint32_t first_ring = 0;
    std::uint32_t rings = 0;
    std::int32_t west = 0, east = 0, south = 0, north = 0;  // bounding box
  };
  struct Tile {
    std::uint32_t first_feature = 0;
    std::uint32_t features = 0;
  };
  bool Holds(const Feature& feature, std::int64_t x, std::int64_t y) const;

  std::array<std::uint16_t, kSeaZoneCount> sea_{};
  std::vector<std::uint32_t> nodes_;
  std::vector<Tile> tiles_;
  std::vector<Feature> features_;
  std::vector<Ring> rings_;
  std::vector<std::int32_t> xs_;
  std::vector<std::int32_t> ys_;
};

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_ZONE_MAP_H_
