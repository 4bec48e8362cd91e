// A name or pattern a host typed, as the searches take it.
#ifndef TARVPLACES_INTERFACE_SEARCH_TEXT_H_
#define TARVPLACES_INTERFACE_SEARCH_TEXT_H_

#include <optional>
#include <string>
#include <string_view>

#include "atlas/name_index.h"

namespace tarv {

// The text in the atlas's letters and, where even a romanisation cannot
// write it there (Khmer, Lao, Sinhala), the name index query of the text as
// typed, so that such a name is still found by the other names the index
// files in its script.
struct SearchText {
  std::string ansi;
  std::optional<NameQuery> query;
  const NameQuery* Query() const { return query ? &*query : nullptr; }
};

// The longest text a host may search for or name a place or country with:
// no name anyone types is longer, and a search's work grows with its text.
inline constexpr std::size_t kMaxTextCharacters = 256;

// A text longer than kMaxTextCharacters finds nothing, at once (the typed
// interfaces refuse it before they search).
SearchText SearchOf(std::string_view utf8);

}  // namespace tarv

#endif  // TARVPLACES_INTERFACE_SEARCH_TEXT_H_
