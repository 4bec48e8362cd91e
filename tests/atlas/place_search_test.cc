#include "atlas/place_search.h"

#include <gtest/gtest.h>

#include <random>
#include <tuple>

#include "atlas/atlas_fault.h"
#include "atlas/name_match.h"
#include "atlas/place_list.h"
#include "support/atlas_fixture.h"

namespace tarv {
namespace {

using testing::Place;

TEST(SearchPattern, FormOneFoldsEveryClassLetterUntilTheFirstWildcard) {
  EXPECT_EQ(GetSearchString("]u"), "[u\xFC\xFB\xF9\xFAu]");
  EXPECT_EQ(GetSearchString("]\xFC"), "[u\xFC\xFB\xF9\xFA\xFC]");  // ü keeps itself
  EXPECT_EQ(GetSearchString("]Ba"),
            "B[a\xE2\xE4\xE0\xE5\xE6\xE5\341a]");  // å twice, as kept
  EXPECT_EQ(GetSearchString("]o*u"), "[o\xF2\xF4\xF6\xF3\xF5\xD8o]*u");
  EXPECT_EQ(GetSearchString("]S?s"), "[s\x8As]?s");
}

TEST(SearchPattern, FormTwoReplacesOnlyAccentedLetters) {
  EXPECT_EQ(GetSearchString("Gen\xE8ve"), "Gen[E\xE8]ve");
  EXPECT_EQ(GetSearchString("\xD8rsta"), "[O\xD8]rsta");
  EXPECT_EQ(GetSearchString("abc*"), "abc*");
}

TEST(IndexLetter, FirstLetterFoldedWithItsSpecialCases) {
  EXPECT_EQ(GetLetter("m\xFCnchen"), "M");
  EXPECT_EQ(GetLetter("\xC4gypten"), "A");
  EXPECT_EQ(GetLetter("\xDF"), "Z");  // ß has no class
  EXPECT_EQ(GetLetter("'s-Hertogenbosch"), "S");
  EXPECT_EQ(GetLetter("'[a]"), "A");
  EXPECT_EQ(GetLetter("'"), "Z");
  EXPECT_EQ(GetLetter("_x"), "A");
  EXPECT_EQ(GetLetter("1000 Hills"), "Z");
  EXPECT_EQ(GetLetter("*hausen"), "Z");
  EXPECT_EQ(GetLetter(""), "z");
}

TEST(NameComparison, LettersOnlyFormMakesSpellingsMeet) {
  EXPECT_EQ(GetCleanString("St. Gallen (SG) 2"), "StGallenSG");
  EXPECT_EQ(GetCleanString("L'\xCEle-d'Yeu"), "L\xCEledYeu");
  for (const auto& [a, b, same] :
       {std::tuple("St. Gallen", "St Gallen", true),
        std::tuple("SANKT-GALLEN", "sankt gallen", true), std::tuple("\xC9vian", "\xE9VIAN", true),
        std::tuple("Evian", "\xC9vian", false), std::tuple("Gallen", "St Gallen", false)}) {
    EXPECT_EQ(CitiesAreMatching(a, b), same) << a << " " << b;
  }
}

class SearchAndStoreTest : public testing::AtlasFixture {
 protected:
  void SetUp() override {
    AtlasFixture::SetUp();
    WriteCountry("D", {Place("M\xFCnchen", 11.57549F, 48.13743F, 1), Place("Murnau", 11.2F, 47.68F),
                       Place("Berlin", 13.41F, 52.52F, 3), Place("Bernau", 13.58F, 52.68F)});
  }
  std::vector<std::string> FoundNames() {
    std::vector<std::string> names;
    for (const auto& f : FoundPlaces())
      names.push_back(f.Place.TrimmedName());
    return names;
  }
};

TEST_F(SearchAndStoreTest, ExactThenAccentFoldingSearch) {
  EXPECT_EQ(SearchandStorePlaces("D", "Berlin"), 1);
  EXPECT_EQ(FoundPlaces()[0].ZoneId, GetTimezoneId("MEZ"));  // the country's base zone
  EXPECT_EQ(FoundPlaces()[0].Population, 0U);                // no name index tells it
  EXPECT_EQ(SearchandStorePlaces("D", "Munchen"), 1);        // second, folded search
  EXPECT_EQ(FoundNames(), std::vector<std::string>{"M\xFCnchen"});
  EXPECT_EQ(FoundPlaces()[0].Country, "D");
  EXPECT_EQ(FoundPlaces()[0].Longitude, 11.57549F);
  EXPECT_EQ(SearchandStorePlaces("D", "Bern*"), 1);
  EXPECT_EQ(SearchandStorePlaces("D", "Ber?"), 2);    // a trailing "?" asks for the beginning
  EXPECT_EQ(SearchandStorePlaces("D", "B?rnau"), 1);  // inner wildcards: pattern search
  EXPECT_EQ(SearchandStorePlaces("D", "Hamburg"), 0);
  EXPECT_TRUE(FoundPlaces().empty());
  // A star alone lists the whole file pair, the user's places first.
  WriteUserFile("D", {Place("Adorf", 12.26F, 50.32F)});
  EXPECT_EQ(SearchandStorePlaces("D", " * "), 5);
  EXPECT_EQ(FoundPlaces()[0].RecordNo, -1);
}

TEST_F(SearchAndStoreTest, TheUserPlaceSpelledAsTypedComesFirst) {
  // Letters-only the two names agree: digits do not count there.
  WriteUserFile("D", {Place("Testort 1", 10, 50), Place("Testort 2", 11, 51)});
  for (const auto& [typed, first] : std::vector<std::pair<std::string, std::string>>{
           {"Testort 2", "Testort 2"}, {"testort 2.", "Testort 2"}, {"Testort 1", "Testort 1"}}) {
    ASSERT_EQ(SearchandStorePlaces("D", typed), 2) << typed;
    EXPECT_EQ(FoundNames().front(), first) << typed;
  }
}

TEST_F(SearchAndStoreTest, CoordinatesFindTheNearestPlace) {
  EXPECT_EQ(SearchandStorePlaces("D", "48N08 11E34"), 1);
  EXPECT_EQ(FoundNames(), std::vector<std::string>{"M\xFCnchen"});
  EXPECT_EQ(SearchandStorePlaces("D", "52.6; 13.5"), 1);
  EXPECT_EQ(FoundNames(), std::vector<std::string>{"Bernau"});
  EXPECT_EQ(SearchandStorePlaces("D", "13E25 52N31"), 1);  // letters decide the order
  EXPECT_EQ(FoundNames(), std::vector<std::string>{"Berlin"});
  EXPECT_EQ(SearchandStorePlaces("D", "95 200"), 0);  // not on the earth
}

struct RecordingList : PlaceListControl {
  std::vector<std::string> items;
  std::vector<std::int32_t> data;
  void Clear() override { items.clear(), data.clear(); }
  void AddItem(const std::string& item) override {
    items.push_back(item);
    data.push_back(-999);
  }
  std::int32_t NewIndex() const override { return static_cast<std::int32_t>(items.size()) - 1; }
  void ItemData(std::int32_t index, std::int32_t value) override {
    data[static_cast<std::size_t>(index)] = value;
  }
};

TEST_F(SearchAndStoreTest, SearchFormListsNamesWithTheirElementNumbers) {
  RecordingList list;
  list.items = {"stale"};
  std::int32_t found = -1;
  std::int32_t added = -1;
  EXPECT_EQ(SearchPlacesInForm(list, "Ber*", "D", found, added), 2);
  EXPECT_EQ(found, 2);
  EXPECT_EQ(added, 2);
  EXPECT_EQ(list.items, (std::vector<std::string>{"Berlin", "Bernau"}));
  EXPECT_EQ(list.data, (std::vector<std::int32_t>{0, 1}));
  SearchPlacesInForm(list, "Ber*", "EUROPA", found, added);
  EXPECT_EQ(list.items, (std::vector<std::string>{"Berlin (D)", "Bernau (D)"}));
}

TEST_F(SearchAndStoreTest, PlaceManagerListShowsDegreesAndRecordNumbers) {
  WriteUserFile("D", {Place("Bergen", 13.0F, 52.0F)});
  RecordingList list;
  std::string text = "  ber ";
  EXPECT_EQ(Fill_SuchOrtListe("D", text, list, true), 3);
  EXPECT_EQ(text, "ber");
  EXPECT_EQ(list.items[0], "Bergen\t013E00' 00\"\t52N00' 00\"");
  EXPECT_EQ(list.data, (std::vector<std::int32_t>{-1, 1, 2}));
  text = "M?nchen";
  EXPECT_EQ(Fill_SuchOrtListe("D", text, list, true), 1);
  EXPECT_EQ(list.items[0].substr(0, 8), "M\xFCnchen\t");
}

TEST_F(SearchAndStoreTest, SearchesInADamagedFileFindNothingAndSayWhy) {
  WriteCountry("A", {Place("Wien", 16.37F, 48.21F), Place("Bregenz", 9.75F, 47.5F)});
  EXPECT_EQ(SearchandStorePlaces("EUROPA", "B*"), 3);
  const std::string whole = folder_.Read("D.dao");
  folder_.Write("D.dao", whole.substr(0, whole.size() - 2));
  // Every kind of search, also of a group whose other files are whole: what
  // the whole files hold would be taken for all there is.
  const std::pair<const char*, const char*> searches[] = {
      {"D", "Berlin"}, {"D", "Bern?"},   {"D", "B\xE9rlin"},     {"D", "*"},
      {"D", "B*"},     {"EUROPA", "B*"}, {"EUROPA", "52.5 13.4"}};
  for (const auto& [code, text] : searches) {
    ClearAtlasFault();
    EXPECT_EQ(SearchandStorePlaces(code, text), 0) << code << " " << text;
    EXPECT_TRUE(FoundPlaces().empty()) << text;
    EXPECT_EQ(LastAtlasFault().File, folder_.str() + "\\D.dao") << code << " " << text;
  }
  RecordingList list;
  for (std::string text : {"B", "B[eo]*", "*"}) {
    EXPECT_EQ(Fill_SuchOrtListe("D", text, list, true), 0) << text;
    EXPECT_TRUE(list.items.empty()) << text;
  }
  EXPECT_EQ(SearchandStorePlaces("A", "Wien"), 1);  // another country's file is whole
}

// A pattern search without wildcards looks names up by their class-folded
// letters instead of matching every name of the run; both must find the
// same records in the same order.
class PatternLookup : public testing::AtlasFixture {};

TEST_F(PatternLookup, FindsExactlyWhatThePatternMatches) {
  // Names of one run (all under "M"), with the letters of every accent class
  // in both cases, signs and blanks.
  const std::string alphabet =
      "aAe\xE9\xC9u\xFC\xDCo\xF8\xD8\xF6s\x9A\x8An\xF1yc\xE7i\xEF\x8C\x9C\x8E\x9E\x9F\x81-. ";
  std::mt19937 rng(12);
  std::uniform_int_distribution<std::size_t> pick(0, alphabet.size() - 1);
  std::uniform_int_distribution<int> length(0, 4);
  std::vector<PlaceRecord> records;
  std::vector<std::string> names;
  for (int i = 0; i < 400; ++i) {
    std::string name = "M";
    for (int n = length(rng); n > 0; --n)
      name += alphabet[pick(rng)];
    names.push_back(name);
    records.push_back(Place(name, 1.0F, 1.0F));
  }
  WriteCountry("D", records);
  PlaceList all;
  Read_Cp_ORTE(PlaceFile("D"), all);
  for (const auto& typed : names) {
    const NameTest test(typed, true);
    PlaceList expected;
    for (std::size_t i = 0; i < all.size(); ++i) {
      if (test.MatchesLetters(GetCleanString(all.places[i].TrimmedName())))
        expected.Add(all.places[i], all.refs[i]);
    }
    PlaceList found;
    Read_Cp_Indexed_City(PlaceFile("D"), typed, found, 1);
    ASSERT_EQ(testing::Names(found), testing::Names(expected)) << typed;
  }
}

}  // namespace
}  // namespace tarv
