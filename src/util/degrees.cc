#include "util/degrees.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <vector>

#include "util/numeric.h"
#include "util/text.h"

namespace tarv {
namespace {

// Stored radians were computed with this literal, not the full-precision pi.
constexpr double kPiFifteenDigits = 3.14159265358979;
constexpr double kDegreesPerHalfTurn = 180.0;

constexpr double kMinutesPerDegree = 60.0;
constexpr double kSecondsPerMinute = 60.0;
constexpr double kSecondsPerDegree = 3600.0;
// Seconds or minutes less than a sixtieth of a unit short of 60 count as 60.
constexpr double kCarryThreshold = 60.0 - 0.01666667;
// Degrees must fit the 16-bit part even after a carry.
constexpr double kMaxFormattableDegrees = 32767.0;

constexpr char kSecondsMark[] = "\"";
constexpr char kDegreeMark[] = "\xB0 ";
// Split after "\xFC": a "d" right behind it would extend the hex escape.
constexpr char kSouthWord[] =
    " S\xFC"
    "d ";

// Format-style masks: literal text around one field of "0" (digit always
// shown), "#" (digit shown when significant) and "." followed by the
// decimals. The value is rounded to the mask's decimals, halves away from
// zero as the classic Format does, and whole digits beyond the mask are all
// shown: FormatMask(5.125, "' 00.00") is "' 05.13", FormatMask(123, "00")
// is "123". A negative value gets "-" in front.
std::string FormatMask(double value, std::string_view mask) {
  const auto field_begin = mask.find_first_of("0#.");
  if (field_begin == std::string_view::npos) return std::string(mask);
  auto field_end = mask.find_first_not_of("0#.", field_begin);
  if (field_end == std::string_view::npos) field_end = mask.size();
  const std::string_view field = mask.substr(field_begin, field_end - field_begin);
  const auto point = field.find('.');
  const std::string_view whole_mask = field.substr(0, point);
  const std::size_t decimals = point == std::string_view::npos ? 0 : field.size() - point - 1;
  const auto min_whole_digits =
      static_cast<std::size_t>(std::count(whole_mask.begin(), whole_mask.end(), '0'));

  double scale = 1.0;
  for (std::size_t i = 0; i < decimals; ++i) {
    scale *= 10.0;
  }
  const double scaled = std::round(std::fabs(value) * scale);

  // 309 digits hold any finite double in fixed notation.
  std::array<char, 400> buffer{};
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), scaled,
                                    std::chars_format::fixed, 0);
  std::string digits(buffer.data(), result.ptr);
  if (digits.size() < decimals) digits.insert(0, decimals - digits.size(), '0');
  std::string whole = digits.substr(0, digits.size() - decimals);
  const std::string decimal_digits = digits.substr(digits.size() - decimals);
  whole.erase(0, std::min(whole.find_first_not_of('0'), whole.size()));
  if (whole.size() < min_whole_digits) whole.insert(0, min_whole_digits - whole.size(), '0');

  std::string out(mask.substr(0, field_begin));
  if (value < 0.0 && scaled != 0.0) out.insert(0, "-");
  out += whole;
  if (point != std::string_view::npos) out += "." + decimal_digits;
  out += mask.substr(field_end);
  return out;
}

// Kinds whose text shows no seconds; kinds 14 and 16 round the same way
// although they do show them.
bool RoundsToMinutes(int kind) {
  switch (kind) {
    case 7:
    case 10:
    case 12:
    case 14:
    case 16:
    case 19:
    case 22:
      return true;
    default:
      return false;
  }
}

// The sign or hemisphere mark of kinds 5-22 (see DecInDegrees).
std::string HemisphereMark(int kind, bool negative, bool sign_switch, bool latitude, bool words) {
  if (sign_switch) return negative ? "-" : "+";
  if (kind < 9 || kind > 16) return "";
  if (latitude) {
    if (words) return negative ? std::string(kSouthWord) : " Nord ";
    return negative ? "S" : "N";
  }
  if (words) return negative ? " West " : " Ost ";
  return negative ? "W" : "E";
}

struct DegreeParts {
  int degrees;
  int minutes;
  float seconds;
};

