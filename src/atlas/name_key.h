// Folded keys of place names, under which the name index finds a place
// however its name was typed.
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

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_NAME_KEY_H_
