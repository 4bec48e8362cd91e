// Text helpers for Windows-1252 ("ANSI") text: trimming, cutting, case-free
// comparison, the wildcard match and the leading-number reader.
#ifndef TARVPLACES_UTIL_TEXT_H_
#define TARVPLACES_UTIL_TEXT_H_

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarv {

// With `trim_char` a single blank: `s` without leading and trailing blanks
// (tabs and NULs stay). With any other text: the part of `s` before the first
// occurrence of `trim_char`, and "" when it does not occur at all, e.g.
// Trim("ab\0x", "\0") is "ab" and Trim("abc", "\0") is "". Every reader of
// C-style fixed-length fields relies on that last rule.
std::string Trim(std::string_view s, std::string_view trim_char = " ");

// The part of `s` before its last "."; `s` itself without a ".". Spelled
// without the umlaut of the classic name Get_Prä, which not every tool in the
// build accepts in identifiers.
std::string Get_Prae(std::string_view s);

// The part of `s` after the last "\", else after the last ":", else `s`:
// Get_PraePost("C:file.dat") is "file.dat". Classic name Get_PräPost.
std::string Get_PraePost(std::string_view s);

// Upper and lower case of Windows-1252 text (see AnsiUpper).
std::string UCase(std::string_view s);
std::string LCase(std::string_view s);

// Equality without regard to case, for Windows-1252 letters: "ü" equals "Ü",
// "š" equals "Š", "ø" equals "Ø".
bool TextEqual(std::string_view a, std::string_view b) noexcept;

// True when `s` contains `part` without regard to case.
bool TextContains(std::string_view s, std::string_view part) noexcept;

// True when `s` holds a control character (bytes 0 to 31 and 127: NUL, TAB,
// CR, LF, ...), which no code or file name may hold.
bool HasControlCharacter(std::string_view s) noexcept;

// The classic Val: the number at the start of `s` after leading blanks, tabs
// and line feeds (sign, digits, one decimal point, an exponent with E or D);
// 0 when there is none. Val("12.5abc") is 12.5, Val("x1") is 0.
double Val(std::string_view s) noexcept;

// The pieces of `text` between the separators, empty pieces included:
// Split("a\t\tb", '\t') is {"a", "", "b"}; Split("", ',') is {""}.
std::vector<std::string_view> Split(std::string_view text, char separator);

// The lines of a text ended by CR LF (LF or CR alone too); a final line
// break starts no further line. SplitLines("a\r\nb\n") is {"a", "b"}.
std::vector<std::string_view> SplitLines(std::string_view text);

// `s` without the blanks at its end (leading blanks stay).
std::string TrimRight(std::string_view s);

// Reads a whole decimal integer (optional minus sign, nothing else); false
// for an empty text, other characters, or a number that does not fit.
bool ParseInt(std::string_view text, int& value) noexcept;

// A compiled wildcard pattern, matched against whole texts without regard to
// case. "*" matches any run (also empty), "?" exactly one character, "[abc]"
// one character of the set, "[a-z]" one of a range, "[!abc]" one character
// not in the set; "[]" matches nothing and is skipped. A "[" without its
// closing "]" stands for itself, as do all other characters ("#" included).
// With `sets` false only "*" and "?" are special (file-name patterns).
class WildcardPattern {
 public:
  explicit WildcardPattern(std::string_view pattern, bool sets = true);
  bool Matches(std::string_view text) const noexcept;

 private:
  enum class Kind : std::uint8_t { kChar, kAny, kStar, kSet };
  struct Token {
    Kind kind;
    char folded;              // kChar: the upper-cased character
    std::uint32_t set_index;  // kSet: index into sets_
  };
  bool TokenMatches(const Token& token, char c) const noexcept;

  std::vector<Token> tokens_;
  std::vector<std::array<bool, 256>> sets_;
};

// Like(text, pattern): WildcardPattern(pattern).Matches(text).
bool Like(std::string_view text, std::string_view pattern);

}  // namespace tarv

#endif  // TARVPLACES_UTIL_TEXT_H_
