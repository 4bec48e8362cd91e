// Conversion between the host's UTF-8 and the atlas files' Windows-1252.
//
// Inside the component every text that comes from or goes to an atlas file is
// kept as Windows-1252 bytes ("ANSI text"): fixed field widths count bytes,
// case folding and accent classes work on single bytes, and comparisons stay
// cheap. Host strings are UTF-8. The public class, the dialogs, the tool and
// the atlas builder convert with these functions and nowhere else.
//
// The code page holds the letters of western European languages only, so
// text going into it is transliterated (ICU): letters the code page holds
// stay as they are ("ó", "ü", "é"), other Latin letters lose what the code
// page lacks ("Ł" to "L", "ň" to "n", "ș" to "s", "İ" to "I"), and other
// scripts are romanised (Russian, Ukrainian and other Cyrillic by BGN/PCGN,
// Greek by UNGEGN, everything else by ICU's Any-Latin: Arabic, Hebrew, Han,
// Kana, Hangul, Devanagari, ...). Format characters (right-to-left marks,
// zero-width joiners, byte-order marks) are dropped, and so are the modifier
// letters a romanisation leaves for sounds Latin has no letter for (the ʿ and
// ʾ of Arabic's ain and hamza). Only the characters the
// code page lacks are transliterated, and a romanisation never yields a
// wildcard ("＊" and "؟" count as unmappable). A character that nothing
// can be made of (an emoji, a private-use character, a byte that is not
// UTF-8) becomes kUnmappable, which no name contains and no search takes as a
// wildcard, so a search for such a text finds nothing.
#ifndef TARVPLACES_TEXT_CODEPAGE_H_
#define TARVPLACES_TEXT_CODEPAGE_H_

#include <cstdint>
#include <string>
#include <string_view>

namespace tarv {

// Stands for a character that cannot be written in the code page. The byte is
// undefined in Windows-1252, so no atlas name holds it; name comparisons
// count it as a letter, so it never vanishes from a comparison either.
inline constexpr char kUnmappable = '\x81';

// Windows-1252 bytes to UTF-8. Every byte maps to one code point; the five
// bytes the code page leaves undefined (0x81, 0x8D, 0x8F, 0x90, 0x9D) map to
// the C1 controls of the same value, so the conversion is lossless.
std::string Utf8FromAnsi(std::string_view ansi);

// UTF-8 to Windows-1252, transliterated as described above:
// AnsiFromUtf8("Łódź") is "Lódz", AnsiFromUtf8("Москва") is "Moskva",
// AnsiFromUtf8("Αθήνα") is "Athína". Decomposed accents are composed first.
// Unmappable characters and malformed UTF-8 give kUnmappable.
std::string AnsiFromUtf8(std::string_view utf8);

// True when AnsiFromUtf8 can write every character of `utf8`, so that the
// result holds no kUnmappable.
bool IsTransliterable(std::string_view utf8);

// A name in a script ICU has no romanisation for (Khmer, Lao, Sinhala,
// Tibetan, ...) as the name index files it: NFKC, case folded, its letters,
// marks and digits only (blanks and punctuation dropped), UTF-8. "" when the
// text holds a character that is part of no name: a symbol (an emoji), a
// control or private-use character, a byte that is not UTF-8.
std::string FoldedScriptText(std::string_view utf8);

// The 1-based position of the first character of `utf8` that is part of no
// name (see FoldedScriptText) and that the code page cannot write either,
// and its code point (-1 for a byte that is not UTF-8); position 0 when there
// is none.
struct NonNameCharacter {
  std::size_t position = 0;
  std::int32_t code_point = 0;
};
NonNameCharacter FirstNonNameCharacter(std::string_view utf8);

// True when every code point of the UTF-8 text exists in Windows-1252 as it
// stands (nothing to transliterate).
bool IsAnsiRepresentable(std::string_view utf8);

// The text as someone types it without accents: the combining marks of its
// Latin and Greek letters dropped ("Mérida" gives "Merida", "Αθήνα" gives
// "Αθηνα", "Łódź" gives "Łodz": letters such as "Ł" and "ø" have no
// decomposition and stay). Other scripts keep their marks, which are vowels
// there. UTF-8 in and out.
std::string Utf8WithoutDiacritics(std::string_view utf8);

// The first `max_chars` characters of a UTF-8 text, never cutting one in two
// (malformed bytes count as one character each).
std::string_view Utf8Prefix(std::string_view utf8, std::size_t max_chars);

// The number of characters (code points) of a UTF-8 text.
std::size_t Utf8Length(std::string_view utf8);

// Case mapping of single Windows-1252 bytes: a-z, the accented letters
// 0xE0-0xFE (except the division sign 0xF7) and the pairs š/Š, œ/Œ, ž/Ž, ÿ/Ÿ.
// ß (0xDF) and µ (0xB5) have no single-byte capital and stay as they are.
// Inline: the searches fold every byte they compare.
namespace codepage_internal {
struct CaseTables {
  char upper[256];
  char lower[256];
};
constexpr CaseTables MakeCaseTables() {
  CaseTables t{};
  for (int i = 0; i < 256; ++i) {
    t.upper[i] = static_cast<char>(i);
    t.lower[i] = static_cast<char>(i);
  }
  auto pair = [&t](int lower, int upper) {
    t.upper[lower] = static_cast<char>(upper);
    t.lower[upper] = static_cast<char>(lower);
  };
  for (int c = 'a'; c <= 'z'; ++c)
    pair(c, c - 32);
  for (int c = 0xE0; c <= 0xFE; ++c) {
    if (c != 0xF7) pair(c, c - 32);
  }
  pair(0x9A, 0x8A);  // š Š
  pair(0x9C, 0x8C);  // œ Œ
  pair(0x9E, 0x8E);  // ž Ž
  pair(0xFF, 0x9F);  // ÿ Ÿ
  return t;
}
inline constexpr CaseTables kCase = MakeCaseTables();
}  // namespace codepage_internal

inline char AnsiUpper(char c) noexcept {
  return codepage_internal::kCase.upper[static_cast<unsigned char>(c)];
}
inline char AnsiLower(char c) noexcept {
  return codepage_internal::kCase.lower[static_cast<unsigned char>(c)];
}

}  // namespace tarv

#endif  // TARVPLACES_TEXT_CODEPAGE_H_
