// Which atlas file a GeoNames place goes to, and the continent of each
// country: data/atlas_codes.tsv and data/us_states.tsv.
#ifndef TARVPLACES_TOOLS_ATLAS_ATLAS_CODES_H_
#define TARVPLACES_TOOLS_ATLAS_ATLAS_CODES_H_

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "atlas/geonames.h"

namespace tarv::atlas {

// The atlas file a GeoNames place goes to: the code data/atlas_codes.tsv
// gives its country ("RU" is "SSR"; the country's own code where the table
// has none), "US" and the state for the 50 states and DC, "" for other places
// of the USA.
class AtlasCodes {
 public:
  // Reads atlas_codes.tsv and us_states.tsv from the project's data folder.
  explicit AtlasCodes(const std::string& data_folder);
  std::string Of(const GeoPlace& place) const;
  // The continent the table gives an ISO country (0 when it gives none).
  int ContinentOf(const std::string& iso) const;
  // The ISO codes of the countries filed under atlas code `code` ("BA", "HR",
  // ... for YU), `own` first.
  std::vector<std::string> IsoCodesOf(const std::string& code, const std::string& own) const;

 private:
  std::map<std::string, std::pair<std::string, int>> codes_;  // iso -> code, continent
  std::set<std::string> states_;
};

}  // namespace tarv::atlas

#endif  // TARVPLACES_TOOLS_ATLAS_ATLAS_CODES_H_
