#include "util/text.h"

#include <gtest/gtest.h>

#include <string>

namespace tarv {
namespace {

const std::string kNul(1, '\0');

// Blanks are trimmed from both ends; any other character cuts the text
// before its first occurrence, and gives "" where it does not occur.
TEST(Trim, BlanksFromBothEndsOtherCharactersCutAtTheFirst) {
  EXPECT_EQ(Trim("  München  "), "München");
  EXPECT_EQ(Trim("\tA\t "), "\tA\t");
  EXPECT_EQ(Trim("    "), "");
  EXPECT_EQ(Trim(std::string("ab") + kNul + "x" + kNul, kNul), "ab");
  EXPECT_EQ(Trim(kNul + "ab", kNul), "");
  EXPECT_EQ(Trim("abc", kNul), "");
  EXPECT_EQ(Trim("a;b", ";"), "a");
}

TEST(PathPieces, PraeCutsAtTheLastDotPraePostAfterBackslashThenColon) {
  EXPECT_EQ(Get_Prae("D.dao"), "D");
  EXPECT_EQ(Get_Prae("a.b.c"), "a.b");
  EXPECT_EQ(Get_Prae("EUROPA"), "EUROPA");
  EXPECT_EQ(Get_PraePost("C:\\Atlas\\D.dao"), "D.dao");
  EXPECT_EQ(Get_PraePost("C:file.dat"), "file.dat");
  EXPECT_EQ(Get_PraePost("file.dat"), "file.dat");
  EXPECT_EQ(Get_PraePost("C:\\a:b\\c"), "c");
}

TEST(TextEqual, IgnoresCaseOfWindows1252Letters) {
  EXPECT_TRUE(TextEqual("\xFC", "\xDC"));            // ü Ü
  EXPECT_TRUE(TextEqual("\xE9t\xE9", "\xC9T\xC9"));  // été ÉTÉ
  EXPECT_TRUE(TextEqual("\x9A", "\x8A"));            // š Š
  EXPECT_TRUE(TextEqual("\xF8", "\xD8"));            // ø Ø
  EXPECT_FALSE(TextEqual("u", "\xFC"));              // accents still count
  EXPECT_FALSE(TextEqual("ab", "abc"));
}

TEST(Val, ReadsTheLeadingNumberOnly) {
  EXPECT_EQ(Val("58"), 58.0);
  EXPECT_EQ(Val("  -12.5abc"), -12.5);
  EXPECT_EQ(Val("1e3x"), 1000.0);
  EXPECT_EQ(Val("2D2"), 200.0);
  EXPECT_EQ(Val("12e"), 12.0);
  EXPECT_EQ(Val("abc"), 0.0);
  EXPECT_EQ(Val(""), 0.0);
  EXPECT_EQ(Val("."), 0.0);
  EXPECT_EQ(Val("1e999999"), 0.0);  // overflow is no number
}

TEST(Wildcard, StarQuestionMarkAndSets) {
  EXPECT_TRUE(Like("Deutschland", "Deu*"));
  EXPECT_TRUE(Like("Deutschland", "D?utschland"));
  EXPECT_TRUE(Like("Deutschland", "*land"));
  EXPECT_TRUE(Like("", "*"));
  EXPECT_FALSE(Like("", "?"));
  EXPECT_TRUE(Like("Muenchen", "M[uü]*"));
  EXPECT_TRUE(Like("b", "[a-c]"));
  EXPECT_FALSE(Like("d", "[a-c]"));
  EXPECT_TRUE(Like("d", "[!a-c]"));
  EXPECT_FALSE(Like("b", "[!abc]"));
  EXPECT_TRUE(Like("a-b", "a[-]b"));
}

TEST(Wildcard, WholeTextsAnyCaseUnclosedBracketAndHashLiteral) {
  EXPECT_TRUE(Like("M\xFCNCHEN", "m\xDCnchen"));
  EXPECT_TRUE(Like("M\xDCNCHEN", "M[u\xFC]NCHEN"));  // set members fold too
  EXPECT_FALSE(Like("Deutschlands", "Deutschland"));
  EXPECT_FALSE(Like("Deutschland", "eutsch"));
  EXPECT_TRUE(Like("a[b", "a[b"));
  EXPECT_TRUE(Like("#1", "#1"));
  EXPECT_FALSE(Like("11", "#1"));
  EXPECT_TRUE(Like("ab", "a[]b"));
}

TEST(Wildcard, FileNamePatternsIgnoreBrackets) {
  EXPECT_TRUE(WildcardPattern("[x].dao", false).Matches("[X].DAO"));
  EXPECT_FALSE(WildcardPattern("[x].dao", false).Matches("x.dao"));
}

TEST(Wildcard, MoreSetsThanSixteenBitsCountKeepTheirOwnMembers) {
  std::string pattern;
  for (int i = 0; i < 70000; ++i)
    pattern += "[a]";
  pattern += "[b]";  // set number 70,000: past what 16 bits can number
  const std::string text(70000, 'a');
  EXPECT_TRUE(Like(text + "b", pattern));
  EXPECT_FALSE(Like(text + "a", pattern));
}

TEST(Wildcard, ManyStarsStayFast) {
  const std::string text(5000, 'a');
  EXPECT_FALSE(Like(text, "*a*a*a*a*a*a*a*a*b"));
  EXPECT_TRUE(Like(text + "b", "*a*a*a*a*a*a*a*a*b"));
}

}  // namespace
}  // namespace tarv
