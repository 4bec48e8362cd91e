#include "text/codepage.h"

#include <gtest/gtest.h>

namespace tarv {
namespace {

TEST(CodePage, LettersAreMappedTransliteratedOrRomanised) {
  // Marks outside the code page go (Ł, ź), decomposed letters are composed,
  // Russian is written as GeoNames writes it (BGN), format characters go.
  const std::pair<const char*, const char*> kCases[] = {
      {"Łódź", "L\xF3\x64z"},     {"İstanbul", "Istanbul"},     {"Plzeň", "Plzen"},
      {"Timișoara", "Timisoara"}, {"Őrség", "Ors\xE9g"},        {"Mu\u0308nchen", "M\xFCnchen"},
      {"Москва", "Moskva"},       {"Жуковский", "Zhukovskiy"},  {"София", "Sofiya"},
      {"Αθήνα", "Ath\xEDna"},     {"\u200FWien\u200E", "Wien"}, {"\uFEFFGraz", "Graz"}};
  for (const auto& [utf8, ansi] : kCases)
    EXPECT_EQ(AnsiFromUtf8(utf8), ansi) << utf8;
  const std::string ansi = "M\xFCnchen Gen\xE8ve \xC6r\xF8 \xDF \x80";
  EXPECT_EQ(AnsiFromUtf8("München Genève Ærø ß €"), ansi);
  EXPECT_EQ(Utf8FromAnsi(ansi), "München Genève Ærø ß €");
  std::string all;
  for (int b = 0; b < 256; ++b)
    all.push_back(static_cast<char>(b));
  EXPECT_EQ(AnsiFromUtf8(Utf8FromAnsi(all)), all);
  EXPECT_TRUE(IsAnsiRepresentable("München Genève Ærø ß €"));
  EXPECT_FALSE(IsAnsiRepresentable("München, Łódź"));  // Ł and ź are not in the code page
  EXPECT_TRUE(IsTransliterable("München, Genève, Łódź, Ærø ß €"));
}

TEST(CodePage, OtherScriptsBecomeAsciiLetters) {
  for (const char* text : {"تهران", "ירושלים", "北京", "東京", "서울", "मुंबई", "ภูเก็ต"}) {
    const std::string ansi = AnsiFromUtf8(text);
    EXPECT_FALSE(ansi.empty()) << text;
    EXPECT_TRUE(IsTransliterable(text)) << text;
    for (const char c : ansi)
      EXPECT_LT(static_cast<unsigned char>(c), 0x80) << text;
  }
}

TEST(CodePage, WhatNothingCanBeMadeOfNeverBecomesAWildcard) {
  // A truncated sequence ends in kUnmappable; typed wildcards stay.
  EXPECT_EQ(AnsiFromUtf8("😀") + AnsiFromUtf8("a\xC3") + AnsiFromUtf8("M?nchen*"),
            std::string(1, kUnmappable) + "a" + kUnmappable + "M?nchen*");
  const std::string surrogate = AnsiFromUtf8("\xED\xA0\x80x");  // a lone surrogate
  EXPECT_EQ(surrogate.find_first_not_of(kUnmappable), surrogate.size() - 1);
  EXPECT_EQ(surrogate.back(), 'x');
  for (const char* text :
       {"😀", "\xFF\xFE", "\xE0\x80\x80", "\xEE\x80\x80", "Wien＊", "تهران؟", "Wien？", "［Wien"})
    EXPECT_EQ(AnsiFromUtf8(text).find_first_of("?*["), std::string::npos) << text;
  for (const char* text : {"Berlin😀", "\xFF", "Wien＊", "تهران؟", "Wien？", "［Wien"})
    EXPECT_FALSE(IsTransliterable(text)) << text;
}

TEST(CodePage, AccentsAreDroppedOnlyWhereTheyAreAccents) {
  // Devanagari vowel signs are letters of the word, not accents.
  EXPECT_EQ(Utf8WithoutDiacritics("Mérida, Łódź, Hà Nội, Αθήνα, बीजिंग"),
            "Merida, Łodz, Ha Noi, Αθηνα, बीजिंग");
}

TEST(CodePage, Utf8PrefixAndLengthCountCharacters) {
  EXPECT_EQ(std::tuple(Utf8Prefix("Łódź", 1), Utf8Prefix("Łódź", 3), Utf8Prefix("ab", 5)),
            std::tuple("Ł", "Łód", "ab"));
  EXPECT_EQ(Utf8Length("Łódź"), 4U);
  EXPECT_EQ(Utf8Length("a\xFF\x62"), 3U);
}

TEST(CodePage, CaseMappingCoversWindows1252Letters) {
  // ü Ü, š Š, ø Ø, ÿ Ÿ; ÷ has no case and ß stays.
  const std::pair<char, char> kUpper[] = {{'\xFC', '\xDC'}, {'\x9A', '\x8A'}, {'\xF8', '\xD8'},
                                          {'\xFF', '\x9F'}, {'\xF7', '\xF7'}, {'\xDF', '\xDF'}};
  for (const auto& [lower, upper] : kUpper)
    EXPECT_EQ(AnsiUpper(lower), upper) << static_cast<int>(lower);
  EXPECT_EQ(AnsiLower('\xC9'), '\xE9');  // É é
}

}  // namespace
}  // namespace tarv
