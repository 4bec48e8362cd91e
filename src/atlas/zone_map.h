// The map of the IANA zones: which zone's boundaries hold any coordinates.
// The builder makes it from the time zone boundaries of the
// timezone-boundary-builder project (OpenStreetMap data, ODbL), simplified
// so that a point more than 250 m from a boundary gets the boundaries' zone.
//
// "Zones.map", SZDD-compressed like the other files; expanded, little-endian:
//
//   offset  size  field
//   0       4     magic "TPZM"
//   4       2     version, 2
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
//   66+4n   4t    where each tile starts, counted from the first tile's
//                 first byte: 0 for the first, rising; each tile runs to the
//                 next one's start, the last to the end of the file
//   66+4n+4t ...  tiles in order; each:
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
// Readers check the header, the nodes and the tiles' starts when they open
// the map, and each tile when a question first reaches it (a process that
// asks about one city decodes one tile, not the world): magic, version,
// counts against the bytes there are, every zone number against the zones of
// "Zones.hst", that split nodes point forward and every node is some box's,
// vertices within the earth, and that each tile ends where the next begins.
// A fault is an AtlasError naming the file.
#ifndef TARVPLACES_ATLAS_ZONE_MAP_H_
#define TARVPLACES_ATLAS_ZONE_MAP_H_

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarv {

inline constexpr const char* kZoneMapFile = "Zones.map";
inline constexpr std::string_view kZoneMapMagic = "TPZM";
inline constexpr std::uint16_t kZoneMapVersion = 2;
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

// A zone near a point, and how far from it its area begins.
struct NearZone {
  std::uint16_t zone = 0;
  double meters = 0;
  friend bool operator==(const NearZone&, const NearZone&) = default;
};

class ZoneMap {
 public:
  // Checks the header, the nodes and where the tiles start, and keeps the
  // tiles' bytes to decode on first use; zone numbers must lie below
  // `zone_count` (the zones of "Zones.hst"). Throws FormatViolation naming
  // `file`. Safe to share between threads.
  ZoneMap(std::string_view bytes, const std::string& file, std::size_t zone_count);

  // The zone number (in "Zones.hst") at the coordinates, in degrees east and
  // north; nullopt for coordinates off the earth or not finite. Throws
  // FormatViolation when the tile the point lies in is damaged.
  std::optional<std::uint16_t> ZoneAt(double longitude, double latitude) const;

  // The zones other than the one at the point (ZoneAt's) whose area lies
  // within `meters` of it, each once with its distance in metres, nearest
  // first (equal distances by zone number); empty for coordinates off the
  // earth or not finite, or a distance that is negative or not a number. A
  // point inside a later feature of another zone gets that zone at 0.
  //
  // Distances are flat: an equirectangular projection about the point (a
  // degree of latitude 111,195 m, of longitude that times the cosine of the
  // point's latitude), within a fraction of a percent at some kilometres and
  // too long across a pole. Longitudes wrap: 179.995 E sees a zone beginning
  // at 179.995 W 1.1 km away at the equator.
  //
  // Sea keeps the nautical zone of its longitude, a box of open sea split at
  // the lines between them. Sea in a tile (where no feature lies) is reached
  // where it meets a coast, the tile's box or such a line. An edge is coast
  // when a point 500 m off its middle, to either side, lies at sea; the box
  // is sea where no feature's edge runs along it, over more than 500 m. So
  // the gaps that simplifying each outline on its own leaves between
  // neighbours are no sea, nor is water narrower than 500 m, and an edge
  // only partly on the coast may hide the sea until the next one.
  //
  // Reads the tiles near the point (throwing FormatViolation for a damaged
  // one, like ZoneAt) and, once for each edge, those 500 m beyond the edges
  // within `meters`.
  std::vector<NearZone> ZonesWithin(double longitude, double latitude, double meters) const;

  // Decodes every tile, throwing FormatViolation at the first damaged one:
  // for checks of a whole file (the fuzzer, the builder's own reading back).
  void CheckEveryTile() const;

 private:
  struct Ring {
    std::uint32_t first = 0;  // into xs/ys
    std::uint32_t count = 0;
  };
  struct Feature {
    std::uint16_t zone = 0;
    std::uint32_t first_ring = 0;
    std::uint32_t rings = 0;
    std::int32_t west = 0, east = 0, south = 0, north = 0;  // bounding box
  };
  struct Tile {
    std::vector<Feature> features;
    std::vector<Ring> rings;
    std::vector<std::int32_t> xs;
    std::vector<std::int32_t> ys;
    // For the edge from each vertex to the next in its ring, whether it is
    // coast (kCoast) or not (kInland), found on first need (kUnknown).
    std::unique_ptr<std::atomic<std::uint8_t>[]> coast;
  };
  // Decoded on first need. Not std::call_once: MinGW's implementation hangs
  // when the decoder throws, and a damaged tile must throw on every question.
  struct LazyTile {
    std::atomic<bool> decoded{false};
    std::mutex decoding;
    Tile tile;
  };
  class NearSearch;

  const Tile& TileAt(std::uint32_t number) const;
  Tile DecodeTile(std::uint32_t number) const;
  static bool Holds(const Tile& tile, const Feature& feature, std::int64_t x, std::int64_t y);
  // The first feature of the tile holding the point, or null at sea.
  static const Feature* FeatureAt(const Tile& tile, std::int64_t x, std::int64_t y);
  // The node word of the box holding coordinates within the root box.
  std::uint32_t LeafAt(double longitude, double latitude) const;
  // Whether the map has open sea, or a tile's sea, at the coordinates.
  bool AtSea(double longitude, double latitude) const;
  // Whether the edge from vertex `k` of the ring to the next is coast.
  bool IsCoast(const Tile& tile, const Ring& ring, std::uint32_t k) const;

  std::string file_;
  std::size_t zone_count_ = 0;
  std::array<std::uint16_t, kSeaZoneCount> sea_{};
  std::vector<std::uint32_t> nodes_;
  std::string tile_bytes_;
  std::vector<std::uint32_t> tile_starts_;
  std::unique_ptr<LazyTile[]> tiles_;
};

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_ZONE_MAP_H_
