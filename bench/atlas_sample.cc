#include "atlas_sample.h"

#include <algorithm>
#include <random>
#include <string_view>

#include "atlas/country_table.h"
#include "atlas/atlas_state.h"
#include "text/codepage.h"
#include "text/lz.h"
#include "tarvplaces/places.h"
#include "util/text.h"

namespace tarv::bench {
namespace {

// The letter a plain keyboard types for an accented Windows-1252 letter; the
// letter itself when it has no accent. Only letters of the search's accent
// classes, so that the accent-folding search can find the name again.
char PlainLetter(char c) {
  static constexpr std::string_view kFrom =
      "\xE0\xE1\xE2\xE4\xE5\xE6\xC0\xC1\xC2\xC4\xC5\xC6\xE7\xC7\xE8\xE9\xEA\xEB\xC8\xC9\xCA\xCB"
      "\xEC\xED\xEE\xEF\xCC\xCD\xCE\xCF\xF1\xD1\xF2\xF3\xF4\xF5\xF6\xF8\xD2\xD3\xD4\xD5\xD6\xD8"
      "\xF9\xFA\xFB\xFC\xD9\xDA\xDB\xDC\xFD\xFF\xDD";
  static constexpr std::string_view kTo = "aaaaaaAAAAAAcCeeeeEEEEiiiiIIIInNooooooOOOOOOuuuuUUUUyyY";
  static_assert(kFrom.size() == kTo.size());
  const auto at = kFrom.find(c);
  return at == std::string_view::npos ? c : kTo[at];
}

}  // namespace

std::size_t AtlasSample::PlaceCount() const {
  std::size_t n = 0;
  for (const auto& c : countries)
    n += c.places.size();
  return n;
}

std::string PlainAnsi(const std::string& ansi) {
  std::string plain = ansi;
  std::transform(plain.begin(), plain.end(), plain.begin(), PlainLetter);
  return plain;
}

const AtlasSample& LoadAtlasSample(const std::string& folder) {
  static const AtlasSample sample = [&folder] {
    AtlasSample s;
    ResetDefaultAtlas();
    classPlaces places;
    places.PlacePath(folder);
    places.GetCountryID("");  // loads the country table
    const auto& table = CurrentAtlas().countries;
    for (std::size_t i = 1; i + kNonCountryTail < table.size(); ++i) {
      AtlasCountry country{Trim(table[i].CountryShort), {}};
      std::int32_t error = 0;
      const auto image = ExpandedImage(folder + "/" + country.code + ".dao", error);
      if (!image) continue;
      for (std::size_t at = 0; at + kPlaceRecordSize <= image->size(); at += kPlaceRecordSize) {
        country.places.push_back(
            DecodePlaceRecord(std::string_view(*image).substr(at, kPlaceRecordSize)));
      }
      if (country.places.empty()) continue;
      s.countries.push_back(std::move(country));
      if (s.countries.back().places.size() > s.countries[s.largest].places.size()) {
        s.largest = s.countries.size() - 1;
      }
    }
    ClearExpandedImages();
    ResetDefaultAtlas();
    return s;
  }();
  return sample;
}

std::vector<std::string> SampleNames(const AtlasCountry& country, std::size_t n, unsigned seed,
                                     bool plain, std::size_t prefix) {
  std::mt19937 rng(seed);
  std::vector<std::string> names;
  for (std::size_t tries = 0; names.size() < n && tries < 1000 * n; ++tries) {
    std::string name = country.places[rng() % country.places.size()].TrimmedName();
    if (plain) {
      const std::string typed = PlainAnsi(name);
      if (typed == name) continue;  // only names the accents make hard to type
      name = typed;
    }
    if (prefix > 0) name = name.substr(0, prefix);
    names.push_back(Utf8FromAnsi(name));
  }
  return names;
}

std::vector<std::pair<double, double>> SamplePoints(const AtlasCountry& country, std::size_t n,
                                                    unsigned seed) {
  std::mt19937 rng(seed);
  std::uniform_real_distribution<double> jitter(-0.05, 0.05);
  std::vector<std::pair<double, double>> points;
  for (std::size_t i = 0; i < n; ++i) {
    const auto& p = country.places[rng() % country.places.size()];
    points.emplace_back(p.Longitude + jitter(rng), p.Latitude + jitter(rng));
  }
  return points;
}

}  // namespace tarv::bench
