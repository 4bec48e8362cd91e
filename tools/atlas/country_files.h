// The countries of the atlas: which places each holds, in what order
// "Country.dat" lists them, and the names "CountryNames.dat" finds them by.
#ifndef TARVPLACES_TOOLS_ATLAS_COUNTRY_FILES_H_
#define TARVPLACES_TOOLS_ATLAS_COUNTRY_FILES_H_

#include <cstdint>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "atlas/atlas_codes.h"
#include "atlas/country_table.h"
#include "atlas/geonames.h"
#include "atlas/zone_library.h"

namespace tarv::atlas {

// One country or US state of the atlas, with its places.
struct CountryPlan {
  std::string code;
  std::string title;  // German
  std::string english;
  std::string iso;
  int continent = 0;
  bool usa = false;
  std::int16_t id = 0;  // its line in Country.dat, from 1
  std::vector<const GeoPlace*> places;
};

// The zone most of `places` use, weighted by population.
std::string MainZone(const std::vector<const GeoPlace*>& places);

// Country names by ISO code, from the i18n-iso-countries files.
struct CountryTitles {
  std::map<std::string, std::string> german;
  std::map<std::string, std::string> english;
};
CountryTitles ReadCountryTitles(const std::string& country_names_folder);

// The states of the USA (and DC) by code: German and English name, from
// data/us_states.tsv.
using UsStates = std::map<std::string, std::pair<std::string, std::string>>;
UsStates ReadUsStates(const std::string& data_folder);

// The countries by atlas code, each with its places, titles and continent;
// the successor states of Yugoslavia share one, places of the USA outside
// its states belong to none.
std::map<std::string, CountryPlan> PlanCountries(const std::vector<GeoPlace>& places,
                                                 const AtlasCodes& codes,
                                                 const CountryTitles& titles,
                                                 const UsStates& states);

// The countries in file order, by German title. Throws AtlasError (naming
// `source`) when they and the groups after them are more than Country.dat
// can hold.
std::vector<CountryPlan*> CountryOrder(std::map<std::string, CountryPlan>& plans,
                                       const std::string& source);

// Every IANA zone a place of the countries uses.
std::set<std::string> ZonesOfCountries(const std::map<std::string, CountryPlan>& plans);

// The line of Country.dat for a country numbered already.
CountryRecord CountryRecordOf(const CountryPlan& plan, ZoneLibrary& zones);

// The lines of the five groups (Antarctica, islands, Caribbean) that follow
// `countries` countries.
std::vector<CountryRecord> GroupRecords(std::size_t countries);

void WriteCountryFile(const std::filesystem::path& out, const std::vector<CountryRecord>& records);

// Writes CountryNames.dat for the countries in file order, from iso-codes'
// JSON folder and CLDR's "main" folder.
struct CountryNameCounts {
  std::size_t codes = 0;  // ISO codes
  std::size_t names = 0;  // name keys
};
CountryNameCounts WriteCountryNames(const std::filesystem::path& out,
                                    const std::vector<CountryPlan*>& order, const AtlasCodes& codes,
                                    const std::string& iso_codes, const std::string& cldr);

}  // namespace tarv::atlas

#endif  // TARVPLACES_TOOLS_ATLAS_COUNTRY_FILES_H_
