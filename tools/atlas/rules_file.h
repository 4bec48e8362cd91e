// The rules file "DstRules.dat": summer time of every timetable from 2000 on
// as weekday rules, and its changes after 1999, written once for the
// timetables of one zone.
#ifndef TARVPLACES_TOOLS_ATLAS_RULES_FILE_H_
#define TARVPLACES_TOOLS_ATLAS_RULES_FILE_H_

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "atlas/dst_rules.h"
#include "atlas/timetable_files.h"
#include "atlas/zone_library.h"

namespace tarv::atlas {

// Summer time of one zone in one year, in the atlas's terms: periods one
// hour above the zone's 1999 standard offset, as a weekday rule where one
// gives their start and end, else as dates. `unexpressible` is set when the
// year holds some other offset, which no rule line can express.
DstRule RuleOfYear(const AtlasZone& zone, int year, bool& unexpressible);

class RulesFile {
 public:
  // Adds the rule lines of the country's timetables, 2000 through 2037,
  // and their changes after 1999; "zone year" goes to `unexpressible` for
  // each year no rule expresses.
  void Add(std::int16_t country, const CountryTimetables& timetables, ZoneLibrary& zones,
           std::vector<std::string>& unexpressible);
  void Write(const std::filesystem::path& out) const;
  std::size_t rule_lines() const { return rules_.size(); }
  std::size_t change_lines() const { return changes_.size() + same_.size(); }

 private:
  std::vector<DstRuleRange> rules_;
  std::vector<ZoneChange> changes_;
  std::vector<SameChanges> same_;
  // The timetable (country, number) that holds each set of changes.
  std::map<HistoryKey, std::pair<std::int16_t, std::int16_t>> change_owner_;
};

}  // namespace tarv::atlas

#endif  // TARVPLACES_TOOLS_ATLAS_RULES_FILE_H_
