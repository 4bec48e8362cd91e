#include "util/serial_date.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <stdexcept>
#include <string>

namespace tarv {
namespace {

constexpr double kSecondsPerDay = 86400.0;
// days_from_civil(1899, 12, 30): the serial epoch counted from 1 January 1970.
constexpr std::int64_t kSerialEpochFromUnixEpoch = -25569;
// Beyond this the int64 day arithmetic would no longer be safe; years there
// are far outside an int anyway.
constexpr double kMaxSerialMagnitude = 1e15;

std::int64_t FloorDiv(std::int64_t a, std::int64_t b) {
  const std::int64_t q = a / b;
  return (a % b != 0 && (a < 0) != (b < 0)) ? q - 1 : q;
}

// Howard Hinnant's days_from_civil: days since 1970-01-01 of a proleptic
// Gregorian date with month 1-12; exact for all years of the int64 range
// used here.
std::int64_t DaysFromCivil(std::int64_t y, std::int64_t m, std::int64_t d) {
  y -= m <= 2 ? 1 : 0;
  const std::int64_t era = FloorDiv(y, 400);
  const std::int64_t yoe = y - era * 400;                                    // [0, 399]
  const std::int64_t doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;  // [0, 365]
  const std::int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;            // [0, 146096]
  return era * 146097 + doe - 719468;
}

struct CivilDate {
  std::int64_t year;
  int month;
  int day;
};

// Hinnant's civil_from_days, the inverse of DaysFromCivil.
CivilDate CivilFromDays(std::int64_t z) {
  z += 719468;
  const std::int64_t era = FloorDiv(z, 146097);
  const std::int64_t doe = z - era * 146097;                                       // [0, 146096]
  const std::int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;  // [0, 399]
  const std::int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);                // [0, 365]
  const std::int64_t mp = (5 * doy + 2) / 153;                                     // [0, 11]
  const int day = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
  const int month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
  return {yoe + era * 400 + (month <= 2 ? 1 : 0), month, day};
}

// Joins a day number and a time of day in [0, 1) the host's way.
double Compose(double day_number, double time_of_day) {
  return day_number < 0 ? day_number - time_of_day : day_number + time_of_day;
}

}  // namespace

double SerialOfDate(int year, int month, int day) noexcept {
  const std::int64_t months_from_january = static_cast<std::int64_t>(month) - 1;
  const std::int64_t y = year + FloorDiv(months_from_january, 12);
  const std::int64_t m = months_from_january - FloorDiv(months_from_january, 12) * 12 + 1;
  const std::int64_t days = DaysFromCivil(y, m, 1) + (static_cast<std::int64_t>(day) - 1);
  return static_cast<double>(days - kSerialEpochFromUnixEpoch);
}

double SerialOfTime(int hour, int minute, double second) noexcept {
  return (hour * 3600.0 + minute * 60.0 + second) / kSecondsPerDay;
}

double SerialOf(const CalendarTime& time) noexcept {
  const double day_number = SerialOfDate(time.year, time.month, time.day);
  const double time_of_day = SerialOfTime(time.hour, time.minute, time.second);
  const double whole_days = std::floor(time_of_day);
  return Compose(day_number + whole_days, time_of_day - whole_days);
}

CalendarTime CalendarOfSerial(double serial) {
  if (!std::isfinite(serial) || std::fabs(serial) > kMaxSerialMagnitude) {
    throw std::overflow_error("serial date out of range: " + std::to_string(serial));
  }
  const double whole = std::trunc(serial);
  const double time_of_day = std::fabs(serial - whole);
  std::int64_t day_number = static_cast<std::int64_t>(whole);
  std::int64_t seconds = static_cast<std::int64_t>(std::floor(time_of_day * kSecondsPerDay + 0.5));
  if (seconds >= 86400) {
    seconds -= 86400;
    ++day_number;
  }
  const CivilDate date = CivilFromDays(day_number + kSerialEpochFromUnixEpoch);
  if (date.year < std::numeric_limits<int>::min() || date.year > std::numeric_limits<int>::max()) {
    throw std::overflow_error("serial date out of range: " + std::to_string(serial));
  }
  const int second_of_day = static_cast<int>(seconds);
  return {static_cast<int>(date.year), date.month,        date.day, second_of_day / 3600,
          second_of_day / 60 % 60,     second_of_day % 60};
}

double LinearSerial(double serial) noexcept {
  if (!(serial < 0.0)) return serial;
  const double day = std::ceil(serial);
  return day + (day - serial);
}

std::string DateTimeText(double serial) {
  const CalendarTime t = CalendarOfSerial(serial);
  // The export writes one per timetable entry: the common case by hand.
  if (t.year >= 0 && t.year <= 9999 && t.day >= 0 && t.day <= 99 && t.month >= 0 && t.month <= 99 &&
      t.hour >= 0 && t.hour <= 99 && t.minute >= 0 && t.minute <= 99) {
    std::string text = "00.00.0000 00:00";
    auto two = [&text](std::size_t at, int value) {
      text[at] = static_cast<char>('0' + value / 10);
      text[at + 1] = static_cast<char>('0' + value % 10);
    };
    two(0, t.day);
    two(3, t.month);
    two(6, t.year / 100);
    two(8, t.year % 100);
    two(11, t.hour);
    two(14, t.minute);
    return text;
  }
  char text[32];
  std::snprintf(text, sizeof text, "%02d.%02d.%04d %02d:%02d", t.day, t.month, t.year, t.hour,
                t.minute);
  return text;
}

}  // namespace tarv
