#include "atlas/name_match.h"

#include <algorithm>
#include <array>

#include "text/codepage.h"

namespace tarv {
namespace {

// One accent class: its base letter, the letters folded onto it (lower case;
// comparisons fold case), the class text of pattern form 1 and the index
// letter. The form-1 texts are kept byte for byte as hosts know them.
struct AccentClass {
  char base;
  std::string_view members;
  std::string_view form1;
  char index_letter;
};

constexpr std::array<AccentClass, 9> kAccentClasses = {{
    {'a', "a\xE2\xE4\xE0\xE5\xE6\xE1", "[a\xE2\xE4\xE0\xE5\xE6\xE5\xE1", 'A'},
    {'c', "c\xE7", "[c\xE7", 'C'},
    {'e', "e\xE9\xEA\xEB\xE8", "[e\xE9\xEA\xEB\xE8", 'E'},
    {'i', "i\xEF\xEE\xEC\xED", "[i\xEF\xEE\xEC\xED", 'I'},
    {'n', "n\xF1", "[n\xF1", 'N'},
    {'o', "o\xF2\xF4\xF6\xF3\xF5\xF8", "[o\xF2\xF4\xF6\xF3\xF5\xD8", 'O'},
    {'s', "s\x9A", "[s\x8A", 'S'},
    {'u', "u\xFC\xFB\xF9\xFA", "[u\xFC\xFB\xF9\xFA", 'U'},
    {'y', "y\xFF\xFD", "[y\xFF\xFD", 'Y'},
}};

// The class of every byte, looked up once: searches ask for it per letter.
const AccentClass* ClassOf(char c) {
  static const std::array<const AccentClass*, 256> classes = [] {
    std::array<const AccentClass*, 256> table{};
    for (int b = 0; b < 256; ++b) {
      const char lower = AnsiLower(static_cast<char>(b));
      for (const auto& k : kAccentClasses) {
        if (k.members.find(lower) != std::string_view::npos)
          table[static_cast<std::size_t>(b)] = &k;
      }
    }
    return table;
  }();
  return classes[static_cast<unsigned char>(c)];
}

bool IsAsciiLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// Letters of the code page beyond ASCII: they sort among the letters, so
// the letters-only form keeps them.
bool IsAccentedLetter(char c) {
  const auto b = static_cast<unsigned char>(c);
  // kUnmappable counts too, so that a character the code page could not
  // take never drops out of a comparison.
  return b == 0x81 || b == 0x8A || b == 0x8C || b == 0x8E || b == 0x9A || b == 0x9C || b == 0x9E ||
         b == 0x9F || (b >= 0xC0 && b != 0xD7 && b != 0xF7);
}

bool IsNameLetter(char c) {
  return IsAsciiLetter(c) || IsAccentedLetter(c);
}

// Compares the letters-only forms of two texts without building them.
bool LettersEqual(std::string_view a, std::string_view b) noexcept {
  std::size_t i = 0;
  std::size_t j = 0;
  for (;;) {
    while (i < a.size() && !IsNameLetter(a[i]))
      ++i;
    while (j < b.size() && !IsNameLetter(b[j]))
      ++j;
    if (i == a.size() || j == b.size()) return i == a.size() && j == b.size();
    if (AnsiUpper(a[i]) != AnsiUpper(b[j])) return false;
    ++i;
    ++j;
  }
}

std::string RemoveChars(std::string text, std::string_view chars) {
  std::erase_if(text, [chars](char c) { return chars.find(c) != std::string_view::npos; });
  return text;
}

}  // namespace

std::string GetSearchString(std::string_view text) {
  std::string pattern;
  if (!text.empty() && text.front() == ']') {
    bool wildcard_seen = false;
    for (const char c : text.substr(1)) {
      if (wildcard_seen) {
        pattern += c;
      } else if (const AccentClass* k = ClassOf(c)) {
        pattern += k->form1;
        pattern += AnsiLower(c);
        pattern += ']';
      } else {
        if (c == '*' || c == '?') wildcard_seen = true;
        pattern += c;
      }
    }
    return pattern;
  }
  for (const char c : text) {
    const AccentClass* k = ClassOf(c);
    if (k != nullptr && AnsiLower(c) != k->base) {
      pattern += '[';
      pattern += AnsiUpper(k->base);
      pattern += c;
      pattern += ']';
    } else {
      pattern += c;
    }
  }
  return pattern;
}

char FoldAccentClass(char c) noexcept {
  if (const AccentClass* k = ClassOf(c)) return AnsiUpper(k->base);
  return AnsiUpper(c);
}

char IndexLetter(std::string_view text) noexcept {
  if (text.empty()) return 'z';
  std::size_t at = 0;
  if (text[0] == '\'') at = (text.size() > 1 && text[1] == '[') ? 2 : 1;
  if (at >= text.size()) return 'Z';
  const char c = AnsiLower(text[at]);
  if (const AccentClass* k = ClassOf(c)) return k->index_letter;
  if (c >= 'a' && c <= 'z') return AnsiUpper(c);
  if (c == '_') return 'A';
  return 'Z';
}

std::string GetLetter(std::string_view text) {
  return std::string(1, IndexLetter(text));
}

std::string GetCleanString(std::string_view text) {
  std::string letters;
  AppendCleanString(text, letters);
  return letters;
}

void AppendCleanString(std::string_view text, std::string& out) {
  for (const char c : text) {
    if (IsNameLetter(c)) out += c;
  }
}

bool CitiesAreMatching(std::string_view a, std::string_view b) noexcept {
  return TextEqual(a, b) || LettersEqual(a, b);
}

NameTest::NameTest(std::string search, bool pattern_mode) : pattern_("") {
  if (pattern_mode) {
    mode_ = 1;
    text_ = std::move(search);
    pattern_ = WildcardPattern(RemoveChars(GetSearchString("]" + text_), " ().,"));
    const std::string letters = RemoveChars(text_, " ().,");
    if (!letters.empty() && std::all_of(letters.begin(), letters.end(), IsNameLetter)) {
      std::string key;
      for (const char c : letters)
        key += FoldAccentClass(c);
      class_key_ = std::move(key);
    }
  } else if (!search.empty() && search.back() == '*') {
    mode_ = 2;
    search.pop_back();
    text_ = std::move(search);
  } else {
    text_ = std::move(search);
  }
}

bool NameTest::MatchesField(std::string_view field) const {
  return CitiesAreMatching(field.substr(0, text_.size()), text_);
}

bool NameTest::Matches(const PlaceRecord& place) const {
  switch (mode_) {
    case 1:
      return MatchesLetters(GetCleanString(place.TrimmedName()));
    case 2:
      return MatchesField(place.NameField());
    default:
      return CitiesAreMatching(Trim(place.NameField()), text_);
  }
}

}  // namespace tarv
