#include "atlas/zone_map.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <stdexcept>
#include <utility>

#include "atlas/format_reader.h"
#include "text/bytes.h"

namespace tarv {
namespace {

constexpr std::uint32_t kMaxNodes = 1U << 22;
constexpr std::uint32_t kMaxTiles = 1U << 20;
constexpr std::uint32_t kMaxFeatures = 4096;
constexpr std::uint32_t kMaxRings = 65535;
constexpr std::uint32_t kMaxVertices = 1'000'000;
constexpr std::uint32_t kNumberMask = (1U << 30) - 1;
constexpr std::int64_t kMaxLongitude = 180 * 100'000;
constexpr std::int64_t kMaxLatitude = 90 * 100'000;

// The mean earth radius, 6,371,008.8 m.
constexpr double kMetersPerDegree = 6'371'008.8 * std::numbers::pi / 180.0;
constexpr double kMetersPerUnit = kMetersPerDegree / kMapUnitsPerDegree;
// How far off an edge a point must lie at sea for the edge to be coast, and
// how wide sea along a tile's box must be: more than the gaps that
// simplifying two neighbours' outlines each on its own leaves between them.
constexpr double kCoastProbeMeters = 500.0;
// Vertices on a tile's box lie within this many units of it: the box's
// edges fall between whole units.
constexpr double kOnBoxUnits = 2.0;

enum CoastState : std::uint8_t { kUnknown = 0, kCoast = 1, kInland = 2 };

// The nautical band of a longitude, rising west to east (unlike
// SeaZoneIndex, 180 E stays in the eastern band, so that bands follow
// longitudes in order).
std::size_t BandOf(double longitude) {
  const double band = std::floor((longitude + 187.5) / 15.0);
  return static_cast<std::size_t>(std::clamp(band, 0.0, static_cast<double>(kSeaZoneCount - 1)));
}
double BandWest(std::size_t band) {
  return band == 0 ? -180.0 : -187.5 + 15.0 * static_cast<double>(band);
}
double BandEast(std::size_t band) {
  return band + 1 == kSeaZoneCount ? 180.0 : -172.5 + 15.0 * static_cast<double>(band);
}

void AppendVarint(std::string& out, std::uint64_t value) {
  while (value >= 0x80) {
    out += static_cast<char>((value & 0x7F) | 0x80);
    value >>= 7;
  }
  out += static_cast<char>(value);
}

std::uint64_t ZigZag(std::int64_t v) {
  return (static_cast<std::uint64_t>(v) << 1) ^ static_cast<std::uint64_t>(v >> 63);
}
std::int64_t UnZigZag(std::uint64_t v) {
  return static_cast<std::int64_t>(v >> 1) ^ -static_cast<std::int64_t>(v & 1);
}

std::uint32_t PackNode(const ZoneMapData::Node& node) {
  return (static_cast<std::uint32_t>(node.kind) << 30) | node.number;
}

void CheckEncodable(const ZoneMapData& map) {
  if (map.nodes.empty() || map.nodes.size() > kMaxNodes) {
    throw std::invalid_argument("a zone map needs 1 to 4,194,304 nodes");
  }
  if (map.tiles.size() > kMaxTiles) throw std::invalid_argument("too many tiles");
  for (std::size_t i = 0; i < map.nodes.size(); ++i) {
    const auto& node = map.nodes[i];
    if (node.number > kNumberMask) throw std::invalid_argument("node number out of range");
    if (node.kind == ZoneMapData::NodeKind::kSplit &&
        (node.number <= i || node.number + 4ULL > map.nodes.size())) {
      throw std::invalid_argument("split node " + std::to_string(i) + " does not point forward");
    }
    if (node.kind == ZoneMapData::NodeKind::kTile && node.number >= map.tiles.size()) {
      throw std::invalid_argument("node " + std::to_string(i) + " names a missing tile");
    }
  }
  for (const auto& tile : map.tiles) {
    if (tile.empty() || tile.size() > kMaxFeatures) throw std::invalid_argument("tile size");
    for (const auto& feature : tile) {
      if (feature.rings.empty() || feature.rings.size() > kMaxRings) {
        throw std::invalid_argument("feature ring count");
      }
      for (const auto& ring : feature.rings) {
        if (ring.longitudes.size() != ring.latitudes.size() || ring.longitudes.size() < 3 ||
            ring.longitudes.size() > kMaxVertices) {
          throw std::invalid_argument("a ring needs 3 to 1,000,000 vertices");
        }
      }
    }
  }
}

}  // namespace

std::string EncodeZoneMap(const ZoneMapData& map) {
  CheckEncodable(map);
  std::string out(kZoneMapMagic);
  AppendInt16(out, static_cast<std::int16_t>(kZoneMapVersion));
  AppendInt16(out, 0);
  for (const std::uint16_t zone : map.sea)
    AppendInt16(out, static_cast<std::int16_t>(zone));
  AppendInt32(out, static_cast<std::int32_t>(map.nodes.size()));
  AppendInt32(out, static_cast<std::int32_t>(map.tiles.size()));
  for (const auto& node : map.nodes)
    AppendInt32(out, static_cast<std::int32_t>(PackNode(node)));
  std::string tiles;
  for (const auto& tile : map.tiles) {
    AppendInt32(out, static_cast<std::int32_t>(tiles.size()));
    AppendInt16(tiles, static_cast<std::int16_t>(tile.size()));
    for (const auto& feature : tile) {
      AppendInt16(tiles, static_cast<std::int16_t>(feature.zone));
      AppendInt16(tiles, static_cast<std::int16_t>(feature.rings.size()));
      for (const auto& ring : feature.rings) {
        AppendVarint(tiles, ring.longitudes.size());
        std::int64_t x = 0, y = 0;
        for (std::size_t k = 0; k < ring.longitudes.size(); ++k) {
          AppendVarint(tiles, ZigZag(ring.longitudes[k] - x));
          AppendVarint(tiles, ZigZag(ring.latitudes[k] - y));
          x = ring.longitudes[k];
          y = ring.latitudes[k];
        }
      }
    }
  }
  if (tiles.size() > std::numeric_limits<std::uint32_t>::max()) {
    throw std::invalid_argument("the tiles take more than 4 GB");
  }
  out += tiles;
  return out;
}

std::size_t SeaZoneIndex(double longitude) {
  if (!(longitude > -180.0 && longitude < 180.0)) return 0;
  const double band = std::floor((longitude + 187.5) / 15.0);
  return static_cast<std::size_t>(std::clamp(band, 0.0, static_cast<double>(kSeaZoneCount - 1)));
}

ZoneMap::ZoneMap(std::string_view bytes, const std::string& file, std::size_t zone_count)
    : file_(file), zone_count_(zone_count) {
  FormatReader in(bytes, file);
  in.Header(kZoneMapMagic, "a zone map", kZoneMapVersion);
  for (std::size_t i = 0; i < kSeaZoneCount; ++i) {
    const auto z = static_cast<std::uint16_t>(in.Int16("the sea zones"));
    if (z >= zone_count) {
      throw FormatViolation(file, "sea zone " + std::to_string(i + 1) + " names zone " +
                                      std::to_string(z) + " of " + std::to_string(zone_count));
    }
    sea_[i] = z;
  }
  const std::uint32_t nodes = in.Uint32("the node count");
  const std::uint32_t tiles = in.Uint32("the tile count");
  if (nodes == 0 || nodes > kMaxNodes || nodes > in.Left() / 4) {
    throw FormatViolation(file, "node count " + std::to_string(nodes) + " out of range");
  }
  // Each tile takes 4 bytes for its start and at least 2 + 4 + 1 + 6 more.
  if (tiles > kMaxTiles || tiles > (in.Left() - 4ULL * nodes) / 17) {
    throw FormatViolation(file, "tile count " + std::to_string(tiles) + " out of range");
  }
  nodes_.reserve(nodes);
  // Every node but the root must be some split's quarter, exactly once:
  // no loops, and no node that no box reaches.
  std::vector<bool> reached(nodes, false);
  reached[0] = true;
  for (std::uint32_t i = 0; i < nodes; ++i) {
    const std::uint32_t node = in.Uint32("the nodes");
    const std::uint32_t number = node & kNumberMask;
    auto fault = [&](const std::string& why) {
      return FormatViolation(file, "node " + std::to_string(i) + why);
    };
    if (!reached[i]) throw fault(" lies in no box");
    switch (static_cast<ZoneMapData::NodeKind>(node >> 30)) {
      case ZoneMapData::NodeKind::kSea:
        if (number != 0) throw fault(" is sea with a number");
        break;
      case ZoneMapData::NodeKind::kZone:
        if (number >= zone_count) {
          throw fault(" names zone " + std::to_string(number) + " of " +
                      std::to_string(zone_count));
        }
        break;
      case ZoneMapData::NodeKind::kSplit:
        if (number <= i || number > nodes - 4 || nodes < 4) {
          throw fault(" splits into nodes out of order");
        }
        for (std::uint32_t q = number; q < number + 4; ++q) {
          if (reached[q]) throw fault(" shares its quarters");
          reached[q] = true;
        }
        break;
      case ZoneMapData::NodeKind::kTile:
        if (number >= tiles) {
          throw fault(" names tile " + std::to_string(number) + " of " + std::to_string(tiles));
        }
        break;
    }
    nodes_.push_back(node);
  }
  tile_starts_.reserve(tiles);
  for (std::uint32_t t = 0; t < tiles; ++t)
    tile_starts_.push_back(in.Uint32("the tiles' starts"));
  tile_bytes_ = in.Text(in.Left(), "the tiles");
  // Each tile takes at least 13 bytes and begins where the one before ends.
  for (std::uint32_t t = 0; t < tiles; ++t) {
    const std::uint64_t end = t + 1 < tiles ? tile_starts_[t + 1] : tile_bytes_.size();
    if ((t == 0 && tile_starts_[0] != 0) || end < tile_starts_[t] + 13ULL ||
        end > tile_bytes_.size()) {
      throw FormatViolation(file, "tile " + std::to_string(t) + " starts at " +
                                      std::to_string(tile_starts_[t]) + ", out of order");
    }
  }
  if (tiles == 0 && !tile_bytes_.empty()) {
    throw FormatViolation(file, std::to_string(tile_bytes_.size()) + " bytes after the last field");
  }
  tiles_ = std::make_unique<LazyTile[]>(tiles);
}

ZoneMap::Tile ZoneMap::DecodeTile(std::uint32_t number) const {
  const std::size_t start = tile_starts_[number];
  const std::size_t end =
      number + 1 < tile_starts_.size() ? tile_starts_[number + 1] : tile_bytes_.size();
  const std::string what = "tile " + std::to_string(number);
  const std::string vertex = what + " vertex";
  FormatReader in(std::string_view(tile_bytes_).substr(start, end - start), file_);
  Tile tile;
  const auto features = static_cast<std::uint16_t>(in.Int16(what));
  if (features == 0 || features > kMaxFeatures) {
    throw FormatViolation(file_, what + " has " + std::to_string(features) + " features");
  }
  for (std::uint16_t f = 0; f < features; ++f) {
    Feature feature;
    feature.zone = static_cast<std::uint16_t>(in.Int16(what));
    if (feature.zone >= zone_count_) {
      throw FormatViolation(file_, what + " feature " + std::to_string(f) + " names zone " +
                                       std::to_string(feature.zone) + " of " +
                                       std::to_string(zone_count_));
    }
    const auto rings = static_cast<std::uint16_t>(in.Int16(what));
    if (rings == 0) throw FormatViolation(file_, what + " has a feature without rings");
    feature.first_ring = static_cast<std::uint32_t>(tile.rings.size());
    feature.rings = rings;
    feature.west = feature.south = std::numeric_limits<std::int32_t>::max();
    feature.east = feature.north = std::numeric_limits<std::int32_t>::min();
    for (std::uint16_t r = 0; r < rings; ++r) {
      const std::uint64_t count = in.Varint(what);
      // Each vertex takes at least two bytes.
      if (count < 3 || count > kMaxVertices || count > in.Left() / 2) {
        throw FormatViolation(file_,
                              what + " has a ring of " + std::to_string(count) + " vertices");
      }
      tile.rings.push_back(
          {static_cast<std::uint32_t>(tile.xs.size()), static_cast<std::uint32_t>(count)});
      std::int64_t x = 0, y = 0;
      for (std::uint64_t k = 0; k < count; ++k) {
        // Differences beyond the earth's width are damage, checked below
        // before they could add up.
        const std::uint64_t dx = in.Varint(vertex);
        const std::uint64_t dy = in.Varint(vertex);
        if (dx > 4 * kMaxLongitude + 1 || dy > 4 * kMaxLatitude + 1) {
          throw FormatViolation(file_, what + " has a vertex off the earth");
        }
        x += UnZigZag(dx);
        y += UnZigZag(dy);
        if (x < -kMaxLongitude || x > kMaxLongitude || y < -kMaxLatitude || y > kMaxLatitude) {
          throw FormatViolation(file_, what + " has a vertex off the earth");
        }
        tile.xs.push_back(static_cast<std::int32_t>(x));
        tile.ys.push_back(static_cast<std::int32_t>(y));
        feature.west = std::min(feature.west, static_cast<std::int32_t>(x));
        feature.east = std::max(feature.east, static_cast<std::int32_t>(x));
        feature.south = std::min(feature.south, static_cast<std::int32_t>(y));
        feature.north = std::max(feature.north, static_cast<std::int32_t>(y));
      }
    }
    tile.features.push_back(feature);
  }
  if (in.Left() != 0) {
    throw FormatViolation(file_, what + " is followed by " + std::to_string(in.Left()) +
                                     " bytes after the last field");
  }
  tile.coast = std::make_unique<std::atomic<std::uint8_t>[]>(tile.xs.size());
  return tile;
}

const ZoneMap::Tile& ZoneMap::TileAt(std::uint32_t number) const {
  LazyTile& lazy = tiles_[number];
  if (lazy.decoded.load(std::memory_order_acquire)) return lazy.tile;
  const std::lock_guard<std::mutex> lock(lazy.decoding);
  if (!lazy.decoded.load(std::memory_order_relaxed)) {
    // A damaged tile throws here and stays undecoded: the next question
    // about it gets the same fault.
    lazy.tile = DecodeTile(number);
    lazy.decoded.store(true, std::memory_order_release);
  }
  return lazy.tile;
}

void ZoneMap::CheckEveryTile() const {
  for (std::uint32_t t = 0; t < tile_starts_.size(); ++t)
    TileAt(t);
}

bool ZoneMap::Holds(const Tile& tile, const Feature& feature, std::int64_t x, std::int64_t y) {
  if (x < feature.west || x > feature.east || y < feature.south || y > feature.north) return false;
  bool inside = false;
  for (std::uint32_t r = feature.first_ring; r < feature.first_ring + feature.rings; ++r) {
    const Ring& ring = tile.rings[r];
    const std::int32_t* xs = tile.xs.data() + ring.first;
    const std::int32_t* ys = tile.ys.data() + ring.first;
    // Crossings of a ray to the east, in exact integer arithmetic: an edge
    // counts when it spans the ray's latitude, half-open so that a vertex on
    // the ray counts once.
    for (std::uint32_t i = 0, j = ring.count - 1; i < ring.count; j = i++) {
      const std::int64_t yi = ys[i], yj = ys[j];
      if ((yi > y) == (yj > y)) continue;
      const std::int64_t xi = xs[i], xj = xs[j];
      // x < xi + (y - yi) * (xj - xi) / (yj - yi), without dividing.
      const std::int64_t lhs = (x - xi) * (yj - yi);
      const std::int64_t rhs = (y - yi) * (xj - xi);
      if (yj > yi ? lhs < rhs : lhs > rhs) inside = !inside;
    }
  }
  return inside;
}

const ZoneMap::Feature* ZoneMap::FeatureAt(const Tile& tile, std::int64_t x, std::int64_t y) {
  for (const Feature& feature : tile.features) {
    if (Holds(tile, feature, x, y)) return &feature;
  }
  return nullptr;
}

std::uint32_t ZoneMap::LeafAt(double lon, double lat) const {
  double west = -kMapEast, east = kMapEast, south = -kMapNorth, north = kMapNorth;
  std::uint32_t node = nodes_[0];
  // Every split points forward, so the walk ends within the node count.
  while (static_cast<ZoneMapData::NodeKind>(node >> 30) == ZoneMapData::NodeKind::kSplit) {
    const double mid_lon = (west + east) / 2;
    const double mid_lat = (south + north) / 2;
    const bool north_half = lat >= mid_lat;
    const bool east_half = lon >= mid_lon;
    (north_half ? south : north) = mid_lat;
    (east_half ? west : east) = mid_lon;
    const std::uint32_t quarter = north_half ? (east_half ? 0 : 1) : (east_half ? 3 : 2);
    node = nodes_[(node & kNumberMask) + quarter];
  }
  return node;
}

std::optional<std::uint16_t> ZoneMap::ZoneAt(double longitude, double latitude) const {
  if (!(longitude >= -180.0 && longitude <= 180.0 && latitude >= -90.0 && latitude <= 90.0)) {
    return std::nullopt;
  }
  const std::uint16_t sea = sea_[SeaZoneIndex(longitude)];
  const double lon = std::clamp(longitude, -kMapEast, kMapEast);
  const double lat = std::clamp(latitude, -kMapNorth, kMapNorth);
  const std::uint32_t node = LeafAt(lon, lat);
  const std::uint32_t number = node & kNumberMask;
  switch (static_cast<ZoneMapData::NodeKind>(node >> 30)) {
    case ZoneMapData::NodeKind::kZone:
      return static_cast<std::uint16_t>(number);
    case ZoneMapData::NodeKind::kTile: {
      const Feature* feature = FeatureAt(TileAt(number), std::llround(lon * kMapUnitsPerDegree),
                                         std::llround(lat * kMapUnitsPerDegree));
      return feature ? feature->zone : sea;
    }
    default:
      return sea;
  }
}

bool ZoneMap::AtSea(double longitude, double latitude) const {
  if (!(latitude >= -90.0 && latitude <= 90.0 && std::isfinite(longitude))) return false;
  const double lon = std::clamp(std::remainder(longitude, 360.0), -kMapEast, kMapEast);
  const double lat = std::clamp(latitude, -kMapNorth, kMapNorth);
  const std::uint32_t node = LeafAt(lon, lat);
  switch (static_cast<ZoneMapData::NodeKind>(node >> 30)) {
    case ZoneMapData::NodeKind::kZone:
      return false;
    case ZoneMapData::NodeKind::kTile:
      return !FeatureAt(TileAt(node & kNumberMask), std::llround(lon * kMapUnitsPerDegree),
                        std::llround(lat * kMapUnitsPerDegree));
    default:
      return true;
  }
}

bool ZoneMap::IsCoast(const Tile& tile, const Ring& ring, std::uint32_t k) const {
  std::atomic<std::uint8_t>& state = tile.coast[ring.first + k];
  // Racing threads find the same answer; a probe that throws leaves it to
  // the next question.
  const std::uint8_t known = state.load(std::memory_order_relaxed);
  if (known != kUnknown) return known == kCoast;
  const std::uint32_t next = k + 1 == ring.count ? 0 : k + 1;
  const double ax = tile.xs[ring.first + k], ay = tile.ys[ring.first + k];
  const double bx = tile.xs[ring.first + next], by = tile.ys[ring.first + next];
  const double mx = (ax + bx) / 2, my = (ay + by) / 2;
  const double kx = std::cos(my / kMapUnitsPerDegree * std::numbers::pi / 180.0) * kMetersPerUnit;
  const double ex = (bx - ax) * kx, ey = (by - ay) * kMetersPerUnit;
  const double length = std::hypot(ex, ey);
  bool coast = false;
  if (length > 0 && kx > 0) {
    // Across the edge, in units.
    const double ox = -ey / length * kCoastProbeMeters / kx;
    const double oy = ex / length * kCoastProbeMeters / kMetersPerUnit;
    coast = AtSea((mx + ox) / kMapUnitsPerDegree, (my + oy) / kMapUnitsPerDegree) ||
            AtSea((mx - ox) / kMapUnitsPerDegree, (my - oy) / kMapUnitsPerDegree);
  }
  state.store(coast ? kCoast : kInland, std::memory_order_relaxed);
  return coast;
}

// One question of ZonesWithin: distances in metres on the plane about the
// point, coordinates in map units. Walk runs once for the point and once for
// each copy of it 360 degrees east or west that comes near the map.
class ZoneMap::NearSearch {
 public:
  NearSearch(const ZoneMap& map, std::uint16_t own, double latitude, double meters)
      : map_(map),
        own_(own),
        r2_(meters * meters),
        kx_(std::cos(latitude * std::numbers::pi / 180.0) * kMetersPerUnit),
        py_(latitude * kMapUnitsPerDegree),
        rx_(meters / kx_),
        ry_(meters / kMetersPerUnit) {}

