#include "util/degrees.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace tarv {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kPi15 = 3.14159265358979;

TEST(DegreeRecords, RadiansLettersAndTheDeliberatelySwappedKindOfTexts) {
  EXPECT_EQ(RadOfDec(-370), -10.0 * kPi15 / 180.0);  // the short pi, the sign kept
  EXPECT_EQ(RadOfDec(720), 0.0);
  EXPECT_TRUE(std::isnan(RadOfDec(kNaN)));

  struct Case {
    double value;
    std::int16_t kind;
    char letter;
  };
  // Zero counts as north or east; an unknown kind keeps the last letter.
  const Case kFills[] = {{-33.5, kLatitudeKind, 'S'}, {0.0, kLatitudeKind, 'N'},
                         {-0.0, kLongitudeKind, 'E'}, {-1.0, kLongitudeKind, 'W'},
                         {5.0, 7, 'W'}};
  Rad_Dec_Typ r;
  for (const Case& c : kFills) {
    FillRad_Dec_Typ(c.value, r, c.kind);
    EXPECT_EQ(r.Dir, c.letter) << c.value;
    EXPECT_EQ(r.Dec, c.value);
    EXPECT_EQ(r.Rad, RadOfDec(c.value));
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
  EXPECT_EQ(StringOfDegreeType(r, kLongitudeKind), "013W25' 05\"");
  EXPECT_EQ(StringOfDegreeType(r, kLatitudeKind), "13S25' 05\"");
  r.Dec = kNaN;
  EXPECT_EQ(StringOfDegreeType(r), "");
}

TEST(DegreeStringOfDec, EveryKindOfText) {
  const std::int16_t units = kUnitMarksFlag;
  const double seconds_59_7 = 10.0 + 59.7 / 3600.0;
  const double minutes_59_45 = 12.0 + 59.0 / 60.0 + 45.0 / 3600.0;
  struct Case {
    double value;
    int flags;
    std::string text;
  };
  const Case kCases[] = {
      {13.4181, kLongitudeFlags, "013E25' 05\""},
      {-33.5, kLatitudeFlags, "33S30' 00\""},
      {12.99999, kLongitudeFlags, "013E00' 00\""},
      {32766.99999, kLongitudeFlags, "32767E00' 00\""},
      {13.4181, 5, "13,25,05.16"},
      {13.4181, units + 5, "13h 25' 05.16\""},
      {-13.4181, kSignSwitchFlag + 6, "-13,25,05"},
      {13.4181, units + 7, "13h 25"},
      {13.4181, 8, "13Uhr 25,05"},
      {13.4181, units + 8, "013Uhr 25' 05\""},
      {-33.5, kLatitudeFlag + kHemisphereWordFlag + 9, "033 S\xFC" "d 30' 00\""},
      {13.4181, kHemisphereWordFlag + 12, "13 Ost 25'"},
      {13.4181, kSignSwitchFlag + 13, "013+25m05s"},
      {13.4181, 17, "013\xB0 25' 05.16\""},
      {-13.4925, kSignSwitchFlag + 21, "-13\xB0 29' 33\""},
      {13.4925, 22, "13\xB0 30'"},
      {13.4181, 24, "13X25,05"},
      {-13.05, 0, "013\xB0 3' 00.00\""},
      // Rounding depends on the kind: shown as computed, carried, or carried
      // into a whole degree in the forms without seconds.
      {seconds_59_7, 5, "10,00,59.70"},
      {seconds_59_7, 6, "10,01,00"},
      {seconds_59_7, 23, "010\xB0 1' 00.00\""},
      {10.0 + 59.99 / 3600.0, 5, "10,01,00.00"},
      {10.0 + 5.125 / 3600.0, 5, "10,00,05.13"},
      {minutes_59_45, 10, "013E00'"},
      {minutes_59_45, 9, "012E59' 45\""},
  };
  for (const Case& c : kCases) {
    EXPECT_EQ(DegreeStringOfDec(c.value, static_cast<std::int16_t>(c.flags)), c.text)
        << c.value << " flags " << c.flags;
  }
}

TEST(DecInDegrees, HandsBackThePartsAndGivesNothingForUnformattableValues) {
  std::int16_t degrees = 0;
  std::int16_t minutes = 0;
  float seconds = 0.0F;
  std::string direction = "+";  // kinds outside 5-22 keep and show the caller's mark
  EXPECT_EQ(DecInDegrees(-13.4181, degrees, minutes, seconds, direction, 24), "+13X25,05");
  EXPECT_EQ(degrees, 13);
  EXPECT_EQ(minutes, 25);
  EXPECT_NEAR(seconds, 5.16F, 1e-3F);
  EXPECT_EQ(direction, "+");
  const double inf = std::numeric_limits<double>::infinity();
  for (double bad : {kNaN, inf, -inf, 1e300, -32767.0}) {
    direction = "N";
    EXPECT_EQ(DecInDegrees(bad, degrees, minutes, seconds, direction, kLatitudeFlags), "");
    EXPECT_EQ(degrees, 0);
    EXPECT_EQ(direction, "N");
  }
}

TEST(SignedDecOfString, ReadsEveryFormAndGivesZeroForUnreadableText) {
  const std::string huge = "1" + std::string(308, '7');
  struct Case {
    std::string text;
    double value;
  };
  const Case kCases[] = {
      {"  48 30 15", 48.0 + 30.0 / 60 + 15.0 / 3600},
      {"33S30", -33.5},
      {"-33 30", -33.5},
      {"13w24'", -13.4},
      {"33_30", -33.5},
      {"12,5", 12.5},
      {"10 20 30 40", 10.0 + 20.0 / 60 + 30.0 / 3600},
      {"13 Ost 24", -13.4},  // the "s" of "Ost"
      {"\xFF 48\xB0 30\xFE", 48.5},
      // Digit runs that hold degrees, minutes and seconds.
      {"4830N", 48.5},
      {"01134E", 11.0 + 34.0 / 60},
      {"4830,5", 48.0 + 30.5 / 60},
      {"0113415W", -(11.0 + 34.0 / 60 + 15.0 / 3600)},
      {"12345678", 12345678.0},
      {"-1.5e-05", -1.5e-5},
      {"1E-09", 0.0},  // below 8 decimals
      {"", 0.0},
      {"---", 0.0},
      {"N", 0.0},
      {std::string(10000, '9'), 0.0},
      {huge + " " + huge, 0.0},  // overflows when summed
  };
  for (const Case& c : kCases) {
    EXPECT_DOUBLE_EQ(SignedDecOfString(c.text), c.value) << c.text.substr(0, 20);
  }
  for (double value : {13.4181, -13.4181, 0.0, 179.99, -0.5}) {
    EXPECT_NEAR(SignedDecOfString(DegreeStringOfDec(value, kLongitudeFlags)), value, 0.5 / 3600);
    EXPECT_NEAR(SignedDecOfString(DegreeStringOfDec(value / 2, kLatitudeFlags)), value / 2,
                0.5 / 3600);
  }
}

TEST(NumberTexts, IsNumberAndValDot) {
  for (char c : {'0', '9', '.', ','}) EXPECT_TRUE(IsNumber(c)) << c;
  for (char c : {'/', ':', '-', 'E', '\xB0'}) EXPECT_FALSE(IsNumber(c)) << c;
  EXPECT_EQ(ValDot("12,5"), 12.5);
  EXPECT_EQ(ValDot(" 1,5%x"), 1.5);
  EXPECT_EQ(ValDot("x1"), 0.0);
}

}  // namespace
}  // namespace tarv
