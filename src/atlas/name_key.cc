#include "atlas/name_key.h"

#include <array>

#include "text/codepage.h"

namespace tarv {
namespace {

// What each Windows-1252 byte contributes to a key: "" for blanks,
// punctuation and other signs, the folded letters otherwise.
using FoldTable = std::array<std::string_view, 256>;

constexpr FoldTable MakeFoldTable(bool german) {
  FoldTable t{};
  constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz";
  constexpr std::string_view kDigits = "0123456789";
  for (std::size_t i = 0; i < 26; ++i) {
    t['a' + i] = kLetters.substr(i, 1);
    t['A' + i] = kLetters.substr(i, 1);
  }
  for (std::size_t i = 0; i < 10; ++i)
    t['0' + i] = kDigits.substr(i, 1);
  // 0xC0-0xFF in pairs of capital and small letter (0xD7 and 0xF7 are signs).
  constexpr std::string_view kLatin1[32] = {"a", "a", "a", "a", "a", "a", "ae", "c", "e",  "e", "e",
                                            "e", "i", "i", "i", "i", "d", "n",  "o", "o",  "o", "o",
                                            "o", "",  "o", "u", "u", "u", "u",  "y", "th", "ss"};
  for (std::size_t i = 0; i < 32; ++i) {
    t[0xC0 + i] = kLatin1[i];
    t[0xE0 + i] = kLatin1[i];
  }
  t[0xF7] = "";      // division sign
  t[0xFF] = "y";     // ÿ
  t[0x8A] = "s";     // Š
  t[0x9A] = "s";     // š
  t[0x8E] = "z";     // Ž
  t[0x9E] = "z";     // ž
  t[0x8C] = "oe";    // Œ
  t[0x9C] = "oe";    // œ
  t[0x9F] = "y";     // Ÿ
  t[0x83] = "f";     // ƒ
  t[0x81] = "\x81";  // an unmappable character matches nothing
  if (german) {
    t[0xC4] = t[0xE4] = "ae";
    t[0xD6] = t[0xF6] = "oe";
    t[0xDC] = t[0xFC] = "ue";
  }
  return t;
}

constexpr FoldTable kFold = MakeFoldTable(false);
constexpr FoldTable kGermanFold = MakeFoldTable(true);

std::string Fold(std::string_view ansi, const FoldTable& table) {
  std::string key;
  key.reserve(ansi.size());
  for (const char c : ansi)
    key += table[static_cast<unsigned char>(c)];
  return key;
}

bool HasUmlaut(std::string_view ansi) {
  for (const char c : ansi) {
    switch (static_cast<unsigned char>(c)) {
      case 0xC4:
      case 0xE4:
      case 0xD6:
      case 0xF6:
      case 0xDC:
      case 0xFC:
        return true;
      default:
        break;
    }
  }
  return false;
}

// Whether the key of `ansi` folded by `table` is `key` (or begins with it).
bool FoldMatches(std::string_view ansi, const FoldTable& table, std::string_view key, bool prefix) {
  std::size_t at = 0;
  for (const char c : ansi) {
    const std::string_view piece = table[static_cast<unsigned char>(c)];
    for (const char k : piece) {
      if (at == key.size()) return prefix;
      if (key[at++] != k) return false;
    }
  }
  return at == key.size();
}

}  // namespace

bool NameKeysMatch(std::string_view ansi, std::string_view key, bool prefix) {
  // An empty key is no key: a name without letters or digits has none.
  if (key.empty()) return false;
  return FoldMatches(ansi, kFold, key, prefix) ||
         (HasUmlaut(ansi) && FoldMatches(ansi, kGermanFold, key, prefix));
}

std::string NameKey(std::string_view ansi) {
  return Fold(ansi, kFold);
}

std::vector<std::string> NameKeysOf(std::string_view ansi) {
  std::vector<std::string> keys;
  std::string key = NameKey(ansi);
  if (key.empty()) return keys;
  keys.push_back(std::move(key));
  if (HasUmlaut(ansi)) keys.push_back(Fold(ansi, kGermanFold));
  return keys;
}

std::string TypedNameKey(std::string_view utf8) {
  // A symbol some romanisation would still spell (a CJK radical) is no
  // letter of a name either.
  if (FirstNonNameCharacter(utf8).position != 0) return {};
  const std::string ansi = AnsiFromUtf8(utf8);
  if (ansi.find(kUnmappable) == std::string::npos) return NameKey(ansi);
  return FoldedScriptText(utf8);
}

std::vector<std::string> NameKeysOfText(std::string_view utf8) {
  return NameKeysOfText(utf8, AnsiFromUtf8(utf8));
}

std::vector<std::string> NameKeysOfText(std::string_view utf8, std::string_view ansi) {
  if (FirstNonNameCharacter(utf8).position != 0) return {};
  if (ansi.find(kUnmappable) == std::string::npos) return NameKeysOf(ansi);
  std::string key = FoldedScriptText(utf8);
  if (key.empty()) return {};
  return {std::move(key)};
}

}  // namespace tarv
