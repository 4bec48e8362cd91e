// Benchmarks on the default atlas built from open data (build/atlas).
#include <benchmark/benchmark.h>

#include <filesystem>

#include "atlas/process_state.h"
#include "export/text_export.h"
#include "platform/lz.h"
#include "tarvplaces/places.h"

namespace tarv::bench {
namespace {

const std::string kAtlas = TARV_DEFAULT_ATLAS;

bool HaveAtlas(benchmark::State& state) {
  if (std::filesystem::exists(kAtlas + "/Country.dat")) return true;
  state.SkipWithError("the default atlas is not built (scripts/build-atlas.sh)");
  return false;
}

// The whole text export of the atlas into a scratch folder.
void BM_ExportWholeAtlas(benchmark::State& state) {
  if (!HaveAtlas(state)) return;
  const auto out = std::filesystem::temp_directory_path() / "tarvplaces-bench-export";
  std::filesystem::create_directories(out);
  ResetProcessState();
  classPlaces places;
  places.PlacePath(kAtlas);
  for (auto _ : state) {
    const auto counts = ExportPlaces("", out.string());
    benchmark::DoNotOptimize(counts.places);
  }
  std::filesystem::remove_all(out);
}
BENCHMARK(BM_ExportWholeAtlas)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace
}  // namespace tarv::bench
