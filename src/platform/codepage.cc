#include "platform/codepage.h"

#include <array>
#include <cstdint>
#include <optional>

namespace tarv {
namespace {

// Code points of the bytes 0x80 to 0x9F; the rest of the code page equals
// Latin-1. Undefined bytes keep their own value (a C1 control).
constexpr std::array<char32_t, 32> kHighControls = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,  // 80-87
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,  // 88-8F
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  // 90-97
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,  // 98-9F
};

constexpr char kDefaultChar = '?';

char32_t CodePointOfByte(unsigned char byte) {
  if (byte >= 0x80 && byte <= 0x9F) return kHighControls[byte - 0x80];
  return byte;
}

std::optional<unsigned char> ByteOfCodePoint(char32_t cp) {
  if (cp < 0x80 || (cp >= 0xA0 && cp <= 0xFF)) return static_cast<unsigned char>(cp);
  for (std::size_t i = 0; i < kHighControls.size(); ++i) {
    if (kHighControls[i] == cp) return static_cast<unsigned char>(0x80 + i);
  }
  return std::nullopt;
}

void AppendUtf8(std::string& out, char32_t cp) {
  if (cp < 0x80) {
    out.push_back(static_cast<char>(cp));
  } else if (cp < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  }
}

// Decodes one UTF-8 sequence at `pos`; advances `pos`. Returns nullopt for a
// malformed sequence after consuming exactly one byte.
std::optional<char32_t> DecodeUtf8(std::string_view s, std::size_t& pos) {
  const auto lead = static_cast<unsigned char>(s[pos]);
  std::size_t length = 0;
  char32_t cp = 0;
  char32_t min = 0;
  if (lead < 0x80) {
    ++pos;
    return lead;
  } else if ((lead & 0xE0) == 0xC0) {
    length = 2, cp = lead & 0x1F, min = 0x80;
  } else if ((lead & 0xF0) == 0xE0) {
    length = 3, cp = lead & 0x0F, min = 0x800;
  } else if ((lead & 0xF8) == 0xF0) {
    length = 4, cp = lead & 0x07, min = 0x10000;
  } else {
    ++pos;
    return std::nullopt;
  }
  if (pos + length > s.size()) {
    ++pos;
    return std::nullopt;
  }
  for (std::size_t i = 1; i < length; ++i) {
    const auto next = static_cast<unsigned char>(s[pos + i]);
    if ((next & 0xC0) != 0x80) {
      ++pos;
      return std::nullopt;
    }
    cp = (cp << 6) | (next & 0x3F);
  }
  if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
    ++pos;
    return std::nullopt;
  }
  pos += length;
  return cp;
}

struct CaseTables {
  std::array<char, 256> upper{};
  std::array<char, 256> lower{};
};

constexpr CaseTables MakeCaseTables() {
  CaseTables t;
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

constexpr CaseTables kCase = MakeCaseTables();

}  // namespace

char AnsiUpper(char c) noexcept {
  return kCase.upper[static_cast<unsigned char>(c)];
}
char AnsiLower(char c) noexcept {
  return kCase.lower[static_cast<unsigned char>(c)];
}

std::string Utf8FromAnsi(std::string_view ansi) {
  std::string out;
  out.reserve(ansi.size() + ansi.size() / 4);
  for (const char c : ansi)
    AppendUtf8(out, CodePointOfByte(static_cast<unsigned char>(c)));
  return out;
}

std::string AnsiFromUtf8(std::string_view utf8) {
  std::string out;
  out.reserve(utf8.size());
  std::size_t pos = 0;
  while (pos < utf8.size()) {
    const auto cp = DecodeUtf8(utf8, pos);
    const auto byte = cp ? ByteOfCodePoint(*cp) : std::nullopt;
    out.push_back(byte ? static_cast<char>(*byte) : kDefaultChar);
  }
  return out;
}

bool IsAnsiRepresentable(std::string_view utf8) {
  std::size_t pos = 0;
  while (pos < utf8.size()) {
    const auto cp = DecodeUtf8(utf8, pos);
    if (!cp || !ByteOfCodePoint(*cp)) return false;
  }
  return true;
}

}  // namespace tarv
