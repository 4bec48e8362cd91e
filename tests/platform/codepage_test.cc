#include "platform/codepage.h"

#include <gtest/gtest.h>

namespace tarv {
namespace {

TEST(CodePage, GermanAndFrenchLettersRoundTrip) {
  const std::string utf8 = "München, Genève, Łódź? no: Ærø ß €";
  const std::string ansi = AnsiFromUtf8("München Genève Ærø ß €");
  EXPECT_EQ(ansi, "M\xFCnchen Gen\xE8ve \xC6r\xF8 \xDF \x80");
  EXPECT_EQ(Utf8FromAnsi(ansi), "München Genève Ærø ß €");
  EXPECT_FALSE(IsAnsiRepresentable(utf8));  // Ł and ź are not in the code page
}

TEST(CodePage, EveryByteRoundTripsThroughUtf8) {
  std::string all;
  for (int b = 0; b < 256; ++b)
    all.push_back(static_cast<char>(b));
  EXPECT_EQ(AnsiFromUtf8(Utf8FromAnsi(all)), all);
}

TEST(CodePage, UnrepresentableAndMalformedBecomeOneQuestionMarkEach) {
  EXPECT_EQ(AnsiFromUtf8("Łódź"),
            "?\xF3"
            "d?");
  EXPECT_EQ(AnsiFromUtf8("a\xC3"), "a?");  // truncated sequence
  EXPECT_EQ(AnsiFromUtf8("\xFF\xFE"
                         "b"),
            "??b");                                // bytes that never start UTF-8
  EXPECT_EQ(AnsiFromUtf8("\xE0\x80\x80"), "???");  // overlong encoding
  EXPECT_EQ(AnsiFromUtf8("😀"), "?");               // outside the BMP
}

TEST(CodePage, CaseMappingCoversWindows1252Letters) {
  EXPECT_EQ(AnsiUpper('\xFC'), '\xDC');  // ü Ü
  EXPECT_EQ(AnsiUpper('\x9A'), '\x8A');  // š Š
  EXPECT_EQ(AnsiUpper('\xF8'), '\xD8');  // ø Ø
  EXPECT_EQ(AnsiUpper('\xFF'), '\x9F');  // ÿ Ÿ
  EXPECT_EQ(AnsiLower('\xC9'), '\xE9');  // É é
  EXPECT_EQ(AnsiUpper('\xF7'), '\xF7');  // ÷ has no case
  EXPECT_EQ(AnsiUpper('\xDF'), '\xDF');  // ß stays
}

}  // namespace
}  // namespace tarv
