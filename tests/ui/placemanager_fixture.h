// A small atlas for the dialogs: Germany with three timetables, Austria
// without any, California, and a message sink that answers as told.
#ifndef TARVPLACES_TESTS_UI_PLACEMANAGER_FIXTURE_H_
#define TARVPLACES_TESTS_UI_PLACEMANAGER_FIXTURE_H_

#include <string>
#include <vector>

#include "atlas/country_table.h"
#include "atlas/zone_history.h"
#include "atlas/zone_map.h"
#include "support/atlas_fixture.h"
#include "tarvplaces/places.h"
#include "text/codepage.h"

namespace tarv::testing {

class DialogAtlasFixture : public AtlasFixture {
 protected:
  void SetUp() override {
    AtlasFixture::SetUp();
    SetMessageSink([this](const Message& m) {
      messages_.push_back(m);
      return answer_;
    });
    CurrentAtlas().Language().SetLanguage(kLanguageGerman);
    WriteCountry("D", {Place("Augsburg", 10.898F, 48.371F, 2), Place("Berlin", 13.405F, 52.52F),
                       Place("Bonn", 7.1F, 50.73F), Place("M\xFCnchen", 11.575F, 48.137F),
                       Place("M\xFCnster", 7.63F, 51.96F), Place("Zwickau", 12.5F, 50.72F, 3)});
    WriteCountry("A", {Place("Graz", 15.44F, 47.07F, 0), Place("Wien", 16.37F, 48.21F, 0)});
    WriteCountry("USCA", {Place("Los Angeles", -118.24F, 34.05F)});
    const auto met = Zone("MET");
    const auto met_s = Zone("MET/S");
    WriteTimetables("ttx.dao",
                    {{58, {CentralEuropeanHistory(met, met_s), {{At(1893, 4, 1), met}}, {}}}});
    InitializeTimeZones("", "Zones13.bin");
  }

  // Berlin (record 2) keeps Middle European Time from 1893 without summer
  // time ("Test/Plain"): timetable 2's history, but not timetable 1's, which
  // has summer time from 1996.
  void WriteBerlinsOwnHistory() {
    const std::int16_t met = Zone("MET");
    const std::int64_t from = DaysOfCivil(1893, 3, 31) * 86400 + 23 * 3600;
    folder_.Write(kZoneHistoryFile,
                  CompressSzdd(EncodeZoneHistories(
                      {{"Test/Plain",
                        {{0, 3208, false, true, 0, "LMT"}, {from, 3600, false, false, met, "CET"}},
                        "CET-1",
                        met,
                        met}},
                      "2025b")));
    std::vector<std::uint16_t> zones(6, kNoPlaceZone);
    zones[1] = 0;
    folder_.Write("D.TZP", CompressSzdd(EncodePlaceZones(zones)));
  }

  // Two zones and a map of them: Test/East (MET all along) from 10 to 20
  // degrees east between 40 and 60 north, Test/West (GMT all along)
  // everywhere else, the sea included.
  void WriteZoneMap() {
    const std::int16_t gmt = Zone("GMT"), met = Zone("MET");
    folder_.Write(kZoneHistoryFile,
                  CompressSzdd(EncodeZoneHistories(
                      {{"Test/West", {{0, 0, false, false, gmt, "GMT"}}, "", gmt, gmt},
                       {"Test/East", {{0, 3600, false, false, met, "CET"}}, "", met, met}},
                      "2025b")));
    ZoneMapData map;
    ZoneMapData::Ring box;
    box.longitudes = {1'000'000, 2'000'000, 2'000'000, 1'000'000};
    box.latitudes = {4'000'000, 4'000'000, 6'000'000, 6'000'000};
    map.nodes = {{ZoneMapData::NodeKind::kTile, 0}};
    map.tiles = {{{1, {box}}}};
    folder_.Write(kZoneMapFile, CompressSzdd(EncodeZoneMap(map)));
  }

  // The user places of a country, by trimmed name (UTF-8).
  std::vector<std::string> UserPlaces(const std::string& code) {
    PlaceList list;
    Read_Cp_ORTE(PlaceFile(code), list);
    std::vector<std::string> names;
    for (std::size_t i = 0; i < list.size(); ++i) {
      if (list.refs[i].RecordNo < 0) names.push_back(Utf8FromAnsi(list.places[i].TrimmedName()));
    }
    return names;
  }

  MsgAnswer answer_ = MsgAnswer::kOk;
};

}  // namespace tarv::testing

#endif  // TARVPLACES_TESTS_UI_PLACEMANAGER_FIXTURE_H_
