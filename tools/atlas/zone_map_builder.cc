#include "atlas/zone_map_builder.h"

// Boost.Geometry's overlay leaves a factor GCC cannot prove set.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#include <boost/geometry.hpp>
#pragma GCC diagnostic pop
#include <cmath>
#include <numbers>

#include "platform/atomic_file.h"
#include "text/lz.h"

namespace bg = boost::geometry;

namespace tarv::atlas {
namespace {

constexpr double kMetresPerDegree = 6371000.0 * std::numbers::pi / 180.0;
// Splitting stops here even where vertices stay many (a long coast in a
// small box): each level only adds the cut edges.
constexpr int kMaxSplitDepth = 6;

using FlatRing = bg::model::ring<GeoPoint>;

// Outlines are clipped to their tile's box, and coordinates rounded to 1e-6
// degrees: a vertex this close to the box's edge lies on it.
constexpr double kOnEdge = 2e-6;

bool OnEdge(const GeoPoint& p, const BoundaryBox& box) {
  return std::abs(p.x() - box.west) < kOnEdge || std::abs(p.x() - box.east) < kOnEdge ||
         std::abs(p.y() - box.south) < kOnEdge || std::abs(p.y() - box.north) < kOnEdge;
}

// Douglas-Peucker between the vertices on the box's edge, which stay: the
// box's edge is no boundary, and an outline drawn in from it would leave
// land beside it at sea.
std::optional<ZoneMapData::Ring> SimplifiedRing(const FlatRing& ring, const BoundaryBox& box,
                                                double shrink) {
  if (ring.size() < 4) return std::nullopt;
  const std::size_t n = ring.size() - 1;  // the last vertex repeats the first
  std::vector<std::size_t> anchors;
  for (std::size_t i = 0; i < n; ++i) {
    if (OnEdge(ring[i], box)) anchors.push_back(i);
  }
  auto flat = [&](std::size_t i) { return GeoPoint(ring[i % n].x() * shrink, ring[i % n].y()); };
  const double tolerance = kSimplifyMetres / kMetresPerDegree;
  FlatRing simple;
  if (anchors.empty()) {
    FlatRing whole;
    for (std::size_t i = 0; i <= n; ++i)
      whole.push_back(flat(i));
    bg::simplify(whole, simple, tolerance);
  } else {
    for (std::size_t k = 0; k < anchors.size(); ++k) {
      const std::size_t from = anchors[k];
      const std::size_t to = k + 1 < anchors.size() ? anchors[k + 1] : anchors.front() + n;
      bg::model::linestring<GeoPoint> chain, kept;
      for (std::size_t i = from; i <= to; ++i)
        chain.push_back(flat(i));
      bg::simplify(chain, kept, tolerance);
      simple.insert(simple.end(), kept.begin(), kept.end() - 1);
    }
  }
  ZoneMapData::Ring out;
  for (const auto& p : simple) {
    const auto x = static_cast<std::int32_t>(std::lround(p.x() / shrink * kMapUnitsPerDegree));
    const auto y = static_cast<std::int32_t>(std::lround(p.y() * kMapUnitsPerDegree));
    if (!out.longitudes.empty() && out.longitudes.back() == x && out.latitudes.back() == y) {
      continue;
    }
    out.longitudes.push_back(x);
    out.latitudes.push_back(y);
  }
  // The format closes rings on its own.
  while (out.longitudes.size() > 1 && out.longitudes.back() == out.longitudes.front() &&
         out.latitudes.back() == out.latitudes.front()) {
    out.longitudes.pop_back();
    out.latitudes.pop_back();
  }
  if (out.longitudes.size() < 3) return std::nullopt;
  return out;
}

std::size_t VerticesOf(const std::vector<ZoneMapData::Feature>& features) {
  std::size_t n = 0;
  for (const auto& f : features) {
    for (const auto& r : f.rings)
      n += r.longitudes.size();
  }
  return n;
}

GeoPolygon BoxPolygon(const BoundaryBox& b) {
  GeoPolygon p;
  bg::convert(bg::model::box<GeoPoint>({b.west, b.south}, {b.east, b.north}), p);
  return p;
}

class MapBuilder {
 public:
  MapBuilder(const ZoneBoundaries& boundaries, const ZoneNumberOf& number_of)
      : boundaries_(boundaries), number_of_(number_of) {}

  ZoneMapData Build() {
    for (std::size_t i = 0; i < kSeaZoneCount; ++i)
      map_.sea[i] = number_of_(SeaZoneName(i));
    map_.nodes.resize(1);
    FromBoundaries(0, boundaries_.nodes().front());
    return std::move(map_);
  }

 private:
  using Kind = ZoneMapData::NodeKind;

