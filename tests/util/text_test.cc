#include "util/text.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace tarv {
namespace {

const std::string kNul(1, '\0');

// Another character gives "" where it does not occur.
TEST(Trim, BlanksFromBothEndsOtherCharactersCutAtTheFirst) {
  EXPECT_EQ(std::tuple(Trim("  München  "), Trim("\tA\t "), Trim("    ")),
            std::tuple("München", "\tA\t", ""));
  EXPECT_EQ(std::tuple(Trim("ab" + kNul + "x" + kNul, kNul), Trim(kNul + "ab", kNul),
                       Trim("abc", kNul), Trim("a;b", ";")),
            std::tuple("ab", "", "", "a"));
}

TEST(PathPieces, PraeCutsAtTheLastDotPraePostAfterBackslashThenColon) {
  EXPECT_EQ(std::tuple(Get_Prae("D.dao"), Get_Prae("a.b.c"), Get_Prae("EUROPA")),
            std::tuple("D", "a.b", "EUROPA"));
  EXPECT_EQ(std::tuple(Get_PraePost("C:\\Atlas\\D.dao"), Get_PraePost("C:file.dat"),
                       Get_PraePost("file.dat"), Get_PraePost("C:\\a:b\\c")),
            std::tuple("D.dao", "file.dat", "file.dat", "c"));
}

// Accents still count: u is not ü.
TEST(TextEqual, IgnoresCaseOfWindows1252Letters) {
  for (const auto& [a, b, equal] :
       {std::tuple("\xFC", "\xDC", true), std::tuple("\xE9t\xE9", "\xC9T\xC9", true),
        std::tuple("\x9A", "\x8A", true), std::tuple("\xF8", "\xD8", true),
        std::tuple("u", "\xFC", false), std::tuple("ab", "abc", false)})
    EXPECT_EQ(TextEqual(a, b), equal) << a << " " << b;
}

// Overflow is no number.
TEST(Val, ReadsTheLeadingNumberOnly) {
  const std::pair<const char*, double> kCases[] = {
      {"58", 58.0},      {"  -12.5abc", -12.5}, {"1e3x", 1000.0}, {"2D2", 200.0},
      {"12e", 12.0},     {"abc", 0.0},          {"", 0.0},        {".", 0.0},
      {"1e999999", 0.0},
  };
  for (const auto& [text, value] : kCases)
    EXPECT_EQ(Val(text), value) << text;
}

TEST(Wildcard, StarQuestionMarkAndSets) {
  EXPECT_EQ(std::tuple(Like("Deutschland", "Deu*"), Like("Deutschland", "D?utschland"),
                       Like("Deutschland", "*land"), Like("", "*"), Like("", "?")),
            std::tuple(true, true, true, true, false));
  EXPECT_EQ(std::tuple(Like("Muenchen", "M[uü]*"), Like("b", "[a-c]"), Like("d", "[a-c]"),
                       Like("d", "[!a-c]"), Like("b", "[!abc]"), Like("a-b", "a[-]b")),
            std::tuple(true, true, false, true, false, true));
}

// Set members fold too; an unclosed bracket and "#" are literal.
TEST(Wildcard, WholeTextsAnyCaseUnclosedBracketAndHashLiteral) {
  EXPECT_EQ(std::tuple(Like("M\xFCNCHEN", "m\xDCnchen"), Like("M\xDCNCHEN", "M[u\xFC]NCHEN"),
                       Like("Deutschlands", "Deutschland"), Like("Deutschland", "eutsch")),
            std::tuple(true, true, false, false));
  EXPECT_EQ(std::tuple(Like("a[b", "a[b"), Like("#1", "#1"), Like("11", "#1"), Like("ab", "a[]b")),
            std::tuple(true, true, false, true));
}

TEST(Wildcard, FileNamePatternsIgnoreBrackets) {
  const WildcardPattern files("[x].dao", false);
  EXPECT_EQ(std::tuple(files.Matches("[X].DAO"), files.Matches("x.dao")), std::tuple(true, false));
}

TEST(Wildcard, MoreSetsThanSixteenBitsCountKeepTheirOwnMembers) {
  std::string pattern;
  for (int i = 0; i < 70000; ++i)
    pattern += "[a]";
  pattern += "[b]";  // set number 70,000: past what 16 bits can number
  const std::string text(70000, 'a');
  EXPECT_EQ(std::tuple(Like(text + "b", pattern), Like(text + "a", pattern)),
            std::tuple(true, false));
}

TEST(Wildcard, ManyStarsStayFast) {
  const std::string text(5000, 'a');
  EXPECT_EQ(std::tuple(Like(text, "*a*a*a*a*a*a*a*a*b"), Like(text + "b", "*a*a*a*a*a*a*a*a*b")),
            std::tuple(false, true));
}

}  // namespace
}  // namespace tarv
