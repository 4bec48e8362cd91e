#include "atlas/name_index.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "atlas/name_key.h"
#include "atlas/place_search.h"
#include "support/atlas_fixture.h"
#include "support/fault_text.h"
#include "tarvplaces/places.h"
#include "text/bytes.h"
#include "text/codepage.h"

namespace tarv {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using testing::Names;
using testing::Place;

TEST(NameKey, FoldsCaseAccentsPunctuationAndBlanks) {
  const std::pair<const char*, const char*> cases[] = {
      {"Sankt P\xF6lten", "sanktpolten"},
      {"St.-Jean-d'Ang\xE9ly", "stjeandangely"},
      {"\306r\370sk\370bing", "aeroskobing"},
      {"Stra\337e", "strasse"},
      {"\212ibenik", "sibenik"},
      {"Praha 5", "praha5"},  // digits tell districts apart
      {" .-'", ""}};
  for (const auto& [name, key] : cases)
    EXPECT_EQ(NameKey(name), key) << name;
  // An unmappable character matches no name.
  EXPECT_NE(NameKey(AnsiFromUtf8("Berlin😀")), NameKey("Berlin"));
}

TEST(NameKey, UmlautsAreFiledUnderBothTranscriptions) {
  EXPECT_THAT(NameKeysOf("M\xFCnchen"), ElementsAre("munchen", "muenchen"));
  EXPECT_THAT(NameKeysOf("K\xF6ln"), ElementsAre("koln", "koeln"));
  EXPECT_THAT(NameKeysOf("Berlin"), ElementsAre("berlin"));
  EXPECT_TRUE(NameKeysOf("--").empty());
  EXPECT_EQ(NameKey("Muenchen"), NameKeysOf("M\xFCnchen")[1]);
}

TEST(NameKey, TypedNamesGetTheKeysTheirScriptsAreFiledUnder) {
  // Arabic's ain comes out of the romanisation as a modifier letter (U+02BF),
  // which no key keeps: عمّان.
  const std::string amman = "\xD8\xB9\xD9\x85\xD9\x91\xD8\xA7\xD9\x86";
  EXPECT_TRUE(IsTransliterable(amman));
  // Khmer has no romanisation: its letters themselves, blanks dropped.
  const std::string phnom = "\xE1\x9E\x97\xE1\x9F\x92\xE1\x9E\x93\xE1\x9F\x86";
  const std::string penh = "\xE1\x9E\x96\xE1\x9F\x81\xE1\x9E\x89";
  EXPECT_EQ(NameKeysOfText(phnom + penh), std::vector<std::string>{phnom + penh});
  EXPECT_EQ(TypedNameKey("M\xC3\xBCnchen"), "munchen");
  EXPECT_EQ(TypedNameKey("\xD0\x9C\xD0\xBE\xD1\x81\xD0\xBA\xD0\xB2\xD0\xB0"), "moskva");
  EXPECT_EQ(TypedNameKey(amman), "man");
  EXPECT_EQ(TypedNameKey(phnom + " " + penh), phnom + penh);
  // What is part of no name makes no key, nor does a symbol some romanisation
  // would still spell (a CJK radical, U+2EAC, found by the fuzzer).
  for (const std::string& none :
       {std::string("\xF0\x9F\x98\x80"), phnom + "\x01", std::string("Berlin\xF0\x9F\x98\x80"),
        std::string("\xE2\xBA\xAC")})
    EXPECT_EQ(TypedNameKey(none), "") << none;
  EXPECT_TRUE(NameKeysOfText("L\xE2\xBA\xAC").empty());
  EXPECT_EQ(FirstNonNameCharacter(phnom + "\xF0\x9F\x98\x80").position, 5U);
  EXPECT_EQ(FirstNonNameCharacter("\xF0\x9F\x98\x80").code_point, 0x1F600);
  EXPECT_EQ(FirstNonNameCharacter("ab\xFF").code_point, -1);
  EXPECT_EQ(FirstNonNameCharacter("48\302\26008' N").position, 0U);  // ° is the code page's
}

TEST(NameIndexFormat, RoundTripsAndRanksByPopulation) {
  const std::string bytes = EncodeNameIndex(
      {{"perth", 3, 2000}, {"perth", 1, 2000000}, {"munich", 2, 1500000}, {"perth", 3, 2000}}, 5);
  const auto index = *NameIndex::Read(bytes, "D.NDX");
  EXPECT_EQ(std::tuple(index->RecordCount(), index->size()), std::tuple(5, 3U));  // repeat once
  const auto perth = index->Find("perth", false);
  ASSERT_EQ(perth.size(), 2U);
  EXPECT_EQ(std::tuple(perth[0].record, perth[1].record), std::tuple(1, 3));
  EXPECT_EQ(std::tuple(index->Find("per", true).size(), index->Find("per", false).size(),
                       index->Find("m", true).at(0).record, index->Find("", true).size()),
            std::tuple(2U, 0U, 2, 0U));
  ASSERT_EQ(index->Entries().size(), 3U);
  EXPECT_EQ(index->Entries()[0].key, "munich");
}

TEST(NameIndexFormat, WriterRefusesWhatNoReaderCouldUse) {
  for (const NameIndexEntry& bad :
       {NameIndexEntry{"", 1, 0}, {std::string(256, 'a'), 1, 0}, {"a", 2, 0}, {"a", 0, 0}})
    EXPECT_THROW(EncodeNameIndex({bad}, 1), std::invalid_argument) << bad.key << bad.record;
}

TEST(NameIndexFormat, EveryDamageIsAFaultNamingTheFile) {
  const std::string good = EncodeNameIndex({{"wien", 1, 100}, {"vienna", 1, 100}}, 2);
  constexpr std::size_t kFirstEntry = 16 + 2 * 5;  // header, populations and ranks
  const auto changed = [](std::string bytes, std::size_t at, char byte) {
    bytes[at] = byte;
    return bytes;
  };
  std::string absurd_count = good;
  absurd_count.replace(12, 4, "\xFF\xFF\xFF\xFF");
  const std::pair<std::string, std::string> cases[] = {
      {"", "not a name index"},
      {"XXXX" + good.substr(4), "not a name index"},
      {good.substr(0, good.size() - 1), "entry 2 is cut off"},
      {good + "x", "1 bytes after the last entry"},
      {changed(good, 4, 3), "name index version 3 is not known"},
      {changed(good, 16 + 2 * 4, 8), "record 1 has rank 8"},
      {good.substr(0, 16 + 2 * 4), "the populations and ranks of 2 records do not fit in 24 bytes"},
      {absurd_count, "4294967295 entries do not fit in 42 bytes"},
      {changed(EncodeNameIndex({{"wien", 1, 100}}, 1), 16 + 5 + 5, 2),
       "entry 1 names record 2 of 1"},
      {changed(good, kFirstEntry + 1, 'z'), "entry 2 is out of key order"},  // "zienna"
      {changed(good, kFirstEntry, 0), "entry 1 is cut off or has no key"}};
  for (const auto& [bytes, why] : cases) {
    const auto index = NameIndex::Read(bytes, "A.NDX");
    ASSERT_FALSE(index) << why << ": accepted";
    EXPECT_EQ(index.fault().file, "A.NDX") << why;
    EXPECT_THAT(index.fault().problem, HasSubstr(why));
  }
}

TEST(NameIndexFormat, VersionOneIsReadWithTheLargestPopulationOfARecord) {
  std::string v1 = "TPNX";
  AppendInt16(v1, 1);
  AppendInt16(v1, 0);
  AppendInt32(v1, 2);  // records
  AppendInt32(v1, 3);  // entries
  for (const auto& [key, record, population] :
       std::vector<std::tuple<std::string, std::int16_t, std::int32_t>>{
           {"muenchen", 2, 1400000}, {"munich", 2, 1500000}, {"perth", 1, 2000}}) {
    v1 += static_cast<char>(key.size());
    v1 += key;
    AppendInt16(v1, record);
    AppendInt32(v1, population);
  }
  const auto index = *NameIndex::Read(v1, "D.NDX");
  EXPECT_EQ(std::tuple(index->Population(2), index->Population(1), index->Rank(1)),
            std::tuple(1500000U, 2000U, kOrdinaryPlaceRank));
  EXPECT_EQ(index->Find("muenchen", false).at(0).population, 1500000U);
  EXPECT_FALSE(NameIndex::Read(v1.substr(0, v1.size() - 1), "D.NDX"));
}

class NameIndexSearch : public testing::AtlasFixture {
 protected:
  void SetUp() override {
    AtlasFixture::SetUp();
    WriteCountry("D", {Place("M\xFCnchen", 11.575F, 48.137F, 2), Place("Berlin", 13.4F, 52.5F),
                       Place("M\xFCnchenbernsdorf", 12.0F, 50.8F),
                       Place("Sch\xF6nau am K\xF6nigssee", 12.98F, 47.6F)});
    WriteCountry("A", {Place("Wien", 16.37F, 48.21F)});
  }
  void WriteIndex(const std::string& code, const std::vector<NameIndexEntry>& names) {
    PlaceList all;
    Read_Cp_ORTE(PlaceFile(code), all);
    folder_.Write(code + ".NDX",
                  CompressSzdd(EncodeNameIndex(names, static_cast<std::int32_t>(all.size()))));
  }
  std::int32_t RecordOf(const std::string& code, const std::string& name) {
    PlaceList all;
    Read_Cp_ORTE(PlaceFile(code), all);
    for (std::size_t i = 0; i < all.size(); ++i)
      if (all.places[i].TrimmedName() == name) return all.refs[i].RecordNo;
    return 0;
  }
  std::vector<std::string> Found() {
    std::vector<std::string> names;
    for (const auto& f : FoundPlaces())
      names.push_back(f.Place.TrimmedName() + " (" + f.Country + ")");
    return names;
  }
  // What a search finds; its count must be what it stored.
  std::vector<std::string> Search(const std::string& code, const std::string& text) {
    const std::int32_t count = SearchandStorePlaces(code, text);
    EXPECT_EQ(count, static_cast<std::int32_t>(FoundPlaces().size())) << text;
    return Found();
  }
};

TEST_F(NameIndexSearch, OtherNamesFindThePlaceWithItsRealRecord) {
  const std::int32_t munich = RecordOf("D", "M\xFCnchen");
  WriteIndex("D", {{"munich", munich, 1500000},
                   {"muenchen", munich, 1500000},
                   {NameKey(AnsiFromUtf8("Мюнхен")), munich, 1500000}});
  EXPECT_THAT(Search("D", "Munich"), ElementsAre("M\xFCnchen (D)"));
  EXPECT_EQ(FoundPlaces().at(0).RecordNo, munich);
  EXPECT_EQ(SearchandStorePlaces("D", AnsiFromUtf8("Мюнхен")), 1);
  EXPECT_TRUE(FoundPlaces()[0].OtherName);
  EXPECT_EQ(SearchandStorePlaces("D", "Muenchen"), 1);
  EXPECT_EQ(SearchandStorePlaces("D", "Munic*"), 1);  // the beginning of an other name
}

TEST_F(NameIndexSearch, APlacesTimetableByAnOtherName) {
  WriteIndex("D", {{"munich", RecordOf("D", "M\xFCnchen"), 1500000}});
  classPlaces places;
  std::int16_t timetable = 0;
  ASSERT_GT(places.HaveTimetables("D", "Munich", &timetable), 0);
  EXPECT_EQ(timetable, 2);
  places.HaveTimetables("D", "Nowhere", &timetable);
  EXPECT_EQ(timetable, 1);
}

TEST_F(NameIndexSearch, WholeNamesRankOwnAndOtherNamesByPopulation) {
  const std::int32_t munich = RecordOf("D", "M\xFCnchen");
  const std::int32_t berlin = RecordOf("D", "Berlin");
  WriteIndex("D", {{"munchen", munich, 1500000},
                   {"berlin", berlin, 3600000},
                   {"munchen", berlin, 3600000}});  // a name Berlin is known by too
  ASSERT_THAT(Search("D", "M\xFCnchen"), ElementsAre("Berlin (D)", "M\xFCnchen (D)"));
  EXPECT_EQ(std::tuple(FoundPlaces()[0].OtherName, FoundPlaces()[1].OtherName,
                       FoundPlaces()[0].Population),
            std::tuple(true, false, 3600000U));
  // Beginnings keep the file's order and its own names.
  EXPECT_THAT(Search("D", "M\xFCnchen*"), ElementsAre("M\xFCnchen (D)", "M\xFCnchenbernsdorf (D)"));
  // The user's own place of the name comes first.
  classPlaces places;
  ASSERT_EQ(places.AddUserPlace("D", "M\xC3\xBCnchen", 11.6, 48.1), -1);
  ASSERT_THAT(Search("D", "M\xFCnchen"),
              ElementsAre("M\xFCnchen (D)", "Berlin (D)", "M\xFCnchen (D)"));
  EXPECT_LT(FoundPlaces()[0].RecordNo, 0);
}

TEST_F(NameIndexSearch, ScriptsWithoutRomanisationAreFoundByTheirOwnLetters) {
  const std::string khmer = "\xE1\x9E\x97\xE1\x9F\x92\xE1\x9E\x93\xE1\x9F\x86";  // ភ្នំ
  ASSERT_FALSE(IsTransliterable(khmer));
  const auto keys = NameKeysOfText(khmer);
  ASSERT_EQ(keys, std::vector<std::string>{TypedNameKey(" " + khmer + " ")});
  WriteIndex("D", {{keys[0], RecordOf("D", "Berlin"), 10}});
  classPlaces places;
  ASSERT_EQ(places.GetPlaceData(khmer, "D"), 1);
  EXPECT_EQ(places.GetPlaceDataOfId(0).at(0), "Berlin");
  ASSERT_EQ(places.GetPlaceData(khmer.substr(0, 6) + "*", "D"), 1);
  EXPECT_EQ(places.GetPlaceData(khmer + "\xF0\x9F\x98\x80", "D"), 0);  // an emoji is no letter
}

TEST_F(NameIndexSearch, GroupsAskEveryMembersIndexMostPopulousFirst) {
  WriteIndex("D", {{"vienne", RecordOf("D", "Berlin"), 1000}});
  WriteIndex("A", {{"vienne", RecordOf("A", "Wien"), 1900000}});
  EXPECT_THAT(Search("EUROPA", "Vienne"), ElementsAre("Wien (A)", "Berlin (D)"));
}

TEST_F(NameIndexSearch, MissingIndexOrInnerWildcardsLeaveTheSearchAsItWas) {
  EXPECT_EQ(SearchandStorePlaces("D", "Munich"), 0);
  EXPECT_EQ(SearchandStorePlaces("D", "M\xFCnchen"), 1);
  WriteIndex("D", {{"munich", RecordOf("D", "M\xFCnchen"), 1}});
  EXPECT_EQ(std::tuple(SearchandStorePlaces("D", "Mun?ch"), SearchandStorePlaces("D", "M[uo]nich")),
            std::tuple(0, 0));
}

TEST_F(NameIndexSearch, DamagedOrForeignIndexIsAFault) {
  auto fault_of_search = [] {
    const FaultScope call;
    SearchandStorePlaces("D", "Munich");
    return FaultText(LastMalformedFile());
  };
  folder_.Write("D.NDX", "TPNX garbage");
  EXPECT_THAT(fault_of_search(), HasSubstr("D.NDX"));
  folder_.Write("D.NDX", CompressSzdd(EncodeNameIndex({{"munich", 1, 1}}, 3)));
  EXPECT_THAT(fault_of_search(), HasSubstr("D.NDX: written for a place file of 3 records"));
  EXPECT_THAT(fault_of_search(), HasSubstr("D.NDX"));  // each call, not only the first
}

TEST_F(NameIndexSearch, CoordinatesWithoutLettersAreReadInsideTheCountry) {
  // Longitude first: read as latitude 11.575 it would lie outside Germany.
  // Hemisphere letters decide as before.
  for (const char* text : {"11.575 48.137", "48.137 11.575", "48N08 11E34"})
    EXPECT_THAT(Search("D", text), ElementsAre("M\xFCnchen (D)")) << text;
  // Neither reading lies in Germany: no place rather than a far corner.
  EXPECT_EQ(SearchandStorePlaces("D", "-33.9 151.2"), 0);
}

TEST_F(NameIndexSearch, HostileTextsFindNothing) {
  WriteIndex("D", {{"munich", RecordOf("D", "M\xFCnchen"), 1}});
  for (const std::string& utf8 :
       {std::string("M\xC3"), std::string("\xED\xA0\x80"), std::string("😀"), std::string("Berlin😀"),
        std::string(10000, 'M'), std::string("M\x01\x02\x7F"),
        std::string("\xE2\x80\x8F") + "\xD7\x90", std::string("Mu\0nchen", 8)})
    EXPECT_EQ(SearchandStorePlaces("D", AnsiFromUtf8(utf8)), 0) << utf8.substr(0, 20);
}

}  // namespace
}  // namespace tarv
