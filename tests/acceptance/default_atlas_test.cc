// The default atlas built from open data, checked against the data it was
// built from: GeoNames for where places are, the machine's tzdata for which
// offset held there.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>

#include "atlas/atlas_builder.h"
#include "atlas/geonames.h"
#include "atlas/place_file.h"
#include "atlas/process_state.h"
#include "atlas/tzif.h"
#include "export/text_export.h"
#include "geonames_atlas_fixture.h"
#include "platform/codepage.h"
#include "platform/lz.h"
#include "tarvplaces/places.h"
#include "util/julian.h"
#include "util/serial_date.h"
#include "util/text.h"

namespace tarv {
namespace {

using atlas::GeoPlace;

using testing::AtlasCodeOf;
const std::string& kAtlas = testing::kDefaultAtlas;

class DefaultAtlasTest : public testing::GeoNamesAtlasTest {
 protected:
  static const GeoPlace& ById(std::int64_t id) {
    for (const auto& p : *places_) {
      if (p.id == id) return p;
    }
    throw std::runtime_error("no GeoNames place " + std::to_string(id));
  }
};

TEST_F(DefaultAtlasTest, FamousPlacesAreFoundWhereGeoNamesPutsThem) {
  const struct {
    const char* name;
    const char* code;
    std::int64_t geonames_id;
  } kPlaces[] = {{"München", "D", 2867714},     {"Wien", "A", 2761369},
                 {"Köln", "D", 2886242},        {"Paris", "F", 2988507},
                 {"New York", "USNY", 5128581}, {"Los Angeles", "USCA", 5368361},
                 {"Sydney", "AUS", 2147714},    {"Tokyo", "J", 1850147},
                 {"Moskva", "SSR", 524901},     {"Rio de Janeiro", "BR", 3451190},
                 {"Praha", "CZ", 3067696},      {"Warszawa", "PL", 756135},
                 {"Genève", "CH", 2660646},     {"Milano", "I", 3173435},
                 {"Lisboa", "P", 2267057}};
  for (const auto& c : kPlaces) {
    double lon = 0;
    double lat = 0;
    EXPECT_GE(places.GetPlaceData(c.name, c.code, &lon, &lat), 1) << c.name;
    const GeoPlace& truth = ById(c.geonames_id);
    EXPECT_NEAR(lon, truth.longitude, 0.05) << c.name;
    EXPECT_NEAR(lat, truth.latitude, 0.05) << c.name;
    // The nearest place to the city's own coordinates is the city.
    const std::string line = places.GetNearestPlace(c.code, truth.longitude, truth.latitude);
    const auto tab = line.find('\t');
    ASSERT_NE(tab, std::string::npos) << c.name;
    EXPECT_NEAR(std::stod(line.substr(tab + 1)), truth.longitude, 1e-4) << c.name;
  }
}

// The offset the IANA database gives for a zone at a local time, or nullopt
// for local mean time.
std::optional<double> IanaOffset(const atlas::TzifZone& zone, double local_serial) {
  const auto local =
      static_cast<std::int64_t>(std::llround((LinearSerial(local_serial) - 25569.0) * 86400.0));
  const auto& first = atlas::TypeAt(zone, local - atlas::TypeAt(zone, local).utc_offset);
  const auto& type = atlas::TypeAt(zone, local - first.utc_offset);
  if (type.abbreviation == "LMT") return std::nullopt;
  return type.utc_offset / 3600.0;
}

struct AgreementResult {
  std::size_t asked = 0;
  std::size_t agree = 0;
  // Places of countries with one history whose tzdata zone has another one:
  // the atlas cannot give them their own offsets.
  std::size_t apart = 0;
  std::size_t apart_agree = 0;
  double Percent() const {
    return asked == 0 ? 0.0 : 100.0 * static_cast<double>(agree) / static_cast<double>(asked);
  }
};

// Whether two zones record the same history.
bool SameHistory(const atlas::TzifZone& a, const atlas::TzifZone& b) {
  if (a.initial.utc_offset != b.initial.utc_offset ||
      a.transitions.size() != b.transitions.size()) {
    return false;
  }
  for (std::size_t i = 0; i < a.transitions.size(); ++i) {
    if (a.transitions[i].at != b.transitions[i].at ||
        a.transitions[i].type.utc_offset != b.transitions[i].type.utc_offset) {
      return false;
    }
  }
  return true;
}

// At a local noon of a random day of the years, for each place of `sample`:
// the offset and the local-mean-time flag of the atlas against tzdata's.
AgreementResult Agreement(classPlaces& places, const std::vector<GeoPlace>& sample,
                          const std::map<std::string, std::string>& main_zones, int first_year,
                          int last_year, std::mt19937& rng) {
  std::map<std::string, atlas::TzifZone> zones;
  auto zone = [&zones](const std::string& name) -> const atlas::TzifZone& {
    auto it = zones.find(name);
    if (it == zones.end())
      it = zones.emplace(name, atlas::ReadTzif("/usr/share/zoneinfo/" + name)).first;
    return it->second;
  };
  std::uniform_int_distribution<int> year(first_year, last_year);
  std::uniform_int_distribution<int> day(0, 364);
  AgreementResult r;
  for (const auto& p : sample) {
    const std::string code = AtlasCodeOf(p);
    const double serial = SerialOfDate(year(rng), 1, 1 + day(rng)) + 0.5;  // local noon
    const auto iana = IanaOffset(zone(p.timezone), serial);
    // The place itself among those of its name: the one at its coordinates.
    const std::string name = IsAnsiRepresentable(p.name) ? p.name : p.ascii_name;
    const auto found = places.GetPlaceDataX(name, code);
    std::optional<std::int32_t> element;
    for (std::int32_t i = 0; i < found && !element; ++i) {
      const auto f = places.GetPlaceDataOfId(i);
      if (std::fabs(std::stod(f[2]) - p.longitude) < 1e-4 &&
          std::fabs(std::stod(f[3]) - p.latitude) < 1e-4) {
        element = i;
      }
    }
    if (!element) continue;  // a name cut to 28 characters, or a rare duplicate dropped
    bool lmt = false;
    double ours = 0;
    places.GetPlaceDataOfId(*element, SerialInJulian(serial), &lmt, &ours);
    const bool same = lmt || !iana ? lmt && !iana : std::fabs(ours - *iana) < 1.0 / 3600.0;
    const auto main = main_zones.find(code);
    const bool apart = places.HaveTimetables(code) == 0 && main != main_zones.end() &&
                       !SameHistory(zone(p.timezone), zone(main->second));
    (apart ? r.apart : r.asked) += 1;
    (apart ? r.apart_agree : r.agree) += same;
    if (!same && !apart && std::getenv("TARV_SHOW_DISAGREEMENTS") != nullptr) {
      std::cout << p.name << " " << code << " " << p.timezone << " "
                << CalendarOfSerial(serial).year << " ours " << (lmt ? "LMT" : std::to_string(ours))
                << " iana " << (iana ? std::to_string(*iana) : "LMT") << "\n";
    }
  }
  return r;
}

TEST_F(DefaultAtlasTest, ZonesAgreeWithTheIanaDatabase) {
  // The zone each country's default history follows: the one most of its
  // inhabitants live in.
  std::map<std::string, std::map<std::string, double>> weights;
  for (const auto& p : *places_)
    weights[AtlasCodeOf(p)][p.timezone] += 1.0 + static_cast<double>(p.population);
  std::map<std::string, std::string> main_zones;
  for (const auto& [code, w] : weights) {
    main_zones[code] = std::max_element(w.begin(), w.end(), [](const auto& a, const auto& b) {
                         return a.second < b.second;
                       })->first;
  }
  std::mt19937 rng(2026);
  std::vector<GeoPlace> sample;
  std::uniform_int_distribution<std::size_t> pick(0, places_->size() - 1);
  while (sample.size() < 4000) {
    const auto& p = (*places_)[pick(rng)];
    if (AtlasCodeOf(p).empty()) continue;
    sample.push_back(p);
  }
  const auto before = Agreement(places, sample, main_zones, 1900, 1999, rng);
  const auto after = Agreement(places, sample, main_zones, 2000, 2037, rng);
  std::cout << "zone agreement with tzdata: 1900-1999 " << before.Percent() << "% of "
            << before.asked << ", 2000-2037 " << after.Percent() << "% of " << after.asked
            << "; places of one-history countries in another zone: " << before.apart << " ("
            << before.apart_agree << " and " << after.apart_agree << " agree anyway)\n";
  EXPECT_GE(before.Percent(), 99.95);
  EXPECT_GE(after.Percent(), 99.95);
}

// Every number a counted country offers is a real history, and no place
// carries one beyond its country's count.
TEST_F(DefaultAtlasTest, CountedCountriesHaveExactlyTheirCountOfTimetables) {
  std::vector<std::string> countries;
  places.FillCountryArray(countries);
  std::size_t counted = 0;
  for (std::size_t i = 1; i < countries.size(); ++i) {
    const auto f = Split(countries[i], '\t');
    ASSERT_GE(f.size(), 3U) << countries[i];
    const std::string code = Trim(std::string(f[2]));
    const std::int32_t count = places.HaveTimetables(code);
    if (count == 0) continue;
    ++counted;
    for (std::int32_t t = 1; t <= count; ++t) {
      EXPECT_GT(places.GetTimeTableArray(code, static_cast<std::int16_t>(t)).size(), 1U)
          << code << " timetable " << t << " is empty";
    }
    EXPECT_EQ(places.GetTimeTableArray(code, static_cast<std::int16_t>(count + 1)).size(), 1U)
        << code;
    std::int32_t error = 0;
    const auto image = ExpandedImage(kAtlas + "/" + code + ".dao", error);
    if (!image) continue;  // a counted code without places (a state GeoNames has none in)
    for (std::size_t at = 0; at + kPlaceRecordSize <= image->size(); at += kPlaceRecordSize) {
      const PlaceRecord r = DecodePlaceRecord(std::string_view(*image).substr(at));
      EXPECT_TRUE(r.Timetable >= 1 && r.Timetable <= count)
          << code << " " << r.TrimmedName() << " has timetable " << r.Timetable;
    }
  }
  EXPECT_GT(counted, 80U);
}

std::size_t LinesOf(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::size_t lines = 0;
  for (std::string line; std::getline(in, line);)
    ++lines;
  return lines;
}

TEST_F(DefaultAtlasTest, ExportedFilesHoldWhatTheAtlasHolds) {
  const auto out = std::filesystem::temp_directory_path() / "tarvplaces-export-check";
  std::filesystem::remove_all(out);
  std::filesystem::create_directories(out);
  ExportPlaces("", out.string());

  std::size_t places_in_files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(kAtlas)) {
    const std::string name = entry.path().filename().string();
    if (entry.path().extension() != ".dao" || name == "ttx.dao" || name == "TTUSA.dao") continue;
    std::int32_t error = 0;
    const auto image = ExpandedImage(entry.path().string(), error);
    ASSERT_TRUE(image) << name;
    places_in_files += image->size() / kPlaceRecordSize;
  }
  std::vector<std::string> countries;
  places.FillCountryArray(countries);
  std::size_t timetable_entries = 0;
  const std::size_t real_countries = countries.size() - 1 - 11;
  for (std::size_t i = 1; i <= real_countries; ++i) {
    const std::string code =
        countries[i].substr(countries[i].find('\t', countries[i].find('\t') + 1) + 1);
    const std::string short_code = code.substr(0, code.find('\t'));
    for (std::int32_t t = 1; t <= places.HaveTimetables(short_code); ++t) {
      timetable_entries +=
          places.GetTimeTableArray(short_code, static_cast<std::int16_t>(t)).size();
    }
  }
  EXPECT_EQ(LinesOf(out / "Countries.txt") - 1, real_countries);
  EXPECT_EQ(LinesOf(out / "Cities.txt") - 1, places_in_files);
  EXPECT_EQ(LinesOf(out / "Zones.txt") - 1, 287U);
  EXPECT_EQ(LinesOf(out / "Timetable.txt") - 1, timetable_entries);
  std::filesystem::remove_all(out);
}

}  // namespace
}  // namespace tarv
