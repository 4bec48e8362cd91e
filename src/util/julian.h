// Julian day numbers: days since noon of 1 January 4713 BC (Julian calendar),
// so .0 is noon and .5 is midnight. Conversions to and from calendar fields in
// the Julian and the Gregorian calendar, and to and from serial dates (see
// serial_date.h).
//
// Years are astronomical (year 0 is 1 BC). Calendar fields are 16-bit as in
// the host's interface. The arithmetic follows the atlas's classic formulas
// step by step in double precision, so results agree with stored Julian days
// to the last bit; do not "simplify" the order of operations.
//
// Bad input: when a value does not fit its 16-bit field (a month or year from
// a Julian day that is NaN, infinite or far outside the years -32768..32767,
// a serial date whose year does not fit) the functions throw
// std::overflow_error, the host's overflow error. Nothing else throws.
#ifndef TARVPLACES_UTIL_JULIAN_H_
#define TARVPLACES_UTIL_JULIAN_H_

#include <cstdint>
#include <optional>

namespace tarv {

// Julian day of the calendar date `month`/`day`/`year` at `hours` (0-24,
// fractions allowed) in the Julian calendar when `gregflag` is 0, else in the
// Gregorian one. Without `gregflag` the calendar is chosen by MakeGregflag,
// an empty choice meaning Julian. Fields are not checked: day 0 is the day
// before the 1st. GetJulday(1, 1, 2000, 12) is 2451545.0;
// GetJulday(10, 4, 1582, 0) is 2299159.5 and GetJulday(10, 16, 1582, 0) is
// 2299161.5. Throws std::overflow_error for month 32767 (month + 1 overflows).
double GetJulday(std::int16_t month, std::int16_t day, std::int16_t year, double hours,
                 std::optional<std::int16_t> gregflag = std::nullopt);

// Calendar fields of the Julian day `jd` in the Julian calendar when
// `gregflag` is 0, else in the Gregorian one; `hours` is the time of day in
// [0, 24). A `jd` of exactly 0 is replaced by 1E-15 in the caller's variable
// first, because 0 marks a missing date elsewhere. ReverseJulian(2451545.0, 1,
// ...) gives 1/1/2000 and 12 hours. Throws std::overflow_error when month,
// day or year does not fit 16 bits; the fields are then left unchanged.
void ReverseJulian(double& jd, std::int16_t gregflag, std::int16_t& month, std::int16_t& day,
                   std::int16_t& year, double& hours);

// The calendar of a date: 1 (Gregorian) from 16 October 1582 on, 0 (Julian)
// before 15 October 1582 and before 1552. 15 October 1582 itself and the
// years 1552 to 1581 deliberately give nullopt, which every caller counts as
// Julian. MakeGregflag(16, 10, 1582) is 1, MakeGregflag(1, 1, 1560) is
// nullopt.
std::optional<std::int16_t> MakeGregflag(std::int16_t day, std::int16_t month, std::int16_t year);

// 1 for Julian days from 2299160.5 (15 October 1582, 00:00, Gregorian) on,
// else 0.
std::int16_t MakeGregflagOfJulian(double jd);

// The year of the Julian day `jd` in the calendar MakeGregflagOfJulian picks:
// JulianYear(2451545.0) is 2000, JulianYear(0) is -4712. Throws
// std::overflow_error like ReverseJulian.
std::int16_t JulianYear(double jd);

// The serial date of the Julian day `jd`, its time rounded to whole seconds
// (seconds pass through single precision and round half to even). A `jd` of
// 0 becomes 1E-15 in the caller's variable. For years before 1900 the time is
// subtracted from the day number, from 1900 on added; 30 and 31 December 1899
// therefore get the time subtracted although their day numbers are not
// negative, and a time that rounds up to 24:00 before 1900 lands on the
// previous midnight instead of the next. JulianInSerial(2451545.0) is
// 36526.5; a time of 11:59:59.99996 comes out as 12:00:00. Throws
// std::overflow_error like ReverseJulian.
double JulianInSerial(double& jd);

// The Julian day of `serial`, its time taken to the nearest second, the
// calendar chosen by MakeGregflag: SerialInJulian(36526.5) is 2451545.0.
// Throws std::overflow_error when `serial` is not finite or its year does not
// fit 16 bits.
double SerialInJulian(double serial);

}  // namespace tarv

#endif  // TARVPLACES_UTIL_JULIAN_H_