// Splits a non-negative value and settles the carries for `kind`.
DegreeParts SplitAndCarry(double value, int kind) {
  const double whole_degrees = std::trunc(value);
  const double minutes = (value - whole_degrees) * kMinutesPerDegree;
  const double whole_minutes = std::trunc(minutes);
  DegreeParts parts{static_cast<int>(whole_degrees), static_cast<int>(whole_minutes),
                    static_cast<float>(std::fabs(minutes - whole_minutes) * kSecondsPerMinute)};

  if (parts.seconds >= kCarryThreshold) {
    parts.seconds = 0.0F;
    ++parts.minutes;
  }
  if (parts.minutes >= kCarryThreshold) {
    parts.minutes = 0;
    ++parts.degrees;
  }

  if (kind == 5 || kind == 17 || kind == 20) return parts;
  if (RoundsToMinutes(kind)) {
    if (parts.seconds >= 30.0F) ++parts.minutes;
    if (parts.minutes >= kCarryThreshold) {
      parts.minutes = 0;
      ++parts.degrees;
    }
    return parts;
  }
  // Seconds and minutes that round to a whole 60 carry.
  if (std::trunc(parts.seconds + 0.5) >= 60.0) {
    parts.seconds = 0.0F;
    ++parts.minutes;
  }
  if (parts.minutes >= 60) {
    parts.minutes = 0;
    ++parts.degrees;
  }
  return parts;
}

std::string ComposeDegreeText(int kind, bool unit_marks, const std::string& mark,
                              const DegreeParts& parts) {
  const double seconds = parts.seconds;
  const std::string dd = FormatMask(parts.degrees, "00");
  const std::string ddd = FormatMask(parts.degrees, "000");
  const std::string mm = FormatMask(parts.minutes, "00");
  switch (kind) {
    case 5:
      return unit_marks ? mark + dd + "h " + mm + FormatMask(seconds, "' 00.00") + kSecondsMark
                        : mark + dd + "," + mm + "," + FormatMask(seconds, "00.00");
    case 6:
      return unit_marks ? mark + dd + "h " + mm + FormatMask(seconds, "' 00") + kSecondsMark
                        : mark + dd + "," + mm + "," + FormatMask(seconds, "00");
    case 7:
      return unit_marks ? mark + dd + "h " + mm : mark + dd + "," + mm;
    case 8:
      return unit_marks ? mark + ddd + "Uhr " + mm + FormatMask(seconds, "' 00") + kSecondsMark
                        : mark + dd + "Uhr " + mm + "," + FormatMask(seconds, "00");
    case 9:
      return ddd + mark + mm + FormatMask(seconds, "' 00") + kSecondsMark;
    case 10:
      return ddd + mark + mm + "'";
    case 11:
      return dd + mark + mm + FormatMask(seconds, "' 00") + kSecondsMark;
    case 12:
      return dd + mark + mm + "'";
    case 13:
    case 14:
    case 15:
    case 16:
      return ddd + mark + mm + "m" + FormatMask(seconds, "00") + "s";
    case 17:
    case 18:
    case 19:
    case 20:
    case 21:
    case 22: {
      // Three precisions (seconds with decimals, whole seconds, none), first
      // with three-digit then with two-digit degrees.
      const int precision = (kind - 17) % 3;
      std::string text = mark + (kind <= 19 ? ddd : dd) + FormatMask(parts.minutes, "\xB0 00");
      if (precision == 0) return text + FormatMask(seconds, "' 00.00") + kSecondsMark;
      if (precision == 1) return text + FormatMask(seconds, "' 00") + kSecondsMark;
      return text + "'";
    }
    case 24:
      return mark + dd + "X" + mm + "," + FormatMask(seconds, "00");
    default:
      return ddd + kDegreeMark + FormatMask(parts.minutes, "#0") + "' " +
             FormatMask(seconds, "00.00") + kSecondsMark;
  }
}

// Exponent notation such as "1.5E-05" would otherwise fall apart into the
// numbers "1.5" and "05" with a minus sign; plain decimals read correctly.
std::string PlainDecimalText(std::string_view text) {
  std::array<char, 400> buffer{};
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), Val(text),
                                    std::chars_format::fixed, 8);
  return std::string(buffer.data(), result.ptr);
}

// The numeric parts of `text` in order, with runs of 4 to 7 whole digits cut
// into degrees, minutes and seconds (two digits each, counted from the end
// of the run).
std::vector<std::string> NumericParts(std::string_view text) {
  std::vector<std::string> parts;
  std::string current;
  auto close_part = [&parts, &current] {
    if (current.empty()) return;
    const std::size_t whole_digits = std::min(current.find_first_of(".,"), current.size());
    if (whole_digits >= 4 && whole_digits <= 7) {
      const std::size_t pairs = whole_digits >= 6 ? 2 : 1;
      const std::size_t degree_digits = whole_digits - 2 * pairs;
      parts.push_back(current.substr(0, degree_digits));
      if (pairs == 2) parts.push_back(current.substr(degree_digits, 2));
      parts.push_back(current.substr(whole_digits - 2));
    } else {
      parts.push_back(current);
    }
    current.clear();
  };
  for (const char c : text) {
    if (IsNumber(c)) {
      current.push_back(c);
    } else {
      close_part();
    }
  }
  close_part();
  return parts;
}

