#include "atlas/dst_rules.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <stdexcept>

#include "atlas/zone_table.h"
#include "util/serial_date.h"
#include "util/text.h"

namespace tarv {
namespace {

constexpr int kMinutesPerDay = 24 * 60;

int WeekdayOfSerial(double serial) {
  // Day 0, 30 December 1899, was a Saturday.
  const auto day = static_cast<long long>(std::floor(serial));
  return static_cast<int>(((day + 6) % 7 + 7) % 7);
}

int DaysInMonth(int year, int month) {
  return static_cast<int>(SerialOfDate(year, month + 1, 1) - SerialOfDate(year, month, 1));
}

bool ParseClock(std::string_view text, int& minutes) {
  const auto parts = Split(text, ':');
  int h = 0;
  int m = 0;
  if (parts.size() != 2 || !ParseInt(parts[0], h) || !ParseInt(parts[1], m) || h < 0 || h > 24 ||
      m < 0 || m > 59) {
    return false;
  }
  minutes = h * 60 + m;
  return true;
}

// "2011-12-29T23:59:59"
bool ParseLocalSecond(std::string_view text, double& serial) {
  const auto t = Split(text, 'T');
  if (t.size() != 2) return false;
  const auto d = Split(t[0], '-');
  const auto c = Split(t[1], ':');
  int y = 0;
  int m = 0;
  int day = 0;
  int h = 0;
  int min = 0;
  int sec = 0;
  if (d.size() != 3 || c.size() != 3 || !ParseInt(d[0], y) || !ParseInt(d[1], m) ||
      !ParseInt(d[2], day) || !ParseInt(c[0], h) || !ParseInt(c[1], min) || !ParseInt(c[2], sec) ||
      y < 1900 || y > 9999 || m < 1 || m > 12 || day < 1 || day > 31 || h < 0 || h > 24 ||
      min < 0 || min > 59 || sec < 0 || sec > 59) {
    return false;
  }
  serial = SerialOfDate(y, m, day) + (h * 3600.0 + min * 60.0 + sec) / 86400.0;
  return true;
}

// "M3.5.0/02:00"
bool ParseDayRule(std::string_view text, DayRule& rule) {
  if (text.size() < 2 || text[0] != 'M') return false;
  const auto slash = Split(text.substr(1), '/');
  const auto fields = Split(slash[0], '.');
  if (slash.size() != 2 || fields.size() != 3) return false;
  return ParseInt(fields[0], rule.month) && ParseInt(fields[1], rule.week) &&
         ParseInt(fields[2], rule.weekday) && rule.month >= 1 && rule.month <= 12 &&
         rule.week >= 1 && rule.week <= 5 && rule.weekday >= 0 && rule.weekday <= 6 &&
         ParseClock(slash[1], rule.minutes);
}

// "2000-03-26T02:00"
bool ParseLocalTime(std::string_view text, double& serial) {
  const auto t = Split(text, 'T');
  if (t.size() != 2) return false;
  const auto d = Split(t[0], '-');
  int y = 0;
  int m = 0;
  int day = 0;
  int minutes = 0;
  if (d.size() != 3 || !ParseInt(d[0], y) || !ParseInt(d[1], m) || !ParseInt(d[2], day) || m < 1 ||
      m > 12 || day < 1 || day > 31 || y < 1900 || y > 9999 || !ParseClock(t[1], minutes)) {
    return false;
  }
  serial = SerialOfDate(y, m, day) + static_cast<double>(minutes) / kMinutesPerDay;
  return true;
}

std::string FormatDayRule(const DayRule& r) {
  char text[32];
  std::snprintf(text, sizeof text, "M%d.%d.%d/%02d:%02d", r.month, r.week, r.weekday,
                r.minutes / 60, r.minutes % 60);
  return text;
}

std::string FormatLocalTime(double serial) {
  const CalendarTime t = CalendarOfSerial(serial);
  char text[32];
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d", t.year, t.month, t.day, t.hour,
                t.minute);
  return text;
}

std::string FormatLocalSecond(double serial) {
  const CalendarTime t = CalendarOfSerial(serial);
  char text[40];
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d", t.year, t.month, t.day, t.hour,
                t.minute, t.second);
  return text;
}

}  // namespace

