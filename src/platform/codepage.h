// Conversion between the host's UTF-8 and the atlas files' Windows-1252.
//
// Inside the component every text that comes from or goes to an atlas file is
// kept as Windows-1252 bytes ("ANSI text"): fixed field widths count bytes,
// case folding and accent classes work on single bytes, and comparisons stay
// cheap. Host strings are UTF-8. The public class converts at its boundary
// with these two functions and nowhere else.
#ifndef TARVPLACES_PLATFORM_CODEPAGE_H_
#define TARVPLACES_PLATFORM_CODEPAGE_H_

#include <string>
#include <string_view>

namespace tarv {

// Windows-1252 bytes to UTF-8. Every byte maps to one code point; the five
// bytes the code page leaves undefined (0x81, 0x8D, 0x8F, 0x90, 0x9D) map to
// the C1 controls of the same value, so the conversion is lossless.
std::string Utf8FromAnsi(std::string_view ansi);

// UTF-8 to Windows-1252. A code point the code page cannot hold, and every
// byte of a malformed UTF-8 sequence, becomes "?" (the code page's default
// character), so the result always has one byte per decoded character.
std::string AnsiFromUtf8(std::string_view utf8);

// True when every code point of the UTF-8 text exists in Windows-1252.
bool IsAnsiRepresentable(std::string_view utf8);

// Case mapping of single Windows-1252 bytes: a-z, the accented letters
// 0xE0-0xFE (except the division sign 0xF7) and the pairs š/Š, œ/Œ, ž/Ž, ÿ/Ÿ.
// ß (0xDF) and µ (0xB5) have no single-byte capital and stay as they are.
char AnsiUpper(char c) noexcept;
char AnsiLower(char c) noexcept;

}  // namespace tarv

#endif  // TARVPLACES_PLATFORM_CODEPAGE_H_
