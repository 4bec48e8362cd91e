#include "atlas/zone_boundaries.h"

#include <algorithm>
#include <boost/geometry/algorithms/correct.hpp>
#include <boost/geometry/algorithms/covered_by.hpp>
#include <cmath>
#include <deque>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <span>

#include "atlas/source_files.h"
#include "atlas/zone_map.h"
#include "tarvplaces/atlas_error.h"

namespace fs = std::filesystem;

namespace tarv::atlas {
namespace {

constexpr int kGeometryPolygon = 4;
constexpr int kGeometryMultiPolygon = 5;

// A bounds-checked reader of protocol buffer fields.
class ProtoReader {
 public:
  ProtoReader(std::string_view bytes, const std::string& file) : bytes_(bytes), file_(&file) {}

  bool More() const { return pos_ < bytes_.size(); }

  std::uint64_t Varint() {
    std::uint64_t value = 0;
    for (int shift = 0; shift < 64; shift += 7) {
      if (pos_ >= bytes_.size()) Fail("a number runs past its end");
      const auto byte = static_cast<std::uint8_t>(bytes_[pos_++]);
      value |= static_cast<std::uint64_t>(byte & 0x7F) << shift;
      if ((byte & 0x80) == 0) return value;
    }
    Fail("a number longer than ten bytes");
  }

  std::int64_t SignedVarint() {
    const std::uint64_t v = Varint();
    return static_cast<std::int64_t>(v >> 1) ^ -static_cast<std::int64_t>(v & 1);
  }

  // A field's key: its number and wire type.
  std::pair<std::uint64_t, int> Key() {
    const std::uint64_t key = Varint();
    return {key >> 3, static_cast<int>(key & 7)};
  }

  std::string_view Bytes() {
    const std::uint64_t length = Varint();
    if (length > bytes_.size() - pos_) Fail("a field runs past its end");
    const std::string_view field = bytes_.substr(pos_, length);
    pos_ += length;
    return field;
  }

  ProtoReader Message() { return ProtoReader(Bytes(), *file_); }

  void Skip(int wire_type) {
    switch (wire_type) {
      case 0:
        Varint();
        return;
      case 1:
        Advance(8);
        return;
      case 2:
        Bytes();
        return;
      case 5:
        Advance(4);
        return;
      default:
        Fail("wire type " + std::to_string(wire_type) + " is not one geobuf uses");
    }
  }

  void Expect(int wire_type, int wanted, const char* what) {
    if (wire_type != wanted) Fail(std::string(what) + " has the wrong wire type");
  }

  [[noreturn]] void Fail(const std::string& problem) const {
    throw AtlasError(*file_, "geobuf: " + problem);
  }

 private:
  void Advance(std::size_t n) {
    if (n > bytes_.size() - pos_) Fail("a field runs past its end");
    pos_ += n;
  }

