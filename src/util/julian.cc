#include "util/julian.h"

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

#include "util/numeric.h"
#include "util/serial_date.h"

namespace tarv {
namespace {

// 0 marks a missing date elsewhere, so a real Julian day 0 is nudged off it.
constexpr double kJulianDayZeroStandIn = 1E-15;
// 15 October 1582, 00:00, the first Gregorian day.
constexpr double kFirstGregorianJulianDay = 2299160.5;
// The classic formulas use this bound (1 March 300, 00:00) instead of an
// exact era boundary; kept so that old results stay the same.
constexpr double kGregorianCorrectionStep = 1830691.5;
// Seconds this close to a full minute count as one.
constexpr double kCarryEpsilon = 0.0001;
constexpr int kFirstYearWithTimeAdded = 1900;

double Int(double value) {
  return std::floor(value);
}

std::int16_t CheckedInt16(double value, const char* what, double jd) {
  const std::optional<std::int16_t> result = ToInt16(value);
  if (!result) {
    throw std::overflow_error(std::string("overflow: ") + what + " of Julian day " +
                              std::to_string(jd) + " does not fit 16 bits");
  }
  return *result;
}

// The classic CInt(CSng(x)): through single precision, then to nearest.
std::int16_t SingleToInt16(double value, const char* what, double jd) {
  if (!std::isfinite(value) || std::fabs(value) > std::numeric_limits<float>::max()) {
    return CheckedInt16(value, what, jd);  // throws
  }
  return CheckedInt16(static_cast<double>(static_cast<float>(value)), what, jd);
}

void NudgeZero(double& jd) {
  if (jd == 0) jd = kJulianDayZeroStandIn;
}

struct JulianFields {
  std::int16_t month = 0;
  std::int16_t day = 0;
  std::int16_t year = 0;
  double hours = 0;
};

// ReverseJulian in the calendar the day itself falls in.
JulianFields ReverseInItsCalendar(double& jd) {
  NudgeZero(jd);
  JulianFields f;
  ReverseJulian(jd, MakeGregflagOfJulian(jd), f.month, f.day, f.year, f.hours);
  return f;
}

}  // namespace

double GetJulday(std::int16_t month, std::int16_t day, std::int16_t year, double hours,
                 std::optional<std::int16_t> gregflag) {
  // month + 1 is 16-bit arithmetic in the host, which overflows here.
  if (month == std::numeric_limits<std::int16_t>::max()) {
    throw std::overflow_error("overflow: month " + std::to_string(month) + " + 1");
  }
  const bool gregorian = (gregflag ? *gregflag : MakeGregflag(day, month, year).value_or(0)) != 0;
  double y = year;
  if (month < 3) y = y - 1;
  const double u = y + 4712;
  double m = month + 1;
  if (m < 4) m = m + 12;
  double jd = Int(m * 30.6 + 0.000001) + Int(u * 365.25) + day + hours / 24 - 63.5;
  if (gregorian) {
    double b = Int(std::fabs(y) / 100) - Int(std::fabs(y) / 400);
    if (y < 0) b = -b;
    jd = jd - b + 2;
    if (y < 0 && y / 100 == Int(y / 100) && y / 400 != Int(y / 400)) jd = jd - 1;
  }
  return jd;
}

void ReverseJulian(double& jd, std::int16_t gregflag, std::int16_t& month, std::int16_t& day,
                   std::int16_t& year, double& hours) {
  NudgeZero(jd);
  double b = jd + 32082.5;
  if (gregflag != 0) {
    const double a1 = Int(b / 36525);
    double d = a1 + b - Int(b / 146100) - 38;
    if (jd >= kGregorianCorrectionStep) d = d + 1;
    b = Int(d / 36525) + b - Int(d / 146100) - 38;
  }
  const double c = Int(b + 123);
  const double e = Int((c - 122.2) / 365.25);
  // The day of the year must be a whole number here as it is for the day
  // below; with the fractional 365.25 x e about one day in a hundred came
  // out as the 32nd of the month before.
  const double day_of_year = c - Int(365.25 * e);
  const double f = Int(day_of_year / 30.6001);
  std::int16_t new_month = CheckedInt16(f - 1, "month", jd);
  if (new_month > 12) new_month = static_cast<std::int16_t>(new_month - 12);
  const std::int16_t new_day = CheckedInt16(day_of_year - Int(30.6001 * f), "day", jd);
  const std::int16_t new_year = CheckedInt16(Int((f - 2) / 12) + e - 4800, "year", jd);
  month = new_month;
  day = new_day;
  year = new_year;
  hours = (jd - Int(jd + 0.5) + 0.5) * 24;
}

std::optional<std::int16_t> MakeGregflag(std::int16_t day, std::int16_t month, std::int16_t year) {
  if (year >= 1583) return 1;
  if (year == 1582) {
    if (month > 10) return 1;
    if (month < 10) return 0;
    if (day > 15) return 1;
    if (day < 15) return 0;
    return std::nullopt;
  }
  if (year < 1552) return 0;
  return std::nullopt;
}

std::int16_t MakeGregflagOfJulian(double jd) {
  return jd >= kFirstGregorianJulianDay ? 1 : 0;
}

std::int16_t JulianYear(double jd) {
  return ReverseInItsCalendar(jd).year;
}

double JulianInSerial(double& jd) {
  const JulianFields f = ReverseInItsCalendar(jd);
  int h = CheckedInt16(Int(f.hours), "hour", jd);
  const double minutes = (f.hours - h) * 60;
  int mi = CheckedInt16(Int(minutes), "minute", jd);
  int s = SingleToInt16(std::fabs(minutes - mi) * 60, "second", jd);
  if (s >= 60 - kCarryEpsilon) {
    s = 0;
    mi = mi + 1;
  }
  if (mi >= 60 - kCarryEpsilon) {
    mi = 0;
    h = CheckedInt16(h + 1, "hour", jd);
  }

  const double date = SerialOfDate(f.year, f.month, f.day);
  const double time = SerialOfTime(h, mi, s);
  return f.year < kFirstYearWithTimeAdded ? date - time : date + time;
}

double SerialInJulian(double serial) {
  const CalendarTime t = CalendarOfSerial(serial);
  const std::optional<std::int16_t> year = ToInt16(t.year);
  if (!year) {
    throw std::overflow_error("overflow: year " + std::to_string(t.year) + " of serial date " +
                              std::to_string(serial) + " does not fit 16 bits");
  }
  const double hours = SerialOfTime(t.hour, t.minute, t.second) * 24;
  return GetJulday(static_cast<std::int16_t>(t.month), static_cast<std::int16_t>(t.day), *year,
                   hours);
}

}  // namespace tarv
