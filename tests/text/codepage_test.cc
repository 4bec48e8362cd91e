#include "text/codepage.h"

#include <gtest/gtest.h>

namespace tarv {
namespace {

TEST(CodePage, GermanAndFrenchLettersRoundTrip) {
  const std::string utf8 = "München, Genève, Łódź, Ærø ß €";
  const std::string ansi = AnsiFromUtf8("München Genève Ærø ß €");
  EXPECT_EQ(ansi, "M\xFCnchen Gen\xE8ve \xC6r\xF8 \xDF \x80");
  EXPECT_EQ(Utf8FromAnsi(ansi), "München Genève Ærø ß €");
  EXPECT_FALSE(IsAnsiRepresentable(utf8));  // Ł and ź are not in the code page
  EXPECT_TRUE(IsTransliterable(utf8));
}

TEST(CodePage, EveryByteRoundTripsThroughUtf8) {
  std::string all;
  for (int b = 0; b < 256; ++b)
    all.push_back(static_cast<char>(b));
  EXPECT_EQ(AnsiFromUtf8(Utf8FromAnsi(all)), all);
}

TEST(CodePage, LettersOutsideTheCodePageAreTransliterated) {
  EXPECT_EQ(AnsiFromUtf8("Łódź"),
            "L\xF3"
            "dz");  // ó stays, Ł and ź lose their marks
  EXPECT_EQ(AnsiFromUtf8("İstanbul"), "Istanbul");
  EXPECT_EQ(AnsiFromUtf8("Plzeň"), "Plzen");
  EXPECT_EQ(AnsiFromUtf8("Timișoara"), "Timisoara");
  EXPECT_EQ(AnsiFromUtf8("Őrség"), "Ors\xE9g");
  EXPECT_EQ(AnsiFromUtf8("Mu\u0308nchen"), "M\xFCnchen");  // decomposed ü is composed
}

TEST(CodePage, OtherScriptsAreRomanised) {
  EXPECT_EQ(AnsiFromUtf8("Москва"), "Moskva");
  EXPECT_EQ(AnsiFromUtf8("Жуковский"), "Zhukovskiy");  // BGN, as GeoNames writes Russia
  EXPECT_EQ(AnsiFromUtf8("София"), "Sofiya");
  EXPECT_EQ(AnsiFromUtf8("Αθήνα"), "Ath\xEDna");
  for (const char* text : {"تهران", "ירושלים", "北京", "東京", "서울", "मुंबई", "ภูเก็ต"}) {
    const std::string ansi = AnsiFromUtf8(text);
    EXPECT_FALSE(ansi.empty()) << text;
    EXPECT_TRUE(IsTransliterable(text)) << text;
    for (const char c : ansi)
      EXPECT_LT(static_cast<unsigned char>(c), 0x80) << text;
  }
}

TEST(CodePage, WhatNothingCanBeMadeOfNeverBecomesAWildcard) {
  EXPECT_EQ(AnsiFromUtf8("😀"), std::string(1, kUnmappable));
  EXPECT_EQ(AnsiFromUtf8("a\xC3"), std::string("a") + kUnmappable);  // truncated sequence
  const std::string surrogate = AnsiFromUtf8("\xED\xA0\x80x");       // a lone surrogate
  EXPECT_EQ(surrogate.find_first_not_of(kUnmappable), surrogate.size() - 1);
  EXPECT_EQ(surrogate.back(), 'x');
  EXPECT_FALSE(IsTransliterable("Berlin😀"));
  EXPECT_FALSE(IsTransliterable("\xFF"));
  for (const char* text : {"😀", "\xFF\xFE", "\xE0\x80\x80", "\xEE\x80\x80"}) {
    const std::string ansi = AnsiFromUtf8(text);
    EXPECT_EQ(ansi.find_first_of("?*["), std::string::npos) << ansi;
  }
}

TEST(CodePage, RomanisationNeverYieldsAWildcard) {
  for (const char* text : {"Wien＊", "تهران؟", "Wien？", "［Wien"}) {
    const std::string ansi = AnsiFromUtf8(text);
    EXPECT_EQ(ansi.find_first_of("*?["), std::string::npos) << text;
    EXPECT_FALSE(IsTransliterable(text)) << text;
  }
  EXPECT_EQ(AnsiFromUtf8("M?nchen*"), "M?nchen*");  // typed wildcards stay
}

TEST(CodePage, FormatCharactersAreDropped) {
  EXPECT_EQ(AnsiFromUtf8("\u200FWien\u200E"), "Wien");  // right-to-left and left-to-right marks
  EXPECT_EQ(AnsiFromUtf8("\uFEFFGraz"), "Graz");        // byte-order mark
}

TEST(CodePage, AccentsAreDroppedOnlyWhereTheyAreAccents) {
  EXPECT_EQ(Utf8WithoutDiacritics("Mérida"), "Merida");
  EXPECT_EQ(Utf8WithoutDiacritics("Łódź"), "Łodz");
  EXPECT_EQ(Utf8WithoutDiacritics("Hà Nội"), "Ha Noi");
  EXPECT_EQ(Utf8WithoutDiacritics("Αθήνα"), "Αθηνα");
  // Devanagari vowel signs are letters of the word, not accents.
  EXPECT_EQ(Utf8WithoutDiacritics("बीजिंग"), "बीजिंग");
}

TEST(CodePage, Utf8PrefixNeverCutsACharacter) {
  EXPECT_EQ(Utf8Prefix("Łódź", 1), "Ł");
  EXPECT_EQ(Utf8Prefix("Łódź", 3), "Łód");
  EXPECT_EQ(Utf8Prefix("ab", 5), "ab");
  EXPECT_EQ(Utf8Length("Łódź"), 4U);
  EXPECT_EQ(Utf8Length("a\xFF"
                       "b"),
            3U);
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