  std::string_view bytes_;
  std::size_t pos_ = 0;
  const std::string* file_;
};

std::vector<std::uint64_t> PackedVarints(ProtoReader field) {
  std::vector<std::uint64_t> values;
  while (field.More())
    values.push_back(field.Varint());
  return values;
}

std::string StringValue(ProtoReader value) {
  std::string text;
  while (value.More()) {
    const auto [number, wire] = value.Key();
    if (number == 1) {
      value.Expect(wire, 2, "a string value");
      text = std::string(value.Bytes());
    } else {
      value.Skip(wire);
    }
  }
  return text;
}

struct RawGeometry {
  std::uint64_t type = 0;
  std::vector<std::uint64_t> lengths;
  std::vector<std::int64_t> coords;  // deltas, two per vertex
};

RawGeometry ReadGeometry(ProtoReader in) {
  RawGeometry g;
  while (in.More()) {
    const auto [number, wire] = in.Key();
    if (number == 1) {
      in.Expect(wire, 0, "the geometry type");
      g.type = in.Varint();
    } else if (number == 2) {
      in.Expect(wire, 2, "the ring lengths");
      g.lengths = PackedVarints(in.Message());
    } else if (number == 3) {
      in.Expect(wire, 2, "the coordinates");
      ProtoReader coords = in.Message();
      while (coords.More())
        g.coords.push_back(coords.SignedVarint());
    } else if (number == 4) {
      in.Fail("geometry collections hold no zone outlines");
    } else {
      in.Skip(wire);
    }
  }
  return g;
}

// Builds the polygons of a geometry; deltas restart with each ring and a
// ring's closing vertex is left out.
GeoMultiPolygon Shape(const RawGeometry& g, double scale, const ProtoReader& in) {
  std::size_t next = 0;
  const std::size_t vertices = g.coords.size() / 2;
  auto ring = [&](std::size_t count) {
    if (count > vertices - next) in.Fail("ring lengths exceed the coordinates");
    GeoPolygon::ring_type r;
    r.reserve(count + 1);
    std::int64_t x = 0, y = 0;
    for (std::size_t i = 0; i < count; ++i, ++next) {
      x += g.coords[2 * next];
      y += g.coords[2 * next + 1];
      r.emplace_back(static_cast<double>(x) / scale, static_cast<double>(y) / scale);
    }
    if (!r.empty()) r.push_back(r.front());
    return r;
  };
  auto polygon = [&](std::span<const std::uint64_t> lengths) {
    GeoPolygon p;
    for (std::size_t k = 0; k < lengths.size(); ++k) {
      (k == 0 ? p.outer() : p.inners().emplace_back()) = ring(lengths[k]);
    }
    return p;
  };
  GeoMultiPolygon shape;
  const std::vector<std::uint64_t> all{vertices};
  if (g.type == kGeometryPolygon) {
    shape.push_back(polygon(g.lengths.empty() ? std::span(all) : std::span(g.lengths)));
  } else if (g.type == kGeometryMultiPolygon) {
    if (g.lengths.empty()) {
      shape.push_back(polygon(all));
    } else {
      std::size_t j = 1;
      for (std::uint64_t i = 0; i < g.lengths[0]; ++i) {
        if (j >= g.lengths.size() || g.lengths[j] > g.lengths.size() - j - 1) {
          in.Fail("the polygon lengths run past their list");
        }
        const auto rings = static_cast<std::size_t>(g.lengths[j]);
        shape.push_back(polygon(std::span(g.lengths).subspan(j + 1, rings)));
        j += rings + 1;
      }
    }
  } else {
    in.Fail("geometry type " + std::to_string(g.type) + " is no polygon");
  }
  if (next != vertices || g.coords.size() % 2 != 0) {
    in.Fail("coordinates left over after the last ring");
  }
  boost::geometry::correct(shape);
  return shape;
}

BoundaryFeature ReadFeature(ProtoReader in, const std::vector<std::string>& keys, double scale) {
  std::vector<std::string> values;
  std::vector<std::uint64_t> properties;
  std::optional<RawGeometry> geometry;
  while (in.More()) {
    const auto [number, wire] = in.Key();
    if (number == 1) {
      in.Expect(wire, 2, "a geometry");
      geometry = ReadGeometry(in.Message());
    } else if (number == 13) {
      in.Expect(wire, 2, "a value");
      values.push_back(StringValue(in.Message()));
    } else if (number == 14) {
      in.Expect(wire, 2, "the properties");
      properties = PackedVarints(in.Message());
    } else {
      in.Skip(wire);
    }
  }
  if (!geometry) in.Fail("a feature without geometry");
  BoundaryFeature feature;
  for (std::size_t i = 0; i + 1 < properties.size(); i += 2) {
    if (properties[i] >= keys.size() || properties[i + 1] >= values.size()) {
      in.Fail("a property names a missing key or value");
    }
    if (keys[properties[i]] == "tzid") feature.zone = values[properties[i + 1]];
  }
  if (feature.zone.empty()) in.Fail("a feature without a tzid");
  feature.shape = Shape(*geometry, scale, in);
  return feature;
}

BoundaryNode::Kind KindOf(const nlohmann::json& node, const std::string& file) {
  if (node.is_null()) return BoundaryNode::Kind::kSea;
  if (node.is_array()) return node.empty() ? BoundaryNode::Kind::kSea : BoundaryNode::Kind::kZone;
  if (!node.is_object()) throw AtlasError(file, "a quadtree node is neither list nor object");
  return node.contains("pos") ? BoundaryNode::Kind::kTile : BoundaryNode::Kind::kSplit;
}

}  // namespace

std::array<BoundaryBox, 4> QuartersOf(const BoundaryBox& b) {
  const double lat = (b.north + b.south) / 2;
  const double lon = (b.west + b.east) / 2;
  return {{{lon, b.east, lat, b.north},
           {b.west, lon, lat, b.north},
           {b.west, lon, b.south, lat},
           {lon, b.east, b.south, lat}}};
}

std::vector<BoundaryFeature> DecodeBoundaryTile(std::string_view bytes, const std::string& file) {
  ProtoReader in(bytes, file);
  std::vector<std::string> keys;
  std::uint64_t dimensions = 2;
  std::uint64_t precision = 6;
  std::optional<ProtoReader> collection;
  while (in.More()) {
    const auto [number, wire] = in.Key();
    if (number == 1) {
      in.Expect(wire, 2, "a key");
      keys.emplace_back(in.Bytes());
    } else if (number == 2) {
      in.Expect(wire, 0, "the dimensions");
      dimensions = in.Varint();
    } else if (number == 3) {
      in.Expect(wire, 0, "the precision");
      precision = in.Varint();
    } else if (number == 4) {
      in.Expect(wire, 2, "the feature collection");
      collection = in.Message();
    } else {
      in.Skip(wire);
    }
  }
  if (dimensions != 2) in.Fail(std::to_string(dimensions) + " dimensions, not 2");
  if (precision > 12) in.Fail("precision " + std::to_string(precision) + " out of range");
  if (!collection) in.Fail("no feature collection");
  const double scale = std::pow(10.0, static_cast<double>(precision));
  // Keys come before the collection in geobuf, but their order is no
  // promise of the wire format: the features are read once all are known.
  std::vector<BoundaryFeature> features;
  while (collection->More()) {
    const auto [number, wire] = collection->Key();
    if (number == 1) {
      collection->Expect(wire, 2, "a feature");
      features.push_back(ReadFeature(collection->Message(), keys, scale));
    } else {
      collection->Skip(wire);
    }
  }
  return features;
}

std::string SeaZoneName(std::size_t index) {
  const int hours = 12 - static_cast<int>(index);
  if (hours == 0) return "Etc/GMT";
  return "Etc/GMT" + std::string(hours > 0 ? "+" : "-") + std::to_string(std::abs(hours));
}

ZoneBoundaries ZoneBoundaries::Read(const std::string& package) {
  const fs::path data = fs::path(package) / "data";
  const std::string index = (data / "timezones.geojson.index.json").string();
  const std::string tiles = (data / "timezones.geojson.geo.dat").string();
  const std::string json = ReadText(index);
  return ZoneBoundaries(json, ReadText(tiles), index, tiles);
}

ZoneBoundaries::ZoneBoundaries(std::string_view index_json, std::string_view tiles,
                               const std::string& index_name, const std::string& tiles_name) {
  const std::string& where = index_name;
  const auto index = nlohmann::json::parse(index_json, nullptr, false);
  if (index.is_discarded() || !index.is_object() || !index.contains("timezones") ||
      !index["timezones"].is_array() || !index.contains("lookup")) {
    throw AtlasError(where, "the index is no JSON object with \"timezones\" and \"lookup\"");
  }
  const auto& names = index["timezones"];
  struct Pending {
    const nlohmann::json* json;
    std::size_t node;
  };
  std::deque<Pending> queue;
  nodes_.push_back({BoundaryNode::Kind::kSea, {-kMapEast, kMapEast, -kMapNorth, kMapNorth}, {}, 0});
  queue.push_back({&index["lookup"], 0});
  // Breadth first, so that the quarters of each split follow one another.
  while (!queue.empty()) {
    const Pending p = queue.front();
    queue.pop_front();
    const nlohmann::json& json = *p.json;
    BoundaryNode& node = nodes_[p.node];
    node.kind = KindOf(json, where);
    switch (node.kind) {
      case BoundaryNode::Kind::kSea:
        break;
      case BoundaryNode::Kind::kZone:
        for (const auto& number : json) {
          if (!number.is_number_unsigned() || number.get<std::uint64_t>() >= names.size() ||
              !names[number.get<std::size_t>()].is_string()) {
            throw AtlasError(where, "a quadtree node names a missing zone");
          }
          node.zones.push_back(names[number.get<std::size_t>()].get<std::string>());
        }
        break;
      case BoundaryNode::Kind::kTile: {
        const auto& pos = json["pos"];
        const auto& len = json.value("len", nlohmann::json());
        if (!pos.is_number_unsigned() || !len.is_number_unsigned() ||
            pos.get<std::uint64_t>() > tiles.size() ||
            len.get<std::uint64_t>() > tiles.size() - pos.get<std::uint64_t>()) {
          throw AtlasError(where, "a tile's byte range lies outside the tiles");
        }
        node.first = static_cast<std::uint32_t>(tiles_.size());
        const std::string tile_name =
            tiles_name + " at byte " + std::to_string(pos.get<std::uint64_t>());
        tiles_.push_back(DecodeBoundaryTile(
            tiles.substr(pos.get<std::size_t>(), len.get<std::size_t>()), tile_name));
        break;
      }
      case BoundaryNode::Kind::kSplit: {
        // Growing nodes_ moves `node`: nothing touches it after this.
        node.first = static_cast<std::uint32_t>(nodes_.size());
        const auto boxes = QuartersOf(node.box);
        static const nlohmann::json kMissing;
        for (std::size_t q = 0; q < 4; ++q) {
          const char key[2] = {static_cast<char>('a' + q), '\0'};
          queue.push_back({json.contains(key) ? &json[key] : &kMissing, nodes_.size()});
          nodes_.push_back({BoundaryNode::Kind::kSea, boxes[q], {}, 0});
        }
        break;
      }
    }
  }
}

std::vector<std::string> ZoneBoundaries::ZonesAt(double longitude, double latitude) const {
  const double lon = std::clamp(longitude, -kMapEast, kMapEast);
  const double lat = std::clamp(latitude, -kMapNorth, kMapNorth);
  const GeoPoint point(lon, lat);
  const BoundaryNode* node = &nodes_.front();
  while (node->kind == BoundaryNode::Kind::kSplit) {
    const double mid_lat = (node->box.north + node->box.south) / 2;
    const double mid_lon = (node->box.west + node->box.east) / 2;
    const std::size_t quarter = lat >= mid_lat ? (lon >= mid_lon ? 0 : 1) : (lon < mid_lon ? 2 : 3);
    node = &nodes_[node->first + quarter];
  }
  std::vector<std::string> zones;
  if (node->kind == BoundaryNode::Kind::kZone) zones = node->zones;
  if (node->kind == BoundaryNode::Kind::kTile) {
    for (const auto& feature : tiles_[node->first]) {
      if (boost::geometry::covered_by(point, feature.shape)) zones.push_back(feature.zone);
    }
  }
  if (zones.empty()) zones.push_back(SeaZoneName(SeaZoneIndex(longitude)));
  return zones;
}

std::set<std::string> ZoneBoundaries::ZoneNames() const {
  std::set<std::string> names;
  for (const auto& node : nodes_) {
    names.insert(node.zones.begin(), node.zones.end());
  }
  for (const auto& tile : tiles_) {
    for (const auto& feature : tile)
      names.insert(feature.zone);
  }
  return names;
}

}  // namespace tarv::atlas
