// Angle reduction, fractions, clamping and the 16-bit conversion of the
// classic runtime.
#ifndef TARVPLACES_UTIL_NUMERIC_H_
#define TARVPLACES_UTIL_NUMERIC_H_

#include <cstdint>
#include <optional>

namespace tarv {

// `value` minus its integer part truncated toward zero: fraction(-2.75) is
// -0.75.
double fraction(double value) noexcept;

// Reduces `value` by the modulus `modulus` (> 0). For |value| <= 16 x modulus
// the result lies in [0, modulus). Larger values take the shortcut
// fraction(value / modulus) x modulus, which deliberately leaves a negative
// value negative: CheckMOD(360, -10000) is -280. A modulus that is not
// positive (or NaN) returns `value` unchanged instead of looping forever.
double CheckMOD(double modulus, double value) noexcept;

// CheckMOD(360, angle): MOD360(-10) is 350, MOD360(720) is 0.
double MOD360(double angle) noexcept;

// `high` when value > high, else `low` when value < low, else `value`.
template <typename T>
constexpr T Range(T low, T high, T value) {
  if (value > high) return high;
  if (value < low) return low;
  return value;
}

// The classic CInt: rounds to the nearest integer, halves to even
// (2.5 gives 2, 3.5 gives 4); nullopt when the result does not fit a signed
// 16-bit integer or the value is not finite.
std::optional<std::int16_t> ToInt16(double value) noexcept;

// Key codes of an entry field: true when the key may change the field's
// text. Positive codes are virtual keys (backspace 8, space 32, delete 46,
// digits and letters 48-111, 128 and above are edits; 1-4, 9-27, 33-45, 47 and
// the function keys 112-127 are not); a code <= 0 is a negated character,
// which edits unless it is a control character other than backspace.
bool IsEditCode(std::int16_t key_code) noexcept;

}  // namespace tarv

#endif  // TARVPLACES_UTIL_NUMERIC_H_