DayRule DayRuleOf(double serial) {
  const CalendarTime t = CalendarOfSerial(serial);
  DayRule rule;
  rule.month = t.month;
  rule.weekday = WeekdayOfSerial(SerialOfDate(t.year, t.month, t.day));
  rule.week = t.day > DaysInMonth(t.year, t.month) - 7 ? 5 : (t.day - 1) / 7 + 1;
  rule.minutes = t.hour * 60 + t.minute;
  return rule;
}

namespace {

int YearOf(double serial) {
  return CalendarOfSerial(serial).year;
}

// Whether the calendar can hold `serial`; damaged timetables carry dates
// (infinite, or millions of years away) that it cannot.
bool IsCalendarDate(double serial) {
  try {
    CalendarOfSerial(serial);
    return true;
  } catch (const std::overflow_error&) {
    return false;
  }
}

}  // namespace

double DayRule::SerialIn(int year) const {
  double day = 0;
  if (week >= 5) {
    const double last = SerialOfDate(year, month + 1, 0);
    day = last - ((WeekdayOfSerial(last) - weekday + 7) % 7);
  } else {
    const double first = SerialOfDate(year, month, 1);
    day = first + ((weekday - WeekdayOfSerial(first) + 7) % 7) + 7.0 * (week - 1);
  }
  return day + static_cast<double>(minutes) / kMinutesPerDay;
}

std::pair<double, double> DstRule::PeriodIn(int year) const {
  switch (kind) {
    case Kind::kNone:
      return {0.0, 0.0};
    case Kind::kAll:
      return {SerialOfDate(year, 1, 1), SerialOfDate(year + 1, 1, 1)};
    case Kind::kRule:
      return {start.SerialIn(year), end.SerialIn(year)};
    case Kind::kDates:
      break;
  }
  return {start_serial, end_serial};
}

