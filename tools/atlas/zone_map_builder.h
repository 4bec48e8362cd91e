// The zone map of the atlas ("Zones.map") from the zone boundaries: the
// boundaries' quadtree box for box, each tile's outlines simplified so that
// they stay within 150 m of the originals.
#ifndef TARVPLACES_TOOLS_ATLAS_ZONE_MAP_BUILDER_H_
#define TARVPLACES_TOOLS_ATLAS_ZONE_MAP_BUILDER_H_

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "atlas/zone_boundaries.h"
#include "atlas/zone_map.h"

namespace tarv::atlas {

// How far a simplified outline may stray from the boundary it stands for.
inline constexpr double kSimplifyMetres = 150.0;
// Tiles with more vertices than this are split into their quarters, so that
// no lookup walks many more.
inline constexpr std::size_t kMaxTileVertices = 512;

// The number of an IANA zone in "Zones.hst".
using ZoneNumberOf = std::function<std::uint16_t(const std::string&)>;

// The rings of `shape`, clipped to `box`, simplified (Douglas-Peucker on a
// map whose longitudes shrink by the cosine of the box's middle latitude,
// vertices on the box's edge kept), in whole 1e-5 degrees; rings that
// shrink below three vertices are left out, and holes with their outer ring.
std::vector<ZoneMapData::Ring> SimplifiedRings(const GeoMultiPolygon& shape,
                                               const BoundaryBox& box);

ZoneMapData BuildZoneMap(const ZoneBoundaries& boundaries, const ZoneNumberOf& number_of);

std::size_t VertexCount(const ZoneMapData& map);

// "Zones.map", compressed like the atlas's other files.
void WriteZoneMap(const std::filesystem::path& out, const ZoneMapData& map);

}  // namespace tarv::atlas

#endif  // TARVPLACES_TOOLS_ATLAS_ZONE_MAP_BUILDER_H_
