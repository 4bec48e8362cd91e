#include "atlas/rules_file.h"

#include <cmath>

#include "platform/atomic_file.h"
#include "text/lz.h"
#include "util/serial_date.h"

namespace fs = std::filesystem;

namespace tarv::atlas {
namespace {

// Rule lines of one timetable, a line for each run of years of one rule
// (dates are a year's own).
void AddRules(std::int16_t country, std::int16_t timetable, const AtlasZone& zone,
              const std::string& name, std::vector<DstRuleRange>& ranges,
              std::vector<std::string>& unexpressible) {
  for (int year = kFirstRuleYear; year <= kLastRuleYear; ++year) {
    bool odd = false;
    const DstRule rule = RuleOfYear(zone, year, odd);
    if (odd) unexpressible.push_back(name + " " + std::to_string(year));
    const bool merges = !ranges.empty() && ranges.back().country == country &&
                        ranges.back().timetable == timetable && ranges.back().to_year == year - 1 &&
                        ranges.back().rule == rule && rule.kind != DstRule::Kind::kDates;
    if (merges) {
      ranges.back().to_year = year;
    } else {
      ranges.push_back({country, timetable, year, year, rule});
    }
  }
}

}  // namespace

DstRule RuleOfYear(const AtlasZone& zone, int year, bool& unexpressible) {
  const std::int32_t standard = zone.standard_1999;
  const double year_start = SerialOfDate(year, 1, 1);
  const std::int64_t from =
      static_cast<std::int64_t>((year_start - kSerialOf1970) * 86400) - standard;
  const std::int64_t to =
      from + static_cast<std::int64_t>((SerialOfDate(year + 1, 1, 1) - year_start) * 86400);
  // Offset segments within the year.
  std::vector<std::pair<std::int64_t, std::int32_t>> segments = {
      {from, TypeAt(zone.tzif, from).utc_offset}};
  for (const auto& t : zone.tzif.transitions) {
    if (t.at > from && t.at < to) segments.emplace_back(t.at, t.type.utc_offset);
  }
  std::vector<std::pair<std::int64_t, std::int64_t>> summers;
  for (std::size_t i = 0; i < segments.size(); ++i) {
    const std::int64_t end = i + 1 < segments.size() ? segments[i + 1].first : to;
    const std::int32_t offset = segments[i].second;
    if (offset == standard + kHour) {
      if (!summers.empty() && summers.back().second == segments[i].first) {
        summers.back().second = end;
      } else {
        summers.emplace_back(segments[i].first, end);
      }
    } else if (offset != standard) {
      unexpressible = true;
    }
  }
  if (summers.empty()) return DstRule::None();
  if (summers.size() == 1 && summers[0].first == from && summers[0].second == to)
    return DstRule::All();
  std::pair<std::int64_t, std::int64_t> period = summers.front();
  if (summers.size() >= 2 && summers.front().first == from && summers.back().second == to) {
    period = {summers.back().first, summers.front().second};  // across the turn of the year
  } else {
    for (const auto& s : summers) {
      if (s.second - s.first > period.second - period.first) period = s;
    }
  }
  const double start = LocalSerial(period.first, standard);
  const double end = LocalSerial(period.second, standard + kHour);
  const DayRule start_rule = DayRuleOf(start);
  const DayRule end_rule = DayRuleOf(end);
  if (std::fabs(start_rule.SerialIn(year) - start) < 1e-6 &&
      std::fabs(end_rule.SerialIn(year) - end) < 1e-6) {
    return DstRule::Rule(start_rule, end_rule);
  }
  return DstRule::Dates(start, end);
}

void RulesFile::Add(std::int16_t country, const CountryTimetables& timetables, ZoneLibrary& zones,
                    std::vector<std::string>& unexpressible) {
  for (std::size_t b = 0; b < timetables.blocks.size(); ++b) {
    const auto number = static_cast<std::int16_t>(b + 1);
    const std::string& zone = timetables.block_zone[b];
    AddRules(country, number, zones.Get(zone), zone, rules_, unexpressible);
    const auto& later = timetables.later[b];
    if (later.empty()) continue;
    // Timetables of one zone share their changes: written once.
    HistoryKey key;
    for (const auto& e : later)
      key.emplace_back(e.Datum, e.Zone);
    const auto [first, fresh] = change_owner_.try_emplace(std::move(key), country, number);
    if (!fresh) {
      same_.push_back({country, number, first->second.first, first->second.second});
      continue;
    }
    for (const auto& e : later)
      changes_.push_back({country, number, e.Datum, e.Zone});
  }
}

void RulesFile::Write(const fs::path& out) const {
  WriteFileAtomically(out / kDstRulesFile,
                      CompressSzdd(DstRules::Format(rules_, changes_, same_), 't'));
}

}  // namespace tarv::atlas
