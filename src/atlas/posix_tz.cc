#include "atlas/posix_tz.h"

#include <algorithm>
#include <cctype>

namespace tarv {
namespace {

constexpr std::int32_t kSecondsPerHour = 3600;
constexpr std::int64_t kSecondsPerDay = 86400;
constexpr int kMaxRuleHours = 167;

bool IsLeap(std::int64_t year) {
  return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int DaysInMonth(std::int64_t year, int month) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeap(year) ? 29 : kDays[month - 1];
}

// A cursor over the TZ string; every reader leaves it unchanged on failure
// only where the caller does not go on after a failure anyway.
class Cursor {
 public:
  explicit Cursor(std::string_view text) : text_(text) {}
  bool AtEnd() const { return at_ == text_.size(); }
  char Peek() const { return AtEnd() ? '\0' : text_[at_]; }
  bool Take(char c) {
    if (Peek() != c) return false;
    ++at_;
    return true;
  }

  // "CET" (three or more letters) or "<+0330>" (letters, digits and signs).
  std::optional<std::string> Name() {
    std::string name;
    if (Take('<')) {
      while (!AtEnd() && Peek() != '>') {
        const char c = Peek();
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '+' && c != '-') {
          return std::nullopt;
        }
        name += c;
        ++at_;
      }
      if (!Take('>') || name.size() < 3) return std::nullopt;
      return name;
    }
    while (std::isalpha(static_cast<unsigned char>(Peek()))) {
      name += Peek();
      ++at_;
    }
    if (name.size() < 3) return std::nullopt;
    return name;
  }

  std::optional<int> Number(int max) {
    if (!std::isdigit(static_cast<unsigned char>(Peek()))) return std::nullopt;
    int value = 0;
    while (std::isdigit(static_cast<unsigned char>(Peek()))) {
      value = value * 10 + (Peek() - '0');
      if (value > max) return std::nullopt;
      ++at_;
    }
    return value;
  }

  // [+-]hh[:mm[:ss]] in seconds.
  std::optional<std::int32_t> Time(int max_hours) {
    const bool negative = Take('-');
    if (!negative) Take('+');
    const auto hours = Number(max_hours);
    if (!hours) return std::nullopt;
    std::int32_t seconds = *hours * kSecondsPerHour;
    if (Take(':')) {
      const auto minutes = Number(59);
      if (!minutes) return std::nullopt;
      seconds += *minutes * 60;
      if (Take(':')) {
        const auto secs = Number(59);
        if (!secs) return std::nullopt;
        seconds += *secs;
      }
    }
    return negative ? -seconds : seconds;
  }

 private:
  std::string_view text_;
  std::size_t at_ = 0;
};

}  // namespace

std::int64_t DaysOfCivil(std::int64_t year, unsigned month, unsigned day) {
  // Howard Hinnant's days_from_civil.
  year -= month <= 2 ? 1 : 0;
  const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
  const auto yoe = static_cast<unsigned>(year - era * 400);
  const unsigned doy = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + static_cast<std::int64_t>(doe) - 719468;
}

CalendarTime CivilOfSeconds(std::int64_t seconds) {
  std::int64_t days = seconds / kSecondsPerDay;
  std::int64_t in_day = seconds % kSecondsPerDay;
  if (in_day < 0) {
    --days;
    in_day += kSecondsPerDay;
  }
  // Howard Hinnant's civil_from_days.
  days += 719468;
  const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
  const auto doe = static_cast<unsigned>(days - era * 146097);
  const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const unsigned mp = (5 * doy + 2) / 153;
  CalendarTime t;
  t.day = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
  t.month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
  t.year = static_cast<int>(static_cast<std::int64_t>(yoe) + era * 400 + (t.month <= 2 ? 1 : 0));
  t.hour = static_cast<int>(in_day / 3600);
  t.minute = static_cast<int>(in_day / 60 % 60);
  t.second = static_cast<int>(in_day % 60);
  return t;
}

int YearOfSeconds(std::int64_t seconds) {
  return CivilOfSeconds(seconds).year;
}

