#include "util/local_date.h"

#include <cstdint>

#include "util/julian.h"
#include "util/serial_date.h"

namespace tarv {
namespace {

constexpr int kLastYear = 9999;  // four digits, and within GetJulday's 16-bit year

bool IsValid(const LocalDateTime& t) {
  if (t.year < 0 || t.year > kLastYear || t.month < 1 || t.month > 12 || t.day < 1) return false;
  const int days_in_month =
      static_cast<int>(SerialOfDate(t.year, t.month + 1, 1) - SerialOfDate(t.year, t.month, 1));
  return t.day <= days_in_month && t.hour >= 0 && t.hour <= 23 && t.minute >= 0 && t.minute <= 59 &&
         t.second >= 0 && t.second <= 59;
}

}  // namespace

std::optional<double> JulianOfLocalDate(const LocalDateTime& time) {
  if (!IsValid(time)) return std::nullopt;
  return GetJulday(static_cast<std::int16_t>(time.month), static_cast<std::int16_t>(time.day),
                   static_cast<std::int16_t>(time.year),
                   time.hour + time.minute / 60.0 + time.second / 3600.0);
}

}  // namespace tarv
