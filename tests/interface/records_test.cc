// Numbers of the answers: coordinates and offsets as the atlas writes them,
// seven significant digits.
#include "interface/records.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>

namespace tarv {
namespace {

// What the rounding must give: the float printed with seven digits and read
// back.
double ByText(float value) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::general, 7);
  double read = 0.0;
  std::from_chars(text, end.ptr, read);
  return read;
}

float FloatOfBits(std::uint32_t bits) {
  float value;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

TEST(SevenDigits, AgreesWithTheTextEverywhere) {
  EXPECT_EQ(SevenDigits(11.57549F), 11.57549);
  EXPECT_EQ(SevenDigits(-87.35F), -87.35);
  // Ties of the exact binary value go to the even digit, as in the text.
  for (const float tie : {0.00048828125F, 1.00000005F, 9999999.5F, 0.5F, 4.8828125e-4F})
    EXPECT_EQ(SevenDigits(tie), ByText(tie)) << tie;
  // Every decade the arithmetic takes and the ones beside it, by random bits.
  std::mt19937 rng(34);
  std::uniform_int_distribution<std::uint32_t> bits;
  for (int i = 0; i < 200000; ++i) {
    const float value = FloatOfBits(bits(rng));
    if (!std::isfinite(value) || value == 0.0F) continue;
    // The same digits moved to a magnitude from 2^-25 to 2^34.
    const float near =
        std::ldexp(value, -std::ilogb(value) + static_cast<int>(bits(rng) % 60) - 25);
    for (const float v : {value, near}) {
      if (std::isfinite(v)) {
        ASSERT_EQ(SevenDigits(v), ByText(v)) << v;
      }
    }
  }
  EXPECT_EQ(SevenDigits(std::numeric_limits<float>::infinity()),
            std::numeric_limits<double>::infinity());
  EXPECT_TRUE(std::isnan(SevenDigits(std::numeric_limits<float>::quiet_NaN())));
}

}  // namespace
}  // namespace tarv
