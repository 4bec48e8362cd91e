#include "util/degrees.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace tarv {
namespace {

constexpr double kPi15 = 3.14159265358979;
constexpr char kSouthWord[] =
    " S\xFC"
    "d ";

TEST(RadOfDec, ReducesTheMagnitudeKeepsTheSignAndUsesTheShortPi) {
  EXPECT_EQ(RadOfDec(-370), -1.0 * 10.0 * kPi15 / 180.0);
  EXPECT_EQ(RadOfDec(180), kPi15);
  EXPECT_EQ(RadOfDec(720), 0.0);
  EXPECT_TRUE(std::isnan(RadOfDec(std::numeric_limits<double>::quiet_NaN())));
}

TEST(FillRadDecTyp, LetterFollowsTheSignAndZeroCountsAsNorthOrEast) {
  Rad_Dec_Typ r;
  FillRad_Dec_Typ(-33.5, r, kLatitudeKind);
  EXPECT_EQ(r.Dir, 'S');
  EXPECT_EQ(r.Dec, -33.5);
  EXPECT_EQ(r.Rad, RadOfDec(-33.5));
  FillRad_Dec_Typ(0.0, r, kLatitudeKind);
  EXPECT_EQ(r.Dir, 'N');
  FillRad_Dec_Typ(-0.0, r, kLongitudeKind);
  EXPECT_EQ(r.Dir, 'E');
  FillRad_Dec_Typ(-1.0, r, kLongitudeKind);
  EXPECT_EQ(r.Dir, 'W');
  FillRad_Dec_Typ(5.0, r, 7);  // unknown kind keeps the letter
  EXPECT_EQ(r.Dir, 'W');
}

TEST(StringInDegreeType, FilesTextsWithNOrSAsLongitude) {
  Rad_Dec_Typ r;
  StringInDegreeType("13E24", r);
  EXPECT_DOUBLE_EQ(r.Dec, 13.4);
  EXPECT_EQ(r.Dir, 'N');
  StringInDegreeType("52n30", r);
  EXPECT_DOUBLE_EQ(r.Dec, 52.5);
  EXPECT_EQ(r.Dir, 'E');
  StringInDegreeType("33S30", r);
  EXPECT_DOUBLE_EQ(r.Dec, -33.5);
  EXPECT_EQ(r.Dir, 'W');
  EXPECT_EQ(r.Rad, RadOfDec(-33.5));
}

TEST(StringOfDegreeType, ChoosesFlagsByKindAndRewritesTheLetter) {
  Rad_Dec_Typ r{0.0, 452.5, 'X'};
  EXPECT_EQ(StringOfDegreeType(r), "52N30' 00\"");
  EXPECT_EQ(r.Dir, 'N');
  r.Dec = 400.0;
  EXPECT_EQ(StringOfDegreeType(r), "00N00' 00\"");
  r.Dec = -13.4181;
  EXPECT_EQ(StringOfDegreeType(r, kLongitudeKind), "013W25' 05\"");
  EXPECT_EQ(r.Dir, 'W');
  EXPECT_EQ(StringOfDegreeType(r, kLatitudeKind), "13S25' 05\"");
  r.Dec = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(StringOfDegreeType(r), "");
  EXPECT_EQ(r.Dir, 'S');
}

TEST(DegreeStringOfDec, TheAtlasForms) {
  EXPECT_EQ(DegreeStringOfDec(13.4181, kLongitudeFlags), "013E25' 05\"");
  EXPECT_EQ(DegreeStringOfDec(-33.5, kLatitudeFlags), "33S30' 00\"");
  EXPECT_EQ(DegreeStringOfDec(12.99999, kLongitudeFlags), "013E00' 00\"");
}

TEST(DegreeStringOfDec, FormsOfTheOtherKinds) {
  const std::int16_t units = kUnitMarksFlag;
  EXPECT_EQ(DegreeStringOfDec(13.4181, 5), "13,25,05.16");
  EXPECT_EQ(DegreeStringOfDec(13.4181, units + 5), "13h 25' 05.16\"");
  EXPECT_EQ(DegreeStringOfDec(-13.4181, kSignSwitchFlag + 6), "-13,25,05");
  EXPECT_EQ(DegreeStringOfDec(13.4181, units + 7), "13h 25");
  EXPECT_EQ(DegreeStringOfDec(13.4181, 8), "13Uhr 25,05");
  EXPECT_EQ(DegreeStringOfDec(13.4181, units + 8), "013Uhr 25' 05\"");
  EXPECT_EQ(DegreeStringOfDec(-33.5, kLatitudeFlag + kHemisphereWordFlag + 9),
            std::string("033") + kSouthWord + "30' 00\"");
  EXPECT_EQ(DegreeStringOfDec(13.4181, kHemisphereWordFlag + 12), "13 Ost 25'");
  EXPECT_EQ(DegreeStringOfDec(13.4181, kSignSwitchFlag + 13), "013+25m05s");
  EXPECT_EQ(DegreeStringOfDec(13.4181, 17), "013\xB0 25' 05.16\"");
  EXPECT_EQ(DegreeStringOfDec(-13.4925, kSignSwitchFlag + 21), "-13\xB0 29' 33\"");
  EXPECT_EQ(DegreeStringOfDec(13.4925, 22), "13\xB0 30'");
  EXPECT_EQ(DegreeStringOfDec(13.4181, 24), "13X25,05");
  EXPECT_EQ(DegreeStringOfDec(-13.05, 0), "013\xB0 3' 00.00\"");
}

TEST(DegreeStringOfDec, RoundingDependsOnTheKind) {
  const double seconds_59_7 = 10.0 + 59.7 / 3600.0;
  EXPECT_EQ(DegreeStringOfDec(seconds_59_7, 5), "10,00,59.70");  // shown as computed
  EXPECT_EQ(DegreeStringOfDec(seconds_59_7, 6), "10,01,00");
  EXPECT_EQ(DegreeStringOfDec(seconds_59_7, 23), "010\xB0 1' 00.00\"");
  EXPECT_EQ(DegreeStringOfDec(10.0 + 59.99 / 3600.0, 5), "10,01,00.00");  // first carry
  EXPECT_EQ(DegreeStringOfDec(10.0 + 5.125 / 3600.0, 5), "10,00,05.13");  // half away from 0
  // 59' 45" rounds up to a whole degree in the forms without seconds.
  const double minutes_59_45 = 12.0 + 59.0 / 60.0 + 45.0 / 3600.0;
  EXPECT_EQ(DegreeStringOfDec(minutes_59_45, 10), "013E00'");
  EXPECT_EQ(DegreeStringOfDec(minutes_59_45, 9), "012E59' 45\"");
}

TEST(DecInDegrees, HandsBackThePartsAndTheMark) {
  std::int16_t degrees = 0;
  std::int16_t minutes = 0;
  float seconds = 0.0F;
  std::string direction = "?";
  EXPECT_EQ(DecInDegrees(12.99999, degrees, minutes, seconds, direction, kLongitudeFlags),
            "013E00' 00\"");
  EXPECT_EQ(degrees, 13);
  EXPECT_EQ(minutes, 0);
  EXPECT_EQ(seconds, 0.0F);
  EXPECT_EQ(direction, "E");

  direction = "+";  // kinds outside 5-22 keep and show the caller's mark
  EXPECT_EQ(DecInDegrees(-13.4181, degrees, minutes, seconds, direction, 24), "+13X25,05");
  EXPECT_EQ(direction, "+");
  EXPECT_EQ(minutes, 25);
  EXPECT_NEAR(seconds, 5.16F, 1e-3F);
}

TEST(DecInDegrees, UnformattableValuesGiveAnEmptyText) {
  const double inf = std::numeric_limits<double>::infinity();
  for (double bad : {std::numeric_limits<double>::quiet_NaN(), inf, -inf, 1e300, -32767.0}) {
    std::int16_t degrees = 7;
    std::int16_t minutes = 7;
    float seconds = 7.0F;
    std::string direction = "N";
    EXPECT_EQ(DecInDegrees(bad, degrees, minutes, seconds, direction, kLatitudeFlags), "");
    EXPECT_EQ(degrees, 0);
    EXPECT_EQ(direction, "N");
  }
  EXPECT_EQ(DegreeStringOfDec(32766.99999, kLongitudeFlags), "32767E00' 00\"");
}

TEST(SignedDecOfString, PartsSeparatorsAndSigns) {
  EXPECT_DOUBLE_EQ(SignedDecOfString("  48 30 15"), 48.0 + 30.0 / 60 + 15.0 / 3600);
  EXPECT_DOUBLE_EQ(SignedDecOfString("33S30"), -33.5);
  EXPECT_DOUBLE_EQ(SignedDecOfString("-33 30"), -33.5);
  EXPECT_DOUBLE_EQ(SignedDecOfString("13w24'"), -13.4);
  EXPECT_DOUBLE_EQ(SignedDecOfString("33_30"), -33.5);
  EXPECT_DOUBLE_EQ(SignedDecOfString("12,5"), 12.5);
  EXPECT_DOUBLE_EQ(SignedDecOfString("10 20 30 40"), 10.0 + 20.0 / 60 + 30.0 / 3600);
  EXPECT_DOUBLE_EQ(SignedDecOfString("13 Ost 24"), -13.4);  // the "s" of "Ost"
  EXPECT_DOUBLE_EQ(SignedDecOfString("\xFF 48\xB0 30\xFE"), 48.5);
}

TEST(SignedDecOfString, DigitRunsHoldingDegreesAndMinutes) {
  EXPECT_DOUBLE_EQ(SignedDecOfString("4830N"), 48.5);
  EXPECT_DOUBLE_EQ(SignedDecOfString("01134E"), 11.0 + 34.0 / 60);
  EXPECT_DOUBLE_EQ(SignedDecOfString("4830,5"), 48.0 + 30.5 / 60);
  EXPECT_DOUBLE_EQ(SignedDecOfString("483015"), 48.0 + 30.0 / 60 + 15.0 / 3600);
  EXPECT_DOUBLE_EQ(SignedDecOfString("0113415W"), -(11.0 + 34.0 / 60 + 15.0 / 3600));
  EXPECT_DOUBLE_EQ(SignedDecOfString("12345678"), 12345678.0);
}

TEST(SignedDecOfString, ExponentNotation) {
  EXPECT_DOUBLE_EQ(SignedDecOfString("1.5E-05"), 1.5e-5);
  EXPECT_DOUBLE_EQ(SignedDecOfString("-1.5e-05"), -1.5e-5);
  EXPECT_EQ(SignedDecOfString("1E-09"), 0.0);  // below 8 decimals
}

TEST(SignedDecOfString, UnreadableTextGivesZero) {
  for (const std::string text : {"", "   ", "---", "abc", "N", "\xFF\xFE"}) {
    EXPECT_EQ(SignedDecOfString(text), 0.0) << text;
  }
  EXPECT_EQ(SignedDecOfString(std::string(10000, '9')), 0.0);
  // Degrees and minutes near the largest double overflow when summed.
  const std::string huge = "1" + std::string(308, '7');
  EXPECT_EQ(SignedDecOfString(huge + " " + huge), 0.0);
  EXPECT_TRUE(std::isfinite(SignedDecOfString(huge + "E-1")));
}

TEST(SignedDecOfString, ReadsBackTheAtlasForms) {
  for (double value : {13.4181, -13.4181, 0.0, 179.99, -0.5}) {
    EXPECT_NEAR(SignedDecOfString(DegreeStringOfDec(value, kLongitudeFlags)), value, 0.5 / 3600);
    EXPECT_NEAR(SignedDecOfString(DegreeStringOfDec(value / 2, kLatitudeFlags)), value / 2,
                0.5 / 3600);
  }
}

TEST(IsNumber, DigitsPointAndComma) {
  for (char c : {'0', '5', '9', '.', ','}) {
    EXPECT_TRUE(IsNumber(c)) << c;
  }
  for (char c : {'/', ':', '-', 'E', ' ', '\xB0', '\0'}) {
    EXPECT_FALSE(IsNumber(c)) << c;
  }
}

TEST(ValDot, CommaPercentAndLeadingNumber) {
  EXPECT_EQ(ValDot("12,5"), 12.5);
  EXPECT_EQ(ValDot("50%"), 50.0);
  EXPECT_EQ(ValDot(" 1,5%x"), 1.5);
  EXPECT_EQ(ValDot(""), 0.0);
  EXPECT_EQ(ValDot("x1"), 0.0);
}

}  // namespace
}  // namespace tarv
