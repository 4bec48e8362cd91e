// Search texts: the accent-folding pattern of arbitrary text, the wildcard
// match against names from the input, and the name tests of a search.
//
// Input: lines; the first is the search text, the others are names.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "atlas/name_match.h"
#include "atlas/place_search.h"
#include "fuzz_support.h"
#include "text/codepage.h"
#include "util/text.h"

namespace {

using namespace tarv;

// A plain dynamic-programming matcher for patterns of "*", "?" and single
// characters, to hold the backtracking matcher against.
bool ReferenceMatch(std::string_view text, std::string_view pattern) {
  // matches[j]: the text read so far matches pattern[0, j).
  std::vector<bool> matches(pattern.size() + 1, false);
  matches[0] = true;
  for (std::size_t j = 0; j < pattern.size() && pattern[j] == '*'; ++j)
    matches[j + 1] = true;
  for (const char c : text) {
    std::vector<bool> next(pattern.size() + 1, false);
    for (std::size_t j = 0; j < pattern.size(); ++j) {
      if (pattern[j] == '*') {
        next[j + 1] = next[j] || matches[j + 1] || matches[j];
      } else if (matches[j] && (pattern[j] == '?' || AnsiUpper(pattern[j]) == AnsiUpper(c))) {
        next[j + 1] = true;
      }
    }
    matches = std::move(next);
  }
  return matches[pattern.size()];
}

PlaceRecord PlaceNamed(std::string_view name) {
  PlaceRecord place;
  place.SetName(name);
  return place;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto lines = fuzz::Lines(std::string_view(reinterpret_cast<const char*>(data), size));
  const std::string search = lines.empty() ? std::string() : std::string(lines[0]);
  const std::vector<std::string_view> names(lines.begin() + (lines.empty() ? 0 : 1), lines.end());

  // Both pattern forms match the text they were made from, unless the text
  // itself holds a set of brackets (or asks for the folding form by its
  // leading "]").
  const std::string typed = GetSearchString(search);
  const std::string folding = GetSearchString("]" + search);
  if (search.find('[') == std::string::npos) {
    if (!search.starts_with(']')) FUZZ_CHECK(WildcardPattern(typed).Matches(search));
    FUZZ_CHECK(WildcardPattern(folding).Matches(search));
  }
  const std::string letter = GetLetter(search);
  FUZZ_CHECK(letter == "z" || (letter.size() == 1 && letter[0] >= 'A' && letter[0] <= 'Z'));
  FUZZ_CHECK(CitiesAreMatching(search, search));

  const WildcardPattern pattern(search);
  const WildcardPattern file_pattern(search, false);
  const NameTest whole(search, false);
  const NameTest accents(search, true);
  for (std::size_t i = 0; i < names.size() && i < 16; ++i) {
    const std::string_view name = names[i];
    const bool matches = pattern.Matches(name);
    FUZZ_CHECK(file_pattern.Matches(name) == ReferenceMatch(name, search));
    if (search.find('[') == std::string::npos) FUZZ_CHECK(matches == ReferenceMatch(name, search));
    FUZZ_CHECK(CitiesAreMatching(search, name) == CitiesAreMatching(name, search));
    const PlaceRecord place = PlaceNamed(name);
    whole.Matches(place);
    accents.Matches(place);
    WildcardPattern(GetSearchString(name)).Matches(search);
  }
  return 0;
}
