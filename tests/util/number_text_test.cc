#include "util/number_text.h"

#include <gtest/gtest.h>

#include <limits>

namespace tarv {
namespace {

TEST(SingleToText, GeneralNumberFormatWithSevenDigits) {
  EXPECT_EQ(SingleToText(13.4181F), "13.4181");
  EXPECT_EQ(SingleToText(-3.5F), "-3.5");
  EXPECT_EQ(SingleToText(1.0F), "1");
  EXPECT_EQ(SingleToText(0.3255556F), "0.3255556");
  EXPECT_EQ(SingleToText(-122.4194F), "-122.4194");
  EXPECT_EQ(SingleToText(48.13743F), "48.13743");
  EXPECT_EQ(SingleToText(0.0F), "0");
  EXPECT_EQ(SingleToText(-0.0F), "0");
}

TEST(SingleToText, ExtremesUseExponentsOrNames) {
  EXPECT_EQ(SingleToText(1e-5F), "1E-05");
  EXPECT_EQ(SingleToText(3e20F), "3E+20");
  EXPECT_EQ(SingleToText(std::numeric_limits<float>::quiet_NaN()), "NaN");
  EXPECT_EQ(SingleToText(-std::numeric_limits<float>::infinity()), "-Inf");
}

}  // namespace
}  // namespace tarv
