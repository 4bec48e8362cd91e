// The codes and names countries go by, read from open data for the atlas's
// "CountryNames.dat" (atlas/country_names.h): ISO 3166 codes from Debian's
// iso-codes (its JSON files, /usr/share/iso-codes/json) and territory names
// from Unicode CLDR (the npm package cldr-localenames-full).
#ifndef TARVPLACES_TOOLS_ATLAS_COUNTRY_SOURCES_H_
#define TARVPLACES_TOOLS_ATLAS_COUNTRY_SOURCES_H_

#include <map>
#include <string>
#include <vector>

#include "atlas/country_names.h"

namespace tarv::atlas {

// The languages every country is named in, besides its own.
inline const std::vector<std::string> kCountryNameLanguages = {"en", "de", "fr", "es"};

// A country of the atlas as the names file lists it.
struct NamedCountry {
  std::string code;               // atlas code, "D"; a US state "USCA"
  std::vector<std::string> isos;  // its ISO 3166-1 alpha-2 codes, the first its own ("DE")
  bool us_state = false;          // a state of the USA, named by its ISO 3166-2 code
};

// The lines of the names file for `countries` (in the order given):
//  - each country's ISO codes: alpha-2 first, then alpha-3 ("DE", "DEU"),
//    for a US state its ISO 3166-2 code ("US-CA"); "US" and "USA" name the
//    group "USA";
//  - the ISO 3166-2 codes of iso-codes' subdivisions, each for the country
//    the atlas files it under ("CA-QC" CDN, "US-NY" USNY, "US-PR" PR);
//  - the names of each country (the USA's for the group) in CLDR's
//    territory names of English, German, French and Spanish, then of the
//    country's own language (ICU's likely language of the territory, "km"
//    for KH), short and variant forms included ("UK", "Ivory Coast"), keyed
//    as typed names are (NameKeysOfText).
// `iso_codes` is the folder of iso_3166-1.json and iso_3166-2.json;
// `cldr_main` the package's "main" folder (main/en/territories.json...).
// Throws AtlasError for a file that is missing or is not what it should be;
// a language CLDR lacks is left out.
std::vector<CountryNameEntry> CountryNameEntries(const std::vector<NamedCountry>& countries,
                                                 const std::string& iso_codes,
                                                 const std::string& cldr_main);

// The territory names of one CLDR language: ISO code (with "-alt-short" or
// "-alt-variant" where CLDR adds one) to name. Empty when CLDR has no such
// language.
std::map<std::string, std::string> TerritoryNames(const std::string& cldr_main,
                                                  const std::string& language);

// The language most of a territory's people speak, by ICU's likely subtags
// ("de" for DE, "km" for KH, "zh-Hant" for TW): the CLDR folder to read.
std::string OwnLanguageOf(const std::string& iso2);

}  // namespace tarv::atlas

#endif  // TARVPLACES_TOOLS_ATLAS_COUNTRY_SOURCES_H_
