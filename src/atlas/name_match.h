// How a typed name matches the names of place records: accent classes,
// search patterns, index letters and the letters-only form of names.
#ifndef TARVPLACES_ATLAS_NAME_MATCH_H_
#define TARVPLACES_ATLAS_NAME_MATCH_H_

#include <optional>
#include <string>
#include <string_view>

#include "atlas/place_record.h"
#include "util/text.h"

namespace tarv {

// The search pattern of a text. A text starting with "]" gives form 1 from
// its second character on: every letter of an accent class becomes the whole
// class plus itself in brackets ("u" and "ü" both become "[uüûùú" + the
// letter + "]"), until the first "*" or "?", after which everything is taken
// as typed. Any other text gives form 2: only accented letters are replaced,
// by "[" + the base letter in capitals + the letter + "]" ("é" becomes
// "[Eé]"). The class texts are kept as hosts know them (the a-class lists
// "å" twice, the o-class ends in "Ø", the s-class holds only "Š").
std::string GetSearchString(std::string_view text);

// A letter folded by its accent class: the class's base letter in capitals
// for its members ("ü", "Ú" and "u" give "U"), any other byte in capitals.
// Two letters match in a pattern search exactly when they fold alike.
char FoldAccentClass(char c) noexcept;

// The capital letter whose index run holds a search text: the first
// character, or the second after an apostrophe (the third when that is "["),
// mapped through the accent classes ("ü" gives "U"); "_" gives "A", a digit
// or any other sign "Z", and an empty text "z".
std::string GetLetter(std::string_view text);
// The same letter as a character, for the hot paths.
char IndexLetter(std::string_view text) noexcept;

// The letters of `text` in their order, accented ones included; blanks,
// digits, hyphens, apostrophes, full stops and other signs dropped:
// GetCleanString("St. Gallen") is "StGallen".
std::string GetCleanString(std::string_view text);
// The same letters appended to `out`, for readers that keep many of them.
void AppendCleanString(std::string_view text, std::string& out);

// True when two names are the same place name: equal without regard to
// case, or equal in their letters only ("St. Gallen" and "St Gallen").
bool CitiesAreMatching(std::string_view a, std::string_view b) noexcept;

// The name test a search applies to each record of an index run.
class NameTest {
 public:
  // `search` is the prepared search text (trimmed, trailing full stops
  // handled). With `pattern_mode` the test is mode 1; otherwise a trailing
  // "*" (removed) gives mode 2 and anything else mode 0.
  NameTest(std::string search, bool pattern_mode);

  int mode() const { return mode_; }
  // Modes 0 and 2 find nothing for an empty text.
  bool FindsNothing() const { return mode_ != 1 && text_.empty(); }
  // The text whose first letter selects the index run.
  const std::string& LetterText() const { return text_; }
  bool Matches(const PlaceRecord& place) const;
  // Mode 1 on a name's letters-only form; mode 2 on a 28-byte name field.
  bool MatchesLetters(std::string_view letters) const { return pattern_.Matches(letters); }
  bool MatchesField(std::string_view field) const;
  // In mode 1, for a text of name letters only (no wildcard, set, digit or
  // sign), the letters folded by accent class: a name matches exactly when
  // its letters-only form folds to this. nullopt otherwise.
  const std::optional<std::string>& ClassFoldedKey() const { return class_key_; }

 private:
  int mode_ = 0;
  std::string text_;
  WildcardPattern pattern_;
  std::optional<std::string> class_key_;
};

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_NAME_MATCH_H_
