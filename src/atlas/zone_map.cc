#include "atlas/zone_map.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

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
  for (const auto& tile : map.tiles) {
    AppendInt16(out, static_cast<std::int16_t>(tile.size()));
    for (const auto& feature : tile) {
      AppendInt16(out, static_cast<std::int16_t>(feature.zone));
      AppendInt16(out, static_cast<std::int16_t>(feature.rings.size()));
      for (const auto& ring : feature.rings) {
        AppendVarint(out, ring.longitudes.size());
        std::int64_t x = 0, y = 0;
        for (std::size_t k = 0; k < ring.longitudes.size(); ++k) {
          AppendVarint(out, ZigZag(ring.longitudes[k] - x));
          AppendVarint(out, ZigZag(ring.latitudes[k] - y));
          x = ring.longitudes[k];
          y = ring.latitudes[k];
        }
      }
    }
  }
  return out;
}

std::size_t SeaZoneIndex(double longitude) {
  if (!(longitude > -180.0 && longitude < 180.0)) return 0;
  const double band = std::floor((longitude + 187.5) / 15.0);
  return static_cast<std::size_t>(std::clamp(band, 0.0, static_cast<double>(kSeaZoneCount - 1)));
}

ZoneMap::ZoneMap(std::string_view bytes, const std::string& file, std::size_t zone_count) {
  FormatReader in(bytes, file);
  in.Header(kZoneMapMagic, "a zone map", kZoneMapVersion);
  auto zone = [&](const std::string& what) {
    const auto z = static_cast<std::uint16_t>(in.Int16(what));
    if (z >= zone_count) {
      throw FormatViolation(
          file, what + " names zone " + std::to_string(z) + " of " + std::to_string(zone_count));
    }
    return z;
  };
  for (std::size_t i = 0; i < kSeaZoneCount; ++i)
    sea_[i] = zone("sea zone " + std::to_string(i + 1));
  const std::uint32_t nodes = in.Uint32("the node count");
  const std::uint32_t tiles = in.Uint32("the tile count");
  if (nodes == 0 || nodes > kMaxNodes || nodes > in.Left() / 4) {
    throw FormatViolation(file, "node count " + std::to_string(nodes) + " out of range");
  }
  // Each tile takes at least 2 + 4 + 1 + 6 bytes.
  if (tiles > kMaxTiles || tiles > in.Left() / 13) {
    throw FormatViolation(file, "tile count " + std::to_string(tiles) + " out of range");
  }
  nodes_.reserve(nodes);
  // Every node but the root must be some split's quarter, exactly once:
  // no loops, and no node that no box reaches.
  std::vector<bool> reached(nodes, false);
  reached[0] = true;
  for (std::uint32_t i = 0; i < nodes; ++i) {
    const std::uint32_t node = in.Uint32("node " + std::to_string(i));
    const std::uint32_t kind = node >> 30;
    const std::uint32_t number = node & kNumberMask;
    const std::string what = "node " + std::to_string(i);
    if (!reached[i]) throw FormatViolation(file, what + " lies in no box");
    switch (static_cast<ZoneMapData::NodeKind>(kind)) {
      case ZoneMapData::NodeKind::kSea:
        if (number != 0) throw FormatViolation(file, what + " is sea with a number");
        break;
      case ZoneMapData::NodeKind::kZone:
        if (number >= zone_count) {
          throw FormatViolation(file, what + " names zone " + std::to_string(number) + " of " +
                                          std::to_string(zone_count));
        }
        break;
      case ZoneMapData::NodeKind::kSplit:
        if (number <= i || number > nodes - 4 || nodes < 4) {
          throw FormatViolation(file, what + " splits into nodes out of order");
        }
        for (std::uint32_t q = number; q < number + 4; ++q) {
          if (reached[q]) throw FormatViolation(file, what + " shares its quarters");
          reached[q] = true;
        }
        break;
      case ZoneMapData::NodeKind::kTile:
        if (number >= tiles) {
          throw FormatViolation(file, what + " names tile " + std::to_string(number) + " of " +
                                          std::to_string(tiles));
        }
        break;
    }
    nodes_.push_back(node);
  }
  tiles_.reserve(tiles);
  for (std::uint32_t t = 0; t < tiles; ++t) {
    const std::string what = "tile " + std::to_string(t);
    const auto features = static_cast<std::uint16_t>(in.Int16(what));
    if (features == 0 || features > kMaxFeatures) {
      throw FormatViolation(file, what + " has " + std::to_string(features) + " features");
    }
    tiles_.push_back({static_cast<std::uint32_t>(features_.size()), features});
    for (std::uint16_t f = 0; f < features; ++f) {
      Feature feature;
      feature.zone = zone(what + " feature " + std::to_string(f));
      const auto rings = static_cast<std::uint16_t>(in.Int16(what + " ring count"));
      if (rings == 0) throw FormatViolation(file, what + " has a feature without rings");
      feature.first_ring = static_cast<std::uint32_t>(rings_.size());
      feature.rings = rings;
      feature.west = feature.south = std::numeric_limits<std::int32_t>::max();
      feature.east = feature.north = std::numeric_limits<std::int32_t>::min();
      for (std::uint16_t r = 0; r < rings; ++r) {
        const std::uint64_t count = in.Varint(what + " vertex count");
        // Each vertex takes at least two bytes.
        if (count < 3 || count > kMaxVertices || count > in.Left() / 2) {
          throw FormatViolation(file,
                                what + " has a ring of " + std::to_string(count) + " vertices");
        }
        rings_.push_back(
            {static_cast<std::uint32_t>(xs_.size()), static_cast<std::uint32_t>(count)});
        std::int64_t x = 0, y = 0;
        for (std::uint64_t k = 0; k < count; ++k) {
          // Differences beyond the earth's width are damage, checked below
          // before they could add up.
          const std::uint64_t dx = in.Varint(what + " vertex");
          const std::uint64_t dy = in.Varint(what + " vertex");
          if (dx > 4 * kMaxLongitude + 1 || dy > 4 * kMaxLatitude + 1) {
            throw FormatViolation(file, what + " has a vertex off the earth");
          }
          x += UnZigZag(dx);
          y += UnZigZag(dy);
          if (x < -kMaxLongitude || x > kMaxLongitude || y < -kMaxLatitude || y > kMaxLatitude) {
            throw FormatViolation(file, what + " has a vertex off the earth");
          }
          xs_.push_back(static_cast<std::int32_t>(x));
          ys_.push_back(static_cast<std::int32_t>(y));
          feature.west = std::min(feature.west, static_cast<std::int32_t>(x));
          feature.east = std::max(feature.east, static_cast<std::int32_t>(x));
          feature.south = std::min(feature.south, static_cast<std::int32_t>(y));
          feature.north = std::max(feature.north, static_cast<std::int32_t>(y));
        }
      }
      features_.push_back(feature);
    }
  }
  in.End();
}

