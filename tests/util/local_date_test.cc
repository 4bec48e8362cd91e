#include "util/local_date.h"

#include <gtest/gtest.h>

namespace tarv {
namespace {

TEST(LocalDate, NoonOfTheFirstDayOf2000IsJulianDay2451545) {
  EXPECT_EQ(JulianOfLocalDate({2000, 1, 1, 12, 0, 0}), 2451545.0);
  EXPECT_EQ(JulianOfLocalDate({1980, 7, 1, 12, 0, 0}), 2444422.0);
}

TEST(LocalDate, LeapDaysAndFieldsAtTheirLimits) {
  const struct {
    LocalTime date;
    bool valid;
  } cases[] = {{{1999, 2, 29, 12, 0, 0}, false}, {{1900, 2, 29, 12, 0, 0}, false},
               {{2000, 2, 29, 12, 0, 0}, true},  {{1996, 2, 29, 12, 0, 0}, true},
               {{0, 1, 1, 0, 0, 0}, true},       {{9999, 12, 31, 23, 59, 59}, true},
               {{10000, 1, 1, 0, 0, 0}, false},  {{-1, 12, 31, 0, 0, 0}, false},
               {{2000, 13, 1, 0, 0, 0}, false},  {{2000, 0, 1, 0, 0, 0}, false},
               {{2000, 4, 31, 0, 0, 0}, false},  {{2000, 4, 0, 0, 0, 0}, false},
               {{2000, 4, 1, 24, 0, 0}, false},  {{2000, 4, 1, 12, 60, 0}, false},
               {{2000, 4, 1, 12, 0, 60}, false}, {{2000, 4, 1, -1, 0, 0}, false}};
  for (const auto& c : cases) {
    const auto& d = c.date;
    EXPECT_EQ(JulianOfLocalDate(d).has_value(), c.valid)
        << d.Year << "-" << d.Month << "-" << d.Day << " " << d.Hour << ":" << d.Minute << ":"
        << d.Second;
  }
}

TEST(LocalDate, SecondsCountInTheDay) {
  // A Julian day near 2.45 million holds a time to about 0.04 ms.
  constexpr double kMillisecond = 1.0 / 86400000.0;
  EXPECT_NEAR(*JulianOfLocalDate({2000, 1, 1, 18, 0, 0}), 2451545.25, kMillisecond);
  EXPECT_NEAR(*JulianOfLocalDate({2000, 1, 1, 12, 0, 36}) - 2451545.0, 36.0 / 86400.0,
              kMillisecond);
}

}  // namespace
}  // namespace tarv