ReadResult<DstRules> DstRules::Parse(std::string_view text, const std::string& file) {
  return Decode([&] {
    DstRules rules;
    std::size_t line_no = 0;
    bool header = false;
    bool changes_allowed = false;
    using Key = std::pair<std::int16_t, std::int16_t>;
    std::map<Key, Changes> own;
    struct Same {
      std::size_t line;
      Key timetable;
      Key as;
    };
    std::vector<Same> same;
    for (std::string_view line : Split(text, '\n')) {
      ++line_no;
      if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
      const auto where = "line " + std::to_string(line_no) + ": ";
      if (!header) {
        const auto f = Split(line, '\t');
        int version = 0;
        if (f.size() != 2 || f[0] != "TarvPlaces DST rules" || !ParseInt(f[1], version)) {
          throw FormatViolation(file, where + "not a summer-time rules file");
        }
        if (version != 1 && version != kDstRulesVersion) {
          throw FormatViolation(file, where + "format version " + std::string(f[1]) +
                                          " is neither 1 nor " + std::to_string(kDstRulesVersion));
        }
        changes_allowed = version >= 2;
        header = true;
        continue;
      }
      if (line.empty() || line.front() == '#') continue;
      const auto f = Split(line, '\t');
      if (f.size() >= 3 && f[2] == "change") {
        int country = 0;
        int timetable = 0;
        int zone = 0;
        double at = 0;
        if (!changes_allowed || f.size() != 5 || !ParseInt(f[0], country) ||
            !ParseInt(f[1], timetable) || !ParseLocalSecond(f[3], at) || !ParseInt(f[4], zone) ||
            country < 0 || country > 32767 || timetable < 0 || timetable > 32767) {
          throw FormatViolation(file, where + "malformed change");
        }
        if (zone < 0 || static_cast<std::size_t>(zone) >= kZoneCount) {
          throw FormatViolation(file,
                                where + "zone " + std::string(f[4]) + " is not in the zone table");
        }
        auto& list =
            own[{static_cast<std::int16_t>(country), static_cast<std::int16_t>(timetable)}];
        if (!list.empty() && at <= list.back().first) {
          throw FormatViolation(file, where + "change out of time order");
        }
        list.emplace_back(at, static_cast<std::int16_t>(zone));
        continue;
      }
      if (f.size() >= 3 && f[2] == "same") {
        int v[4] = {};
        if (!changes_allowed || f.size() != 5 || !ParseInt(f[0], v[0]) || !ParseInt(f[1], v[1]) ||
            !ParseInt(f[3], v[2]) || !ParseInt(f[4], v[3]) ||
            std::any_of(std::begin(v), std::end(v), [](int x) { return x < 0 || x > 32767; })) {
          throw FormatViolation(file, where + "malformed same line");
        }
        same.push_back({line_no,
                        {static_cast<std::int16_t>(v[0]), static_cast<std::int16_t>(v[1])},
                        {static_cast<std::int16_t>(v[2]), static_cast<std::int16_t>(v[3])}});
        continue;
      }
      DstRuleRange r;
      int country = 0;
      int timetable = 0;
      if (f.size() < 5 || !ParseInt(f[0], country) || !ParseInt(f[1], timetable) ||
          !ParseInt(f[2], r.from_year) || !ParseInt(f[3], r.to_year) || country < 0 ||
          country > 32767 || timetable < 0 || timetable > 32767) {
        throw FormatViolation(file, where + "expected country, timetable, years and kind");
      }
      if (r.to_year < r.from_year) throw FormatViolation(file, where + "years run backwards");
      r.country = static_cast<std::int16_t>(country);
      r.timetable = static_cast<std::int16_t>(timetable);
      bool ok = false;
      if (f[4] == "none" && f.size() == 5) {
        r.rule.kind = DstRule::Kind::kNone, ok = true;
      } else if (f[4] == "all" && f.size() == 5) {
        r.rule.kind = DstRule::Kind::kAll, ok = true;
      } else if (f[4] == "rule" && f.size() == 7) {
        r.rule.kind = DstRule::Kind::kRule;
        ok = ParseDayRule(f[5], r.rule.start) && ParseDayRule(f[6], r.rule.end);
      } else if (f[4] == "dates" && f.size() == 7 && r.from_year == r.to_year) {
        r.rule.kind = DstRule::Kind::kDates;
        ok = ParseLocalTime(f[5], r.rule.start_serial) && ParseLocalTime(f[6], r.rule.end_serial);
      }
      if (!ok) throw FormatViolation(file, where + "malformed rule");
      rules.ranges_[{r.country, r.timetable}].push_back(r);
    }
    if (!header) throw FormatViolation(file, "line 1: not a summer-time rules file");
    for (auto& [key, list] : own)
      rules.changes_[key] = std::make_shared<const Changes>(std::move(list));
    for (const auto& s : same) {
      if (own.find(s.as) == own.end()) {
        throw FormatViolation(file, "line " + std::to_string(s.line) + ": same as country " +
                                        std::to_string(s.as.first) + ", timetable " +
                                        std::to_string(s.as.second) + ", which has no changes");
      }
      rules.changes_[s.timetable] = rules.changes_.at(s.as);
    }
    return rules;
  });
}

