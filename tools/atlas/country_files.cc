#include "atlas/country_files.h"

#include <algorithm>
#include <iterator>
#include <tuple>

#include "atlas/country_names.h"
#include "atlas/country_sources.h"
#include "atlas/country_table.h"
#include "atlas/source_files.h"
#include "platform/atomic_file.h"
#include "tarvplaces/atlas_error.h"
#include "text/codepage.h"

namespace fs = std::filesystem;

namespace tarv::atlas {
namespace {

// The continent's group code (1 Africa ... 6 USA), as the country table names it.
std::string ContinentCode(int continent) {
  return std::string(kGroupCodes[static_cast<std::size_t>(continent - 1)]);
}

// The groups Country.dat ends with, after the countries.
struct Group {
  const char* title;
  const char* code;
  int continent;
  const char* english;
};
constexpr Group kGroups[] = {{"Antarktis", "ANT", 5, "Antarctica"},
                             {"Atlantische Inseln", "ATL", 4, "Atlantic islands"},
                             {"Indischer Ozean", "IOZ", 3, "Indian Ocean"},
                             {"Karibik", "KAR", 2, "Caribbean"},
                             {"Pazifische Inseln", "PAZ", 5, "Pacific islands"}};

int ContinentOfZone(const std::string& zone) {
  const std::string area = zone.substr(0, zone.find('/'));
  if (area == "Africa") return 1;
  if (area == "America") return 2;
  if (area == "Asia" || area == "Indian") return 3;
  if (area == "Europe" || area == "Atlantic" || area == "Arctic") return 4;
  return 5;  // Australia, Pacific, Antarctica
}

}  // namespace

std::string MainZone(const std::vector<const GeoPlace*>& places) {
  std::map<std::string, double> weight;
  for (const auto* p : places)
    weight[p->timezone] += 1.0 + static_cast<double>(p->population);
  return std::max_element(weight.begin(), weight.end(),
                          [](const auto& a, const auto& b) { return a.second < b.second; })
      ->first;
}

CountryTitles ReadCountryTitles(const std::string& country_names_folder) {
  CountryTitles titles;
  titles.german = ReadCountryNames((fs::path(country_names_folder) / "de.json").string());
  titles.english = ReadCountryNames((fs::path(country_names_folder) / "en.json").string());
  return titles;
}

UsStates ReadUsStates(const std::string& data_folder) {
  UsStates states;
  for (const auto& row : ReadTsv((fs::path(data_folder) / "us_states.tsv").string())) {
    states[row.at(0)] = {row.at(1), row.at(2)};
  }
  return states;
}

std::map<std::string, CountryPlan> PlanCountries(const std::vector<GeoPlace>& places,
                                                 const AtlasCodes& codes,
                                                 const CountryTitles& titles,
                                                 const UsStates& states) {
  std::map<std::string, CountryPlan> plans;
  for (const auto& p : places) {
    if (p.country == "US") {
      const auto state = states.find(p.admin1);
      if (state == states.end()) continue;  // places outside the 50 states and DC
      auto& plan = plans["US" + p.admin1];
      plan.code = "US" + p.admin1;
      plan.title = state->second.first;
      plan.english = state->second.second;
      plan.iso = "US";
      plan.usa = true;
      plan.continent = 6;
      plan.places.push_back(&p);
      continue;
    }
    const std::string code = codes.Of(p);
    auto& plan = plans[code];
    plan.code = code;
    plan.iso = plan.iso.empty() ? p.country : plan.iso;
    plan.places.push_back(&p);
  }
  for (auto& [code, plan] : plans) {
    if (plan.usa) continue;
    if (code == "YU") {
      plan.title = "Jugoslawien";
      plan.english = "Yugoslavia";
    } else {
      plan.title = titles.german.count(plan.iso) ? titles.german.at(plan.iso) : plan.iso;
      plan.english = titles.english.count(plan.iso) ? titles.english.at(plan.iso) : plan.iso;
    }
    const int continent = codes.ContinentOf(plan.iso);
    plan.continent = continent != 0 ? continent : ContinentOfZone(MainZone(plan.places));
  }
  return plans;
}

std::vector<CountryPlan*> CountryOrder(std::map<std::string, CountryPlan>& plans,
                                       const std::string& source) {
  std::vector<CountryPlan*> order;
  for (auto& [code, plan] : plans)
    order.push_back(&plan);
  std::sort(order.begin(), order.end(), [](const CountryPlan* a, const CountryPlan* b) {
    return std::tie(a->title, a->code) < std::tie(b->title, b->code);
  });
  if (order.size() + std::size(kGroups) > kMaxCountryLines) {
    throw AtlasError(source, "more countries than Country.dat can hold");
  }
  return order;
}

std::set<std::string> ZonesOfCountries(const std::map<std::string, CountryPlan>& plans) {
  std::set<std::string> zones;
  for (const auto& [code, plan] : plans) {
    for (const auto* p : plan.places)
      zones.insert(p->timezone);
  }
  return zones;
}

CountryRecord CountryRecordOf(const CountryPlan& plan, ZoneLibrary& zones) {
  const AtlasZone& main = zones.Get(MainZone(plan.places));
  CountryRecord r;
  r.CountryId = plan.id;
  r.CountryTitle = AnsiFromUtf8(plan.title);
  r.CountryShort = plan.code;
  r.TimezoneShort =
      zones.NameOf(main.standard_entry_1999 != 0 ? main.standard_entry_1999
                                                 : zones.StandardEntry(main.standard_1999));
  r.Continent = ContinentCode(plan.continent);
  r.Meaning = AnsiFromUtf8(plan.english);
  r.Info = "ISO " + plan.iso;
  r.HaveZonesSince = std::to_string(main.zones_since);
  r.ContinentID = static_cast<std::int16_t>(plan.continent);
  return r;
}

std::vector<CountryRecord> GroupRecords(std::size_t countries) {
  std::vector<CountryRecord> records;
  for (std::size_t g = 0; g < std::size(kGroups); ++g) {
    CountryRecord r;
    r.CountryId = static_cast<std::int16_t>(countries + g + 1);
    r.CountryTitle = kGroups[g].title;
    r.CountryShort = kGroups[g].code;
    r.TimezoneShort = "GMT";
    r.Continent = ContinentCode(kGroups[g].continent);
    r.Meaning = kGroups[g].english;
    r.ContinentID = static_cast<std::int16_t>(kGroups[g].continent);
    records.push_back(r);
  }
  return records;
}

void WriteCountryFile(const fs::path& out, const std::vector<CountryRecord>& records) {
  WriteFileAtomically(out / "Country.dat", CountryFileText(records));
}

CountryNameCounts WriteCountryNames(const fs::path& out, const std::vector<CountryPlan*>& order,
                                    const AtlasCodes& codes, const std::string& iso_codes,
                                    const std::string& cldr) {
  std::vector<NamedCountry> named;
  for (const CountryPlan* plan : order) {
    NamedCountry country{plan->code, {}, plan->usa};
    if (!plan->usa) country.isos = codes.IsoCodesOf(plan->code, plan->iso);
    named.push_back(std::move(country));
  }
  const auto entries = CountryNameEntries(named, iso_codes, cldr);
  CountryNameCounts counts;
  for (const auto& e : entries)
    ++(e.iso ? counts.codes : counts.names);
  WriteFileAtomically(out / std::string(kCountryNamesFile), CountryNamesText(entries));
  return counts;
}

}  // namespace tarv::atlas
