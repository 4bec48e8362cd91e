#include "util/number_text.h"

#include <clocale>
#include <cmath>
#include <cstdio>

namespace tarv {

char DecimalSeparator() {
  const std::lconv* conv = std::localeconv();
  return (conv != nullptr && conv->decimal_point != nullptr && conv->decimal_point[0] != '\0')
             ? conv->decimal_point[0]
             : '.';
}

std::string SingleToText(float value) {
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) return value < 0 ? "-Inf" : "Inf";
  if (value == 0.0F) return "0";  // also -0
  char buffer[32];
  // %G picks fixed or exponent form as the general format does; it already
  // uses the locale's separator, which is what hosts expect.
  std::snprintf(buffer, sizeof buffer, "%.7G", static_cast<double>(value));
  return buffer;
}

}  // namespace tarv
