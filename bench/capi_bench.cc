// What the C interface adds to a lookup: the place with its zone at a local
// date asked through libtarvplaces.so (tarv_place_lookup) beside the same
// question to the tarv::Atlas it wraps. The shared library holds its own copy
// of the component, so both sides are warm in the same process.
//
// Names are "CApi/<case>/cpp" and "CApi/<case>/c_api".
#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>
#include <vector>

#include "atlas_sample.h"
#include "text/codepage.h"
#include "tarvplaces/atlas.h"
#include "tarvplaces/tarvplaces.h"

namespace tarv::bench {
namespace {

const std::string kAtlas = TARV_DEFAULT_ATLAS;
constexpr std::size_t kSamples = 256;
// 1 July 1980, 12:00 local time.
constexpr tarv_local_time kWhen = {1980, 7, 1, 12, 0, 0};

struct Question {
  std::vector<std::string> names;
  std::string code;
};

// The sample of the other lookup benchmarks (names of the largest place
// file), or München alone, the question the Python timing asks.
Question Sample(bool munich) {
  if (munich) return {{"München"}, "D"};
  const AtlasSample& sample = LoadAtlasSample(kAtlas);
  return {SampleNames(sample.Largest(), kSamples, 7), Utf8FromAnsi(sample.Largest().code)};
}

bool HaveAtlas(benchmark::State& state) {
  if (std::filesystem::exists(kAtlas + "/Country.dat")) return true;
  state.SkipWithError("the default atlas is not built (scripts/build-atlas.sh)");
  return false;
}

void PlaceWithZoneCpp(benchmark::State& state, bool munich) {
  if (!HaveAtlas(state)) return;
  const Question q = Sample(munich);
  static const Atlas atlas(kAtlas);
  const LocalTime when{kWhen.year, kWhen.month, kWhen.day, kWhen.hour, kWhen.minute, kWhen.second};
  std::size_t i = 0;
  std::int64_t found = 0;
  for (auto _ : state) {
    const std::string& name = q.names[i++ % q.names.size()];
    const auto place = atlas.Lookup(name, q.code, when);
    found += place.has_value();
    benchmark::DoNotOptimize(place);
  }
  state.counters["found"] =
      benchmark::Counter(static_cast<double>(found), benchmark::Counter::kAvgIterations);
}

void PlaceWithZoneCApi(benchmark::State& state, bool munich) {
  if (!HaveAtlas(state)) return;
  const Question q = Sample(munich);
  tarv_atlas* atlas = nullptr;
  if (tarv_open(kAtlas.c_str(), &atlas) != TARV_OK) {
    state.SkipWithError(tarv_last_error());
    return;
  }
  std::size_t i = 0;
  std::int64_t found = 0;
  for (auto _ : state) {
    tarv_place place;
    const std::string& name = q.names[i++ % q.names.size()];
    found +=
        tarv_place_lookup(atlas, name.c_str(), q.code.c_str(), &kWhen, &place, nullptr) == TARV_OK;
    benchmark::DoNotOptimize(place);
  }
  tarv_close(atlas);
  state.counters["found"] =
      benchmark::Counter(static_cast<double>(found), benchmark::Counter::kAvgIterations);
}

// The boundary alone: a call that does next to nothing behind it (the check
// of the handle, the catch).
void LanguageCpp(benchmark::State& state) {
  if (!HaveAtlas(state)) return;
  static const Atlas atlas(kAtlas);
  for (auto _ : state) {
    benchmark::DoNotOptimize(atlas.Language());
  }
}

void LanguageCApi(benchmark::State& state) {
  if (!HaveAtlas(state)) return;
  tarv_atlas* atlas = nullptr;
  if (tarv_open(kAtlas.c_str(), &atlas) != TARV_OK) {
    state.SkipWithError(tarv_last_error());
    return;
  }
  for (auto _ : state) {
    std::int32_t language = 0;
    benchmark::DoNotOptimize(tarv_language(atlas, &language));
    benchmark::DoNotOptimize(language);
  }
  tarv_close(atlas);
}

BENCHMARK(LanguageCpp)->Name("CApi/Language/cpp");
BENCHMARK(LanguageCApi)->Name("CApi/Language/c_api");
BENCHMARK_CAPTURE(PlaceWithZoneCpp, sample, false)->Name("CApi/PlaceWithZone/cpp");
BENCHMARK_CAPTURE(PlaceWithZoneCApi, sample, false)->Name("CApi/PlaceWithZone/c_api");
BENCHMARK_CAPTURE(PlaceWithZoneCpp, munich, true)->Name("CApi/PlaceWithZoneMuenchen/cpp");
BENCHMARK_CAPTURE(PlaceWithZoneCApi, munich, true)->Name("CApi/PlaceWithZoneMuenchen/c_api");

}  // namespace
}  // namespace tarv::bench
