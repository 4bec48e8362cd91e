#include "tarvplaces/places.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <tuple>

#include "atlas/atlas_state.h"
#include "support/atlas_fixture.h"
#include "support/country_fixture.h"
#include "support/temp_folder.h"
#include "support/zone_fixture.h"
#include "text/lz.h"
#include "util/julian.h"

namespace tarv {
namespace {

using testing::JoinCrLf;
using testing::SampleCountryLines;

class PlacesTest : public testing::AtlasTest {
 protected:
  void SetUp() override {
    AtlasTest::SetUp();
    folder_.Write("Country.dat", JoinCrLf(SampleCountryLines()));
    folder_.Write("Zones13.bin", testing::ProjectZoneFile());
  }
  std::vector<std::string> Countries() {
    std::vector<std::string> countries;
    places_.FillCountryArray(countries);
    return countries;
  }
  classPlaces places_;
};

TEST_F(PlacesTest, PlacePathAsksTheHostOnceWhenEmptyAndIsShared) {
  EXPECT_EQ(places_.PlacePath(), "");  // no handler
  int raised = 0;
  places_.FillPlacePath = [&](std::string& path) {
    ++raised;
    path = folder_.str();
  };
  EXPECT_EQ(places_.PlacePath(), folder_.str());
  EXPECT_EQ(places_.PlacePath(), folder_.str());
  EXPECT_EQ(raised, 1);  // filled once, then kept for the process
  places_.PlacePath("C:\\Atlas");
  EXPECT_EQ(classPlaces().PlacePath(), "C:\\Atlas");
}

TEST_F(PlacesTest, FillCountryArrayRaisesItsEventsAndGivesUtf8LinesInTableOrder) {
  places_.PlacePath(folder_.str());
  std::vector<std::string> events;
  places_.FillPlacePath = [&](std::string& path) { events.push_back("FillPlacePath " + path); };
  places_.FillCountryFile = [&](std::string& file) { events.push_back("FillCountryFile " + file); };
  places_.SortCountryFile = [&](bool& sort) {
    events.push_back(sort ? "SortCountryFile true" : "SortCountryFile false");
  };
  const auto countries = Countries();
  EXPECT_EQ(events,
            (std::vector<std::string>{"FillPlacePath " + folder_.str(),
                                      "FillCountryFile Country.dat", "SortCountryFile true"}));
  ASSERT_EQ(countries.size(), 24U);
  EXPECT_EQ(countries[0], "0\tunbekannt\t*\t*\t*\t*\t*\tunbekannt\t\t0\t0");
  EXPECT_EQ(countries[1], "3\tAlgerien\tDZ\tMEZ\tAFRIKA\tMitteleuropa\t\tinfo\t1893\t1\t0");
  EXPECT_EQ(countries[12].substr(0, 14), "11\tÖsterreich");
  EXPECT_EQ(countries[23], "23\tUSA\tUSA\t\tUSA\t\t\t\t\t6\t0");
}

TEST_F(PlacesTest, HostChoosesCountryFileAndOrder) {
  folder_.Write("Other.dat",
                JoinCrLf({testing::CountryDatLine(5, "Zypern", "CY", "OEZ", "EUROPA", 4),
                          testing::CountryDatLine(6, "Malta", "M", "MEZ", "EUROPA", 4)}));
  places_.FillPlacePath = [&](std::string& path) { path = folder_.str(); };
  places_.FillCountryFile = [](std::string& file) { file = "Other.dat"; };
  places_.SortCountryFile = [](bool& sort) { sort = false; };
  const auto countries = Countries();
  ASSERT_EQ(countries.size(), 9U);
  EXPECT_EQ(countries[1].substr(0, 8), "5\tZypern");
}

TEST_F(PlacesTest, OnlyThePathCheckingMembersRaiseFillPlacePath) {
  int raised = 0;
  places_.FillPlacePath = [&](std::string&) { ++raised; };
  places_.GetCountryIndexOfID(58);
  places_.GetInternalCountryAbbreviation("RUS");
  places_.GetContinentID("europa");
  places_.HaveSeveralTimeZones("RUS");
  places_.HaveTimetables("D");
  places_.Language();
  EXPECT_EQ(raised, 0);
  places_.GetCountryID("D");
  EXPECT_EQ(raised, 1);
}

TEST_F(PlacesTest, CountryLookupsConvertHostText) {
  places_.PlacePath(folder_.str());
  EXPECT_EQ(places_.GetCountryID("Österreich"), 0);  // loading call
  EXPECT_EQ(std::tuple(places_.GetCountryID("Österreich"), places_.GetCountryID("österr"),
                       places_.GetCountryIndexOfID(11), places_.GetContinentID("Europ")),
            std::tuple(11, 11, 2, 4));
  EXPECT_EQ(places_.GetInternalCountryAbbreviation("Slo"), "YU");
  EXPECT_TRUE(places_.HaveSeveralTimeZones("rus"));
  EXPECT_EQ(places_.HaveTimetables("usny"), 226);
}

TEST_F(PlacesTest, LanguageLetLoadsTheResourceFileIfGiven) {
  EXPECT_EQ(places_.Language(), kLanguageGerman);
  places_.Language(std::string(), 1);
  EXPECT_EQ(places_.Language(), 1);
  auto& texts = classPlaces::LanguageComponent();
  EXPECT_EQ(texts.ResourceFile(), "");
  const auto file = folder_.Write("texts.txt", "100\tOrt\r\n101\tLand\r\nno number\r\n");
  places_.Language(file.string(), 2);
  EXPECT_EQ(places_.Language("ignored"), 2);
  EXPECT_EQ(std::tuple(texts.Text(101), texts.Text(102)), std::tuple("Land", ""));
}

TEST_F(PlacesTest, ContinentNamesFollowTheLanguageAtLoadTime) {
  places_.PlacePath(folder_.str());
  places_.Language(1);
  const auto countries = Countries();
  EXPECT_EQ(countries.back(), "23\tUSA\tUSA\t\tUSA\t\t\t\t\t6\t0");
  EXPECT_EQ(countries[countries.size() - 3].substr(0, 9), "21\tEUROPE");
}

TEST_F(PlacesTest, TimezoneArrayIsDeliberatelyEmptyOnTheLoadingCall) {
  places_.PlacePath(folder_.str());
  EXPECT_TRUE(places_.GetTimezoneArray().empty());
  const auto zones = places_.GetTimezoneArray();
  ASSERT_EQ(zones.size(), 287U);
  EXPECT_EQ(zones[2].substr(0, 13), "MET         \t");
  EXPECT_EQ(classPlaces().GetTimezoneArray().size(), 287U);  // table shared, array per instance
}

TEST_F(PlacesTest, ZoneMembersAskForThePlaceFolder) {
  int raised = 0;
  places_.FillPlacePath = [&](std::string& path) {
    ++raised;
    path = folder_.str();
  };
  EXPECT_EQ(places_.GetTimezoneId(" mez "), places_.GetTimezoneId("MET"));
  EXPECT_NE(places_.GetTimezoneId("MET"), 0);
  EXPECT_EQ(raised, 1);
}

TEST_F(PlacesTest, ZoneTimeOfZoneZeroIsSharedWithLaterReaders) {
  places_.PlacePath(folder_.str());
  places_.GetTimeZoneListString(0, 1.5);
  std::vector<std::string> zones;
  places_.FillTimezoneArray(zones);
  ASSERT_EQ(zones.size(), 287U);
  EXPECT_EQ(zones[0],
            "LMT         \tLocal Mean Time" + std::string(30, ' ') + "\t1.5\tL\t0\t-1\t1");
  places_.GetTimeZoneListString(0);
  places_.FillTimezoneArray(zones);
  EXPECT_NE(zones[0].find("\t0\tL\t"), std::string::npos);
}

TEST_F(PlacesTest, MissingZoneFileGivesOneBlankLine) {
  places_.PlacePath(folder_.str() + "/nowhere");
  std::vector<std::string> zones{"old"};
  places_.FillTimezoneArray(zones);
  ASSERT_EQ(zones.size(), 1U);
  EXPECT_EQ(zones[0].substr(0, 12), std::string(12, ' '));
  EXPECT_EQ(places_.GetTimezoneId("MET"), 0);
}

class PlaceLookupTest : public testing::AtlasFixture {
 protected:
  void SetUp() override {
    AtlasFixture::SetUp();
    WriteCountry("D", {testing::Place("M\xFCnchen", 11.57549F, 48.13743F),
                       testing::Place("Berlin", 13.41F, 52.52F, 3)});
    WriteGermanTimetables();
  }
  // A day with summer time in Germany's first timetable.
  const double summer_1997_ = testing::JulianAt(1997, 7, 1, 12);
  classPlaces places_;
};

TEST_F(PlaceLookupTest, FirstPlaceOrZerosAndTheNearestPlaceInUtf8) {
  double lon = 0, lat = 0;
  std::int16_t zone = 0;
  EXPECT_EQ(places_.GetPlaceData("münchen", "D", &lon, &lat, &zone), 1);
  // The zone is where timetable 1 ends.
  EXPECT_EQ(std::tuple(lon, lat, zone),
            std::tuple(static_cast<double>(11.57549F), static_cast<double>(48.13743F),
                       places_.GetTimezoneId("MET")));
  EXPECT_EQ(places_.GetPlaceData("Munchen", "d"), 1);
  EXPECT_EQ(places_.GetPlaceData("Hamburg", "D", &lon, &lat, &zone), 0);
  EXPECT_EQ(std::tuple(lon, lat, zone), std::tuple(0.0, 0.0, 0));
  // The nearest place as a UTF-8 line, or none within the range.
  EXPECT_EQ(places_.GetNearestPlace("D", 11.6, 48.1),
            "München" + std::string(21, ' ') + "\t11.57549\t48.13743\t1\t1");
  EXPECT_EQ(places_.GetNearestPlace("D", 0, 0, 1.0), "");
}

TEST_F(PlaceLookupTest, ZoneAtADateOfAFoundPlace) {
  std::int16_t zone = 0;
  EXPECT_EQ(places_.GetPlaceDataX("München", "D", nullptr, nullptr, &zone, summer_1997_), 1);
  EXPECT_EQ(zone, places_.GetTimezoneId("MET/S"));
  EXPECT_EQ(places_.GetPlaceDataX("München", "D", nullptr, nullptr, &zone), 1);
  EXPECT_EQ(zone, places_.GetTimezoneId("MET"));
  double lon = 1;
  EXPECT_EQ(places_.GetPlaceDataX("München", "D", &lon, nullptr, &zone, 0, 1), 1);
  EXPECT_EQ(lon, 0);  // element 1 is outside the result
  bool lmt = false;
  double zone_time = 0;
  EXPECT_EQ(places_.GetPlaceDataOfId(0, testing::JulianAt(1850, 1, 1, 12), &lmt, &zone_time),
            (std::vector<std::string>{"München", "D", "11.57549", "48.13743", "1", "0", "2"}));
  EXPECT_TRUE(lmt);
  EXPECT_TRUE(places_.GetPlaceDataOfId(5).empty());
}

// Without a date, GetRightTimeZone's text; an unknown country has no zone.
TEST_F(PlaceLookupTest, TimezoneOfCityWithAndWithoutDate) {
  WriteCountry("A", {testing::Place("Wien", 16.37F, 48.21F, 0)});  // no history: its base zone
  using Answer = std::pair<std::string, std::int16_t>;             // the zone and its identifier
  const auto zone_of = [&](const char* name, const char* country, double julian, bool long_name) {
    std::int16_t id = -1;
    const auto zone = places_.GetTimezoneOfCity(name, country, julian, long_name, &id);
    return Answer(long_name ? zone.substr(0, 20) : zone, id);
  };
  const double summer_2005 = testing::JulianAt(2005, 7, 1, 12);
  EXPECT_EQ(zone_of("Berlin", "D", testing::JulianAt(1999, 1, 15, 12), false),
            Answer("EET", Zone("EET")));
  EXPECT_EQ(zone_of("München", "D", summer_2005, false), Answer("MET/S", Zone("MET/S")));
  EXPECT_EQ(zone_of("München", "D", summer_2005, true),
            Answer("Middle European Time", Zone("MET/S")));
  EXPECT_EQ(zone_of("München", "D", 0, false), Answer("MET", Zone("MET")));
  EXPECT_EQ(zone_of("München", "D", testing::JulianAt(50, 7, 1, 12), false).first, "LMT");
  EXPECT_EQ(zone_of("Wien", "A", 0, false), Answer("MEZ", Zone("MET")));
  EXPECT_EQ(zone_of("Wien", "A", 0, true).first, "Middle European Time");
  EXPECT_EQ(places_.GetRightTimeZone("A", 0), "MEZ");
  EXPECT_EQ(zone_of("Berlin", "D", 0, false), Answer("EET", Zone("EET")));
  EXPECT_EQ(zone_of("Atlantis", "Xanadu", 0, false), Answer("", 0));
  EXPECT_EQ(zone_of("Atlantis", "Xanadu", 0, true).first, "");
}

// Lookups in a damaged atlas answer as if they found nothing; the host learns
// why from LastAtlasFault, and the next call starts afresh.
TEST_F(PlaceLookupTest, DamagedFilesAreTheLastCallsFault) {
  EXPECT_FALSE(places_.LastAtlasFault());
  const std::string places = folder_.Read("D.dao");
  folder_.Write("D.dao", places.substr(0, places.size() / 2));
  double lon = 5;
  EXPECT_EQ(places_.GetPlaceData("Berlin", "D", &lon), 0);
  EXPECT_EQ(lon, 0);
  const auto fault = places_.LastAtlasFault();
  EXPECT_EQ(std::tie(fault.File, fault.Code, fault.Reason),
            std::tuple(folder_.str() + "\\D.dao", LZERROR_READ, "corrupt compressed file format"));
  EXPECT_EQ(places_.GetTimezoneOfCity("Berlin", "D", summer_1997_), "");
  EXPECT_TRUE(places_.LastAtlasFault());
  EXPECT_EQ(places_.GetCountryTimeZone("D"), "MEZ");  // reads no place file
  folder_.Write("D.dao", places);
  EXPECT_EQ(places_.GetPlaceData("Berlin", "D"), 1);
  EXPECT_FALSE(places_.LastAtlasFault());

  const std::string timetables = folder_.Read("ttx.dao");
  folder_.Write("ttx.dao", timetables.substr(0, timetables.size() - 1));
  std::int16_t zone = 5;
  EXPECT_EQ(places_.GetPlaceDataX("München", "D", nullptr, nullptr, &zone, summer_1997_), 1);
  EXPECT_EQ(zone, 0);
  EXPECT_EQ(places_.LastAtlasFault().File, folder_.str() + "\\ttx.dao");
  EXPECT_EQ(places_.GetTimezoneOfCity("München", "D", summer_1997_), "");
  EXPECT_EQ(places_.GetTimezoneOfCity("München", "D"), "");
  float dif = 7;
  EXPECT_EQ(places_.Get_TZData("D", 1, testing::At(1997, 7, 1), nullptr, nullptr, &dif), 0.0F);
  EXPECT_EQ(dif, 7);
  EXPECT_EQ(places_.LastAtlasFault().Code, LZERROR_READ);
  // One message per call, under the reader's title.
  const std::size_t before = messages_.size();
  places_.GetTimezoneOfCity("München", "D", summer_1997_);
  ASSERT_EQ(messages_.size(), before + 1);
  EXPECT_EQ(messages_.back().title, "Read_Cp_TimeTable");
}

TEST_F(PlaceLookupTest, TimetablesOfAPlaceAsRowsAndZoneData) {
  const auto timetables = [&](const char* country, const char* name) {
    std::int16_t timetable = 7;
    const auto count = places_.HaveTimetables(country, name, &timetable);
    return std::pair(count, timetable);
  };
  EXPECT_EQ(timetables("D", "Berlin"), std::pair(3, std::int16_t{3}));
  EXPECT_EQ(timetables("D", "Atlantis"), std::pair(3, std::int16_t{1}));  // one when unknown
  EXPECT_EQ(timetables("A", "Wien"), std::pair(0, std::int16_t{7}));
  // Rows with serial dates or Julian days.
  const auto serial = places_.GetTimeTableArray("D", 1);
  ASSERT_EQ(serial.size(), 10U);
  EXPECT_EQ(std::tuple(serial[0].ZoneId, serial[1].Date), std::tuple(0, testing::At(1893, 4, 1)));
  EXPECT_DOUBLE_EQ(places_.GetTimeTableArray("D", 1, true)[1].Date,
                   testing::JulianAt(1893, 4, 1, 0));
  EXPECT_TRUE(places_.GetTimeTableArray("Xanadu", 1).empty());
  std::string name, type;
  float dif = 0;
  EXPECT_EQ(places_.Get_TZData("D", 1, testing::At(1997, 7, 1), &name, nullptr, &dif, &type), 2.0F);
  EXPECT_EQ(std::tuple(name, type), std::tuple("MET/S", "S"));
  EXPECT_EQ(places_.GetCountryTimeZone("D"), "MEZ");
  EXPECT_EQ(places_.GetRightTimeZone("D", 3), "EET");
  EXPECT_EQ(places_.Get_TZData("EUROPA", 1, 1000, &name), 0.0F);
}

// What users type or paste: never a crash, a wrong place or an unfindable name.
using HostileInputTest = PlaceLookupTest;

TEST_F(HostileInputTest, NamesFindNothingAndSetZeros) {
  // A lone surrogate as CESU-8 writes it; a right-to-left mark and "Berlin" in Hebrew.
  const std::string names[] = {std::string(10000, 'M'),
                               "M\xC3",
                               "\377\376Berlin",
                               "\355\240\200Berlin",
                               "\xE2\x80\x8F\xD7\x91\xD7\xA8\xD7\x9C\xD7\x99\xD7\x9F",
                               "Berlin😀",
                               "😀",
                               "\xF0\x9F\x98"};
  for (const auto& name : names) {
    double lon = 5, lat = 5;
    std::int16_t zone = 5;
    EXPECT_EQ(places_.GetPlaceData(name, "D", &lon, &lat, &zone), 0) << name.substr(0, 12);
    EXPECT_EQ(std::tuple(lon, zone), std::tuple(0.0, 0));
  }
  // Control and format characters are no letters: the name the letters spell counts.
  for (const auto& name : {std::string("Mün\1\2\177chen"), std::string("Ber\0lin", 7),
                           std::string("\xE2\x80\x8F") + "Berlin\xE2\x80\x8E"})
    EXPECT_EQ(places_.GetPlaceData(name, "D"), 1) << name;
}

TEST_F(HostileInputTest, CodesWithNulOrUnmappableCharactersAreNoCountry) {
  EXPECT_EQ(places_.GetPlaceData("Berlin", std::string("D\0", 2)), 0);
  EXPECT_EQ(places_.GetPlaceData("Berlin", std::string("\0D", 2)), 0);
  places_.GetCountryID("D");  // loads the table
  for (const auto& code : {std::string("😀"), std::string("\xFF"), std::string("\0", 1)})
    EXPECT_EQ(places_.GetCountryID(code), 0) << code;
}

TEST_F(HostileInputTest, CodesThatCanNameNoFileStoreNothing) {
  const std::string before = folder_.Read("D.dao");
  EXPECT_EQ(places_.AddUserPlace(std::string("D.dao\0X", 7), "Ort", 10.0, 50.0), 0);
  EXPECT_EQ(places_.AddUserPlace(std::string("EUROPA\0", 7), "Ort", 10.0, 50.0), 0);
  // Nothing in USER but the change counter a read may have made.
  std::error_code none;
  for (const auto& entry : std::filesystem::directory_iterator(folder_.path() / "USER", none))
    EXPECT_EQ(entry.path().filename(), "Changes.cnt");
  EXPECT_EQ(folder_.Read("D.dao"), before);
  // A Country.dat whose code holds one is broken, and says which line.
  folder_.Write("Country.dat",
                JoinCrLf({testing::CountryDatLine(58, "Deutschland", "D", "MEZ", "EUROPA", 4),
                          testing::CountryDatLine(59, "Falle", std::string("D.dao\0X", 7), "MEZ",
                                                  "EUROPA", 4)}));
  std::vector<std::string> countries;
  EXPECT_THROW(places_.FillCountryArray(countries), AtlasError);
}

// A name longer than the field would be stored cut, found by no name the host
// used; beyond 256 characters nothing is searched (a megabyte of "[" took seconds).
TEST_F(HostileInputTest, NamesLongerThanTheFieldAndHugeTextsFindNothing) {
  const std::string long_name(29, 'L');
  EXPECT_EQ(places_.AddUserPlace("D", long_name, 10.0, 50.0), 0);
  EXPECT_EQ(places_.AddUserPlace("D", long_name.substr(0, 28), 10.0, 50.0), -1);
  EXPECT_EQ(places_.GetPlaceData(long_name.substr(0, 28), "D"), 1);
  double lon = 0;
  for (const char fill : {'[', '*', 'a'}) {
    const std::string huge(1 << 20, fill);
    EXPECT_EQ(places_.GetPlaceData(huge, "D", &lon), 0) << fill;
    EXPECT_EQ(places_.GetPlaceDataX(huge, "D"), 0) << fill;
    EXPECT_EQ(places_.SearchAllCountries(huge), 0) << fill;
  }
  EXPECT_GT(places_.GetPlaceDataX(std::string(256, '*'), "D"), 1);  // 256 still searches
}

TEST_F(HostileInputTest, UserPlacesTakeOnlyTimetablesTheCountryHas) {
  const auto count = static_cast<std::int16_t>(places_.HaveTimetables("D"));
  ASSERT_GT(count, 0);
  EXPECT_EQ(places_.AddUserPlace("D", "Zuweit", 10.0, 50.0, static_cast<std::int16_t>(count + 1)),
            0);
  EXPECT_EQ(places_.AddUserPlace("D", "Negativ", 10.0, 50.0, -1), 0);
  EXPECT_EQ(places_.AddUserPlace("D", "Letzte", 10.0, 50.0, count), -1);
  EXPECT_EQ(places_.AddUserPlace("A", "Ohne", 16.0, 48.0, 2), 0);  // Austria has none
  EXPECT_EQ(places_.AddUserPlace("A", "Erste", 16.0, 48.0, 1), -1);
  double lon = 0;
  EXPECT_EQ(places_.GetPlaceData("Zuweit", "D", &lon), 0);
  EXPECT_EQ(places_.GetPlaceData("Letzte", "D", &lon), 1);
  // A title finds a country but names no place file no lookup by it reads.
  ASSERT_EQ(places_.GetCountryID("Deutsch"), places_.GetCountryID("D"));
  EXPECT_EQ(places_.AddUserPlace("Deutsch", "Titelort", 10.0, 50.0), 0);
  EXPECT_EQ(places_.GetPlaceData("Titelort", "D", &lon), 0);
  EXPECT_EQ(places_.DeleteUserPlace("Deutsch", "Letzte"), 0);
  EXPECT_EQ(places_.GetPlaceData("Letzte", "D", &lon), 1);
  EXPECT_EQ(places_.AddUserPlace("d", "Kleinort", 10.0, 50.0), -1);  // codes in any case
}

TEST_F(HostileInputTest, DeleteCleansTheNameAsAddDoes) {
  // Leading blanks and control characters do not count against the 28.
  const std::string name = "   Ober\tunterhausen an der Mull";
  ASSERT_EQ(places_.AddUserPlace("D", name, 10.0, 50.0), -1);
  ASSERT_EQ(places_.GetPlaceData("Ober unterhausen an der Mull", "D"), 1);
  EXPECT_EQ(places_.DeleteUserPlace("D", name), -1);
  EXPECT_EQ(places_.GetPlaceData("Ober unterhausen an der Mull", "D"), 0);
}

TEST_F(HostileInputTest, UserPlacesWithUnmappableNamesAreRefused) {
  EXPECT_EQ(places_.AddUserPlace("D", "Neustadt😀", 10.0, 50.0, 1), 0);
  EXPECT_EQ(places_.AddUserPlace("D", "\xFF", 10.0, 50.0, 1), 0);
  EXPECT_FALSE(std::filesystem::exists(folder_.path() / "USER" / "D.dao"));
  // Other scripts are transliterated, stored and found again.
  EXPECT_EQ(places_.AddUserPlace("D", "Новый", 10.0, 50.0, 1), -1);
  EXPECT_EQ(places_.GetPlaceData("Новый", "D"), 1);
  EXPECT_EQ(places_.GetPlaceData("Novyy", "D"), 1);
}

}  // namespace
}  // namespace tarv
