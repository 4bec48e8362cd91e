#include "interface/search_text.h"

#include "text/codepage.h"

namespace tarv {

SearchText SearchOf(std::string_view utf8) {
  SearchText text{AnsiFromUtf8(utf8), std::nullopt};
  if (text.ansi.find(kUnmappable) != std::string::npos) {
    // No key at all (an emoji) asks the index nothing.
    text.query = NameQueryOfUtf8(utf8).value_or(NameQuery{});
  }
  return text;
}

}  // namespace tarv
