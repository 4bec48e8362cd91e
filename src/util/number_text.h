// The one conversion of single-precision numbers to text, shared by every
// text the component hands out (zone lists, nearest-place lines, export).
#ifndef TARVPLACES_UTIL_NUMBER_TEXT_H_
#define TARVPLACES_UTIL_NUMBER_TEXT_H_

#include <string>

namespace tarv {

// The decimal separator of the process's LC_NUMERIC locale ("." in the C
// locale, "," in a German one).
char DecimalSeparator();

// `value` in the general number format: up to 7 significant digits, no
// trailing zeros, an exponent only for very large or small values, and the
// locale's decimal separator. 13.4181f gives "13.4181" ("13,4181" under a
// German locale), -3.5f "-3.5", 0.3255556f "0.3255556", 1e-5f "1E-05",
// NaN "NaN", infinity "Inf" / "-Inf".
std::string SingleToText(float value);
// The same text appended to `out`, for writers of many numbers.
void AppendSingleText(float value, std::string& out);

}  // namespace tarv

#endif  // TARVPLACES_UTIL_NUMBER_TEXT_H_