  void Walk(double longitude) {
    px_ = longitude * kMapUnitsPerDegree;
    boxes_.clear();
    boxes_.push_back({0, -kMapEast, kMapEast, -kMapNorth, kMapNorth});
    while (!boxes_.empty()) {
      const Box box = boxes_.back();
      boxes_.pop_back();
      const double d2 =
          RectDistance2(box.west * kMapUnitsPerDegree, box.east * kMapUnitsPerDegree,
                        box.south * kMapUnitsPerDegree, box.north * kMapUnitsPerDegree);
      if (d2 > r2_) continue;
      const std::uint32_t node = map_.nodes_[box.node];
      const std::uint32_t number = node & kNumberMask;
      switch (static_cast<ZoneMapData::NodeKind>(node >> 30)) {
        case ZoneMapData::NodeKind::kSea:
          for (std::size_t b = BandOf(box.west); b <= BandOf(box.east); ++b) {
            Record(map_.sea_[b],
                   RectDistance2(std::max(box.west, BandWest(b)) * kMapUnitsPerDegree,
                                 std::min(box.east, BandEast(b)) * kMapUnitsPerDegree,
                                 box.south * kMapUnitsPerDegree, box.north * kMapUnitsPerDegree));
          }
          break;
        case ZoneMapData::NodeKind::kZone:
          Record(static_cast<std::uint16_t>(number), d2);
          break;
        case ZoneMapData::NodeKind::kSplit: {
          // The quarters as LeafAt splits them.
          const double mid_lon = (box.west + box.east) / 2;
          const double mid_lat = (box.south + box.north) / 2;
          boxes_.push_back({number, mid_lon, box.east, mid_lat, box.north});
          boxes_.push_back({number + 1, box.west, mid_lon, mid_lat, box.north});
          boxes_.push_back({number + 2, box.west, mid_lon, box.south, mid_lat});
          boxes_.push_back({number + 3, mid_lon, box.east, box.south, mid_lat});
          break;
        }
        case ZoneMapData::NodeKind::kTile:
          SearchTile(map_.TileAt(number), box);
          break;
      }
    }
  }

