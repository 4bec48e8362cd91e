#include "util/numeric.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <tuple>

namespace tarv {
namespace {

TEST(Mod360, SmallValuesLandInTheCircleLargeNegativesDeliberatelyStayNegative) {
  EXPECT_DOUBLE_EQ(MOD360(-10), 350);
  EXPECT_DOUBLE_EQ(MOD360(720), 0);
  EXPECT_DOUBLE_EQ(MOD360(359.5), 359.5);
  EXPECT_DOUBLE_EQ(MOD360(5760), 0);  // exactly 16 turns still takes the loop
  // Beyond that the shortcut fraction(x / 360) * 360 carries its rounding error.
  EXPECT_NEAR(MOD360(-10000), -280, 1e-9);
  EXPECT_NEAR(MOD360(10000), 280, 1e-9);
  EXPECT_NEAR(MOD360(-5761), -1, 1e-9);
}

TEST(CheckMod, NonPositiveModulusAndNonFiniteValuesDoNotHang) {
  EXPECT_EQ(std::tuple(CheckMOD(0, 5), CheckMOD(-3, 5)), std::tuple(5, 5));
  EXPECT_TRUE(std::isnan(CheckMOD(360, std::numeric_limits<double>::infinity())));
  EXPECT_TRUE(std::isnan(CheckMOD(360, std::nan(""))));
}

TEST(FractionAndRange, FractionKeepsTheSignRangeClampsToTheBounds) {
  EXPECT_EQ(std::tuple(fraction(-2.75), fraction(2.75), fraction(3)), std::tuple(-0.75, 0.75, 0.0));
  EXPECT_EQ(std::tuple(Range(1, 12, 13), Range(1, 12, 0), Range(1, 12, 7)), std::tuple(12, 1, 7));
  EXPECT_EQ(Range<std::string>("b", "d", "a"), "b");  // texts compare by bytes
}

TEST(ToInt16, RoundsHalvesToEvenAndRefusesOverflow) {
  EXPECT_EQ(
      std::tuple(ToInt16(2.5), ToInt16(3.5), ToInt16(-2.5), ToInt16(32767.4), ToInt16(-32768)),
      std::tuple(2, 4, -2, 32767, -32768));
  EXPECT_FALSE(ToInt16(32767.5));
  EXPECT_FALSE(ToInt16(-40000));
  EXPECT_FALSE(ToInt16(std::nan("")));
}

// Negative codes are negated characters: backspace, blank and letters edit.
TEST(IsEditCode, KeysAndNegatedCharactersThatChangeTheText) {
  for (int code : {5, 6, 7, 8, 28, 32, 46, 48, 65, 111, 128, 255, -8, -32, -252})
    EXPECT_TRUE(IsEditCode(static_cast<std::int16_t>(code))) << code;
  for (int code : {1, 4, 9, 13, 27, 33, 37, 44, 45, 47, 112, 127, 0, -13, -31})
    EXPECT_FALSE(IsEditCode(static_cast<std::int16_t>(code))) << code;
}

}  // namespace
}  // namespace tarv
