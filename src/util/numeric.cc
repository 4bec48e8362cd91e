#include "util/numeric.h"

#include <cmath>

namespace tarv {

double fraction(double value) noexcept {
  return value - std::trunc(value);
}

double CheckMOD(double modulus, double value) noexcept {
  if (!(modulus > 0.0)) return value;
  if (std::fabs(value) > 16.0 * modulus) return fraction(value / modulus) * modulus;
  while (value < 0.0)
    value += modulus;
  while (value >= modulus)
    value -= modulus;
  return value;
}

double MOD360(double angle) noexcept {
  return CheckMOD(360.0, angle);
}

std::optional<std::int16_t> ToInt16(double value) noexcept {
  if (!std::isfinite(value)) return std::nullopt;
  const double rounded = std::nearbyint(value);  // default mode: halves to even
  if (rounded < -32768.0 || rounded > 32767.0) return std::nullopt;
  return static_cast<std::int16_t>(rounded);
}

bool IsEditCode(std::int16_t key_code) noexcept {
  if (key_code <= 0) {
    const int character = -static_cast<int>(key_code);
    return character >= 32 || character == 8;
  }
  if (key_code <= 4) return false;
  if (key_code >= 9 && key_code <= 27) return false;
  if (key_code >= 33 && key_code <= 45) return false;
  if (key_code == 47) return false;
  if (key_code >= 112 && key_code <= 127) return false;
  return true;
}

}  // namespace tarv
