#include "atlas/posix_tz.h"

#include <gtest/gtest.h>

#include <tuple>

namespace tarv {
namespace {

std::vector<std::pair<std::int64_t, bool>> Changes(const std::string& text, int year) {
  const auto rule = PosixTzRule::Parse(text);
  EXPECT_TRUE(rule) << text;
  std::vector<std::pair<std::int64_t, bool>> out;
  if (!rule) return out;
  for (const auto& c : rule->ChangesIn(year))
    out.emplace_back(c.at, c.to_daylight);
  return out;
}

TEST(PosixTzRule, NorthernAndSouthernRulesChangeOnTheirSundays) {
  const auto rule = PosixTzRule::Parse("CET-1CEST,M3.5.0,M10.5.0/3");
  ASSERT_TRUE(rule);
  EXPECT_EQ(std::tuple(rule->standard_offset(), rule->daylight_offset(), rule->standard_name(),
                       rule->daylight_name()),
            std::tuple(3600, 7200, "CET", "CEST"));
  // 2026-03-29T01:00Z and 2026-10-25T01:00Z.
  EXPECT_EQ(Changes("CET-1CEST,M3.5.0,M10.5.0/3", 2026),
            (std::vector<std::pair<std::int64_t, bool>>{{1774746000, true}, {1792890000, false}}));
  // Southern rules end summer first in the year: Sydney 2026 ends it
  // 2026-04-04T16:00Z and starts it again 2026-10-03T16:00Z.
  EXPECT_EQ(Changes("AEST-10AEDT,M10.1.0,M4.1.0/3", 2026),
            (std::vector<std::pair<std::int64_t, bool>>{{1775318400, false}, {1791043200, true}}));
}

TEST(PosixTzRule, NegativeAndQuotedTimesAndJulianDays) {
  // Nuuk changes at -1:00 local on Sunday, which is Saturday 23:00: the same
  // instants as Europe's.
  EXPECT_EQ(Changes("<-02>2<-01>,M3.5.0/-1,M10.5.0/0", 2026),
            (std::vector<std::pair<std::int64_t, bool>>{{1774746000, true}, {1792890000, false}}));
  const auto quoted = PosixTzRule::Parse("<+0330>-3:30");
  ASSERT_TRUE(quoted);
  EXPECT_EQ(std::tuple(quoted->standard_name(), quoted->standard_offset(), quoted->has_daylight()),
            std::tuple("+0330", 12600, false));
  EXPECT_TRUE(quoted->ChangesIn(2026).empty());
  // J60 is 1 March in every year; 59 is 29 February in a leap year.
  EXPECT_EQ(std::tuple(Changes("AAA3BBB,J60/2,J300", 2024).front().first,
                       Changes("AAA3BBB,J60/2,J300", 2023).front().first,
                       Changes("AAA3BBB,59/2,300", 2024).front().first),
            std::tuple(1709269200, 1677646800, 1709182800));
  // Week 5 is the last week: March 1900 had four Sundays from the 4th.
  EXPECT_EQ(Changes("CET-1CEST,M3.5.0,M10.5.0/3", 1900).front().first, -2201814000);
}

TEST(PosixTzRule, DaylightAllYearHasNoChanges) {
  const auto rule = PosixTzRule::Parse("EST5EDT,0/0,J365/25");
  ASSERT_TRUE(rule);
  EXPECT_EQ(std::tuple(rule->AlwaysDaylight(), rule->ChangesIn(2030).size()), std::tuple(true, 0U));
  EXPECT_FALSE(PosixTzRule::Parse("EST5EDT,M3.2.0,M11.1.0")->AlwaysDaylight());
}

TEST(PosixTzRule, MalformedTextsAreRefused) {
  for (const char* bad :
       {"", "CET", "C-1", "CET-1CEST", "CET-1CEST,M3.5.0", "CET-1CEST,M13.5.0,M10.5.0",
        "CET-1CEST,M3.6.0,M10.5.0", "CET-1CEST,M3.5.7,M10.5.0", "CET-1CEST,M3.5.0,M10.5.0/168",
        "CET-1CEST,M3.5.0,M10.5.0x", "CET-25", "<+03-3", "<+0 3>-3", "CET-1:60", "X,J0,J1",
        "AAA3BBB,J0,J300", "AAA3BBB,366,1"})
    EXPECT_FALSE(PosixTzRule::Parse(bad)) << bad;
}

TEST(CivilDays, AroundTheEpochAndLeapCenturies) {
  EXPECT_EQ(std::tuple(DaysOfCivil(1970, 1, 1), DaysOfCivil(2000, 3, 1), DaysOfCivil(1900, 3, 1)),
            std::tuple(0, 11017, -25508));
  // 2000-02-29 and 2099-12-31T23:59:59Z.
  EXPECT_EQ(std::tuple(YearOfSeconds(-1), YearOfSeconds(0), YearOfSeconds(951782400),
                       YearOfSeconds(4102444799)),
            std::tuple(1969, 1970, 2000, 2099));
  // Every day of 1600-2400 back to its date, and the time of day before 1970.
  for (std::int64_t days = DaysOfCivil(1600, 1, 1); days < DaysOfCivil(2400, 1, 1); ++days) {
    const CalendarTime t = CivilOfSeconds(days * 86400 + 3723);
    ASSERT_EQ(DaysOfCivil(t.year, static_cast<unsigned>(t.month), static_cast<unsigned>(t.day)),
              days);
    ASSERT_EQ(std::tuple(t.hour, t.minute, t.second), std::tuple(1, 2, 3));
  }
  const CalendarTime before = CivilOfSeconds(-1);
  EXPECT_EQ(std::tuple(before.year, before.month, before.day, before.hour, before.second),
            std::tuple(1969, 12, 31, 23, 59));
}

}  // namespace
}  // namespace tarv
