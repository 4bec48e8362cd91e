// Atlas::ZoneAt on the default atlas's zone map, warm, over the points the
// acceptance check of the map draws (100,000 on land, 10,000 at sea): the
// file $TARV_ZONE_POINTS names, little-endian float64 pairs (longitude,
// latitude) as tests/acceptance/zone_map_acceptance.py writes them;
// $TARV_ZONE_ATLAS names another atlas.
// bench/zone_map_vs_geotz.sh times geo-tz's lookup on the same file.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "atlas/zone_map.h"
#include "tarvplaces/atlas.h"
#include "text/lz.h"

namespace tarv::bench {
namespace {

const std::string kAtlas = TARV_DEFAULT_ATLAS;

struct Point {
  double longitude;
  double latitude;
};

// The points, or a reason in `why` when there are none.
const std::vector<Point>& Points(std::string& why) {
  static std::string failure;
  static const std::vector<Point> points = [] {
    std::vector<Point> read;
    const char* file = std::getenv("TARV_ZONE_POINTS");
    if (file == nullptr || *file == '\0') {
      failure = "TARV_ZONE_POINTS names no points file (bench/zone_map_vs_geotz.sh sets it)";
      return read;
    }
    std::error_code error;
    const auto size = std::filesystem::file_size(file, error);
    std::ifstream in(file, std::ios::binary);
    if (error || !in || size == 0 || size % sizeof(Point) != 0) {
      failure = std::string(file) + " is not a file of coordinate pairs";
      return read;
    }
    read.resize(size / sizeof(Point));
    if (!in.read(reinterpret_cast<char*>(read.data()), static_cast<std::streamsize>(size))) {
      failure = std::string(file) + " could not be read";
      read.clear();
    }
    return read;
  }();
  why = failure;
  return points;
}

// The atlas $TARV_ZONE_ATLAS names, else the default atlas, opened once and
// its map loaded by a first lookup.
const Atlas* MappedAtlas(std::string& why) {
  const char* named = std::getenv("TARV_ZONE_ATLAS");
  static const std::string folder = named != nullptr && *named != '\0' ? named : kAtlas;
  if (!std::filesystem::exists(folder + "/Zones.map")) {
    why = folder + " has no zone map (scripts/build-atlas.sh)";
    return nullptr;
  }
  static const Atlas atlas(folder);
  atlas.ZoneAt(0.0, 0.0);
  return &atlas;
}

// Asks `ask(point)` of every point in turn; each answer is an optional zone.
template <typename Ask>
void Loop(benchmark::State& state, const std::vector<Point>& points, Ask ask) {
  std::size_t i = 0;
  double found = 0;
  for (auto _ : state) {
    const Point& point = points[i];
    if (++i == points.size()) i = 0;
    const auto zone = ask(point);
    found += zone.has_value() ? 1.0 : 0.0;
    benchmark::DoNotOptimize(zone);
  }
  state.SetItemsProcessed(state.iterations());
  // Every point has a zone: a share below 1 means the map is not answering.
  state.counters["found"] = benchmark::Counter(found, benchmark::Counter::kAvgIterations);
  state.counters["points"] = static_cast<double>(points.size());
}

// The mapped atlas, or null once the benchmark is told why there is none.
const Atlas* MappedAtlasOrSkip(benchmark::State& state) {
  std::string why;
  Points(why);
  const Atlas* atlas = why.empty() ? MappedAtlas(why) : nullptr;
  if (atlas == nullptr) state.SkipWithError(why.c_str());
  return atlas;
}

// Asks `ask(atlas, point)` of every point in turn.
template <typename Ask>
void Lookups(benchmark::State& state, Ask ask) {
  const Atlas* atlas = MappedAtlasOrSkip(state);
  if (atlas == nullptr) return;
  std::string why;
  const auto& points = Points(why);
  Loop(state, points, [&](const Point& point) { return ask(*atlas, point); });
}

// The zone at the present instant, as a host shows it for coordinates typed.
void ZoneAtNow(benchmark::State& state) {
  Lookups(state, [](const Atlas& atlas, const Point& point) {
    return atlas.ZoneAt(point.longitude, point.latitude);
  });
}
BENCHMARK(ZoneAtNow)->Name("ZoneMap/ZoneAt/now");

// The zone at a local time of the past, as a chart asks it.
void ZoneAtLocal(benchmark::State& state) {
  const LocalTime when{1980, 7, 1, 12, 0, 0};
  Lookups(state, [&when](const Atlas& atlas, const Point& point) {
    return atlas.ZoneAt(point.longitude, point.latitude, when);
  });
}
BENCHMARK(ZoneAtLocal)->Name("ZoneMap/ZoneAt/1980");

// Only the zone's IANA name, the answer geo-tz's find gives.
void ZoneNameAt(benchmark::State& state) {
  Lookups(state, [](const Atlas& atlas, const Point& point) {
    return atlas.ZoneNameAt(point.longitude, point.latitude);
  });
}
BENCHMARK(ZoneNameAt)->Name("ZoneMap/ZoneNameAt");

// The map's search alone, the zone's number without its name: the part of
// ZoneNameAt below the atlas's call.
void MapSearch(benchmark::State& state) {
  const Atlas* atlas = MappedAtlasOrSkip(state);
  if (atlas == nullptr) return;
  std::string why;
  const auto& points = Points(why);
  std::int32_t error = 0;
  const auto bytes = ExpandedImage(atlas->Folder() + "/" + kZoneMapFile, error, Packing::kSzdd);
  if (bytes == nullptr) {
    state.SkipWithError("the zone map cannot be read");
    return;
  }
  // Zone numbers are checked against the atlas's zones on ZoneAt's path;
  // here any number the format holds will do.
  const ZoneMap map(*bytes, kZoneMapFile, 0x10000);
  Loop(state, points,
       [&map](const Point& point) { return map.ZoneAt(point.longitude, point.latitude); });
}
BENCHMARK(MapSearch)->Name("ZoneMap/MapSearch");

}  // namespace
}  // namespace tarv::bench
