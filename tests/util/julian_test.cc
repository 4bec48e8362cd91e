#include "util/julian.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <stdexcept>
#include <tuple>

#include "util/serial_date.h"

namespace tarv {
namespace {

// Julian day of 30 December 1899, 00:00: serial day 0.
constexpr double kJulianDayOfSerialEpoch = 2415018.5;

// Month, day, year and hours as ReverseJulian writes them.
using Fields = std::tuple<std::int16_t, std::int16_t, std::int16_t, double>;

Fields Reverse(double jd, std::int16_t gregflag) {
  Fields f{0, 0, 0, -1};
  auto& [month, day, year, hours] = f;
  ReverseJulian(jd, gregflag, month, day, year, hours);
  return f;
}

int DaysInMonth(int year, int month, bool gregorian) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const auto divides = [year](int n) { return year % n == 0; };  // also right for year < 0
  const bool leap = gregorian ? divides(4) && (!divides(100) || divides(400)) : divides(4);
  return month == 2 && leap ? 29 : kDays[month - 1];
}

Fields NextDay(Fields f, bool gregorian) {
  auto& [month, day, year, hours] = f;
  if (day < DaysInMonth(year, month, gregorian)) {
    ++day;
  } else {
    day = 1;
    month = static_cast<std::int16_t>(month < 12 ? month + 1 : 1);
    if (month == 1) ++year;
  }
  return f;
}

TEST(GetJulday, KnownDays) {
  // The third is Julian 1 January 2000.
  EXPECT_EQ(std::tuple(GetJulday(1, 1, 2000, 12), GetJulday(1, 1, -4712, 12),
                       GetJulday(1, 1, 2000, 12, 0),
                       GetJulday(3, 1, 1000, 0, 1) - GetJulday(3, 1, 1000, 0)),
            std::tuple(2451545.0, 0.0, 2451558.0, -6.0));
  EXPECT_EQ(Reverse(2451545.0, 1), (Fields{1, 1, 2000, 12}));
}

TEST(GetJulday, CalendarSwitchOf1582WithItsDeliberateGaps) {
  // 4 October is the last Julian day, 16 October Gregorian; 15 October and
  // the years 1552 to 1581 have no flag and count as Julian.
  EXPECT_EQ(
      std::tuple(GetJulday(10, 4, 1582, 0), GetJulday(10, 16, 1582, 0), GetJulday(10, 15, 1582, 0),
                 GetJulday(6, 1, 1560, 0, 1) - GetJulday(6, 1, 1560, 0)),
      std::tuple(2299159.5, 2299161.5, 2299170.5, -10.0));
  using Flag = std::optional<std::int16_t>;
  const std::tuple<std::int16_t, std::int16_t, std::int16_t, Flag> kFlags[] = {
      {14, 10, 1582, 0},          {15, 10, 1582, std::nullopt},
      {16, 10, 1582, 1},          {30, 9, 1582, 0},
      {1, 11, 1582, 1},           {31, 12, 1581, std::nullopt},
      {1, 1, 1552, std::nullopt}, {31, 12, 1551, 0},
  };
  for (const auto& [day, month, year, flag] : kFlags)
    EXPECT_EQ(MakeGregflag(day, month, year), flag) << day << "." << month << "." << year;
  EXPECT_EQ(std::tuple(MakeGregflagOfJulian(2299160.5),
                       MakeGregflagOfJulian(std::nextafter(2299160.5, 0.0))),
            std::tuple(1, 0));
}

TEST(ReverseJulian, DayZeroIsWrittenBackAsOneFemtoday) {
  double jd = 0;
  Fields f;
  auto& [month, day, year, hours] = f;
  ReverseJulian(jd, 0, month, day, year, hours);
  EXPECT_EQ(std::tuple(jd, year), std::tuple(1E-15, -4712));
  EXPECT_NEAR(hours, 12, 1e-12);
  double jd_for_serial = 0;
  JulianInSerial(jd_for_serial);
  EXPECT_EQ(std::tuple(jd_for_serial, JulianYear(0)), std::tuple(1E-15, -4712));
}

// Every day of three thousand years in both calendars is a valid date, the
// day after the previous one, and GetJulday gives it back; Gregorian dates
// agree with the serial date arithmetic. Plain checks keep the loop fast.
TEST(ReverseJulian, DenseSweepGivesConsecutiveValidDatesInBothCalendars) {
  for (const std::int16_t flag : {std::int16_t{0}, std::int16_t{1}}) {
    for (const double hours : {0.0, 12.0}) {
      const double first = GetJulday(1, 1, -500, hours, flag);
      const double last = GetJulday(12, 31, 2500, hours, flag);
      Fields previous = Reverse(first - 1, flag);
      ASSERT_EQ(previous, (Fields{12, 31, -501, hours}));
      for (double jd = first; jd <= last; jd += 1) {
        const Fields f = Reverse(jd, flag);
        const auto& [month, day, year, h] = f;
        const bool ok = f == NextDay(previous, flag != 0) &&
                        GetJulday(month, day, year, hours, flag) == jd &&
                        (flag == 0 || jd == SerialOfDate(year, month, day) +
                                                kJulianDayOfSerialEpoch + hours / 24);
        if (!ok)
          FAIL() << "jd " << jd << " flag " << flag << " after "
                 << testing::PrintToString(previous);
        previous = f;
      }
      EXPECT_EQ(previous, (Fields{12, 31, 2500, hours}));
    }
  }
}

TEST(JulianInSerial, YearsBefore1900SubtractTheTimeEvenOnTheLastDaysOf1899) {
  const auto serial_of = [](int month, int day, int year, double hours) {
    double jd = GetJulday(static_cast<std::int16_t>(month), static_cast<std::int16_t>(day),
                          static_cast<std::int16_t>(year), hours);
    return JulianInSerial(jd);
  };
  EXPECT_EQ(
      std::tuple(serial_of(1, 1, 2000, 12), serial_of(1, 1, 1900, 6), serial_of(12, 31, 1899, 6),
                 serial_of(12, 30, 1899, 6), serial_of(12, 29, 1899, 6)),
      std::tuple(36526.5, 2.25, 0.75, -0.25, -1.25));
  EXPECT_EQ(serial_of(7, 14, 1789, 0), SerialOfDate(1789, 7, 14));
  EXPECT_EQ(JulianYear(GetJulday(12, 31, 1581, 23)), 1581);  // Julian 31 December
}

TEST(JulianInSerial, SecondsJustBelowAMinuteCarryUp) {
  double jd = GetJulday(1, 1, 2000, 11 + 59 / 60.0 + 59.99996 / 3600);
  ASSERT_LT(jd, 2451545.0);
  EXPECT_EQ(JulianInSerial(jd), 36526.5);
  jd = GetJulday(12, 31, 1999, 23 + 59 / 60.0 + 59.99996 / 3600);
  EXPECT_EQ(JulianInSerial(jd), 36526);
  jd = GetJulday(1, 1, 2000, 10 + 29 / 60.0 + 59.4 / 3600);
  EXPECT_EQ(CalendarOfSerial(JulianInSerial(jd)), (CalendarTime{2000, 1, 1, 10, 29, 59}));
}

TEST(JulianInSerial, HalfSecondsRoundToEvenInSinglePrecision) {
  // Near Julian day 0 single precision makes the half second exact.
  for (const int second : {30, 31, 32}) {
    double jd = 0.5 + (10 * 3600 + second + 0.5) / 86400;
    const CalendarTime t = CalendarOfSerial(JulianInSerial(jd));
    EXPECT_EQ(t, (CalendarTime{-4712, 1, 2, 10, 0, second % 2 == 0 ? second : second + 1}));
  }
}

// Bit for bit, at midnight, noon and any time; 30 and 31 December 1899 with
// a time are the known exception.
TEST(SerialInJulian, RoundTripThroughJulianDaysFrom1700To2100) {
  EXPECT_EQ(SerialInJulian(SerialOfDate(1560, 6, 1)), GetJulday(6, 1, 1560, 0, 0));
  const int first = static_cast<int>(SerialOfDate(1700, 1, 1));
  const int last = static_cast<int>(SerialOfDate(2100, 12, 31));
  for (int serial_day = first; serial_day <= last; ++serial_day) {
    const CalendarTime date = CalendarOfSerial(serial_day);
    const int wandering = static_cast<int>((static_cast<long long>(serial_day) * 7919) % 86400);
    for (const int second_of_day : {0, 43200, wandering < 0 ? wandering + 86400 : wandering}) {
      if ((serial_day == 0 || serial_day == 1) && second_of_day != 0) continue;
      CalendarTime t = date;
      t.hour = second_of_day / 3600;
      t.minute = second_of_day / 60 % 60;
      t.second = second_of_day % 60;
      const double serial = SerialOf(t);
      double jd = SerialInJulian(serial);
      ASSERT_NEAR(jd, serial_day + kJulianDayOfSerialEpoch + second_of_day / 86400.0, 1e-9)
          << serial;
      ASSERT_EQ(JulianInSerial(jd), serial) << serial;
    }
  }
}

TEST(JulianOverflow, ValuesThatDoNotFitSixteenBitsThrow) {
  const double infinity = std::numeric_limits<double>::infinity();
  for (const double jd : {std::nan(""), infinity, -infinity, 1e300, -1e300, 1e8}) {
    Fields f{3, 4, 5, 6};
    auto& [month, day, year, hours] = f;
    double value = jd;
    EXPECT_THROW(ReverseJulian(value, 1, month, day, year, hours), std::overflow_error) << jd;
    EXPECT_EQ(f, (Fields{3, 4, 5, 6}));  // fields stay as they were
    EXPECT_THROW(JulianInSerial(value), std::overflow_error) << jd;
    EXPECT_THROW(JulianYear(jd), std::overflow_error) << jd;
  }
  for (const double serial : {std::nan(""), 1e9})
    EXPECT_THROW(SerialInJulian(serial), std::overflow_error) << serial;
  EXPECT_THROW(GetJulday(32767, 1, 2000, 0), std::overflow_error);

  const double last = GetJulday(12, 31, 32767, 12, 1);
  EXPECT_EQ(JulianYear(last), 32767);
  EXPECT_THROW(JulianYear(last + 1), std::overflow_error);
  EXPECT_EQ(SerialInJulian(SerialOfDate(32767, 12, 31) + 0.5), last);
  EXPECT_THROW(SerialInJulian(SerialOfDate(32768, 1, 1)), std::overflow_error);
}

}  // namespace
}  // namespace tarv
