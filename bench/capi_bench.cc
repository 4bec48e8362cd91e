// What the C interface adds to a lookup: a place with and without its zone
// at a local date, asked through libtarvplaces.so (tarv_place_lookup) beside
// the same question to the tarv::Atlas it wraps, in the three ways an atlas
// is set up:
//  - own_user:  the default atlas with its USER folder;
//  - fresh:     a copy without one (made by the first call);
//  - installed: a read-only copy whose user places live in another folder.
// The shared library holds its own copy of the component, so both sides are
// warm in the same process. Two threads on one handle show whether the
// interface lets lookups run side by side.
//
// Names are "CApi/<setup>/<question>/<cpp|c_api>" and
// "CApi/Threads/<question>/c_api/real_time/threads:N".
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "atlas_sample.h"
#include "tarvplaces/atlas.h"
#include "tarvplaces/tarvplaces.h"
#include "text/codepage.h"

namespace tarv::bench {
namespace {

namespace fs = std::filesystem;

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

enum class Setup { kOwnUser, kFresh, kInstalled };

struct Folders {
  std::string atlas;
  std::string user;  // "" for the atlas's own USER folder
};

// The atlas and user folder of a setup, copies made once per process in a
// temporary folder (removed at exit).
Folders FoldersOf(Setup setup) {
  if (setup == Setup::kOwnUser) return {kAtlas, ""};
  // Removed when the process ends; owning the path keeps it alive until then.
  struct Copies {
    fs::path root;
    ~Copies() {
      std::error_code ec;
      fs::permissions(root / "installed", fs::perms::owner_all, fs::perm_options::add, ec);
      fs::remove_all(root, ec);
    }
  };
  static const Copies copies = [] {
    fs::path made = fs::temp_directory_path() / ("tarvplaces-bench-" + std::to_string(::getpid()));
    fs::remove_all(made);
    for (const char* name : {"fresh", "installed"}) {
      fs::create_directories(made / name);
      for (const auto& entry : fs::directory_iterator(kAtlas))
        if (entry.is_regular_file())
          fs::copy_file(entry.path(), made / name / entry.path().filename());
    }
    for (const auto& entry : fs::directory_iterator(made / "installed"))
      fs::permissions(entry.path(),
                      fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                      fs::perm_options::remove);
    fs::permissions(made / "installed",
                    fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                    fs::perm_options::remove);
    return Copies{made};
  }();
  const fs::path& root = copies.root;
  if (setup == Setup::kFresh) return {(root / "fresh").string(), ""};
  return {(root / "installed").string(), (root / "home/tarvplaces/USER").string()};
}

bool HaveAtlas(benchmark::State& state) {
  if (fs::exists(kAtlas + "/Country.dat")) return true;
  state.SkipWithError("the default atlas is not built (scripts/build-atlas.sh)");
  return false;
}

void PlaceCpp(benchmark::State& state, Setup setup, bool munich, bool dated) {
  if (!HaveAtlas(state)) return;
  const Question q = Sample(munich);
  static std::map<Setup, Atlas> atlases;
  if (!atlases.contains(setup)) {
    const Folders folders = FoldersOf(setup);
    atlases.emplace(
        setup, folders.user.empty() ? Atlas(folders.atlas) : Atlas(folders.atlas, folders.user));
  }
  const Atlas& atlas = atlases.at(setup);
  std::optional<LocalTime> when;
  if (dated) when = LocalTime{kWhen.year, kWhen.month, kWhen.day, kWhen.hour, kWhen.minute, 0};
  std::size_t i = 0;
  std::int64_t found = 0;
  for (auto _ : state) {
    const auto place = atlas.Lookup(q.names[i++ % q.names.size()], q.code, when);
    found += place.has_value();
    benchmark::DoNotOptimize(place);
  }
  state.counters["found"] =
      benchmark::Counter(static_cast<double>(found), benchmark::Counter::kAvgIterations);
}

tarv_atlas* OpenHandle(Setup setup) {
  const Folders folders = FoldersOf(setup);
  tarv_atlas* atlas = nullptr;
  const tarv_status status =
      folders.user.empty()
          ? tarv_open(folders.atlas.c_str(), &atlas)
          : tarv_open_with_user_folder(folders.atlas.c_str(), folders.user.c_str(), &atlas);
  return status == TARV_OK ? atlas : nullptr;
}

void LookUp(benchmark::State& state, tarv_atlas* atlas, const Question& q, bool dated) {
  std::size_t i = 0;
  std::int64_t found = 0;
  for (auto _ : state) {
    tarv_place place;
    const std::string& name = q.names[i++ % q.names.size()];
    found += tarv_place_lookup(atlas, name.c_str(), q.code.c_str(), dated ? &kWhen : nullptr,
                               &place, nullptr) == TARV_OK;
    benchmark::DoNotOptimize(place);
  }
  state.counters["found"] =
      benchmark::Counter(static_cast<double>(found), benchmark::Counter::kAvgIterations);
}

void PlaceCApi(benchmark::State& state, Setup setup, bool munich, bool dated) {
  if (!HaveAtlas(state)) return;
  tarv_atlas* atlas = OpenHandle(setup);
  if (atlas == nullptr) {
    state.SkipWithError(tarv_last_error());
    return;
  }
  LookUp(state, atlas, Sample(munich), dated);
  tarv_close(atlas);
}

// One handle, shared by the threads of the benchmark.
void ThreadsCApi(benchmark::State& state, bool dated) {
  if (!HaveAtlas(state)) return;
  static tarv_atlas* const atlas = OpenHandle(Setup::kOwnUser);
  if (atlas == nullptr) {
    state.SkipWithError("the atlas cannot be opened");
    return;
  }
  LookUp(state, atlas, Sample(true), dated);
  state.SetItemsProcessed(state.iterations());
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
  tarv_atlas* atlas = OpenHandle(Setup::kOwnUser);
  if (atlas == nullptr) {
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

// Every setup, München undated and dated; the sample dated.
const int kRegistered = [] {
  const std::pair<Setup, const char*> setups[] = {
      {Setup::kOwnUser, "own_user"}, {Setup::kFresh, "fresh"}, {Setup::kInstalled, "installed"}};
  for (const auto& [setup, name] : setups) {
    for (const bool dated : {false, true}) {
      const std::string question = std::string(dated ? "MuenchenDated" : "Muenchen");
      const std::string base = std::string("CApi/") + name + "/" + question + "/";
      benchmark::RegisterBenchmark((base + "cpp").c_str(), PlaceCpp, setup, true, dated);
      benchmark::RegisterBenchmark((base + "c_api").c_str(), PlaceCApi, setup, true, dated);
    }
  }
  benchmark::RegisterBenchmark("CApi/own_user/SampleDated/cpp", PlaceCpp, Setup::kOwnUser, false,
                               true);
  benchmark::RegisterBenchmark("CApi/own_user/SampleDated/c_api", PlaceCApi, Setup::kOwnUser, false,
                               true);
  for (const bool dated : {false, true}) {
    benchmark::RegisterBenchmark(
        dated ? "CApi/Threads/MuenchenDated/c_api" : "CApi/Threads/Muenchen/c_api", ThreadsCApi,
        dated)
        ->Threads(1)
        ->Threads(2)
        ->UseRealTime();
  }
  return 0;
}();

}  // namespace
}  // namespace tarv::bench
