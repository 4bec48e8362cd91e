#include "tarvplaces/atlas.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>

#include "atlas/posix_tz.h"
#include "atlas/zone_history.h"
#include "atlas/zone_map.h"
#include "interface/install_paths.h"
#include "support/atlas_fixture.h"
#include "support/german_numbers.h"
#include "tarvplaces/atlas_error.h"
#include "tarvplaces/places.h"

namespace tarv {
namespace {

class AtlasTest : public testing::AtlasFixture {
 protected:
  void SetUp() override {
    AtlasFixture::SetUp();
    // Two places of one name on different timetables: 3 has no summer time.
    WriteCountry("D", {testing::Place("Neustadt", 10.0F, 50.0F, 3),
                       testing::Place("Neustadt", 11.57549F, 48.13743F, 1),
                       testing::Place("M\xFCnchen", 11.57549F, 48.13743F, 1)});
    WriteGermanTimetables();
  }
};

// An atlas the user cannot write keeps the user's places in a folder of the
// user's: added there (with the folders above it), found by every atlas
// object on the folder, never in the atlas's own USER folder.
TEST_F(AtlasTest, UserPlacesOfAnAtlasMayLiveInAFolderOfTheirOwn) {
  testing::TempFolder home;
  const std::string user_folder = Utf8OfPath(home.path() / "data" / "tarvplaces" / "USER");
  Atlas atlas(folder_.str(), user_folder);
  EXPECT_EQ(atlas.AddPlace("D", "Hinterdorf", 11.0, 48.0), "");
  EXPECT_TRUE(std::filesystem::is_regular_file(home.path() / "data/tarvplaces/USER/D.dao"));
  EXPECT_FALSE(std::filesystem::exists(folder_.path() / "USER"));
  const Atlas again(folder_.str(), user_folder);
  const auto p = again.Lookup("Hinterdorf", "D");
  ASSERT_TRUE(p);
  EXPECT_TRUE(p->UserPlace);
  EXPECT_THROW(Atlas(folder_.str(), Utf8OfPath(home.path() / "other")), std::invalid_argument);
  EXPECT_TRUE(atlas.DeletePlace("D", "Hinterdorf"));
  EXPECT_FALSE(again.Lookup("Hinterdorf", "D"));
}

// The environment variable `name` set (or unset) for one scope.
class ScopedVariable {
 public:
  ScopedVariable(const char* name, const char* value) : name_(name) {
    if (const char* old = std::getenv(name)) saved_ = old;
    Set(value);
  }
  ~ScopedVariable() { Set(saved_ ? saved_->c_str() : nullptr); }