std::int64_t PosixTzRule::Date::LocalSecondsIn(int year) const {
  std::int64_t days = DaysOfCivil(year, 1, 1);
  switch (kind) {
    case Kind::kJulianNoLeap:
      days += day - 1 + (IsLeap(year) && day >= 60 ? 1 : 0);
      break;
    case Kind::kZeroBased:
      days += day;
      break;
    case Kind::kMonthWeekDay: {
      const std::int64_t first = DaysOfCivil(year, static_cast<unsigned>(month), 1);
      // 1 January 1970 was a Thursday (weekday 4).
      const auto first_weekday = static_cast<int>(((first % 7) + 11) % 7);
      int mday = 1 + (weekday - first_weekday + 7) % 7 + (week - 1) * 7;
      while (mday > DaysInMonth(year, month))
        mday -= 7;
      days = first + mday - 1;
      break;
    }
  }
  return days * kSecondsPerDay + time;
}

std::optional<PosixTzRule> PosixTzRule::Parse(std::string_view text) {
  Cursor c(text);
  PosixTzRule rule;
  const auto standard = c.Name();
  if (!standard) return std::nullopt;
  const auto west = c.Time(24);
  if (!west) return std::nullopt;
  rule.standard_name_ = *standard;
  rule.standard_offset_ = -*west;
  if (c.AtEnd()) return rule;

  const auto daylight = c.Name();
  if (!daylight) return std::nullopt;
  rule.has_daylight_ = true;
  rule.daylight_name_ = *daylight;
  rule.daylight_offset_ = rule.standard_offset_ + kSecondsPerHour;
  if (c.Peek() != ',') {
    const auto daylight_west = c.Time(24);
    if (!daylight_west) return std::nullopt;
    rule.daylight_offset_ = -*daylight_west;
  }
  // TZif footers always give the dates; a daylight name without them would
  // leave the changes to guesswork.
  auto date = [&c]() -> std::optional<Date> {
    if (!c.Take(',')) return std::nullopt;
    Date d;
    if (c.Take('J')) {
      const auto n = c.Number(365);
      if (!n || *n < 1) return std::nullopt;
      d.kind = Date::Kind::kJulianNoLeap;
      d.day = *n;
    } else if (c.Take('M')) {
      const auto m = c.Number(12);
      if (!m || *m < 1 || !c.Take('.')) return std::nullopt;
      const auto w = c.Number(5);
      if (!w || *w < 1 || !c.Take('.')) return std::nullopt;
      const auto wd = c.Number(6);
      if (!wd) return std::nullopt;
      d.kind = Date::Kind::kMonthWeekDay;
      d.month = *m;
      d.week = *w;
      d.weekday = *wd;
    } else {
      const auto n = c.Number(365);
      if (!n) return std::nullopt;
      d.kind = Date::Kind::kZeroBased;
      d.day = *n;
    }
    if (c.Take('/')) {
      const auto time = c.Time(kMaxRuleHours);
      if (!time) return std::nullopt;
      d.time = *time;
    }
    return d;
  };
  const auto start = date();
  const auto end = date();
  if (!start || !end || !c.AtEnd()) return std::nullopt;
  rule.start_ = *start;
  rule.end_ = *end;
  // Daylight time from the first moment of the year to past its last
  // ("EST5EDT,0/0,J365/25"): no change at all.
  const bool starts_at_new_year = (start->kind == Date::Kind::kZeroBased && start->day == 0) ||
                                  (start->kind == Date::Kind::kJulianNoLeap && start->day == 1);
  const bool ends_after_year = (end->kind == Date::Kind::kJulianNoLeap && end->day == 365) ||
                               (end->kind == Date::Kind::kZeroBased && end->day == 365);
  rule.always_daylight_ =
      starts_at_new_year && start->time <= 0 && ends_after_year &&
      end->time >= 24 * kSecondsPerHour + (rule.daylight_offset_ - rule.standard_offset_);
  return rule;
}

std::vector<PosixChange> PosixTzRule::ChangesIn(int year) const {
  if (!has_daylight_ || always_daylight_) return {};
  std::vector<PosixChange> changes = {{start_.LocalSecondsIn(year) - standard_offset_, true},
                                      {end_.LocalSecondsIn(year) - daylight_offset_, false}};
  std::sort(changes.begin(), changes.end(),
            [](const PosixChange& a, const PosixChange& b) { return a.at < b.at; });
  return changes;
}

}  // namespace tarv
