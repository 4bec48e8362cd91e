// A local wall-clock time as hosts type or pass it: checked field by field
// before it becomes the Julian day the place service takes.
#ifndef TARVPLACES_UTIL_LOCAL_DATE_H_
#define TARVPLACES_UTIL_LOCAL_DATE_H_

#include <optional>

#include "tarvplaces/records.h"

namespace tarv {

// The Julian day of the local time (the calendar chosen as GetJulday
// chooses it), or nullopt when a field is out of range: years 0 to 9999,
// days that the month has in the proleptic Gregorian calendar (29 February
// only in leap years), hours 0-23, minutes and seconds 0-59.
// JulianOfLocalDate({2000, 1, 1, 12, 0, 0}) is 2451545.0; {1999, 2, 29} and
// {1980, 7, 1, 24, 0, 0} give nullopt.
std::optional<double> JulianOfLocalDate(const LocalTime& time);

}  // namespace tarv

#endif  // TARVPLACES_UTIL_LOCAL_DATE_H_