  std::vector<NearZone> Found() && {
    for (NearZone& near : found_)
      near.meters = std::sqrt(near.meters);
    std::sort(found_.begin(), found_.end(), [](const NearZone& a, const NearZone& b) {
      return a.meters != b.meters ? a.meters < b.meters : a.zone < b.zone;
    });
    return std::move(found_);
  }

 private:
  struct Box {
    std::uint32_t node;
    double west, east, south, north;  // degrees
  };

  // Keeps squared distances until Found.
  void Record(std::uint16_t zone, double d2) {
    if (zone == own_ || !(d2 <= r2_)) return;
    for (NearZone& near : found_) {
      if (near.zone == zone) {
        near.meters = std::min(near.meters, d2);
        return;
      }
    }
    found_.push_back({zone, d2});
  }

  double RectDistance2(double west, double east, double south, double north) const {
    const double dx = std::max({west - px_, px_ - east, 0.0}) * kx_;
    const double dy = std::max({south - py_, py_ - north, 0.0}) * kMetersPerUnit;
    return dx * dx + dy * dy;
  }

  double SegmentDistance2(double ax, double ay, double bx, double by) const {
    ax = (ax - px_) * kx_;
    ay = (ay - py_) * kMetersPerUnit;
    const double dx = (bx - px_) * kx_ - ax;
    const double dy = (by - py_) * kMetersPerUnit - ay;
    const double length2 = dx * dx + dy * dy;
    const double t = length2 > 0 ? std::clamp(-(ax * dx + ay * dy) / length2, 0.0, 1.0) : 0.0;
    const double x = ax + t * dx, y = ay + t * dy;
    return x * x + y * y;
  }