std::string DstRules::Format(const std::vector<DstRuleRange>& ranges,
                             const std::vector<ZoneChange>& changes,
                             const std::vector<SameChanges>& same) {
  std::string text = "TarvPlaces DST rules\t" + std::to_string(kDstRulesVersion) + "\n";
  text += "# country\ttimetable\tfrom\tto\tkind\tstart\tend\n";
  for (const auto& r : ranges) {
    text += std::to_string(r.country) + '\t' + std::to_string(r.timetable) + '\t' +
            std::to_string(r.from_year) + '\t' + std::to_string(r.to_year) + '\t';
    switch (r.rule.kind) {
      case DstRule::Kind::kNone:
        text += "none";
        break;
      case DstRule::Kind::kAll:
        text += "all";
        break;
      case DstRule::Kind::kRule:
        text += "rule\t" + FormatDayRule(r.rule.start) + '\t' + FormatDayRule(r.rule.end);
        break;
      case DstRule::Kind::kDates:
        text += "dates\t" + FormatLocalTime(r.rule.start_serial) + '\t' +
                FormatLocalTime(r.rule.end_serial);
        break;
    }
    text += '\n';
  }
  if (!changes.empty()) text += "# country\ttimetable\tchange\tfrom (local)\tzone\n";
  for (const auto& c : changes) {
    text += std::to_string(c.country) + '\t' + std::to_string(c.timetable) + "\tchange\t" +
            FormatLocalSecond(c.at) + '\t' + std::to_string(c.zone) + '\n';
  }
  for (const auto& s : same) {
    text += std::to_string(s.country) + '\t' + std::to_string(s.timetable) + "\tsame\t" +
            std::to_string(s.as_country) + '\t' + std::to_string(s.as_timetable) + '\n';
  }
  return text;
}

const DstRules::Changes* DstRules::ChangesFor(std::int16_t country, std::int16_t timetable) const {
  const auto it = changes_.find({country, timetable});
  return it == changes_.end() || it->second->empty() ? nullptr : it->second.get();
}

std::optional<DstRule> DstRules::RuleFor(std::int16_t country, std::int16_t timetable,
                                         int year) const {
  const auto it = ranges_.find({country, timetable});
  if (it == ranges_.end() || it->second.empty()) return std::nullopt;
  const DstRuleRange* nearest = nullptr;
  int nearest_gap = 0;
  for (const auto& r : it->second) {
    if (year >= r.from_year && year <= r.to_year) return r.rule;
    const int gap = year < r.from_year ? r.from_year - year : year - r.to_year;
    if (nearest == nullptr || gap < nearest_gap) {
      nearest = &r;
      nearest_gap = gap;
    }
  }
  if (nearest->rule.kind != DstRule::Kind::kDates) return nearest->rule;
  // Explicit dates of another year become that year's weekday rules.
  DstRule shifted;
  shifted.kind = DstRule::Kind::kRule;
  shifted.start = DayRuleOf(nearest->rule.start_serial);
  shifted.end = DayRuleOf(nearest->rule.end_serial);
  return shifted;
}

DstRule InferDstRule(const std::vector<std::pair<double, bool>>& all_entries) {
  // A date the calendar cannot hold changes no clock.
  std::vector<std::pair<double, bool>> entries;
  entries.reserve(all_entries.size());
  std::copy_if(all_entries.begin(), all_entries.end(), std::back_inserter(entries),
               [](const auto& e) { return IsCalendarDate(e.first); });
  std::optional<double> last_start;
  std::optional<double> last_end;
  for (std::size_t i = 1; i < entries.size(); ++i) {
    if (entries[i].second && !entries[i - 1].second) last_start = entries[i].first;
    if (!entries[i].second && entries[i - 1].second) last_end = entries[i].first;
  }
  constexpr int kLastYear = 1999;
  DstRule rule;
  const bool recent_start = last_start && YearOf(*last_start) > kLastYear - kInferenceYears;
  const bool recent_end = last_end && YearOf(*last_end) > kLastYear - kInferenceYears;
  const bool summer_at_end = !entries.empty() && entries.back().second;
  const bool never_ended = last_start && (!last_end || *last_end < *last_start);
  if (summer_at_end && never_ended && YearOf(*last_start) < kLastYear) {
    rule.kind = DstRule::Kind::kAll;  // summer time begun before 1999 that never ended
  } else if (recent_start && recent_end) {
    rule.kind = DstRule::Kind::kRule;
    rule.start = DayRuleOf(*last_start);
    rule.end = DayRuleOf(*last_end);
  }
  return rule;
}

}  // namespace tarv
