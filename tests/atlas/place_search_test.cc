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

// Form one ("]" first) folds every class letter until the first wildcard
// (ü keeps itself, å comes twice as kept); form two only accented letters.
TEST(SearchPattern, FormOneFoldsEveryClassLetterFormTwoOnlyAccentedOnes) {
  const std::pair<const char*, const char*> kCases[] = {
      {"]u", "[u\xFC\xFB\xF9\xFAu]"},
      {"]\xFC", "[u\xFC\xFB\xF9\xFA\xFC]"},
      {"]Ba", "B[a\xE2\xE4\xE0\xE5\xE6\xE5\341a]"},
      {"]o*u", "[o\xF2\xF4\xF6\xF3\xF5\xD8o]*u"},
      {"]S?s", "[s\x8As]?s"},
      {"Gen\xE8ve", "Gen[E\xE8]ve"},
      {"\xD8rsta", "[O\xD8]rsta"},
      {"abc*", "abc*"}};
  for (const auto& [typed, pattern] : kCases)
    EXPECT_EQ(GetSearchString(typed), pattern) << typed;
}

TEST(IndexLetter, FirstLetterFoldedWithItsSpecialCases) {
  const std::pair<const char*, const char*> kCases[] = {
      {"m\xFCnchen", "M"},       {"\xC4gypten", "A"}, {"\xDF", "Z"},  // ß has no class
      {"'s-Hertogenbosch", "S"}, {"'[a]", "A"},       {"'", "Z"},    {"_x", "A"},
      {"1000 Hills", "Z"},       {"*hausen", "Z"},    {"", "z"}};
  for (const auto& [name, letter] : kCases)
    EXPECT_EQ(GetLetter(name), letter) << name;
}

TEST(NameComparison, LettersOnlyFormMakesSpellingsMeet) {
  EXPECT_EQ(std::tuple(GetCleanString("St. Gallen (SG) 2"), GetCleanString("L'\xCEle-d'Yeu")),
            std::tuple("StGallenSG", "L\xCEledYeu"));
  for (const auto& [a, b, same] :
       {std::tuple("St. Gallen", "St Gallen", true),
        std::tuple("SANKT-GALLEN", "sankt gallen", true), std::tuple("\xC9vian", "\xE9VIAN", true),
        std::tuple("Evian", "\xC9vian", false), std::tuple("Gallen", "St Gallen", false)})
    EXPECT_EQ(CitiesAreMatching(a, b), same) << a << " " << b;
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
  // The zone is the country's base zone; no name index tells the population.
  EXPECT_EQ(SearchandStorePlaces("D", "Berlin"), 1);
  EXPECT_EQ(std::tuple(FoundPlaces()[0].ZoneId, FoundPlaces()[0].Population),
            std::tuple(GetTimezoneId("MEZ"), 0U));
  EXPECT_EQ(SearchandStorePlaces("D", "Munchen"), 1);  // second, folded search
  EXPECT_EQ(FoundNames(), std::vector<std::string>{"M\xFCnchen"});
  EXPECT_EQ(std::tuple(FoundPlaces()[0].Country, FoundPlaces()[0].Longitude),
            std::tuple("D", 11.57549F));
  // A trailing "?" asks for the beginning; inner wildcards: pattern search.
  for (const auto& [text, count] : {std::pair("Bern*", 1), std::pair("Ber?", 2),
                                    std::pair("B?rnau", 1), std::pair("Hamburg", 0)})
    EXPECT_EQ(SearchandStorePlaces("D", text), count) << text;
  EXPECT_TRUE(FoundPlaces().empty());
  // A star alone lists the whole file pair, the user's places first.
  WriteUserFile("D", {Place("Adorf", 12.26F, 50.32F)});
  EXPECT_EQ(SearchandStorePlaces("D", " * "), 5);
  EXPECT_EQ(FoundPlaces()[0].RecordNo, -1);
}

TEST_F(SearchAndStoreTest, TheUserPlaceSpelledAsTypedComesFirst) {
  // Letters-only the names agree: digits do not count there.
  WriteUserFile("D", {Place("Testort 1", 10, 50), Place("Testort 2", 11, 51)});
  for (const auto& [typed, first] :
       {std::pair("Testort 2", "Testort 2"), std::pair("testort 2.", "Testort 2"),
        std::pair("Testort 1", "Testort 1")}) {
    ASSERT_EQ(SearchandStorePlaces("D", typed), 2) << typed;
    EXPECT_EQ(FoundNames().front(), first) << typed;
  }
}

TEST_F(SearchAndStoreTest, CoordinatesFindTheNearestPlace) {
  // Letters decide the order; "95 200" is not on the earth.
  for (const auto& [text, name] :
       {std::pair("48N08 11E34", "M\xFCnchen"), std::pair("52.6; 13.5", "Bernau"),
        std::pair("13E25 52N31", "Berlin")}) {
    EXPECT_EQ(SearchandStorePlaces("D", text), 1) << text;
    EXPECT_EQ(FoundNames(), std::vector<std::string>{name}) << text;
  }
  EXPECT_EQ(SearchandStorePlaces("D", "95 200"), 0);
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
  EXPECT_EQ(std::tuple(found, added, list.items, list.data),
            std::tuple(2, 2, std::vector<std::string>{"Berlin", "Bernau"},
                       std::vector<std::int32_t>{0, 1}));
  SearchPlacesInForm(list, "Ber*", "EUROPA", found, added);
  EXPECT_EQ(list.items, (std::vector<std::string>{"Berlin (D)", "Bernau (D)"}));
}

TEST_F(SearchAndStoreTest, PlaceManagerListShowsDegreesAndRecordNumbers) {
  WriteUserFile("D", {Place("Bergen", 13.0F, 52.0F)});
  RecordingList list;
  std::string text = "  ber ";
  EXPECT_EQ(Fill_SuchOrtListe("D", text, list, true), 3);
  EXPECT_EQ(
      std::tuple(text, list.items.at(0), list.data),
      std::tuple("ber", "Bergen\t013E00' 00\"\t52N00' 00\"", std::vector<std::int32_t>{-1, 1, 2}));
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

// Looking names up by their class-folded letters must find what matching
// every name of the run finds, in the same order.
class PatternLookup : public testing::AtlasFixture {};

TEST_F(PatternLookup, FindsExactlyWhatThePatternMatches) {
  // Names of one run (all under "M"): every accent class, signs and blanks.
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
    for (std::size_t i = 0; i < all.size(); ++i)
      if (test.MatchesLetters(GetCleanString(all.places[i].TrimmedName())))
        expected.Add(all.places[i], all.refs[i]);
    PlaceList found;
    Read_Cp_Indexed_City(PlaceFile("D"), typed, found, 1);
    ASSERT_EQ(testing::Names(found), testing::Names(expected)) << typed;
  }
}

}  // namespace
}  // namespace tarv
