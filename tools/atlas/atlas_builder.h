// Builds the default atlas from open data: GeoNames "cities500" for the
// places, the IANA time zone database (TZif files as tzdata installs them)
// for the zone history of every place, country names in German and English
// from the i18n-iso-countries package, and the project's own tables in
// data/ (zones, atlas codes, US states).
#ifndef TARVPLACES_TOOLS_ATLAS_ATLAS_BUILDER_H_
#define TARVPLACES_TOOLS_ATLAS_ATLAS_BUILDER_H_

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// Callers of the builder file places with AtlasCodes as it does.
#include "atlas/atlas_codes.h"
#include "atlas/boundary_zones.h"

namespace tarv::atlas {

struct BuildOptions {
  std::string out;       // the atlas folder to write
  std::string geonames;  // cities500.txt
  std::string zoneinfo = "/usr/share/zoneinfo";
  std::string country_names;  // folder holding de.json and en.json
  std::string data;           // the project's data/ folder
  // Where the codes and names of "CountryNames.dat" come from: iso-codes'
  // JSON folder and the "main" folder of CLDR's cldr-localenames-full. The
  // file is written only when both are given.
  std::string iso_codes;
  std::string cldr;
  // The geo-tz package folder whose zone boundaries "Zones.map" and the
  // places' zones come from; empty or missing: no map, GeoNames' zones.
  std::string zone_boundaries;
  // Called with a short text and a fraction (0 to 1) as the build goes on.
  std::function<void(const std::string&, double)> progress;
};

struct BuildSummary {
  std::size_t countries = 0;       // lines of Country.dat, groups included
  std::size_t places = 0;          // place records, one per place
  std::size_t local_names = 0;     // places named otherwise than GeoNames names them
  std::size_t index_entries = 0;   // entries of the name indexes
  std::size_t timetables = 0;      // blocks written
  std::size_t entries = 0;         // timetable entries written
  std::size_t rule_lines = 0;      // rule lines of DstRules.dat
  std::size_t change_lines = 0;    // change lines of DstRules.dat (history after 1999)
  std::size_t zone_histories = 0;  // IANA zones in Zones.hst, each place's own history
  std::string tzdata_version;      // the tzdata release of the histories
  // Places within 5 km of a zone that keeps another clock at 2020-01-01.
  std::size_t near_another_clock = 0;
  std::size_t country_codes = 0;  // ISO codes in CountryNames.dat
  std::size_t country_names = 0;  // name keys in CountryNames.dat
  std::uintmax_t bytes = 0;       // size of all files written
  std::size_t skipped_lines = 0;
  // "Zone year" pairs whose summer time after 1999 no weekday rule of the
  // rules file expresses (the change lines hold them; the rules serve only
  // the years after 2037).
  std::vector<std::string> unexpressible;
  // Histories merged into another timetable because the country's fixed
  // count has no number left for them: "CODE: zone, N places, into
  // timetable K, differing H hours in Y years".
  std::vector<std::string> merged;
  // Periods the zone table has no entry of their offset and kind for: "zone
  // from-date offset kind", expressed by another entry of the same offset.
  std::vector<std::string> approximated;
  // Zone names (CLDR's, English) without an entry of their own in the zone
  // table, most populous first; their periods show another entry of the
  // same offset and kind.
  std::vector<std::string> unnamed_zones;
  // Places that took the boundaries' zone instead of GeoNames', in file
  // order.
  std::vector<BoundaryZoneChange> boundary_zones;
  std::uintmax_t zone_map_bytes = 0;  // "Zones.map" as written, 0 for none
  std::size_t zone_map_vertices = 0;
};

// Writes Country.dat, Zones13.bin, one place file with its index, name index
// and place zone file per country and US state, ttx.dao, TTUSA.dao,
// DstRules.dat, Zones.hst, CountryNames.dat and, given the zone boundaries,
// Zones.map with its licence notice into `options.out`. Two builds from the same
// inputs give identical files. Throws AtlasError when an input is missing or
// malformed.
BuildSummary BuildAtlas(const BuildOptions& options);

}  // namespace tarv::atlas

#endif  // TARVPLACES_TOOLS_ATLAS_ATLAS_BUILDER_H_
