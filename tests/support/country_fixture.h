// A small "Country.dat" in the shape of the real atlas, for tests.
#ifndef TARVPLACES_TESTS_SUPPORT_COUNTRY_FIXTURE_H_
#define TARVPLACES_TESTS_SUPPORT_COUNTRY_FIXTURE_H_

#include <string>
#include <vector>

namespace tarv::testing {

// One line of eleven TAB-separated fields.
inline std::string CountryDatLine(int id, const std::string& title, const std::string& code,
                                  const std::string& zone, const std::string& continent,
                                  int continent_id) {
  return std::to_string(id) + "\t" + title + "\t" + code + "\t" + zone + "\t" + continent +
         "\tMitteleuropa\t\tinfo\t1893\t" + std::to_string(continent_id) + "\t0";
}

// Twelve countries in unsorted order, then five group lines. Titles are
// Windows-1252 ("\xD6sterreich" is Österreich).
inline std::vector<std::string> SampleCountryLines() {
  return {
      CountryDatLine(58, "Deutschland", "D", "MEZ", "EUROPA", 4),
      CountryDatLine(11, "\xD6sterreich", "A", "MEZ", "EUROPA", 4),
      CountryDatLine(40, "Frankreich", "F", "MEZ", "EUROPA", 4),
      CountryDatLine(120, "Russland", "SSR", "MSK", "EUROPA", 4),
      CountryDatLine(61,
                     "Gro\xDF"
                     "britannien",
                     "GBE", "GMT", "EUROPA", 4),
      CountryDatLine(170, "Jugoslawien", "YU", "MEZ", "EUROPA", 4),
      CountryDatLine(9, "Australien", "AUS", "AEST", "OCEANIEN", 5),
      CountryDatLine(16, "Brasilien", "BR", "BRT", "AMERIKA", 2),
      CountryDatLine(200, "Kalifornien", "USCA", "PST", "USA", 6),
      CountryDatLine(201, "New York", "USNY", "EST", "USA", 6),
      CountryDatLine(80, "Japan", "J", "JST", "ASIEN", 3),
      CountryDatLine(3, "Algerien", "DZ", "MEZ", "AFRIKA", 1),
      CountryDatLine(900, "Zentralamerika", "ZAM", "CST", "AMERIKA", 2),
      CountryDatLine(901, "Antarktis", "ANT", "UTC", "OCEANIEN", 5),
      CountryDatLine(902, "Arktis", "ARK", "UTC", "EUROPA", 4),
      CountryDatLine(903, "Karibik", "KAR", "AST", "AMERIKA", 2),
      CountryDatLine(904, "Atlantik", "ATL", "GMT", "EUROPA", 4),
  };
}

inline std::string JoinCrLf(const std::vector<std::string>& lines) {
  std::string text;
  for (const auto& line : lines)
    text += line + "\r\n";
  return text;
}

}  // namespace tarv::testing

#endif  // TARVPLACES_TESTS_SUPPORT_COUNTRY_FIXTURE_H_
