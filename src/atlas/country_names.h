// Countries as people name them: ISO 3166 codes and country names in several
// languages, beside the atlas's own codes and German titles.
//
// The atlas names its countries by codes of its own ("D", "CDN", "USCA") and
// German titles. "CountryNames.dat" in the atlas folder adds the ISO 3166-1
// codes (alpha-2 and alpha-3, "DE", "DEU"), the ISO 3166-2 codes of the
// states and provinces ("US-CA" to USCA, "CA-QC" to CDN, which files Quebec's
// places), and the names of each country in English, German, French, Spanish
// and its own language ("Germany", "Allemagne", "Deutschland"), keyed as
// typed names are (name_key.h). A text file, lines ended by CR LF:
//
//   TarvPlaces country names 1
//   <atlas code> TAB iso TAB <code, upper case>
//   <atlas code> TAB name TAB <key>
//
// A country's ISO 3166-1 alpha-2 code comes first among its codes (for a US
// state its ISO 3166-2 code); a name's lines come in the order the names
// rank: a key two countries share finds the first. A group ("USA" for "US",
// "United States") is named by its German name, which the atlas's files use. A file that
// is there but breaks this format (another first line, a line of other
// fields, an empty or over-long key, a code not of the country table) is
// noted as malformed (NoteMalformedFile), and the lookup answers without
// it; a missing file leaves the atlas's codes and titles.
#ifndef TARVPLACES_ATLAS_COUNTRY_NAMES_H_
#define TARVPLACES_ATLAS_COUNTRY_NAMES_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "atlas/atlas_fault.h"
#include "tarvplaces/records.h"

namespace tarv {

inline constexpr std::string_view kCountryNamesFile = "CountryNames.dat";
inline constexpr std::string_view kCountryNamesHeader = "TarvPlaces country names 1";

// One line of the file.
struct CountryNameEntry {
  std::string code;  // the atlas code, Windows-1252 ("D", "USCA", "EUROPA")
  bool iso = false;  // an ISO code rather than a name key
  std::string text;  // "DE", "US-CA"; or a key, "germany"
};

// The text of a country names file holding `entries` in order.
std::string CountryNamesText(const std::vector<CountryNameEntry>& entries);

// Parses a country names file; the fault names `file` and what breaks the
// format.
ReadResult<std::vector<CountryNameEntry>> ParseCountryNames(std::string_view text,
                                                            const std::string& file);

// What a country lookup found and how.
struct CountryMatch {
  std::int16_t id = 0;  // the country number of the table
  std::string code;     // the atlas code to search with: "D", "USCA", or a group's name in
                        // the table's language ("EUROPA" or "EUROPE", "USA")
  bool group = false;   // a continent or the USA, whose members are searched
  enum class By { kIsoCode, kAtlasCode, kName, kBeginning } by = By::kAtlasCode;
};

// The country or group a text names (UTF-8, as hosts type it; blanks around
// it and case do not count). In this order, the first that answers:
//  - with kIso, an ISO 3166-1 or 3166-2 code ("DE", "DEU", "US-CA", "CA-QC");
//  - an atlas code ("D", "usca"; "RUS" and the other successor codes are
//    mapped) or a group's name ("EUROPA", "europe", "USA");
//  - with kAtlas, the ISO code here;
//  - a title of the table or a country name in one of its languages, whole
//    ("Deutschland", "Germany", "Allemagne", "Германия");
//  - the beginning of a title or of an atlas code ("Deu", "con"), or of a
//    continent's name (its first five letters, "europ").
// nullopt for "", "*", a text nothing answers, or while the country table is
// not loaded. A damaged country names file is noted as malformed.
std::optional<CountryMatch> FindCountry(std::string_view utf8, CountryCodes codes);

// The ISO code of the country with atlas code `code`: ISO 3166-1 alpha-2
// ("DE"), for a US state its ISO 3166-2 code ("US-CA"); "" when the atlas
// names none. A damaged country names file is noted as malformed.
std::string IsoCodeOf(std::string_view code);

// The extension of GetCountryID where its own rules find nothing: the
// number of the country an ISO code or a whole country name names; 0 when
// none does.
std::int16_t CountryIdOfIsoCodeOrName(std::string_view utf8);

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_COUNTRY_NAMES_H_
