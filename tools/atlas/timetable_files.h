// The timetables of the atlas: each country's fixed number of zone histories
// up to 1999 ("ttx.dao", and "TTUSA.dao" for the states of the USA).
#ifndef TARVPLACES_TOOLS_ATLAS_TIMETABLE_FILES_H_
#define TARVPLACES_TOOLS_ATLAS_TIMETABLE_FILES_H_

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "atlas/country_files.h"
#include "atlas/timetable.h"
#include "atlas/zone_library.h"
#include "atlas/zone_table.h"

namespace tarv::atlas {

// A zone history as timetables are told apart by: (local serial, entry) of
// each change.
using HistoryKey = std::vector<std::pair<double, std::int16_t>>;

// How long two histories give different offsets (local mean time counting as
// an offset of its own) between 1700 and the end of 2037, in days.
double DaysApart(const HistoryKey& a, const HistoryKey& b, const std::vector<ZoneRecord>& table);

// The timetables of one country, numbered from 1.
struct CountryTimetables {
  std::vector<std::vector<TimetableRecord>> blocks;  // blocks[0] is timetable 1, to 1999
  std::vector<std::vector<TimetableRecord>> later;   // their changes from 2000 through 2037
  std::vector<std::string> block_zone;               // the zone each block follows
  std::map<std::string, std::int16_t> number_of_zone;
};

// The country's timetables: exactly its fixed count of them, numbered from 1
// in the order of their inhabitants, the main history first. Where tzdata
// has more histories than the count, those kept are chosen to spare the most
// place-days of wrong offsets, and each other one joins the kept timetable
// that agrees with it longest (a line for it goes to `merged`); numbers
// beyond the histories repeat the main one, so that every number the
// timetable chooser offers is a real history. A country without timetables
// has one block, its main zone's.
CountryTimetables NumberHistories(const CountryPlan& country, ZoneLibrary& zones,
                                  std::vector<std::string>& merged);

// ttx.dao and TTUSA.dao, country by country.
class TimetableFiles {
 public:
  // Adds the country's blocks, in the file for its part of the world;
  // `table_size` is the number of entries of the zone table.
  void Add(const CountryPlan& country, const CountryTimetables& timetables, std::size_t table_size);
  void Write(const std::filesystem::path& out) const;
  std::size_t timetables() const { return timetables_; }
  std::size_t entries() const { return entries_; }

 private:
  std::vector<TimetableSection> ttx_;
  std::vector<TimetableSection> ttusa_;
  std::size_t timetables_ = 0;
  std::size_t entries_ = 0;
};

}  // namespace tarv::atlas

#endif  // TARVPLACES_TOOLS_ATLAS_TIMETABLE_FILES_H_
