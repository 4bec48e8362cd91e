// The module-level state of the component: one per process, shared by every
// classPlaces instance, as hosts expect (a second instance sees the place
// folder and tables the first one loaded).
#ifndef TARVPLACES_ATLAS_PROCESS_STATE_H_
#define TARVPLACES_ATLAS_PROCESS_STATE_H_

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "atlas/country_table.h"
#include "atlas/place_search.h"
#include "atlas/zone_table.h"
#include "tarvplaces/language.h"

namespace tarv {

struct ProcessState {
  // The atlas folder exactly as the host gave it (UTF-8); may lack its
  // trailing "\" and may be empty.
  std::string places_path;

  std::vector<CountryRecord> countries;
  bool countries_loaded = false;

  std::vector<ZoneRecord> zones;
  bool zones_loaded = false;

  // Lookups answered from the tables, remembered until a table is loaded
  // again: country and continent numbers by the code or title asked for,
  // table positions by country number, zone identifiers by normalized
  // abbreviation.
  std::unordered_map<std::string, std::int16_t> country_ids;
  std::unordered_map<std::string, std::int16_t> continent_ids;
  std::unordered_map<std::int32_t, std::int16_t> country_indexes;
  std::unordered_map<std::string, std::int16_t> zone_ids;
  // A number no earlier load of the tables had, in this state or another,
  // for caches outside the state that derive from the tables.
  std::uint64_t tables_version = 0;

  // Called by the loaders whenever they replace a table.
  void TablesChanged();

  // The places the last search found, numbered from 0.
  std::vector<FoundPlace> found_places;

  // Created on first use and kept for the life of the process.
  std::unique_ptr<TarvLanguage> language;

  TarvLanguage& Language() {
    if (!language) language = std::make_unique<TarvLanguage>();
    return *language;
  }
};

// The one state of this process.
ProcessState& State();

// Drops every table and setting, as in a fresh process. For tests and for
// hosts that switch atlases.
void ResetProcessState();

// The folder to read atlas files from: `path`, or the place folder when
// `path` is empty, with a "\" appended when it lacks one.
std::string AtlasFolder(std::string path);

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_PROCESS_STATE_H_
