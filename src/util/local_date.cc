#include "util/local_date.h"

#include <cstdint>

#include "util/julian.h"
#include "util/serial_date.h"

namespace tarv {
namespace {

constexpr int kLastYear = 9999;  // four digits, and within GetJulday's 16-bit year

bool IsValid(const LocalTime& t) {
  if (t.Year < 0 || t.Year > kLastYear || t.Month < 1 || t.Month > 12 || t.Day < 1) return false;
  const int days_in_month =
      static_cast<int>(SerialOfDate(t.Year, t.Month + 1, 1) - SerialOfDate(t.Year, t.Month, 1));
  return t.Day <= days_in_month && t.Hour >= 0 && t.Hour <= 23 && t.Minute >= 0 && t.Minute <= 59 &&
         t.Second >= 0 && t.Second <= 59;
}

}  // namespace

std::optional<double> JulianOfLocalDate(const LocalTime& time) {
  if (!IsValid(time)) return std::nullopt;
  return GetJulday(static_cast<std::int16_t>(time.Month), static_cast<std::int16_t>(time.Day),
                   static_cast<std::int16_t>(time.Year),
                   time.Hour + time.Minute / 60.0 + time.Second / 3600.0);
}

}  // namespace tarv