bool IsNegativeMark(char c) {
  switch (c) {
    case '_':
    case 'S':
    case 's':
    case 'W':
    case 'w':
    case '-':
      return true;
    default:
      return false;
  }
}

}  // namespace

void StringInDegreeType(const std::string& text, Rad_Dec_Typ& record) {
  const std::string upper = UCase(text);
  const bool has_n_or_s =
      upper.find('N') != std::string::npos || upper.find('S') != std::string::npos;
  FillRad_Dec_Typ(SignedDecOfString(text), record, has_n_or_s ? kLongitudeKind : kLatitudeKind);
}

void FillRad_Dec_Typ(double degrees, Rad_Dec_Typ& record, std::int16_t kind) {
  record.Dec = degrees;
  record.Rad = RadOfDec(degrees);
  if (kind == kLatitudeKind) record.Dir = degrees >= 0.0 ? 'N' : 'S';
  if (kind == kLongitudeKind) record.Dir = degrees >= 0.0 ? 'E' : 'W';
}

double RadOfDec(const double& degrees) {
  const double sign = degrees < 0.0 ? -1.0 : 1.0;
  return sign * MOD360(std::fabs(degrees)) * kPiFifteenDigits / kDegreesPerHalfTurn;
}

std::string StringOfDegreeType(Rad_Dec_Typ& record, std::optional<std::int16_t> kind) {
  const std::int16_t flags = kind == kLongitudeKind ? kLongitudeFlags : kLatitudeFlags;
  // Coordinates may be kept with 400 added as a marker; show the coordinate.
  const double value = record.Dec >= 400.0 ? record.Dec - 400.0 : record.Dec;
  std::int16_t degrees = 0;
  std::int16_t minutes = 0;
  float seconds = 0.0F;
  std::string direction(1, record.Dir);
  std::string text = DecInDegrees(value, degrees, minutes, seconds, direction, flags);
  record.Dir = direction.empty() ? ' ' : direction.front();
  return text;
}

std::string DegreeStringOfDec(double degrees, const std::int16_t& flags) {
  std::int16_t whole_degrees = 0;
  std::int16_t minutes = 0;
  float seconds = 0.0F;
  std::string direction;
  return DecInDegrees(degrees, whole_degrees, minutes, seconds, direction, flags);
}

std::string DecInDegrees(double degrees, std::int16_t& degrees_or_hours, std::int16_t& minutes,
                         float& seconds, std::string& direction, const std::int16_t& flags) {
  degrees_or_hours = 0;
  minutes = 0;
  seconds = 0.0F;
  if (!(std::fabs(degrees) < kMaxFormattableDegrees)) return {};

  const int kind = flags & kDegreeFormatKindMask;
  const bool sign_switch = (flags & kSignSwitchFlag) != 0;
  const bool latitude = (flags & kLatitudeFlag) != 0;
  const bool words = (flags & kHemisphereWordFlag) != 0;
  const bool unit_marks = (flags & kUnitMarksFlag) != 0;

  const bool negative = degrees < 0.0;
  if (kind >= 5 && kind <= 22) {
    direction = HemisphereMark(kind, negative, sign_switch, latitude, words);
  }
  const DegreeParts parts = SplitAndCarry(std::fabs(degrees), kind);

  degrees_or_hours = static_cast<std::int16_t>(parts.degrees);
  minutes = static_cast<std::int16_t>(parts.minutes);
  seconds = parts.seconds;
  return ComposeDegreeText(kind, unit_marks, direction, parts);
}

double SignedDecOfString(std::string_view text) {
  const auto first = text.find_first_not_of(' ');
  text.remove_prefix(first == std::string_view::npos ? text.size() : first);
  std::string plain;
  if (TextContains(text, "E-")) {
    plain = PlainDecimalText(text);
    text = plain;
  }

  const bool negative = std::any_of(text.begin(), text.end(), IsNegativeMark);
  const std::vector<std::string> parts = NumericParts(text);
  constexpr std::array<double, 3> kPartsPerDegree = {1.0, kMinutesPerDegree, kSecondsPerDegree};
  double magnitude = 0.0;
  for (std::size_t i = 0; i < parts.size() && i < kPartsPerDegree.size(); ++i) {
    magnitude += ValDot(parts[i]) / kPartsPerDegree[i];
  }
  const double value = negative ? -magnitude : magnitude;
  return std::isfinite(value) ? value : 0.0;
}

bool IsNumber(char c) noexcept {
  return (c >= '0' && c <= '9') || c == '.' || c == ',';
}

double ValDot(std::string_view number) {
  std::string text;
  text.reserve(number.size());
  for (const char c : number) {
    if (c == '%') continue;
    text.push_back(c == ',' ? '.' : c);
  }
  return Val(text);
}

}  // namespace tarv