  // Sea along the line from a to b, each nautical zone it crosses at its
  // own part's distance.
  void RecordSea(double ax, double ay, double bx, double by) {
    if (ax > bx) {
      std::swap(ax, bx);
      std::swap(ay, by);
    }
    const std::size_t first = BandOf(ax / kMapUnitsPerDegree);
    const std::size_t last = BandOf(bx / kMapUnitsPerDegree);
    if (first == last) {
      Record(map_.sea_[first], SegmentDistance2(ax, ay, bx, by));
      return;
    }
    for (std::size_t b = first; b <= last; ++b) {
      const double t0 = std::max(0.0, (BandWest(b) * kMapUnitsPerDegree - ax) / (bx - ax));
      const double t1 = std::min(1.0, (BandEast(b) * kMapUnitsPerDegree - ax) / (bx - ax));
      Record(map_.sea_[b], SegmentDistance2(ax + t0 * (bx - ax), ay + t0 * (by - ay),
                                            ax + t1 * (bx - ax), ay + t1 * (by - ay)));
    }
  }

  void SearchTile(const Tile& tile, const Box& box) {
    const std::int64_t x = std::llround(px_), y = std::llround(py_);
    for (const Feature& feature : tile.features) {
      if (RectDistance2(feature.west, feature.east, feature.south, feature.north) > r2_) continue;
      const bool other = feature.zone != own_;
      // Another zone's feature holding the point lies under an earlier one.
      if (other && Holds(tile, feature, x, y)) Record(feature.zone, 0);
      for (std::uint32_t r = feature.first_ring; r < feature.first_ring + feature.rings; ++r) {
        const Ring& ring = tile.rings[r];
        const std::int32_t* xs = tile.xs.data() + ring.first;
        const std::int32_t* ys = tile.ys.data() + ring.first;
        for (std::uint32_t k = 0; k < ring.count; ++k) {
          const std::uint32_t next = k + 1 == ring.count ? 0 : k + 1;
          const double ax = xs[k] - px_, bx = xs[next] - px_;
          const double ay = ys[k] - py_, by = ys[next] - py_;
          if ((ax > rx_ && bx > rx_) || (ax < -rx_ && bx < -rx_) || (ay > ry_ && by > ry_) ||
              (ay < -ry_ && by < -ry_)) {
            continue;
          }
          const double d2 = SegmentDistance2(xs[k], ys[k], xs[next], ys[next]);
          if (d2 > r2_) continue;
          if (other) Record(feature.zone, d2);
          if (map_.IsCoast(tile, ring, k)) RecordSea(xs[k], ys[k], xs[next], ys[next]);
        }
      }
    }
    const double west = box.west * kMapUnitsPerDegree, east = box.east * kMapUnitsPerDegree;
    const double south = box.south * kMapUnitsPerDegree, north = box.north * kMapUnitsPerDegree;
    SeaAlongSide(tile, true, west, south, north);
    SeaAlongSide(tile, true, east, south, north);
    SeaAlongSide(tile, false, south, west, east);
    SeaAlongSide(tile, false, north, west, east);
    SeaAtBandLines(tile, box);
  }

