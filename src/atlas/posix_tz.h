// The rule a zone follows after the last transition its history lists: a
// POSIX TZ string as the footer of a TZif file holds it
// ("CET-1CEST,M3.5.0,M10.5.0/3", "<+03>-3", "IST-1GMT0,M10.5.0,M3.5.0/1").
#ifndef TARVPLACES_ATLAS_POSIX_TZ_H_
#define TARVPLACES_ATLAS_POSIX_TZ_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "util/serial_date.h"

namespace tarv {

// One instant of change: from `at` (seconds since 1970-01-01T00:00:00Z) on,
// the rule's daylight time holds (`to_daylight`) or its standard time does.
struct PosixChange {
  std::int64_t at = 0;
  bool to_daylight = false;
};

class PosixTzRule {
 public:
  // Parses a TZ string; nullopt when it is not one (an empty text, a missing
  // offset, a rule field that is not "Jn", "n" or "Mm.w.d", a time past the
  // 167 hours POSIX allows). "<+0330>-3:30" is standard time alone.
  static std::optional<PosixTzRule> Parse(std::string_view text);

  // Offsets in seconds east of UTC (the TZ string counts them west).
  std::int32_t standard_offset() const { return standard_offset_; }
  std::int32_t daylight_offset() const { return daylight_offset_; }
  const std::string& standard_name() const { return standard_name_; }
  const std::string& daylight_name() const { return daylight_name_; }
  bool has_daylight() const { return has_daylight_; }

  // The two changes of the Gregorian `year`, in time order (none for a rule
  // without daylight time). A rule whose daylight time covers the whole year
  // ("EST5EDT,0/0,J365/25") gives none either and holds daylight time.
  std::vector<PosixChange> ChangesIn(int year) const;
  bool AlwaysDaylight() const { return always_daylight_; }

 private:
  struct Date {
    enum class Kind : std::uint8_t { kJulianNoLeap, kZeroBased, kMonthWeekDay };
    Kind kind = Kind::kMonthWeekDay;
    int day = 0;  // Jn: 1-365, n: 0-365
    int month = 0, week = 0, weekday = 0;
    std::int32_t time = 7200;                     // seconds after local midnight, may be negative
    std::int64_t LocalSecondsIn(int year) const;  // since 1970, local time
  };

  std::string standard_name_;
  std::string daylight_name_;
  std::int32_t standard_offset_ = 0;
  std::int32_t daylight_offset_ = 0;
  bool has_daylight_ = false;
  bool always_daylight_ = false;
  Date start_;
  Date end_;
};

// Days since 1970-01-01 of a Gregorian date (proleptic; month 1-12).
std::int64_t DaysOfCivil(std::int64_t year, unsigned month, unsigned day);

// The Gregorian date and time of a count of seconds since
// 1970-01-01T00:00:00 (proleptic; month 1-12).
CalendarTime CivilOfSeconds(std::int64_t seconds);

// The Gregorian year of a count of seconds since 1970-01-01T00:00:00.
int YearOfSeconds(std::int64_t seconds);

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_POSIX_TZ_H_
