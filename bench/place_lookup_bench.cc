// Place lookups on a generated country of 20,000 places: exact name (warm and
// cold), prefix, accent-folding pattern, and nearest place.
#include <benchmark/benchmark.h>

#include <random>

#include "atlas/atlas_state.h"
#include "generated_atlas.h"
#include "text/codepage.h"
#include "text/lz.h"
#include "tarvplaces/places.h"

namespace tarv::bench {
namespace {

constexpr std::size_t kPlaces = 20000;

const GeneratedAtlas& Atlas() {
  static const GeneratedAtlas atlas = MakeGeneratedAtlas(kPlaces);
  return atlas;
}

// Host-side (UTF-8) names drawn from the atlas with a fixed seed.
std::vector<std::string> SampleNames(std::size_t n, bool plain) {
  std::mt19937 rng(7);
  std::vector<std::string> names;
  for (std::size_t i = 0; i < n; ++i) {
    const auto& place = Atlas().places[rng() % Atlas().places.size()];
    const std::string name = place.TrimmedName();
    names.push_back(Utf8FromAnsi(plain ? WithoutAccents(name) : name));
  }
  return names;
}

classPlaces& Places() {
  static classPlaces places;
  places.PlacePath(Atlas().folder.string());
  return places;
}

void BM_GetPlaceDataExactWarm(benchmark::State& state) {
  const auto names = SampleNames(256, false);
  auto& places = Places();
  places.GetPlaceData(names[0], "D");
  std::size_t i = 0;
  for (auto _ : state) {
    double lon = 0;
    double lat = 0;
    benchmark::DoNotOptimize(places.GetPlaceData(names[i++ % names.size()], "D", &lon, &lat));
  }
}
BENCHMARK(BM_GetPlaceDataExactWarm);

void BM_GetPlaceDataExactCold(benchmark::State& state) {
  const auto names = SampleNames(64, false);
  std::size_t i = 0;
  for (auto _ : state) {
    ResetDefaultAtlas();
    ClearExpandedImages();
    classPlaces places;
    places.PlacePath(Atlas().folder.string());
    benchmark::DoNotOptimize(places.GetPlaceData(names[i++ % names.size()], "D"));
  }
}
BENCHMARK(BM_GetPlaceDataExactCold)->Unit(benchmark::kMillisecond);

void BM_PrefixSearch(benchmark::State& state) {
  const auto names = SampleNames(256, false);
  auto& places = Places();
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        places.GetPlaceData(names[i++ % names.size()].substr(0, 4) + "*", "D"));
  }
}
BENCHMARK(BM_PrefixSearch);

void BM_PatternSearchAccentFolding(benchmark::State& state) {
  // Typed without accents: the whole-name search fails, the folding pattern finds it.
  const auto names = SampleNames(256, true);
  auto& places = Places();
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(places.GetPlaceData(names[i++ % names.size()], "D"));
  }
}
BENCHMARK(BM_PatternSearchAccentFolding);

void BM_GetNearestPlace(benchmark::State& state) {
  auto& places = Places();
  std::mt19937 rng(11);
  std::uniform_real_distribution<double> lon(6.0, 15.0);
  std::uniform_real_distribution<double> lat(47.5, 55.0);
  places.GetNearestPlace("D", 10, 50);
  for (auto _ : state) {
    benchmark::DoNotOptimize(places.GetNearestPlace("D", lon(rng), lat(rng)));
  }
}
BENCHMARK(BM_GetNearestPlace);

}  // namespace
}  // namespace tarv::bench