bool ZoneMap::Holds(const Feature& feature, std::int64_t x, std::int64_t y) const {
  if (x < feature.west || x > feature.east || y < feature.south || y > feature.north) return false;
  bool inside = false;
  for (std::uint32_t r = feature.first_ring; r < feature.first_ring + feature.rings; ++r) {
    const Ring& ring = rings_[r];
    const std::int32_t* xs = xs_.data() + ring.first;
    const std::int32_t* ys = ys_.data() + ring.first;
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

std::optional<std::uint16_t> ZoneMap::ZoneAt(double longitude, double latitude) const {
  if (!(longitude >= -180.0 && longitude <= 180.0 && latitude >= -90.0 && latitude <= 90.0)) {
    return std::nullopt;
  }
  const std::uint16_t sea = sea_[SeaZoneIndex(longitude)];
  const double lon = std::clamp(longitude, -kMapEast, kMapEast);
  const double lat = std::clamp(latitude, -kMapNorth, kMapNorth);
  double west = -kMapEast, east = kMapEast, south = -kMapNorth, north = kMapNorth;
  std::uint32_t node = nodes_[0];
  // Every split points forward, so the walk ends within the node count.
  for (;;) {
    const auto kind = static_cast<ZoneMapData::NodeKind>(node >> 30);
    const std::uint32_t number = node & kNumberMask;
    switch (kind) {
      case ZoneMapData::NodeKind::kSea:
        return sea;
      case ZoneMapData::NodeKind::kZone:
        return static_cast<std::uint16_t>(number);
      case ZoneMapData::NodeKind::kTile: {
        const auto x = std::llround(lon * kMapUnitsPerDegree);
        const auto y = std::llround(lat * kMapUnitsPerDegree);
        const Tile& tile = tiles_[number];
        for (std::uint32_t f = tile.first_feature; f < tile.first_feature + tile.features; ++f) {
          if (Holds(features_[f], x, y)) return features_[f].zone;
        }
        return sea;
      }
      case ZoneMapData::NodeKind::kSplit: {
        const double mid_lon = (west + east) / 2;
        const double mid_lat = (south + north) / 2;
        const bool north_half = lat >= mid_lat;
        const bool east_half = lon >= mid_lon;
        (north_half ? south : north) = mid_lat;
        (east_half ? west : east) = mid_lon;
        const std::uint32_t quarter = north_half ? (east_half ? 0 : 1) : (east_half ? 3 : 2);
        node = nodes_[number + quarter];
        break;
      }
    }
  }
}

}  // namespace tarv
