// Folded keys of place names, under which the name index finds a place
// however its name was typed.
//
// A name the atlas's letters can write, romanised where needed ("Москва" is
// "Moskva"), is keyed by NameKey below: ASCII letters and digits. A name in a
// script nothing romanises (Khmer "ភ្នំពេញ") is keyed by its own letters,
// folded (FoldedScriptText: NFKC, case): UTF-8 bytes, which no folded
// ASCII key holds, so the two kinds never meet.
//
// A key keeps the letters and digits of a Windows-1252 name, in lower case
// and without diacritics: case, accents (ã, ø, ş, ő as well as the search's
// accent classes, once transliterated into the code page), punctuation and
// blanks do not count. Ligatures and special letters are spelled out (æ "ae",
// œ "oe", ß "ss", þ "th"). NameKey("Sankt Pölten") is "sanktpolten".
#ifndef TARVPLACES_ATLAS_NAME_KEY_H_
#define TARVPLACES_ATLAS_NAME_KEY_H_

#include <string>
#include <string_view>
#include <vector>

namespace tarv {

// The folded key of a typed text or a name. Stands for the typed side: what
// a user types is folded once, by this rule.
std::string NameKey(std::string_view ansi);

// The keys a name is filed under: its NameKey and, when it holds ä, ö or ü,
// also the key of its German transcription (ä "ae", ö "oe", ü "ue"), so that
// "München" is found as "Munchen", "Muenchen" and "MÜNCHEN". One key when the
// two agree; none for a name without letters or digits.
std::vector<std::string> NameKeysOf(std::string_view ansi);

// Whether one of the keys a name is filed under (NameKeysOf `ansi`) is `key`,
// or with `prefix` begins with `key`; the same as searching NameKeysOf, but
// without building the keys.
bool NameKeysMatch(std::string_view ansi, std::string_view key, bool prefix);

// The key of a name typed in UTF-8, the one key a search asks for:
// NameKey of its romanisation, or where the code page cannot write it even
// romanised, its folded script text. "" for a text with no letter or digit
// or with a character that is part of no name (an emoji).
// TypedNameKey("München") is "munchen", TypedNameKey("عمّان") is "man".
std::string TypedNameKey(std::string_view utf8);

// The keys the builder files a place's UTF-8 name under: NameKeysOf its
// romanisation, or the folded script text, each a key TypedNameKey gives
// for the name as it is written. Empty where TypedNameKey is "".
std::vector<std::string> NameKeysOfText(std::string_view utf8);
// The same with the romanisation known already: `ansi` is AnsiFromUtf8(utf8).
std::vector<std::string> NameKeysOfText(std::string_view utf8, std::string_view ansi);

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_NAME_KEY_H_
