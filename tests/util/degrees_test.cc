#include "util/degrees.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <tuple>

namespace tarv {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kPi15 = 3.14159265358979;

TEST(DegreeRecords, RadiansLettersAndTheDeliberatelySwappedKindOfTexts) {
  EXPECT_EQ(RadOfDec(-370), -10.0 * kPi15 / 180.0);  // the short pi, the sign kept
  EXPECT_EQ(RadOfDec(720), 0.0);
  EXPECT_TRUE(std::isnan(RadOfDec(kNaN)));

  // Zero counts as north or east; an unknown kind keeps the last letter.
  const std::tuple<double, std::int16_t, char> kFills[] = {{-33.5, kLatitudeKind, 'S'},
                                                           {0.0, kLatitudeKind, 'N'},
                                                           {-0.0, kLongitudeKind, 'E'},
                                                           {-1.0, kLongitudeKind, 'W'},
                                                           {5.0, 7, 'W'}};
  Rad_Dec_Typ r;
  for (const auto& [value, kind, letter] : kFills) {
    FillRad_Dec_Typ(value, r, kind);
    EXPECT_EQ(std::tuple(r.Dir, r.Dec, r.Rad), std::tuple(letter, value, RadOfDec(value))) << value;
  }
  // A text with N or S is filed as a longitude, one without as a latitude.
  StringInDegreeType("13E24", r);
  EXPECT_EQ(r.Dir, 'N');
  EXPECT_DOUBLE_EQ(r.Dec, 13.4);
  StringInDegreeType("33S30", r);
  EXPECT_EQ(r.Dir, 'W');
  EXPECT_DOUBLE_EQ(r.Dec, -33.5);

  r = {0.0, 452.5, 'X'};  // 400 and more is a latitude moved by 400
  EXPECT_EQ(StringOfDegreeType(r), "52N30' 00\"");
  EXPECT_EQ(r.Dir, 'N');
  r.Dec = -13.4181;
  EXPECT_EQ(std::tuple(StringOfDegreeType(r, kLongitudeKind), StringOfDegreeType(r, kLatitudeKind)),
            std::tuple("013W25' 05\"", "13S25' 05\""));
  r.Dec = kNaN;
  EXPECT_EQ(StringOfDegreeType(r), "");
}

// Rounding depends on the kind: shown as computed, carried, or carried into
// a whole degree in the forms without seconds.
TEST(DegreeStringOfDec, EveryKindOfText) {
  const int units = kUnitMarksFlag;
  const int sign = kSignSwitchFlag;
  const int lon = kLongitudeFlags;
  const double s59_7 = 10.0 + 59.7 / 3600.0;
  const double m59_45 = 12.0 + 59.0 / 60.0 + 45.0 / 3600.0;
  const std::tuple<double, int, const char*> kCases[] = {
      {13.4181, lon, "013E25' 05\""},
      {-33.5, kLatitudeFlags, "33S30' 00\""},
      {12.99999, lon, "013E00' 00\""},
      {32766.99999, lon, "32767E00' 00\""},
      {13.4181, 5, "13,25,05.16"},
      {13.4181, units + 5, "13h 25' 05.16\""},
      {-13.4181, sign + 6, "-13,25,05"},
      {13.4181, units + 7, "13h 25"},
      {13.4181, 8, "13Uhr 25,05"},
      {13.4181, units + 8, "013Uhr 25' 05\""},
      {-33.5, kLatitudeFlag + kHemisphereWordFlag + 9, "033 S\xFC\x64 30' 00\""},
      {13.4181, kHemisphereWordFlag + 12, "13 Ost 25'"},
      {13.4181, sign + 13, "013+25m05s"},
      {13.4181, 17, "013\xB0 25' 05.16\""},
      {-13.4925, sign + 21, "-13\xB0 29' 33\""},
      {13.4925, 22, "13\xB0 30'"},
      {13.4181, 24, "13X25,05"},
      {-13.05, 0, "013\xB0 3' 00.00\""},
      {s59_7, 5, "10,00,59.70"},
      {s59_7, 6, "10,01,00"},
      {s59_7, 23, "010\xB0 1' 00.00\""},
      {10.0 + 59.99 / 3600.0, 5, "10,01,00.00"},
      {10.0 + 5.125 / 3600.0, 5, "10,00,05.13"},
      {m59_45, 10, "013E00'"},
      {m59_45, 9, "012E59' 45\""},
  };
  for (const auto& [value, flags, text] : kCases)
    EXPECT_EQ(DegreeStringOfDec(value, static_cast<std::int16_t>(flags)), text)
        << value << " flags " << flags;
}

TEST(DecInDegrees, HandsBackThePartsAndGivesNothingForUnformattableValues) {
  std::int16_t degrees = 0;
  std::int16_t minutes = 0;
  float seconds = 0.0F;
  std::string direction = "+";  // kinds outside 5-22 keep and show the caller's mark
  EXPECT_EQ(DecInDegrees(-13.4181, degrees, minutes, seconds, direction, 24), "+13X25,05");
  EXPECT_EQ(std::tuple(degrees, minutes, direction), std::tuple(13, 25, "+"));
  EXPECT_NEAR(seconds, 5.16F, 1e-3F);
  const double inf = std::numeric_limits<double>::infinity();
  for (double bad : {kNaN, inf, -inf, 1e300, -32767.0}) {
    direction = "N";
    EXPECT_EQ(DecInDegrees(bad, degrees, minutes, seconds, direction, kLatitudeFlags), "");
    EXPECT_EQ(std::tuple(degrees, direction), std::tuple(0, "N")) << bad;
  }
}

// "13 Ost 24" is west by the "s" of "Ost"; digit runs hold degrees, minutes
// and seconds; below 8 decimals is zero, and so is a sum that overflows.
TEST(SignedDecOfString, ReadsEveryFormAndGivesZeroForUnreadableText) {
  const std::pair<const char*, double> kCases[] = {
      {"  48 30 15", 48.0 + 30.0 / 60 + 15.0 / 3600},
      {"33S30", -33.5},
      {"-33 30", -33.5},
      {"13w24'", -13.4},
      {"33_30", -33.5},
      {"12,5", 12.5},
      {"10 20 30 40", 10.0 + 20.0 / 60 + 30.0 / 3600},
      {"13 Ost 24", -13.4},
      {"\xFF 48\xB0 30\xFE", 48.5},
      {"4830N", 48.5},
      {"01134E", 11.0 + 34.0 / 60},
      {"4830,5", 48.0 + 30.5 / 60},
      {"0113415W", -(11.0 + 34.0 / 60 + 15.0 / 3600)},
      {"12345678", 12345678.0},
      {"-1.5e-05", -1.5e-5},
      {"1E-09", 0.0},
      {"", 0.0},
      {"---", 0.0},
      {"N", 0.0},
  };
  for (const auto& [text, value] : kCases)
    EXPECT_DOUBLE_EQ(SignedDecOfString(text), value) << text;
  const std::string huge = "1" + std::string(308, '7');
  for (const std::string& text : {std::string(10000, '9'), huge + " " + huge})
    EXPECT_EQ(SignedDecOfString(text), 0.0) << text.substr(0, 20);
  for (double value : {13.4181, -13.4181, 0.0, 179.99, -0.5}) {
    EXPECT_NEAR(SignedDecOfString(DegreeStringOfDec(value, kLongitudeFlags)), value, 0.5 / 3600);
    EXPECT_NEAR(SignedDecOfString(DegreeStringOfDec(value / 2, kLatitudeFlags)), value / 2,
                0.5 / 3600);
  }
}

TEST(NumberTexts, IsNumberAndValDot) {
  for (char c : {'0', '9', '.', ','})
    EXPECT_TRUE(IsNumber(c)) << c;
  for (char c : {'/', ':', '-', 'E', '\xB0'})
    EXPECT_FALSE(IsNumber(c)) << c;
  EXPECT_EQ(std::tuple(ValDot("12,5"), ValDot(" 1,5%x"), ValDot("x1")), std::tuple(12.5, 1.5, 0.0));
}

}  // namespace
}  // namespace tarv
