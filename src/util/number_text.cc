#include "util/number_text.h"

#include <charconv>
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

void AppendSingleText(float value, std::string& out) {
  if (std::isnan(value)) {
    out += "NaN";
  } else if (std::isinf(value)) {
    out += value < 0 ? "-Inf" : "Inf";
  } else if (value == 0.0F) {
    out += '0';  // also -0
  } else {
    // As printf's "%.7G" gives it (fixed or exponent form, as the general
    // format does) with the locale's decimal separator, which is what hosts
    // expect; to_chars is printf's "%.7g" in the C locale, without its cost.
    char buffer[32];
    const auto [end, ec] =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, 7);
    const char point = DecimalSeparator();
    for (char* c = buffer; ec == std::errc() && c != end; ++c) {
      if (*c == 'e') *c = 'E';
      if (*c == '.') *c = point;
    }
    out.append(buffer, ec == std::errc() ? end : buffer);
  }
}

std::string SingleToText(float value) {
  std::string text;
  AppendSingleText(value, text);
  return text;
}

}  // namespace tarv
