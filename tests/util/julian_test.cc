#include "util/julian.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>

#include "util/serial_date.h"

namespace tarv {
namespace {

// Julian day of 30 December 1899, 00:00: serial day 0.
constexpr double kJulianDayOfSerialEpoch = 2415018.5;

struct Fields {
  std::int16_t month = 0;
  std::int16_t day = 0;
  std::int16_t year = 0;
  double hours = -1;
};

Fields Reverse(double jd, std::int16_t gregflag) {
  Fields f;
  ReverseJulian(jd, gregflag, f.month, f.day, f.year, f.hours);
  return f;
}

bool IsLeap(int year, bool gregorian) {
  const auto divides = [year](int n) { return year % n == 0; };  // also right for year < 0
  return gregorian ? divides(4) && (!divides(100) || divides(400)) : divides(4);
}

int DaysInMonth(int year, int month, bool gregorian) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeap(year, gregorian) ? 29 : kDays[month - 1];
}

TEST(GetJulday, NoonOfTheYear2000) {
  EXPECT_EQ(GetJulday(1, 1, 2000, 12), 2451545.0);
  const Fields f = Reverse(2451545.0, 1);
  EXPECT_EQ(f.month, 1);
  EXPECT_EQ(f.day, 1);
  EXPECT_EQ(f.year, 2000);
  EXPECT_EQ(f.hours, 12);
}

TEST(GetJulday, EpochIsNoonOfFirstJanuary4713BeforeChrist) {
  EXPECT_EQ(GetJulday(1, 1, -4712, 12), 0.0);
  EXPECT_EQ(GetJulday(1, 2, -4712, 0), 0.5);
}

TEST(GetJulday, CalendarSwitchOf1582WithItsDeliberateGaps) {
  EXPECT_EQ(GetJulday(10, 4, 1582, 0), 2299159.5);   // last Julian day
  EXPECT_EQ(GetJulday(10, 16, 1582, 0), 2299161.5);  // Gregorian
  // 15 October has no flag and is taken as Julian: ten days later than the
  // Gregorian 15 October.
  EXPECT_EQ(GetJulday(10, 15, 1582, 0), 2299170.5);
  EXPECT_EQ(GetJulday(10, 15, 1582, 0, 1), 2299160.5);
  // So is every day of 1552 to 1581.
  EXPECT_EQ(GetJulday(6, 1, 1560, 0), GetJulday(6, 1, 1560, 0, 0));
  EXPECT_EQ(GetJulday(6, 1, 1560, 0, 1) - GetJulday(6, 1, 1560, 0), -10);
}

TEST(GetJulday, ExplicitFlagOverridesTheDate) {
  EXPECT_EQ(GetJulday(1, 1, 2000, 12, 0), 2451558.0);  // Julian 1 January 2000
  EXPECT_EQ(GetJulday(1, 1, 1000, 0, 1) - GetJulday(1, 1, 1000, 0), -5);
  EXPECT_EQ(GetJulday(3, 1, 1000, 0, 1) - GetJulday(3, 1, 1000, 0), -6);  // after Julian 29 Feb
  EXPECT_EQ(GetJulday(1, 1, 2000, 12, std::int16_t{7}), 2451545.0);  // any non-zero is Gregorian
}

TEST(GetJulday, HoursAreAFractionOfTheDay) {
  EXPECT_EQ(GetJulday(1, 1, 2000, 0), 2451544.5);
  EXPECT_EQ(GetJulday(1, 1, 2000, 18), 2451545.25);
  EXPECT_EQ(GetJulday(1, 1, 2000, 24), GetJulday(1, 2, 2000, 0));
}

TEST(MakeGregflag, AroundTheSwitch) {
  const std::optional<std::int16_t> julian = 0;
  const std::optional<std::int16_t> gregorian = 1;
  EXPECT_EQ(MakeGregflag(14, 10, 1582), julian);
  EXPECT_EQ(MakeGregflag(15, 10, 1582), std::nullopt);
  EXPECT_EQ(MakeGregflag(16, 10, 1582), gregorian);
  EXPECT_EQ(MakeGregflag(30, 9, 1582), julian);
  EXPECT_EQ(MakeGregflag(1, 11, 1582), gregorian);
  EXPECT_EQ(MakeGregflag(1, 1, 1583), gregorian);
  EXPECT_EQ(MakeGregflag(31, 12, 1581), std::nullopt);
  EXPECT_EQ(MakeGregflag(1, 1, 1552), std::nullopt);
  EXPECT_EQ(MakeGregflag(31, 12, 1551), julian);
  EXPECT_EQ(MakeGregflag(1, 1, -4712), julian);
}

TEST(MakeGregflagOfJulian, SwitchesAtMidnightOfFifteenthOctober1582) {
  EXPECT_EQ(MakeGregflagOfJulian(2299160.5), 1);
  EXPECT_EQ(MakeGregflagOfJulian(std::nextafter(2299160.5, 0.0)), 0);
  EXPECT_EQ(MakeGregflagOfJulian(0), 0);
  EXPECT_EQ(MakeGregflagOfJulian(std::nan("")), 0);
}

TEST(ReverseJulian, DayZeroIsWrittenBackAsOneFemtoday) {
  double jd = 0;
  Fields f;
  ReverseJulian(jd, 0, f.month, f.day, f.year, f.hours);
  EXPECT_EQ(jd, 1E-15);
  EXPECT_EQ(f.month, 1);
  EXPECT_EQ(f.day, 1);
  EXPECT_EQ(f.year, -4712);
  EXPECT_NEAR(f.hours, 12, 1e-12);

  double jd_for_serial = 0;
  JulianInSerial(jd_for_serial);
  EXPECT_EQ(jd_for_serial, 1E-15);
  EXPECT_EQ(JulianYear(0), -4712);
}

// The day after `f` in its calendar.
Fields NextDay(Fields f, bool gregorian) {
  if (f.day < DaysInMonth(f.year, f.month, gregorian)) {
    ++f.day;
  } else if (f.month < 12) {
    f.day = 1;
    ++f.month;
  } else {
    f = {1, 1, static_cast<std::int16_t>(f.year + 1), f.hours};
  }
  return f;
}

// What is wrong with `f` as the fields of `jd`, given the fields of the day
// before; empty when nothing is. Checked without gtest macros, which would
// make the million-day loop slow.
std::string SweepFault(double jd, std::int16_t flag, const Fields& f, const Fields& previous) {
  const bool gregorian = flag != 0;
  if (f.month < 1 || f.month > 12 || f.day < 1 || f.day > DaysInMonth(f.year, f.month, gregorian)) {
    return "not a valid date";
  }
  const Fields expected = NextDay(previous, gregorian);
  if (f.day != expected.day || f.month != expected.month || f.year != expected.year) {
    return "not the day after the previous one";
  }
  if (f.hours != previous.hours) return "hours changed";
  if (GetJulday(f.month, f.day, f.year, f.hours, flag) != jd) return "GetJulday differs";
  if (gregorian &&
      jd != SerialOfDate(f.year, f.month, f.day) + kJulianDayOfSerialEpoch + f.hours / 24) {
    return "differs from the serial date";
  }
  return "";
}

// Every day of three thousand years in both calendars: a valid date, the day
// after the previous one, and GetJulday of it gives the day back. Gregorian
// dates are also checked against the independent serial date arithmetic.
TEST(ReverseJulian, DenseSweepGivesValidConsecutiveDatesInBothCalendars) {
  for (const std::int16_t flag : {std::int16_t{0}, std::int16_t{1}}) {
    for (const double hours : {0.0, 12.0}) {
      const double first = GetJulday(1, 1, -500, hours, flag);
      const double last = GetJulday(12, 31, 2500, hours, flag);
      Fields previous = Reverse(first - 1, flag);
      ASSERT_EQ(previous.hours, hours);
      ASSERT_EQ(previous.year, -501);
      for (double jd = first; jd <= last; jd += 1) {
        const Fields f = Reverse(jd, flag);
        const std::string fault = SweepFault(jd, flag, f, previous);
        ASSERT_EQ(fault, "") << "jd " << jd << " flag " << flag << ": " << f.month << "/" << f.day
                             << "/" << f.year << " " << f.hours << "h";
        previous = f;
      }
      EXPECT_EQ(previous.year, 2500);
    }
  }
}

TEST(JulianYear, UsesTheCalendarOfTheDay) {
  EXPECT_EQ(JulianYear(2451545.0), 2000);
  EXPECT_EQ(JulianYear(2299160.5), 1582);
  EXPECT_EQ(JulianYear(GetJulday(12, 31, 1581, 23)), 1581);  // Julian 31 December
  EXPECT_EQ(JulianYear(GetJulday(1, 1, 1, 0)), 1);
  EXPECT_EQ(JulianYear(GetJulday(12, 31, 0, 12)), 0);
}

TEST(JulianInSerial, KnownDaysOnBothSidesOf1900) {
  double jd = 2451545.0;
  EXPECT_EQ(JulianInSerial(jd), 36526.5);
  jd = GetJulday(1, 1, 1900, 6);
  EXPECT_EQ(JulianInSerial(jd), 2.25);
  jd = GetJulday(12, 29, 1899, 6);
  EXPECT_EQ(JulianInSerial(jd), -1.25);
  jd = GetJulday(7, 14, 1789, 0);
  EXPECT_EQ(JulianInSerial(jd), SerialOfDate(1789, 7, 14));
}

TEST(JulianInSerial, YearsBefore1900SubtractTheTimeEvenOnTheLastDaysOf1899) {
  double jd = GetJulday(12, 30, 1899, 6);
  EXPECT_EQ(JulianInSerial(jd), -0.25);
  jd = GetJulday(12, 31, 1899, 6);
  EXPECT_EQ(JulianInSerial(jd), 0.75);
  jd = GetJulday(12, 31, 1899, 0);
  EXPECT_EQ(JulianInSerial(jd), 1);
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
  // Near Julian day 0 the double keeps the half second to about 1e-11 s;
  // single precision makes it an exact half, which rounds to the even second.
  double jd = 0.5 + (10 * 3600 + 30.5) / 86400;
  EXPECT_EQ(CalendarOfSerial(JulianInSerial(jd)), (CalendarTime{-4712, 1, 2, 10, 0, 30}));
  jd = 0.5 + (10 * 3600 + 31.5) / 86400;
  EXPECT_EQ(CalendarOfSerial(JulianInSerial(jd)), (CalendarTime{-4712, 1, 2, 10, 0, 32}));
  jd = 0.5 + (10 * 3600 + 32.5) / 86400;
  EXPECT_EQ(CalendarOfSerial(JulianInSerial(jd)), (CalendarTime{-4712, 1, 2, 10, 0, 32}));
}

TEST(SerialInJulian, KnownSerials) {
  EXPECT_EQ(SerialInJulian(36526.5), 2451545.0);
  EXPECT_EQ(SerialInJulian(0), kJulianDayOfSerialEpoch);
  EXPECT_EQ(SerialInJulian(-1.25), kJulianDayOfSerialEpoch - 0.75);
  // Serial dates are Gregorian throughout, but 1560 is read as Julian.
  EXPECT_EQ(SerialInJulian(SerialOfDate(1560, 6, 1)), GetJulday(6, 1, 1560, 0, 0));
}

// Serial -> Julian day -> serial gives the serial back bit for bit, for dates
// and times and exactly at midnight and noon; 30 and 31 December 1899 with a
// time are the known exception.
TEST(SerialInJulian, RoundTripThroughJulianDaysFrom1700To2100) {
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
    double value = jd;
    EXPECT_THROW(ReverseJulian(value, 1, f.month, f.day, f.year, f.hours), std::overflow_error)
        << jd;
    EXPECT_EQ(f.month, 3);  // fields stay as they were
    EXPECT_EQ(f.year, 5);
    EXPECT_THROW(JulianInSerial(value), std::overflow_error) << jd;
    EXPECT_THROW(JulianYear(jd), std::overflow_error) << jd;
  }
  EXPECT_THROW(SerialInJulian(std::nan("")), std::overflow_error);
  EXPECT_THROW(SerialInJulian(1e9), std::overflow_error);
  EXPECT_THROW(SerialInJulian(-1e300), std::overflow_error);
  EXPECT_THROW(GetJulday(32767, 1, 2000, 0), std::overflow_error);
}

TEST(JulianOverflow, LastDayOfYear32767IsTheEdge) {
  const double last = GetJulday(12, 31, 32767, 12, 1);
  EXPECT_EQ(JulianYear(last), 32767);
  EXPECT_THROW(JulianYear(last + 1), std::overflow_error);
  EXPECT_EQ(SerialInJulian(SerialOfDate(32767, 12, 31) + 0.5), last);
  EXPECT_THROW(SerialInJulian(SerialOfDate(32768, 1, 1)), std::overflow_error);
}

}  // namespace
}  // namespace tarv
