#include "atlas/atlas_builder.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <set>

#include "atlas/atlas_fault.h"
#include "atlas/country_files.h"
#include "atlas/place_files.h"
#include "atlas/place_names.h"
#include "atlas/rules_file.h"
#include "atlas/timetable_files.h"
#include "atlas/zone_library.h"
#include "atlas/zone_map_builder.h"
#include "platform/atomic_file.h"
#include "platform/change_counter.h"

namespace fs = std::filesystem;

namespace tarv::atlas {
namespace {

void Progress(const BuildOptions& options, const std::string& what, double fraction) {
  if (options.progress) options.progress(what, fraction);
}

// What the countries add to the atlas as the build goes through them.
struct CountryOutput {
  std::vector<CountryRecord> lines;  // of Country.dat
  TimetableFiles timetables;
  RulesFile rules;
  PlaceCounts places;
};

// Numbers the countries in file order and writes each one's place files,
// gathering its line of Country.dat, its timetables and its rule lines.
void WriteCountries(const BuildOptions& options, const std::vector<CountryPlan*>& order,
                    ZoneLibrary& zones, const ZoneHistoryFile& histories, const PlaceNamer& namer,
                    const NearZoneFinder* near, CountryOutput& output, BuildSummary& summary) {
  for (std::size_t i = 0; i < order.size(); ++i) {
    CountryPlan& plan = *order[i];
    plan.id = static_cast<std::int16_t>(i + 1);
    Progress(options, plan.code,
             0.05 + 0.85 * static_cast<double>(i) / static_cast<double>(order.size()));
    output.lines.push_back(CountryRecordOf(plan, zones));
    const CountryTimetables timetables = NumberHistories(plan, zones, summary.merged);
    output.timetables.Add(plan, timetables, zones.table().size());
    output.rules.Add(plan.id, timetables, zones, summary.unexpressible);
    WriteCountryPlaces(options.out, plan, timetables, namer, histories.numbers, near,
                       output.places);
  }
}

// A USER folder with its change counter lets readers follow other processes'
// user places without looking at the files on every call; the bump tells
// readers of an atlas rebuilt in place at once. User places already there
// are kept.
void PrepareUserFolder(const fs::path& out) {
  fs::create_directory(out / "USER");
  BumpChangeCounter(out / "USER");
}

// The counts of what was written, and the size of the atlas's files.
void Summarize(const fs::path& out, const CountryOutput& output, const ZoneHistoryFile& histories,
               const ZoneLibrary& zones, BuildSummary& summary) {
  summary.places = output.places.places;
  summary.local_names = output.places.local_names;
  summary.index_entries = output.places.index_entries;
  summary.timetables = output.timetables.timetables();
  summary.entries = output.timetables.entries();
  summary.zone_histories = histories.histories.size();
  summary.near_another_clock = output.places.near_another_clock;
  summary.tzdata_version = histories.tzdata_version;
  summary.rule_lines = output.rules.rule_lines();
  summary.change_lines = output.rules.change_lines();
  // Repeated timetables repeat their zone's years.
  std::sort(summary.unexpressible.begin(), summary.unexpressible.end());
  summary.unexpressible.erase(
      std::unique(summary.unexpressible.begin(), summary.unexpressible.end()),
      summary.unexpressible.end());
  summary.approximated = zones.approximated();
  for (const auto& entry : fs::directory_iterator(out)) {
    if (entry.is_regular_file()) summary.bytes += entry.file_size();
  }
}

// The zone boundaries, when the options name a folder that holds them.
std::optional<ZoneBoundaries> ReadBoundaries(const BuildOptions& options) {
  if (options.zone_boundaries.empty() || !fs::exists(options.zone_boundaries)) return std::nullopt;
  return ZoneBoundaries::Read(options.zone_boundaries);
}

// Every zone the map names: the boundaries' and the open sea's.
std::set<std::string> MapZones(const ZoneBoundaries& boundaries) {
  std::set<std::string> zones = boundaries.ZoneNames();
  for (std::size_t i = 0; i < kSeaZoneCount; ++i)
    zones.insert(SeaZoneName(i));
  return zones;
}

constexpr const char* kBoundaryNotice = "ZoneBoundaries-NOTICE.txt";

// What the boundaries' licence asks of a work made from them.
void WriteBoundaryNotice(const fs::path& out) {
  WriteFileAtomically(
      out / kBoundaryNotice,
      "The zone map of this atlas (Zones.map) and the time zones of some of its places are\n"
      "made from the time zone boundaries of the timezone-boundary-builder project\n"
      "(https://github.com/evansiroky/timezone-boundary-builder), as packaged by geo-tz 8.1.9.\n"
      "\n"
      "Boundary data (c) OpenStreetMap contributors, made available under the Open Database\n"
      "License (ODbL) 1.0: https://opendatacommons.org/licenses/odbl/\n");
}

void WriteZoneMapFiles(const fs::path& out, const ZoneMapData& map, BuildSummary& summary) {
  WriteZoneMap(out, map);
  WriteBoundaryNotice(out);
  summary.zone_map_bytes = fs::file_size(out / kZoneMapFile);
  summary.zone_map_vertices = VertexCount(map);
}

}  // namespace

BuildSummary BuildAtlas(const BuildOptions& options) {
  BuildSummary summary;
  const fs::path out = options.out;
  fs::create_directories(out);

  Progress(options, "reading GeoNames", 0.0);
  auto places = ReadGeoNames(options.geonames, summary.skipped_lines);
  const std::optional<ZoneBoundaries> boundaries = ReadBoundaries(options);
  std::set<std::string> map_zones;
  if (boundaries) {
    Progress(options, "placing places in the zone boundaries", 0.01);
    ClockComparison clocks([&](const std::string& zone) {
      return ReadTzif((fs::path(options.zoneinfo) / zone).string());
    });
    summary.boundary_zones = TakeBoundaryZones(
        places,
        [&](double longitude, double latitude) { return boundaries->ZonesAt(longitude, latitude); },
        ReadZoneCountries(options.zoneinfo), clocks);
    map_zones = MapZones(*boundaries);
  }
  Progress(options, "designing the zone table", 0.02);
  ZoneLibrary zones = LoadZones(options.zoneinfo, (fs::path(options.data) / "zones.tsv").string(),
                                places, summary.unnamed_zones, map_zones);
  const CountryTitles titles = ReadCountryTitles(options.country_names);
  const AtlasCodes codes(options.data);
  auto plans = PlanCountries(places, codes, titles, ReadUsStates(options.data));
  const std::vector<CountryPlan*> order = CountryOrder(plans, options.geonames);
  std::set<std::string> history_zones = ZonesOfCountries(plans);
  history_zones.insert(map_zones.begin(), map_zones.end());
  ZoneHistoryFile histories = NumberZoneHistories(history_zones, zones);
  histories.tzdata_version = ReadTzdataVersion(options.zoneinfo);

  // The map first: the place zone files keep the zones near each place.
  std::optional<ZoneMapData> map;
  std::optional<ZoneMap> readable_map;
  // Read back as a lookup reads them; a fault would be the builder's own.
  const ZoneHistories readable_histories = ValueOrAtlasError(Decode([&] {
    return ZoneHistories(EncodeZoneHistories(histories.histories, histories.tzdata_version),
                         kZoneHistoryFile, zones.table().size());
  }));
  std::optional<NearZoneFinder> near;
  if (boundaries) {
    Progress(options, "drawing the zone map", 0.03);
    map = BuildZoneMap(*boundaries,
                       [&](const std::string& zone) { return histories.numbers.at(zone); });
    readable_map.emplace(ValueOrAtlasError(Decode(
        [&] { return ZoneMap(EncodeZoneMap(*map), kZoneMapFile, histories.histories.size()); })));
    near.emplace(*readable_map, readable_histories);
  }

  Progress(options, "learning place names", 0.04);
  const PlaceNamer namer(places);
  CountryOutput output;
  WriteCountries(options, order, zones, histories, namer, near ? &*near : nullptr, output, summary);
  for (const auto& group : GroupRecords(order.size()))
    output.lines.push_back(group);
  summary.countries = output.lines.size();
  if (!options.iso_codes.empty() && !options.cldr.empty()) {
    const auto named = WriteCountryNames(out, order, codes, options.iso_codes, options.cldr);
    summary.country_codes = named.codes;
    summary.country_names = named.names;
  }

  Progress(options, "writing tables", 0.92);
  WriteCountryFile(out, output.lines);
  WriteZoneTable(out, zones.table());
  output.timetables.Write(out);
  WriteZoneHistories(out, histories);
  if (map) {
    WriteZoneMapFiles(out, *map, summary);
  } else {
    // A map left from an earlier build would name another build's zones.
    fs::remove(out / kZoneMapFile);
    fs::remove(out / kBoundaryNotice);
  }
  output.rules.Write(out);
  PrepareUserFolder(out);
  Summarize(out, output, histories, zones, summary);
  Progress(options, "done", 1.0);
  return summary;
}

}  // namespace tarv::atlas
