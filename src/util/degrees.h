// Degree texts: reading coordinates typed by users or read from files, and
// writing them back for lists, info lines and the export. Coordinates are
// signed decimal degrees, latitude positive north, longitude positive east.
// Texts are Windows-1252: the degree sign is "\xB0", "Süd" is "S\xFCd".
#ifndef TARVPLACES_UTIL_DEGREES_H_
#define TARVPLACES_UTIL_DEGREES_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarv {

// A coordinate with its radians and its hemisphere letter ('N'/'S' for a
// latitude, 'E'/'W' for a longitude). A fresh record holds NUL in `Dir`, as
// an unfilled fixed-length field does.
struct Rad_Dec_Typ {
  double Rad = 0.0;  // radians, see RadOfDec
  double Dec = 0.0;  // signed decimal degrees
  char Dir = '\0';
};

// Axis codes taken by FillRad_Dec_Typ and StringOfDegreeType.
inline constexpr std::int16_t kLatitudeKind = 2;
inline constexpr std::int16_t kLongitudeKind = 3;

// The flag word of the degree formatter (DecInDegrees).
inline constexpr std::int16_t kDegreeFormatKindMask = 31;  // bits 0-4: the form, see DecInDegrees
inline constexpr std::int16_t kSignSwitchFlag = 32;        // "+"/"-" instead of hemisphere marks
inline constexpr std::int16_t kLatitudeFlag = 256;         // N/S; clear means E/W
inline constexpr std::int16_t kHemisphereWordFlag = 512;  // " Nord ", " S\xFCd ", " Ost ", " West "
inline constexpr std::int16_t kUnitMarksFlag = 1024;      // kinds 5-8: "h "/"Uhr ", "'", "\""

// The two flag words the atlas itself uses: longitude as kind 9 and latitude
// as kind 11, both with hemisphere letters.
inline constexpr std::int16_t kLongitudeFlags = 9;
inline constexpr std::int16_t kLatitudeFlags = kLatitudeFlag + 11;  // 267

// Reads `text` (not changed) with SignedDecOfString and files the value in
// `record` through FillRad_Dec_Typ. The axis is guessed from letters, and the
// guess is deliberately crossed: a text containing "N" or "S" in any case
// (also inside "Ost", "West", "Süd") is filed as kLongitudeKind, any other
// text as kLatitudeKind. The letter then follows the sign only:
// "52N30" gives {Dec 52.5, Dir 'E'}, "13E24" gives {Dec 13.4, Dir 'N'}.
void StringInDegreeType(const std::string& text, Rad_Dec_Typ& record);

// Sets record.Dec to `degrees` and record.Rad to RadOfDec(degrees). For
// kLatitudeKind `Dir` becomes 'N' (degrees >= 0, zero included) or 'S', for
// kLongitudeKind 'E' or 'W'; any other kind leaves `Dir` as it was. A NaN
// value counts as negative. FillRad_Dec_Typ(-33.5, r, 2) gives Dir 'S'.
void FillRad_Dec_Typ(double degrees, Rad_Dec_Typ& record, std::int16_t kind);

// Radians of `degrees` (not changed) after reducing its magnitude by MOD360
// and keeping its sign, with pi as the 15-digit literal 3.14159265358979 so
// that results match stored data to the last bit: RadOfDec(-370) equals
// -10 * 3.14159265358979 / 180. NaN and infinities give NaN.
double RadOfDec(const double& degrees);

// The degree text of `record`: flags kLongitudeFlags when `kind` is
// kLongitudeKind, else kLatitudeFlags (also without a kind). A `Dec` of 400
// or more is a marked value and shown as Dec - 400. Rewrites record.Dir with
// the hemisphere letter shown ("013E25' 05\"" for Dec 13.4181 as longitude,
// Dir 'E'); a value that cannot be formatted gives "" and leaves Dir as is.
std::string StringOfDegreeType(Rad_Dec_Typ& record,
                               std::optional<std::int16_t> kind = std::nullopt);

// DecInDegrees with scratch parts and an empty direction; only the text.
// DegreeStringOfDec(-33.5, kLatitudeFlags) is "33S30' 00\"".
std::string DegreeStringOfDec(double degrees, const std::int16_t& flags);