  // The tile's sea where it meets one side of its box (a meridian at
  // longitude `at` from `from` to `to` when `meridian`, else a parallel):
  // what no feature's edge lying along that side covers.
  void SeaAlongSide(const Tile& tile, bool meridian, double at, double from, double to) {
    const double d2 =
        meridian ? SegmentDistance2(at, from, at, to) : SegmentDistance2(from, at, to, at);
    if (d2 > r2_) return;
    spans_.clear();
    for (const Feature& feature : tile.features) {
      const double low = meridian ? feature.west : feature.south;
      const double high = meridian ? feature.east : feature.north;
      if (low > at + kOnBoxUnits || high < at - kOnBoxUnits) continue;
      for (std::uint32_t r = feature.first_ring; r < feature.first_ring + feature.rings; ++r) {
        const Ring& ring = tile.rings[r];
        const std::int32_t* across = (meridian ? tile.xs : tile.ys).data() + ring.first;
        const std::int32_t* along = (meridian ? tile.ys : tile.xs).data() + ring.first;
        for (std::uint32_t k = 0; k < ring.count; ++k) {
          const std::uint32_t next = k + 1 == ring.count ? 0 : k + 1;
          if (std::abs(across[k] - at) <= kOnBoxUnits &&
              std::abs(across[next] - at) <= kOnBoxUnits) {
            spans_.emplace_back(std::min(along[k], along[next]), std::max(along[k], along[next]));
          }
        }
      }
    }
    std::sort(spans_.begin(), spans_.end());
    // Narrower sea is a seam between features.
    const double gap = kCoastProbeMeters / (meridian ? kMetersPerUnit : kx_);
    auto sea = [&](double a, double b) {
      if (b - a <= gap) return;
      if (meridian) {
        RecordSea(at, a, at, b);
      } else {
        RecordSea(a, at, b, at);
      }
    };
    double covered = from;
    for (const auto& [a, b] : spans_) {
      sea(covered, a);
      covered = std::max(covered, b);
    }
    sea(covered, to);
  }

