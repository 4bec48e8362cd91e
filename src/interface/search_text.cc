#include "interface/search_text.h"

#include "text/codepage.h"

namespace tarv {

SearchText SearchOf(std::string_view utf8) {
  // An empty query asks the name index nothing, and no name is empty.
  if (Utf8Length(utf8) > kMaxTextCharacters) return {std::string(), NameQuery{}};
  SearchText text{AnsiFromUtf8(utf8), std::nullopt};
  if (text.ansi.find(kUnmappable) != std::string::npos) {
    // No key at all (an emoji) asks the index nothing.
    text.query = NameQueryOfUtf8(utf8).value_or(NameQuery{});
  }
  return text;
}

}  // namespace tarv
