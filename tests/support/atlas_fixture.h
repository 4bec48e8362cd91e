// Small atlases written by the project's own writers into a temporary folder.
#ifndef TARVPLACES_TESTS_SUPPORT_ATLAS_FIXTURE_H_
#define TARVPLACES_TESTS_SUPPORT_ATLAS_FIXTURE_H_

#include <algorithm>
#include <string>
#include <vector>

#include "atlas/atlas_state.h"
#include "atlas/country_table.h"
#include "atlas/place_file.h"
#include "atlas/place_file_writer.h"
#include "atlas/timetable.h"
#include "support/country_fixture.h"
#include "support/temp_folder.h"
#include "support/zone_fixture.h"
#include "text/lz.h"
#include "util/julian.h"
#include "util/serial_date.h"

namespace tarv::testing {

inline PlaceRecord Place(const std::string& name, float longitude, float latitude,
                         std::int16_t timetable = 1) {
  PlaceRecord p;
  p.SetName(name);
  p.Longitude = longitude;
  p.Latitude = latitude;
  p.Timetable = timetable;
  return p;
}

// An atlas folder with the sample countries and the project's zone table;
// the process state points at it.
class AtlasFixture : public AtlasTest {
 protected:
  void SetUp() override {
    AtlasTest::SetUp();
    ClearExpandedImages();
    folder_.Write("Country.dat", JoinCrLf(SampleCountryLines()));
    folder_.Write("Zones13.bin", ProjectZoneFile());
    CurrentAtlas().places_path = folder_.str();
    InitializeCountries("", "Country.dat", false, false);
  }
  void TearDown() override {
    ClearExpandedImages();
    AtlasTest::TearDown();
  }

  // A compressed database file with its index.
  void WriteCountry(const std::string& code, std::vector<PlaceRecord> places) {
    WritePlaceFiles(folder_.path(), code, std::move(places));
  }
  // A user file as stored: plain records in the given order, with an index.
  void WriteUserFile(const std::string& code, const std::vector<PlaceRecord>& places) {
    folder_.Write("USER/" + code + ".dao", EncodePlaceFile(places));
    folder_.Write("USER/" + code + ".IDX", EncodePlaceIndex(places));
  }
  std::string PlaceFile(const std::string& code) { return GetCompressedPlaceFile(code); }

  // A compressed timetable file.
  // The sections given, and an empty one for every other country of the
  // table with timetables: a file without a country's section is damaged.
  void WriteTimetables(const std::string& file, std::vector<TimetableSection> sections) {
    InitializeCountries("", "Country.dat", false, false);
    for (const auto& country : CurrentAtlas().countries) {
      if (country.CountryId == 0 || HaveTimetables(country.CountryShort) == 0) continue;
      if (IsUSA(country.CountryShort) != (file == "TTUSA.dao")) continue;
      const bool given = std::any_of(sections.begin(), sections.end(),
                                     [&](const auto& s) { return s.country == country.CountryId; });
      if (!given) sections.push_back({country.CountryId, {}});
    }
    folder_.Write(file, CompressSzdd(EncodeTimetableFile(sections)));
  }
  // Germany's (country 58) three timetables: the Central European history,
  // one without entries and Eastern European time since 1900.
  void WriteGermanTimetables();

  // The identifier of a zone of the project's table.
  static std::int16_t Zone(const std::string& abbreviation) {
    InitializeTimeZones("", "Zones13.bin");
    return GetTimezoneId(abbreviation);
  }
};

// A local serial date.
inline double At(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  return SerialOf({year, month, day, hour, minute, second});
}

// Central European history: standard time from 1893, summer time from the
// last Sunday of March 02:00 to the last Sunday of October 03:00 in
// 1996-1999.
inline std::vector<TimetableRecord> CentralEuropeanHistory(std::int16_t met, std::int16_t met_s) {
  std::vector<TimetableRecord> entries = {{At(1893, 4, 1), met}};
  const int march[] = {31, 30, 29, 28};
  const int october[] = {27, 26, 25, 31};
  for (int y = 1996; y <= 1999; ++y) {
    entries.push_back({At(y, 3, march[y - 1996], 2), met_s});
    entries.push_back({At(y, 10, october[y - 1996], 3), met});
  }
  return entries;
}

// The trimmed names of a place list, in order.
inline std::vector<std::string> Names(const PlaceList& list) {
  std::vector<std::string> names;
  for (const auto& p : list.places)
    names.push_back(p.TrimmedName());
  return names;
}

inline void AtlasFixture::WriteGermanTimetables() {
  const auto history = CentralEuropeanHistory(Zone("MET"), Zone("MET/S"));
  WriteTimetables("ttx.dao", {{58, {history, {}, {{At(1900, 1, 1), Zone("EET")}}}}});
}

// Julian day of a local date and time.
inline double JulianAt(int year, int month, int day, double hour) {
  return GetJulday(static_cast<std::int16_t>(month), static_cast<std::int16_t>(day),
                   static_cast<std::int16_t>(year), hour);
}

}  // namespace tarv::testing

#endif  // TARVPLACES_TESTS_SUPPORT_ATLAS_FIXTURE_H_
