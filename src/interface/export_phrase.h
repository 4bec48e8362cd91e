// The pass phrase that guards classPlaces::Export. It is put together from
// character codes when needed and stored nowhere as a whole, so it does not
// show up in the strings of the binary.
#ifndef TARVPLACES_INTERFACE_EXPORT_PHRASE_H_
#define TARVPLACES_INTERFACE_EXPORT_PHRASE_H_

#include <array>
#include <string>

namespace tarv {

inline std::string ExportPassPhrase() {
  constexpr std::array<int, 9> kCodes = {84, 97, 114, 118, 38, 79, 114, 116, 101};
  std::string phrase;
  for (const int code : kCodes)
    phrase += static_cast<char>(code);
  return phrase;
}

}  // namespace tarv

#endif  // TARVPLACES_INTERFACE_EXPORT_PHRASE_H_
