// Country records: the lines of "Country.dat" as the country table holds them.
#ifndef TARVPLACES_ATLAS_COUNTRY_RECORD_H_
#define TARVPLACES_ATLAS_COUNTRY_RECORD_H_

#include <cstdint>
#include <string>

namespace tarv {

// One line of "Country.dat" (or a fallback or continent record).
struct CountryRecord {
  std::int16_t CountryId = 0;
  std::string CountryTitle;
  std::string CountryShort;
  std::string TimezoneShort;
  std::string Continent;
  std::string SubContinent;
  std::string Meaning;
  std::string Info;
  std::string HaveZonesSince;
  std::int16_t ContinentID = 0;
  std::int16_t SubContinentID = 0;
};

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_COUNTRY_RECORD_H_
