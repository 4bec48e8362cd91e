// A country or group as a lookup by code or name finds it.
#ifndef TARVPLACES_COUNTRY_INFO_H_
#define TARVPLACES_COUNTRY_INFO_H_

#include <cstdint>
#include <string>

namespace tarv {

// How a country lookup reads a text that is both an ISO 3166 code and one of
// the atlas's own codes: "ES" is Spain's ISO code and El Salvador's atlas
// code, "RU" Russia's and Burundi's.
enum class CountryCodes {
  kIso,    // the ISO meaning, as everyone who knows ISO codes means it
  kAtlas,  // the atlas's own codes first, as classPlaces has always read them
};

// A country, a US state or a group of the atlas.
struct CountryInfo {
  std::int32_t Id = 0;   // its number in the country table
  std::string Code;      // the atlas code every member takes: "D", "USCA"; for a group its
                         // name in the table's language ("EUROPA" or "EUROPE", "USA")
  std::string Iso;       // "DE"; a US state's ISO 3166-2 code, "US-CA"; "" for a group
  std::string Title;     // the table's German title, "Deutschland"
  std::string English;   // "Germany"
  bool IsGroup = false;  // a continent or the USA, whose member countries a search reads
};

}  // namespace tarv

#endif  // TARVPLACES_COUNTRY_INFO_H_