// The degree formatter. `flags` (not changed) holds the form in bits 0-4 and
// the switches kSignSwitchFlag, kLatitudeFlag, kHemisphereWordFlag and
// kUnitMarksFlag.
//
// Sign or hemisphere mark H: with kSignSwitchFlag set, kinds 5-22 show "-"
// for a negative and "+" for any other value (the switch wins over letters
// and words). Without it, kinds 5-8 and 17-22 show no sign at all, and kinds
// 9-16 show "N"/"S" or "E"/"W", or with kHemisphereWordFlag the words
// " Nord "/" S\xFCd " or " Ost "/" West ". Other kinds use `direction` as
// given. The magnitude is formatted in every kind, so kinds outside 5-22
// carry a sign only through `direction`.
//
// Parts: degrees, whole minutes and seconds (single precision). Seconds of
// 59.98333 or more carry into the minutes, minutes that reach 60 into the
// degrees. Then kinds 5, 17 and 20 keep the seconds as they are; kinds 7,
// 10, 12, 14, 16, 19 and 22 add a minute for seconds of 30 or more (the
// returned seconds stay unrounded); all other kinds carry seconds of 59.5 or
// more into the minutes. Shown numbers are rounded to the decimals of their
// field, halves away from zero (59.995 seconds would read "60.00" were they
// not carried first).
//
// Forms (DD degrees or hours, MM minutes, SS seconds, Q a double quote):
//   5  H DD "h " MM "' " SS.ss Q  /  without kUnitMarksFlag: H DD "," MM "," SS.ss
//   6  H DD "h " MM "' " SS Q     /  H DD "," MM "," SS
//   7  H DD "h " MM               /  H DD "," MM
//   8  H DDD "Uhr " MM "' " SS Q  /  H DD "Uhr " MM "," SS
//   9  DDD H MM "' " SS Q            10  DDD H MM "'"
//   11 DD H MM "' " SS Q             12  DD H MM "'"
//   13-16 DDD H MM "m" SS "s"
//   17 H DDD "\xB0 " MM "' " SS.ss Q   18 the same with SS   19 H DDD "\xB0 " MM "'"
//   20-22 as 17-19 with DD
//   24 H DD "X" MM "," SS
//   any other kind: DDD "\xB0 " M "' " SS.ss Q (M without a leading zero)
// Example: 13.4181 with kLongitudeFlags gives "013E25' 05\"".
//
// Hands back the parts after carrying and H (kinds 5-22) through the
// reference arguments. A NaN, infinite or too large value (|degrees| of 32767
// or more, whose degrees do not fit 16 bits) gives "", zero parts and an
// unchanged `direction`.
std::string DecInDegrees(double degrees, std::int16_t& degrees_or_hours, std::int16_t& minutes,
                         float& seconds, std::string& direction, const std::int16_t& flags);

// Signed decimal degrees of a degree text: "48 30 15" is 48.504166..., "33S30"
// and "-33 30" are -33.5, "12,5" is 12.5. Leading blanks are skipped. A text
// holding "E-" or "e-" is a number in exponent notation: its leading number
// is rounded to 8 decimals first ("1.5E-05" is 0.000015).
//
// The digits with "." and "," form numeric parts (degrees, minutes, seconds
// in that order; parts beyond the third are ignored); every other character
// ends a part. Any "_", "S", "s", "W", "w" or "-" makes the value negative;
// note that "Ost" and "East" contain an "s" and so read as negative too.
// A part whose run of whole digits has 4 to 7 digits holds degrees and
// minutes (and seconds) run together: the last two digits are minutes
// ("4830N" is 48.5, "01134E" is 11 + 34/60, "4830.5" is 48 + 30.5/60), with
// 6 or 7 digits the last two pairs are minutes and seconds ("0113415E").
// Longer runs are read as one number. Text without digits, and a result
// that is not finite, gives 0.
double SignedDecOfString(std::string_view text);

// True for the characters of a numeric part: "0" to "9", "." and ",".
bool IsNumber(char c) noexcept;

// The leading number of `number` after dropping every "%" and reading a
// decimal comma as a point: ValDot("12,5") is 12.5, ValDot("50%") is 50,
// ValDot("x") is 0. Reading follows Val (util/text.h).
double ValDot(std::string_view number);

}  // namespace tarv

#endif  // TARVPLACES_UTIL_DEGREES_H_