  // Sea in the tile on both sides of a line between nautical zones, where
  // the line comes nearest the point: farther along the line, sea that is
  // nearer begins at a coast or the box, found there. The probes keep off
  // the box's edges, where outlines end on rounded units; a line that close
  // to a side is that side's.
  void SeaAtBandLines(const Tile& tile, const Box& box) {
    const double west = box.west * kMapUnitsPerDegree, east = box.east * kMapUnitsPerDegree;
    const double south = box.south * kMapUnitsPerDegree, north = box.north * kMapUnitsPerDegree;
    if (north - south <= 2 * kOnBoxUnits) return;
    for (std::size_t b = BandOf(box.west) + 1; b <= BandOf(box.east); ++b) {
      const double line = BandWest(b) * kMapUnitsPerDegree;
      if (line - 1 < west + kOnBoxUnits || line > east - kOnBoxUnits) continue;
      const double y = std::clamp(py_, south + kOnBoxUnits, north - kOnBoxUnits);
      const double d2 = SegmentDistance2(line, y, line, y);
      if (d2 > r2_) continue;
      const auto x = std::llround(line);
      // The eastern zone takes the line itself.
      if (!FeatureAt(tile, x, std::llround(y))) Record(map_.sea_[b], d2);
      if (!FeatureAt(tile, x - 1, std::llround(y))) Record(map_.sea_[b - 1], d2);
    }
  }

  const ZoneMap& map_;
  const std::uint16_t own_;
  const double r2_;
  const double kx_;  // metres per unit east
  const double py_;
  const double rx_, ry_;  // the distance in units east and north
  double px_ = 0;
  std::vector<Box> boxes_;
  std::vector<std::pair<double, double>> spans_;
  std::vector<NearZone> found_;
};

std::vector<NearZone> ZoneMap::ZonesWithin(double longitude, double latitude, double meters) const {
  if (!(meters >= 0)) return {};
  const std::optional<std::uint16_t> own = ZoneAt(longitude, latitude);
  if (!own) return {};
  NearSearch search(*this, *own, latitude, meters);
  for (const double shift : {0.0, -360.0, 360.0})
    search.Walk(longitude + shift);
  return std::move(search).Found();
}

}  // namespace tarv
