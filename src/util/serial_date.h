// The host's date type: a serial date is a double whose whole part counts days
// since 30 December 1899 and whose fraction is the time of day. Before that
// epoch the time of day counts away from zero, so -1.25 is 29 December 1899,
// 06:00 and -0.5 is 30 December 1899, 12:00.
//
// Every calendar here is the proleptic Gregorian one, for all years (year 0
// exists, 1 BC is year 0). Two-digit years are years of the first century:
// no year is ever moved into the 1900s or 2000s.
#ifndef TARVPLACES_UTIL_SERIAL_DATE_H_
#define TARVPLACES_UTIL_SERIAL_DATE_H_

#include <string>

namespace tarv {

// Calendar fields of a serial date; month 1-12, day 1-31, hour 0-23,
// minute and second 0-59 when produced by CalendarOfSerial.
struct CalendarTime {
  int year = 1899;
  int month = 12;
  int day = 30;
  int hour = 0;
  int minute = 0;
  int second = 0;

  bool operator==(const CalendarTime&) const = default;
};

// The serial (a whole number) of the date. Fields out of range roll over the
// way the classic DateSerial does: month 13 is January of the next year,
// month 0 December of the previous year, day 0 the last day of the previous
// month, day 32 of January is 1 February. SerialOfDate(2000, 1, 1) is 36526,
// SerialOfDate(1899, 12, 29) is -1, SerialOfDate(2000, 14, 0) is 36950
// (31 January 2001). Exact for every int argument.
double SerialOfDate(int year, int month, int day) noexcept;

// The time as a fraction of a day, (hour x 3600 + minute x 60 + second) /
// 86400, without any reduction: SerialOfTime(6, 0, 0) is 0.25,
// SerialOfTime(24, 0, 0) is 1.0 and SerialOfTime(11, 59, 60) is 0.5.
double SerialOfTime(int hour, int minute, double second) noexcept;

// The serial of date and time together. Time fields that add up to a day or
// more carry into the date first, so SerialOf({1899, 12, 29, 24, 0, 0}) is 0
// and SerialOf({1899, 12, 29, 6, 0, 0}) is -1.25.
double SerialOf(const CalendarTime& time) noexcept;

// The calendar fields of `serial`, the time rounded to the nearest second
// (half a second rounds up) with a carry into the next day, like the classic
// Hour, Minute and Second: CalendarOfSerial(-1.25) is 29 December 1899 06:00,
// CalendarOfSerial(36526.99999999) is 2 January 2000 00:00:00.
// Throws std::overflow_error when `serial` is not finite or its year does not
// fit an int.
CalendarTime CalendarOfSerial(double serial);

// The serial as "dd.mm.yyyy hh:nn", the form lists and the text export show:
// DateTimeText(36526.5) is "01.01.2000 12:00".
std::string DateTimeText(double serial);

// The serial as a number that grows with time. Serials before 30 December
// 1899 count their time of day away from zero (-1.25 is 29 December 06:00,
// later than -1.0), so comparing them directly inverts times within a day;
// compare LinearSerial values instead: LinearSerial(-1.25) is -0.75.
double LinearSerial(double serial) noexcept;

}  // namespace tarv

#endif  // TARVPLACES_UTIL_SERIAL_DATE_H_
