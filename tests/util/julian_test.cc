#include "util/julian.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <ostream>
#include <stdexcept>

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
  bool operator==(const Fields&) const = default;
};

void PrintTo(const Fields& f, std::ostream* os) {
  *os << f.month << "/" << f.day << "/" << f.year << " " << f.hours << "h";
}

Fields Reverse(double jd, std::int16_t gregflag) {
  Fields f;
  ReverseJulian(jd, gregflag, f.month, f.day, f.year, f.hours);
  return f;
}

int DaysInMonth(int year, int month, bool gregorian) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const auto divides = [year](int n) { return year % n == 0; };  // also right for year < 0
  const bool leap = gregorian ? divides(4) && (!divides(100) || divides(400)) : divides(4);
  return month == 2 && leap ? 29 : kDays[month - 1];
}

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

TEST(GetJulday, KnownDays) {
  EXPECT_EQ(GetJulday(1, 1, 2000, 12), 2451545.0);
  EXPECT_EQ(Reverse(2451545.0, 1), (Fields{1, 1, 2000, 12}));
  EXPECT_EQ(GetJulday(1, 1, -4712, 12), 0.0);
  EXPECT_EQ(GetJulday(1, 1, 2000, 12, 0), 2451558.0);  // Julian 1 January 2000
  EXPECT_EQ(GetJulday(3, 1, 1000, 0, 1) - GetJulday(3, 1, 1000, 0), -6);
}

TEST(GetJulday, CalendarSwitchOf1582WithItsDeliberateGaps) {
  EXPECT_EQ(GetJulday(10, 4, 1582, 0), 2299159.5);   // last Julian day
  EXPECT_EQ(GetJulday(10, 16, 1582, 0), 2299161.5);  // Gregorian
  // 15 October and the years 1552 to 1581 have no flag and count as Julian.
  EXPECT_EQ(GetJulday(10, 15, 1582, 0), 2299170.5);
  EXPECT_EQ(GetJulday(6, 1, 1560, 0, 1) - GetJulday(6, 1, 1560, 0), -10);

  const std::optional<std::int16_t> julian = 0;
  const std::optional<std::int16_t> gregorian = 1;
  EXPECT_EQ(MakeGregflag(14, 10, 1582), julian);
  EXPECT_EQ(MakeGregflag(15, 10, 1582), std::nullopt);
  EXPECT_EQ(MakeGregflag(16, 10, 1582), gregorian);
  EXPECT_EQ(MakeGregflag(30, 9, 1582), julian);
  EXPECT_EQ(MakeGregflag(1, 11, 1582), gregorian);
  EXPECT_EQ(MakeGregflag(31, 12, 1581), std::nullopt);
  EXPECT_EQ(MakeGregflag(1, 1, 1552), std::nullopt);
  EXPECT_EQ(MakeGregflag(31, 12, 1551), julian);
  EXPECT_EQ(MakeGregflagOfJulian(2299160.5), 1);
  EXPECT_EQ(MakeGregflagOfJulian(std::nextafter(2299160.5, 0.0)), 0);
}

TEST(ReverseJulian, DayZeroIsWrittenBackAsOneFemtoday) {
  double jd = 0;
  Fields f;
  ReverseJulian(jd, 0, f.month, f.day, f.year, f.hours);
  EXPECT_EQ(jd, 1E-15);
  EXPECT_EQ(f.year, -4712);
  EXPECT_NEAR(f.hours, 12, 1e-12);
  double jd_for_serial = 0;
  JulianInSerial(jd_for_serial);
  EXPECT_EQ(jd_for_serial, 1E-15);
  EXPECT_EQ(JulianYear(0), -4712);
}

// Every day of three thousand years in both calendars is a valid date, the
// day after the previous one, and GetJulday gives it back. Gregorian dates
// also agree with the independent serial date arithmetic. Plain checks, not
// gtest macros, inside the million-day loop to keep it fast.
TEST(ReverseJulian, DenseSweepGivesConsecutiveValidDatesInBothCalendars) {
  for (const std::int16_t flag : {std::int16_t{0}, std::int16_t{1}}) {
    for (const double hours : {0.0, 12.0}) {
      const double first = GetJulday(1, 1, -500, hours, flag);
      const double last = GetJulday(12, 31, 2500, hours, flag);
      Fields previous = Reverse(first - 1, flag);
      ASSERT_EQ(previous, (Fields{12, 31, -501, hours}));
      for (double jd = first; jd <= last; jd += 1) {
        const Fields f = Reverse(jd, flag);
        const bool ok = f == NextDay(previous, flag != 0) &&
                        GetJulday(f.month, f.day, f.year, hours, flag) == jd &&
                        (flag == 0 || jd == SerialOfDate(f.year, f.month, f.day) +
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
  EXPECT_EQ(serial_of(1, 1, 2000, 12), 36526.5);
  EXPECT_EQ(serial_of(1, 1, 1900, 6), 2.25);
  EXPECT_EQ(serial_of(12, 31, 1899, 6), 0.75);
  EXPECT_EQ(serial_of(12, 30, 1899, 6), -0.25);
  EXPECT_EQ(serial_of(12, 29, 1899, 6), -1.25);
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
  // Near Julian day 0 the double keeps the half second to about 1e-11 s;
  // single precision makes it an exact half, which rounds to the even second.
  for (const int second : {30, 31, 32}) {
    double jd = 0.5 + (10 * 3600 + second + 0.5) / 86400;
    const CalendarTime t = CalendarOfSerial(JulianInSerial(jd));
    EXPECT_EQ(t, (CalendarTime{-4712, 1, 2, 10, 0, second % 2 == 0 ? second : second + 1}));
  }
}

// Serial -> Julian day -> serial gives the serial back bit for bit, for dates
// and times and exactly at midnight and noon; 30 and 31 December 1899 with a
// time are the known exception.
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
    double value = jd;
    EXPECT_THROW(ReverseJulian(value, 1, f.month, f.day, f.year, f.hours), std::overflow_error)
        << jd;
    EXPECT_EQ(f, (Fields{3, 4, 5, 6}));  // fields stay as they were
    EXPECT_THROW(JulianInSerial(value), std::overflow_error) << jd;
    EXPECT_THROW(JulianYear(jd), std::overflow_error) << jd;
  }
  EXPECT_THROW(SerialInJulian(std::nan("")), std::overflow_error);
  EXPECT_THROW(SerialInJulian(1e9), std::overflow_error);
  EXPECT_THROW(GetJulday(32767, 1, 2000, 0), std::overflow_error);

  const double last = GetJulday(12, 31, 32767, 12, 1);
  EXPECT_EQ(JulianYear(last), 32767);
  EXPECT_THROW(JulianYear(last + 1), std::overflow_error);
  EXPECT_EQ(SerialInJulian(SerialOfDate(32767, 12, 31) + 0.5), last);
  EXPECT_THROW(SerialInJulian(SerialOfDate(32768, 1, 1)), std::overflow_error);
}

}  // namespace
}  // namespace tarv
