#include "util/number_text.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "support/german_numbers.h"

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

// Printf's "%.7G" is the format hosts know; every kind of float agrees with it.
TEST(SingleToText, AgreesWithPrintfOnRandomFloats) {
  std::mt19937 rng(17);
  std::uniform_int_distribution<std::uint32_t> bits;
  for (int i = 0; i < 200'000; ++i) {
    float value = 0;
    const std::uint32_t b = bits(rng);
    std::memcpy(&value, &b, sizeof value);
    if (std::isnan(value) || std::isinf(value) || value == 0.0F) continue;
    char expected[32];
    std::snprintf(expected, sizeof expected, "%.7G", static_cast<double>(value));
    ASSERT_EQ(SingleToText(value), expected) << b;
  }
  // With the host's separator.
  const testing::GermanNumbers german;
  if (!german.name().empty()) {
    EXPECT_EQ(SingleToText(48.13743F), "48,13743");
    EXPECT_EQ(SingleToText(1.5e-7F), "1,5E-07");
  }
}

}  // namespace
}  // namespace tarv
