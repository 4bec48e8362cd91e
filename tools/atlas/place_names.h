// The names the atlas gives GeoNames places: Windows-1252, at most 28
// characters, and for large cities whose GeoNames name is an exonym the
// local and other Latin-script names as further records.
#ifndef TARVPLACES_TOOLS_ATLAS_PLACE_NAMES_H_
#define TARVPLACES_TOOLS_ATLAS_PLACE_NAMES_H_

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "atlas/geonames.h"

namespace tarv::atlas {

inline constexpr std::size_t kNameWidth = 28;

// Cuts a Windows-1252 name to 28 characters: at the last blank, hyphen or
// comma that keeps at least 16 characters, else hard at 28; trailing blanks,
// hyphens and commas are dropped. "Sankt Georgen an der Stiefing" (29)
// becomes "Sankt Georgen an der".
std::string CutName(std::string name);

// The place's name in Windows-1252 (its ASCII name when the name holds
// characters the code page lacks), cut to 28 characters; "" when neither
// has a character.
std::string AtlasName(const GeoPlace& place);

// Which alternate names of a large city the atlas lists besides its main
// name. A name qualifies when it can be written in Windows-1252, starts with
// a capital letter, has at least three letters, no digits, no brackets,
// slashes, commas or semicolons, is not written in capitals throughout (codes
// such as "MUC"), fits 28 characters and differs from the main and ASCII
// names. The qualifying names are ranked, most local first: the name that
// transliterates one of the city's Cyrillic names (where the country writes
// Cyrillic), then names used as a word in other place names of the same
// country, then by how typical their letter sequences are of the country's
// place names and how untypical of all others. The first `cap` are kept.
class AliasChooser {
 public:
  // Learns the country's letter sequences and words from all places.
  explicit AliasChooser(const std::vector<GeoPlace>& places);
  std::vector<std::string> Aliases(const GeoPlace& city, std::size_t cap) const;

 private:
  double Typicality(const std::string& country, const std::string& name) const;

  std::map<std::string, std::map<std::string, int>> trigrams_;  // country -> trigram -> count
  std::map<std::string, int> trigram_totals_;
  std::map<std::string, std::map<std::string, int>> words_;  // country -> lower-case word -> places
};

// BGN/PCGN romanisation of Russian Cyrillic (UTF-8 in, ASCII out), e.g.
// "Москва" gives "Moskva"; characters outside the Cyrillic block stay.
std::string RomanizeCyrillic(std::string_view utf8);

}  // namespace tarv::atlas

#endif  // TARVPLACES_TOOLS_ATLAS_PLACE_NAMES_H_