 private:
  void Set(const char* value) {
#ifdef _WIN32
    _putenv_s(name_, value != nullptr ? value : "");
#else
    value != nullptr ? setenv(name_, value, 1) : unsetenv(name_);
#endif
  }
  const char* name_;
  std::optional<std::string> saved_;
};

// $TARV_ATLAS first, as it is; else an atlas installed beside the binary,
// whose user places go to the user's data folder.
TEST(DefaultAtlasLocation, NamedFolderElseTheInstalledOneWithTheUsersDataFolder) {
  testing::TempFolder root;
  const ScopedVariable data("XDG_DATA_HOME", root.str().c_str());
  {
    const ScopedVariable named("TARV_ATLAS", "/srv/atlas");
    EXPECT_EQ(DefaultAtlasLocation().folder, "/srv/atlas");
    EXPECT_EQ(DefaultAtlasLocation().user_folder, "");
  }
  const ScopedVariable named("TARV_ATLAS", nullptr);
  const auto binary = root.path() / "lib" / "x86_64-linux-gnu";
  std::filesystem::create_directories(binary);
  EXPECT_EQ(InstalledAtlasBeside(binary).folder, "");
  const auto beside = (binary / kAtlasFromLibraryFolder).lexically_normal();
  root.Write(Utf8OfPath(std::filesystem::relative(beside, root.path()) / "Country.dat"), "");
  const auto found = InstalledAtlasBeside(binary);
  EXPECT_EQ(found.folder, Utf8OfPath(beside));
#ifndef _WIN32
  EXPECT_EQ(found.user_folder, Utf8OfPath(root.path() / "tarvplaces" / "USER"));
#endif
  root.Write("package/atlas/Country.dat", "");
  EXPECT_EQ(InstalledAtlasBeside(root.path() / "package").folder,
            Utf8OfPath(root.path() / "package" / "atlas"));
}

// The file named by the AtlasError `action` throws, or "" when it throws none.
template <typename Action>
std::string FileOfError(Action action) {
  try {
    action();
  } catch (const AtlasError& e) {
    return e.file();
  }
  return "";
}

TEST_F(AtlasTest, PlaceWithTheZoneAtALocalTimeOrItsMeanTime) {
  const Atlas atlas(folder_.str());
  std::int32_t found = 0;
  auto p = atlas.Lookup("München", "D", LocalTime{1997, 7, 1, 12, 0, 0}, &found);
  ASSERT_TRUE(p);
  EXPECT_EQ(found, 1);
  // The seven digits the atlas holds, not the float's expansion.
  EXPECT_EQ(std::tie(p->Name, p->Country, p->CountryName, p->Longitude, p->Latitude, p->Timetable),
            std::tuple("München", "D", "Deutschland", 11.57549, 48.13743, 1));
  EXPECT_EQ(std::tie(p->Zone.Abbreviation, p->Zone.UtcOffsetHours, p->Zone.IsLmt),
            std::tuple("MET/S", 2.0, false));
  EXPECT_FALSE(atlas.Lookup("Hamburg", "D"));
  // Local mean time: the longitude in hours, named in the default German.
  p = atlas.Lookup("München", "D", LocalTime{1850, 1, 1, 12, 0, 0});
  ASSERT_TRUE(p);
  EXPECT_EQ(std::tie(p->Zone.IsLmt, p->Zone.UtcOffsetHours, p->ZoneLongName),
            std::tuple(true, 0.771699, "Mittlere Ortszeit"));
  // No such local time is an argument error.
  EXPECT_THROW(atlas.Lookup("München", "D", LocalTime{1999, 2, 29, 12, 0, 0}),
               std::invalid_argument);
  EXPECT_FALSE(JulianDayOf(LocalTime{2000, 4, 1, 24, 0, 0}));
}

// Two zones and a map: Test/West (UTC-1, summer time from 1 April to
// 1 October 1990) west of 10 degrees east, Test/East (UTC+1) from there to
// 20 east between 40 and 60 north; the open sea keeps Test/West.
TEST_F(AtlasTest, ZonesComeFromTheMapOrTheZoneTheUserNamed) {
  const auto utc = [](int y, int m, int d) {
    return DaysOfCivil(y, static_cast<unsigned>(m), static_cast<unsigned>(d)) * 86400;
  };
  const std::int16_t gmt = Zone("GMT"), met = Zone("MET");
  const std::vector<ZoneHistory> zones = {
      {"Test/West",
       {{0, -3600, false, false, gmt, "-01"},
        {utc(1990, 4, 1), 0, true, false, gmt, "+00"},
        {utc(1990, 10, 1), -3600, false, false, gmt, "-01"}},
       "",
       gmt,
       gmt},
      {"Test/East", {{0, 3600, false, false, met, "CET"}}, "", met, met}};
  folder_.Write(kZoneHistoryFile, CompressSzdd(EncodeZoneHistories(zones, "2025b")));
  ZoneMapData map;
  ZoneMapData::Ring box;
  box.longitudes = {1'000'000, 2'000'000, 2'000'000, 1'000'000};
  box.latitudes = {4'000'000, 4'000'000, 6'000'000, 6'000'000};
  map.nodes = {{ZoneMapData::NodeKind::kTile, 0}};
  map.tiles = {{{1, {box}}}};
  const Atlas without_map(folder_.str());
  EXPECT_FALSE(without_map.ZoneAt(15.0, 50.0));
  EXPECT_FALSE(without_map.ZoneNameAt(15.0, 50.0));
  folder_.Write(kZoneMapFile, CompressSzdd(EncodeZoneMap(map)));

  Atlas atlas(folder_.str());
  const auto point = atlas.ZoneAt(15.0, 50.0, LocalTime{1990, 7, 1, 12, 0, 0});
  ASSERT_TRUE(point);
  EXPECT_EQ(std::tie(point->Iana, point->TzAbbreviation, point->Zone.UtcOffsetHours),
            std::tuple("Test/East", "CET", 1.0));
  const auto sea = atlas.ZoneAt(-30.0, 0.0, LocalTime{1990, 7, 1, 12, 0, 0});
  ASSERT_TRUE(sea);
  EXPECT_EQ(std::tie(sea->Iana, sea->TzAbbreviation), std::tuple("Test/West", "+00"));
  EXPECT_THROW(atlas.ZoneAt(15.0, 91.0), std::invalid_argument);
  EXPECT_EQ(atlas.ZoneNameAt(15.0, 50.0), "Test/East");
  EXPECT_EQ(atlas.ZoneNameAt(-30.0, 0.0), "Test/West");
  EXPECT_THROW(atlas.ZoneNameAt(181.0, 0.0), std::invalid_argument);
  // Coordinates and a user place there read a local time alike, around a
  // change, before 1900 (where the time of day counts back from midnight)
  // and before the year 100.
  EXPECT_EQ(atlas.AddPlace("D", "Meer", -30.0, 0.0, 1), "");
  for (const LocalTime& t : {LocalTime{1990, 3, 31, 22, 59, 59}, LocalTime{1990, 3, 31, 23, 30, 0},
                             LocalTime{1990, 4, 1, 0, 0, 1}, LocalTime{1850, 6, 1, 12, 0, 0},
                             LocalTime{50, 1, 1, 12, 0, 0}}) {
    const auto here = atlas.ZoneAt(-30.0, 0.0, t);
    const auto place = atlas.Lookup("Meer", "D", t);
    ASSERT_TRUE(here && place) << t.Year;
    EXPECT_EQ(std::tie(here->Zone.UtcOffsetHours, here->LocalTime, here->TzAbbreviation),
              std::tie(place->Zone.UtcOffsetHours, place->LocalTime, place->TzAbbreviation))
        << t.Year << "-" << t.Month << "-" << t.Day << " " << t.Hour << ":" << t.Minute;
  }
  EXPECT_TRUE(atlas.DeletePlace("D", "Meer"));

  EXPECT_EQ(atlas.AddPlace("D", "Ostdorf", 15.0, 50.0, 1), "");
  EXPECT_EQ(atlas.AddPlace("D", "Westdorf", 15.0, 50.0, 1, "Test/West"), "");
  EXPECT_EQ(atlas.AddPlace("D", "Nirgends", 15.0, 50.0, 1, "Test/Nowhere"),
            "the atlas knows no zone \"Test/Nowhere\"");
  EXPECT_FALSE(atlas.Lookup("Nirgends", "D"));
  const LocalTime july{1990, 7, 1, 12, 0, 0};
  EXPECT_EQ(atlas.Lookup("Ostdorf", "D", july)->Iana, "Test/East");
  EXPECT_EQ(std::tuple(atlas.Nearest("D", 15.01, 50.0, 0, july)->Name,
                       atlas.Nearest("D", 15.01, 50.0, 0, july)->Iana,
                       atlas.Nearest("D", 10.01, 50.0)->Iana),
            std::tuple("Ostdorf", "Test/East", ""));
  EXPECT_EQ(atlas.Lookup("Westdorf", "D", july)->Iana, "Test/West");
  EXPECT_EQ(folder_.Read("USER/D.TZN"), "Westdorf\tTest/West\r\n");

  // Every answer tells its source; "before 1970" counts the instant, UTC.
  using Kind = ZoneSourceKind;
  const auto source = [](const auto& answer) {
    return std::tuple(answer->Source.Kind, answer->Source.Iana, answer->Source.TzdataVersion,
                      answer->Source.Before1970);
  };
  EXPECT_EQ(source(point), std::tuple(Kind::kZoneHistory, "Test/East", "2025b", false));
  EXPECT_EQ(source(atlas.ZoneAt(15.0, 50.0, LocalTime{1970, 1, 1, 0, 59, 59})),
            std::tuple(Kind::kZoneHistory, "Test/East", "2025b", true));
  EXPECT_EQ(source(atlas.ZoneAt(15.0, 50.0, LocalTime{1970, 1, 1, 1, 0, 0})),
            std::tuple(Kind::kZoneHistory, "Test/East", "2025b", false));
  EXPECT_EQ(source(atlas.ZoneAt(-30.0, 0.0, LocalTime{1970, 1, 1, 0, 59, 59})),
            std::tuple(Kind::kZoneHistory, "Test/West", "2025b", false));  // 01:59:59 UTC
  EXPECT_EQ(source(atlas.Lookup("Ostdorf", "D", july)),
            std::tuple(Kind::kZoneHistory, "Test/East", "2025b", false));
  EXPECT_EQ(source(atlas.Lookup("Westdorf", "D", july)),
            std::tuple(Kind::kNamedZone, "Test/West", "2025b", false));
  EXPECT_EQ(source(atlas.Lookup("Ostdorf", "D")), std::tuple(Kind::kTimetable, "", "", false));
  // München has no history of its own here: its timetable, or its own mean time.
  EXPECT_EQ(source(atlas.Lookup("München", "D", july)),
            std::tuple(Kind::kTimetable, "", "", false));
  EXPECT_EQ(source(atlas.Lookup("München", "D", LocalTime{1850, 6, 1, 12, 0, 0})),
            std::tuple(Kind::kMeanTime, "", "", true));
  // Near the line at 10 degrees east the other side keeps another clock;
  // farther in, or where both keep the same, nothing is said.
  const auto edge = atlas.ZoneAt(10.03, 50.0, july);
  ASSERT_TRUE(edge);
  ASSERT_EQ(edge->NearbyZones.size(), 1U);
  EXPECT_EQ(std::tuple(edge->NearbyZones[0].Iana, edge->NearbyZones[0].UtcOffsetHours,
                       edge->NearbyZones[0].TzAbbreviation),
            std::tuple("Test/West", 0.0, "+00"));
  EXPECT_NEAR(edge->NearbyZones[0].Meters, 0.03 * 111195 * std::cos(50 * 0.0174533), 20);
  EXPECT_TRUE(atlas.ZoneAt(12.0, 50.0, july)->NearbyZones.empty());
  EXPECT_EQ(atlas.AddPlace("D", "Granzdorf", 10.03, 50.0, 1), "");
  EXPECT_EQ(atlas.Lookup("Granzdorf", "D", july)->NearbyZones.size(), 1U);
  EXPECT_TRUE(atlas.Lookup("Granzdorf", "D")->NearbyZones.empty());  // no date, no instant
  EXPECT_EQ(SourceText(atlas.Lookup("Westdorf", "D", july)->Source, 1, "D"),
            "Test/West in tzdata 2025b, the zone the user named");
  EXPECT_EQ(SourceText(atlas.Lookup("München", "D", LocalTime{1850, 6, 1, 12, 0, 0})->Source, 1,
                       "D", true),
            "mittlere Ortszeit des Ortes (Länge / 15); vor 1970, was tzdata nicht vollständig zu "
            "führen verspricht");
  // A place added again under a deleted one's name follows the map.
  EXPECT_TRUE(atlas.DeletePlace("D", "Westdorf"));
  EXPECT_FALSE(std::filesystem::exists(folder_.path() / "USER/D.TZN"));
  EXPECT_EQ(atlas.AddPlace("D", "Westdorf", 15.0, 50.0, 1), "");
  EXPECT_EQ(atlas.Lookup("Westdorf", "D", july)->Iana, "Test/East");

  folder_.Write("USER/D.TZN", "Westdorf Test/West\r\n");
  try {
    Atlas(folder_.str()).Lookup("Westdorf", "D", july);
    ADD_FAILURE() << "a damaged zone file was read";
  } catch (const AtlasError& e) {
    EXPECT_EQ(std::tuple(e.file().ends_with("USER\\D.TZN"), e.problem()),
              std::tuple(true, "line 1 has no TAB"));
  }
}

// Regression: the kind of local time was asked by name, so every place of a
// name got the first one's timetable.
TEST_F(AtlasTest, SkippedHourComesFromEachPlacesOwnTimetable) {
  const Atlas atlas(folder_.str());
  const auto places = atlas.Search("Neustadt", "D", LocalTime{1997, 3, 30, 2, 30, 0});
  ASSERT_EQ(places.size(), 2U);
  for (const auto& p : places) {
    EXPECT_EQ(p.LocalTime, p.Timetable == 1 ? LocalTimeKind::kSkipped : LocalTimeKind::kNormal)
        << "timetable " << p.Timetable;
  }
}

TEST_F(AtlasTest, NumbersReadAlikeUnderAGermanLocale) {
  const Atlas atlas(folder_.str());
  std::optional<PlaceInfo> found;
  std::optional<PlaceInfo> nearest;
  {
    const testing::GermanNumbers german;
    if (german.name().empty()) GTEST_SKIP() << testing::kNoGermanLocale;
    found = atlas.Lookup("München", "D");
    nearest = atlas.Nearest("D", 11.6, 48.1);
  }
  ASSERT_TRUE(found && nearest);
  EXPECT_EQ(std::tie(found->Longitude, nearest->Latitude, nearest->Zone.Abbreviation),
            std::tuple(11.57549, 48.13743, "MET"));
  EXPECT_FALSE(atlas.Nearest("D", 0.0, 0.0, 1.0));
}

TEST_F(AtlasTest, AFolderWithoutAnAtlasOrADamagedPlaceFileIsAnErrorNamingTheFile) {
  const testing::TempFolder empty;
  EXPECT_NE(FileOfError([&] { Atlas{empty.str()}; }).find("Country.dat"), std::string::npos);
  folder_.Write("D.dao", std::string("SZDD\x88\xF0\x27\x33Q", 9));  // mode 'Q' is no SZDD mode
  const Atlas atlas(folder_.str());
  EXPECT_NE(FileOfError([&] { atlas.Lookup("München", "D"); }).find("D.dao"), std::string::npos);
}

TEST_F(AtlasTest, AddPlaceSaysWhyItStoresNothing) {
  Atlas atlas(folder_.str());
  EXPECT_EQ(atlas.AddPlace("D", "  ", 10, 50), "the name is empty");
  EXPECT_EQ(atlas.AddPlace("D", "@Ort", 10, 50),
            "a name cannot begin with \"@\", the mark of a deleted place");
  EXPECT_EQ(atlas.AddPlace("D", "Ort", 10, 50, 9), "D has no timetable 9 (it offers 0 to 3)");
  EXPECT_EQ(atlas.AddPlace("D", "Ort", 200, 50),
            "coordinates lie within -180 to 180 degrees of longitude and -90 to 90 of latitude");
  EXPECT_NE(atlas.AddPlace("D", "Ort\xF0\x9F\x98\x80", 10, 50).find("U+1F600"), std::string::npos);
  EXPECT_NE(atlas.AddPlace("EUROPA", "Ort", 10, 50).find("group"), std::string::npos);
  EXPECT_FALSE(atlas.Lookup("Ort", "D"));
  EXPECT_FALSE(atlas.DeletePlace("D", "München"));  // atlas places stay
}

// Names a search cannot tell apart by their letters are told of when one
// is added; a name spelled the same is not "alike", nor is an atlas place.
TEST_F(AtlasTest, UserPlacesWithTheSameLettersAreToldOf) {
  Atlas atlas(folder_.str());
  ASSERT_EQ(atlas.AddPlace("D", "Testort 1", 10, 50), "");
  EXPECT_TRUE(atlas.UserPlacesAlike("D", "Testort 1").empty());
  ASSERT_EQ(atlas.AddPlace("D", "Testort 2", 11, 51), "");
  EXPECT_EQ(atlas.UserPlacesAlike("D", "Testort 2"), std::vector<std::string>{"Testort 1"});
  EXPECT_EQ(atlas.UserPlacesAlike("D", "testort 2"), std::vector<std::string>{"Testort 1"});
  ASSERT_EQ(atlas.AddPlace("D", "Munchen", 11, 48), "");
  EXPECT_TRUE(atlas.UserPlacesAlike("D", "Munchen").empty());  // München is the atlas's
}

TEST_F(AtlasTest, InputsBeyondTheirLimitsAreArgumentErrors) {
  Atlas atlas(folder_.str());
  const std::string long_text(257, 'a');
  EXPECT_THROW(atlas.Lookup(long_text, "D"), std::invalid_argument);
  EXPECT_THROW(atlas.Search("a*", long_text), std::invalid_argument);
  EXPECT_NO_THROW(atlas.Lookup(std::string(256, 'a'), "D"));
  // A country is never a pattern: "D*" would be Delaware's places.
  for (const char* pattern : {"D*", "?", "[D]"}) {
    EXPECT_THROW(atlas.Lookup("Neustadt", pattern), std::invalid_argument) << pattern;
    EXPECT_THROW(atlas.Nearest(pattern, 10, 50), std::invalid_argument) << pattern;
  }
  for (const auto& [longitude, latitude] : std::vector<std::pair<double, double>>{
           {200, 50}, {10, 95}, {180.0000001, 0}, {1e308, 0}, {std::nan(""), 0}})
    EXPECT_THROW(atlas.Nearest("D", longitude, latitude), std::invalid_argument) << longitude;
  EXPECT_THROW(atlas.Nearest("D", 10, 50, -1), std::invalid_argument);
  EXPECT_TRUE(atlas.Nearest("D", 180, -90));
  // A name longer than the field would be stored cut, found by no one who typed it.
  const std::string x29(29, 'x');
  EXPECT_EQ(atlas.AddPlace("D", x29, 10, 50),
            "the name \"" + x29 + "\" is longer than the 28 letters a place name holds");
  EXPECT_EQ(atlas.AddPlace("D", std::string(28, 'x'), 10, 50), "");
  EXPECT_TRUE(atlas.Lookup(std::string(28, 'x'), "D"));
}

TEST_F(AtlasTest, TwoAtlasesAnswerFromTheirOwnFoldersAndUserPlaces) {
  const testing::TempFolder other_folder;  // the same tables, other places
  other_folder.Write("Country.dat", testing::JoinCrLf(testing::SampleCountryLines()));
  other_folder.Write("Zones13.bin", testing::ProjectZoneFile());
  WritePlaceFiles(other_folder.path(), "D", {testing::Place("Hamburg", 10.0F, 53.55F, 1)});
  Atlas here(folder_.str());
  Atlas there(other_folder.str());
  EXPECT_TRUE(here.Lookup("München", "D"));
  EXPECT_FALSE(there.Lookup("München", "D"));
  EXPECT_TRUE(there.Lookup("Hamburg", "D"));

  ASSERT_EQ(here.AddPlace("D", "Gartenhaus", 11.0, 48.0), "");
  EXPECT_TRUE(here.Lookup("Gartenhaus", "D"));
  EXPECT_FALSE(there.Lookup("Gartenhaus", "D"));
  // A second object on the same folder sees the place at once.
  EXPECT_TRUE(Atlas(folder_.str()).Lookup("Gartenhaus", "D")->UserPlace);
  EXPECT_TRUE(here.DeletePlace("D", "Gartenhaus"));
  EXPECT_FALSE(here.Lookup("Gartenhaus", "D"));

  // classPlaces keeps its default atlas whatever the objects do.
  classPlaces places;
  places.PlacePath(other_folder.str());
  EXPECT_EQ(places.GetPlaceData("Hamburg", "D"), 1);
  EXPECT_TRUE(here.Lookup("München", "D"));
  EXPECT_EQ(places.GetPlaceData("München", "D"), 0);
}

TEST_F(AtlasTest, CountriesAreSortedByTitleAndTheTablesNamedAsTyped) {
  const Atlas atlas(folder_.str(), kLanguageEnglish);
  ASSERT_FALSE(atlas.Countries().empty());
  const auto germany = atlas.FindCountry("Deutschland");
  ASSERT_TRUE(germany);
  EXPECT_EQ(std::tie(germany->Code, germany->Timetables), std::tuple("D", 3));
  const auto europe = atlas.FindCountry("Europe");
  EXPECT_TRUE(europe && europe->IsGroup);
  EXPECT_EQ(atlas.Zones().size(), 287U);
  const auto timetable = atlas.Timetable("D", 1);
  ASSERT_GT(timetable.size(), 1U);
  EXPECT_EQ(timetable.front().From.Year, 1700);
  EXPECT_TRUE(timetable.front().Zone.IsLmt);
}

TEST(AtlasParsing, CoordinatesAsDegreeTextOrDecimals) {
  EXPECT_NEAR(*ParseLatitude("48N08"), 48.0 + 8.0 / 60, 1e-9);
  EXPECT_NEAR(*ParseLongitude("-0,5"), -0.5, 1e-9);
  EXPECT_FALSE(ParseLongitude("east"));
  EXPECT_FALSE(ParseLatitude("91"));
  EXPECT_FALSE(ParseLongitude("181"));
}

TEST(AtlasNames, WhyANameCannotBeLookedUpOrStored) {
  EXPECT_EQ(WhyNoName("München", "name"), "");
  EXPECT_EQ(WhyNoName("ភ្នំពេញ", "name"), "");  // looked up in its own letters
  EXPECT_NE(WhyNotStorable("ភ្នំពេញ", "name").find("U+1797"), std::string::npos);
  EXPECT_EQ(WhyNoName("M\xF0\x9F\x98\x80nchen", "name"),
            "character 2 (U+1F600) of the name \"M\xF0\x9F\x98\x80nchen\" is part of no name");
  EXPECT_EQ(WhyNoName("M\xFCnchen", "name"), "character 2 of the name is not UTF-8");
}

}  // namespace
}  // namespace tarv
