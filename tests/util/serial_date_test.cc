#include "util/serial_date.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <ostream>
#include <stdexcept>
#include <tuple>

namespace tarv {

void PrintTo(const CalendarTime& t, std::ostream* os) {
  *os << t.year << "-" << t.month << "-" << t.day << " " << t.hour << ":" << t.minute << ":"
      << t.second;
}

namespace {

TEST(SerialOfDate, KnownDaysInTheProlepticGregorianCalendar) {
  // 100-01-01 is the first day the host's date type accepts.
  EXPECT_EQ(
      std::tuple(SerialOfDate(1899, 12, 30), SerialOfDate(1900, 1, 1), SerialOfDate(2000, 1, 1),
                 SerialOfDate(100, 1, 1), SerialOfDate(9999, 12, 31)),
      std::tuple(0, 2, 36526, -657434, 2958465));
  EXPECT_EQ(SerialOfDate(1500, 3, 1) - SerialOfDate(1500, 2, 28), 1);  // no Julian leap day
  EXPECT_EQ(SerialOfDate(0, 3, 1) - SerialOfDate(0, 2, 28), 2);
  // Two-digit years stay in the first century: 2000 years are five 400-year cycles.
  EXPECT_EQ(SerialOfDate(2030, 1, 1) - SerialOfDate(30, 1, 1), 5 * 146097);
}

TEST(SerialOfDate, MonthAndDayRollOver) {
  EXPECT_EQ(SerialOfDate(2000, 13, 1), SerialOfDate(2001, 1, 1));
  EXPECT_EQ(SerialOfDate(2000, 0, 1), SerialOfDate(1999, 12, 1));
  EXPECT_EQ(SerialOfDate(2000, -12, 1), SerialOfDate(1998, 12, 1));
  EXPECT_EQ(SerialOfDate(2000, 3, 0), SerialOfDate(2000, 2, 29));
  EXPECT_EQ(SerialOfDate(1900, 3, 0), SerialOfDate(1900, 2, 28));
  EXPECT_EQ(SerialOfDate(2000, 1, -30), SerialOfDate(1999, 12, 1));
  EXPECT_EQ(SerialOfDate(2000, 14, 0), SerialOfDate(2001, 1, 31));
  constexpr int kMax = std::numeric_limits<int>::max();
  constexpr int kMin = std::numeric_limits<int>::min();
  EXPECT_EQ(SerialOfDate(2000, 1, kMax) - SerialOfDate(2000, 1, kMax - 1), 1);
  EXPECT_LT(SerialOfDate(kMin, kMin, kMin), -7e11);
}

TEST(SerialOf, TimeCountsAwayFromZeroBeforeTheEpoch) {
  EXPECT_EQ(std::tuple(SerialOfTime(11, 59, 60), SerialOfTime(24, 0, 0)), std::tuple(0.5, 1.0));
  EXPECT_EQ(std::tuple(SerialOf({1899, 12, 29, 6, 0, 0}), SerialOf({1899, 12, 30, 6, 0, 0})),
            std::tuple(-1.25, 0.25));
  // Whole days of time carry into the date first.
  EXPECT_EQ(std::tuple(SerialOf({1899, 12, 29, 24, 0, 0}), SerialOf({1899, 12, 28, 30, 0, 0}),
                       SerialOf({2000, 1, 1, -6, 0, 0})),
            std::tuple(0.0, -1.25, 36525.75));
}

TEST(CalendarOfSerial, KnownSerialsRoundedToTheNearestSecond) {
  EXPECT_EQ(CalendarOfSerial(-1.25), (CalendarTime{1899, 12, 29, 6, 0, 0}));
  EXPECT_EQ(CalendarOfSerial(0), (CalendarTime{1899, 12, 30, 0, 0, 0}));
  EXPECT_EQ(CalendarOfSerial(-0.5), (CalendarTime{1899, 12, 30, 12, 0, 0}));
  EXPECT_EQ(CalendarOfSerial(36526), (CalendarTime{2000, 1, 1, 0, 0, 0}));
  EXPECT_EQ(CalendarOfSerial(-657434), (CalendarTime{100, 1, 1, 0, 0, 0}));
  EXPECT_EQ(CalendarOfSerial(36526 + 29.4 / 86400).second, 29);
  EXPECT_EQ(CalendarOfSerial(36526 + 59.6 / 86400), (CalendarTime{2000, 1, 1, 0, 1, 0}));
  EXPECT_EQ(CalendarOfSerial(-1 - 29.6 / 86400), (CalendarTime{1899, 12, 29, 0, 0, 30}));
  EXPECT_EQ(CalendarOfSerial(36526.99999999), (CalendarTime{2000, 1, 2, 0, 0, 0}));
  EXPECT_EQ(CalendarOfSerial(-1.99999999), (CalendarTime{1899, 12, 30, 0, 0, 0}));
  EXPECT_EQ(CalendarOfSerial(SerialOfDate(2000, 2, 28) + 0.999999999),
            (CalendarTime{2000, 2, 29, 0, 0, 0}));
}

TEST(CalendarOfSerial, InvertsSerialOfOverFourCenturies) {
  const int first = static_cast<int>(SerialOfDate(1700, 1, 1));
  const int last = static_cast<int>(SerialOfDate(2100, 12, 31));
  ASSERT_EQ(last - first + 1, 401 * 365 + 97);
  for (int serial_day = first; serial_day <= last; ++serial_day) {
    const int wandering = static_cast<int>((static_cast<long long>(serial_day) * 7919) % 86400);
    const int s = wandering < 0 ? wandering + 86400 : wandering;
    CalendarTime t = CalendarOfSerial(serial_day);
    ASSERT_EQ(SerialOfDate(t.year, t.month, t.day), serial_day);
    t.hour = s / 3600;
    t.minute = s / 60 % 60;
    t.second = s % 60;
    ASSERT_EQ(CalendarOfSerial(SerialOf(t)), t) << serial_day;
  }
}

TEST(CalendarOfSerial, NonFiniteAndHugeSerialsThrowOverflow) {
  // -1e13 has a year below the int range.
  for (const double serial : {std::nan(""), -std::numeric_limits<double>::infinity(), 1e300, -1e13})
    EXPECT_THROW(CalendarOfSerial(serial), std::overflow_error) << serial;
}

TEST(DateTimeText, DayMonthYearHourMinuteWithZerosAndBeyondFourDigits) {
  EXPECT_EQ(std::tuple(DateTimeText(SerialOf({1996, 3, 31, 2, 0, 0})),
                       DateTimeText(SerialOf({2037, 12, 5, 23, 59, 0})),
                       DateTimeText(SerialOf({12000, 1, 1, 0, 0, 0}))),
            std::tuple("31.03.1996 02:00", "05.12.2037 23:59", "01.01.12000 00:00"));
}

}  // namespace
}  // namespace tarv