  // The quarters of a split take four nodes at the end, so that they follow
  // one another and their parent.
  std::size_t Quarters(std::size_t slot) {
    const std::size_t first = map_.nodes.size();
    map_.nodes.resize(first + 4);
    map_.nodes[slot] = {Kind::kSplit, static_cast<std::uint32_t>(first)};
    return first;
  }

  void FromBoundaries(std::size_t slot, const BoundaryNode& node) {
    switch (node.kind) {
      case BoundaryNode::Kind::kSea:
        map_.nodes[slot] = {Kind::kSea, 0};
        break;
      case BoundaryNode::Kind::kZone:
        map_.nodes[slot] = {Kind::kZone, number_of_(node.zones.front())};
        break;
      case BoundaryNode::Kind::kSplit: {
        const std::size_t first = Quarters(slot);
        for (std::size_t q = 0; q < 4; ++q)
          FromBoundaries(first + q, boundaries_.nodes()[node.first + q]);
        break;
      }
      case BoundaryNode::Kind::kTile:
        FromTile(slot, boundaries_.tiles()[node.first], node.box, 0);
        break;
    }
  }

  void FromTile(std::size_t slot, const std::vector<BoundaryFeature>& features,
                const BoundaryBox& box, int depth) {
    std::vector<ZoneMapData::Feature> simple;
    for (const auto& f : features) {
      ZoneMapData::Feature out{number_of_(f.zone), SimplifiedRings(f.shape, box)};
      if (!out.rings.empty()) simple.push_back(std::move(out));
    }
    // A tile whose outlines all shrank away held only specks of land: the
    // sea's zone is as right there as the simplification is anywhere.
    if (simple.empty()) {
      map_.nodes[slot] = {Kind::kSea, 0};
      return;
    }
    if (features.size() == 1) {
      const double whole = (box.east - box.west) * (box.north - box.south);
      if (bg::area(features.front().shape) >= whole * (1 - 1e-9)) {
        map_.nodes[slot] = {Kind::kZone, simple.front().zone};
        return;
      }
    }
    if (VerticesOf(simple) > kMaxTileVertices && depth < kMaxSplitDepth) {
      if (auto quarters = Clip(features, box)) {
        const auto boxes = QuartersOf(box);
        const std::size_t first = Quarters(slot);
        for (std::size_t q = 0; q < 4; ++q)
          FromTile(first + q, (*quarters)[q], boxes[q], depth + 1);
        return;
      }
    }
    map_.nodes[slot] = {Kind::kTile, static_cast<std::uint32_t>(map_.tiles.size())};
    map_.tiles.push_back(std::move(simple));
  }

  // The features cut to the quarters of the box; nullopt where Boost cannot
  // cut an outline (one crossing itself), and the tile stays whole.
  static std::optional<std::array<std::vector<BoundaryFeature>, 4>> Clip(
      const std::vector<BoundaryFeature>& features, const BoundaryBox& box) {
    std::array<std::vector<BoundaryFeature>, 4> quarters;
    const auto boxes = QuartersOf(box);
    try {
      for (std::size_t q = 0; q < 4; ++q) {
        const GeoPolygon cut = BoxPolygon(boxes[q]);
        for (const auto& f : features) {
          BoundaryFeature part{f.zone, {}};
          bg::intersection(f.shape, cut, part.shape);
          if (!part.shape.empty()) quarters[q].push_back(std::move(part));
        }
      }
    } catch (const bg::exception&) {
      return std::nullopt;
    }
    return quarters;
  }

  const ZoneBoundaries& boundaries_;
  const ZoneNumberOf& number_of_;
  ZoneMapData map_;
};

}  // namespace

std::vector<ZoneMapData::Ring> SimplifiedRings(const GeoMultiPolygon& shape,
                                               const BoundaryBox& box) {
  const double latitude = (box.north + box.south) / 2;
  const double shrink = std::max(0.01, std::cos(latitude * std::numbers::pi / 180.0));
  std::vector<ZoneMapData::Ring> rings;
  for (const auto& polygon : shape) {
    auto outer = SimplifiedRing(polygon.outer(), box, shrink);
    // A hole without its outline would turn into land of its own.
    if (!outer) continue;
    rings.push_back(std::move(*outer));
    for (const auto& inner : polygon.inners()) {
      if (auto hole = SimplifiedRing(inner, box, shrink)) rings.push_back(std::move(*hole));
    }
  }
  return rings;
}

ZoneMapData BuildZoneMap(const ZoneBoundaries& boundaries, const ZoneNumberOf& number_of) {
  return MapBuilder(boundaries, number_of).Build();
}

std::size_t VertexCount(const ZoneMapData& map) {
  std::size_t n = 0;
  for (const auto& tile : map.tiles)
    n += VerticesOf(tile);
  return n;
}

void WriteZoneMap(const std::filesystem::path& out, const ZoneMapData& map) {
  WriteFileAtomically(out / kZoneMapFile, CompressSzdd(EncodeZoneMap(map), 'p'));
}

}  // namespace tarv::atlas
