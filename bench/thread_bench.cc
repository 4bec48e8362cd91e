// Lookups on one tarv::Atlas from one and from two threads: the second
// thread should add a core's worth of answers, as no lock is shared by
// readers. Names are "Threads/<case>" with the thread count; the rate to
// compare is items_per_second, answers per second of all threads together.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <random>

#include "atlas_sample.h"
#include "text/codepage.h"
#include "tarvplaces/atlas.h"

namespace tarv::bench {
namespace {

const std::string kAtlas = TARV_DEFAULT_ATLAS;
constexpr std::size_t kSamples = 256;

const Atlas* Shared(benchmark::State& state) {
  if (!std::filesystem::exists(kAtlas + "/Country.dat")) {
    state.SkipWithError("the default atlas is not built (scripts/build-atlas.sh)");
    return nullptr;
  }
  static const Atlas atlas(kAtlas);
  return &atlas;
}

const AtlasCountry& Largest() {
  return LoadAtlasSample(kAtlas).Largest();
}

// Each thread first asks every question once, untimed, as a server thread
// that has run a while has (each thread keeps its own memos); then starts at
// another place of the sample than the other thread, as independent
// requests would.
template <typename Ask>
void Run(benchmark::State& state, std::size_t samples, Ask ask) {
  for (std::size_t k = 0; k < samples; ++k)
    ask(k);
  std::size_t i = static_cast<std::size_t>(state.thread_index()) * 97;
  for (auto _ : state) {
    ask(i++ % samples);
  }
  state.SetItemsProcessed(state.iterations());
}

void Exact(benchmark::State& state) {
  const Atlas* atlas = Shared(state);
  if (atlas == nullptr) return;
  const auto names = SampleNames(Largest(), kSamples, 7);
  const std::string code = Utf8FromAnsi(Largest().code);
  Run(state, names.size(), [&](std::size_t i) {
    benchmark::DoNotOptimize(atlas->Lookup(names[i], code));
  });
}

void Nearest(benchmark::State& state) {
  const Atlas* atlas = Shared(state);
  if (atlas == nullptr) return;
  const auto points = SamplePoints(Largest(), kSamples, 11);
  const std::string code = Utf8FromAnsi(Largest().code);
  Run(state, points.size(), [&](std::size_t i) {
    benchmark::DoNotOptimize(atlas->Nearest(code, points[i].first, points[i].second));
  });
}

void ZoneAtDate(benchmark::State& state) {
  const Atlas* atlas = Shared(state);
  if (atlas == nullptr) return;
  const auto names = SampleNames(Largest(), kSamples, 23);
  std::vector<LocalTime> times;
  std::mt19937 rng(23);
  std::uniform_int_distribution<int> year(1900, 2037);
  std::uniform_int_distribution<int> month(1, 12);
  std::uniform_int_distribution<int> day(1, 28);
  std::uniform_int_distribution<int> hour(0, 23);
  for (std::size_t i = 0; i < names.size(); ++i)
    times.push_back({year(rng), month(rng), day(rng), hour(rng), 0, 0});
  const std::string code = Utf8FromAnsi(Largest().code);
  Run(state, names.size(), [&](std::size_t i) {
    benchmark::DoNotOptimize(atlas->Lookup(names[i], code, times[i]));
  });
}

BENCHMARK(Exact)->Name("Threads/Exact")->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(Nearest)->Name("Threads/Nearest")->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(ZoneAtDate)->Name("Threads/ZoneAtDate")->Threads(1)->Threads(2)->UseRealTime();

}  // namespace
}  // namespace tarv::bench
