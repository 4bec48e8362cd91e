#include "atlas/place_file_writer.h"

#include <gtest/gtest.h>

#include "atlas/name_index.h"
#include "support/atlas_fixture.h"
#include "support/temp_folder.h"
#include "text/bytes.h"
#include "text/lz.h"

namespace tarv {
namespace {

using testing::Place;

std::vector<std::string> NamesOf(const std::vector<PlaceRecord>& places) {
  std::vector<std::string> names;
  for (const auto& p : places)
    names.push_back(p.TrimmedName());
  return names;
}

TEST(SortForPlaceFile, EqualNamesComeMostProminentFirst) {
  // Equal in their letters without regard to case or signs: one name.
  std::vector<PlaceRecord> places = {
      Place("Perth", 147.1F, -41.6F),   Place("Paris", 2.3F, 48.9F),
      Place("PERTH", 115.9F, -32.0F),   Place("Per-th", 1.0F, 1.0F),
      Place("Penrith", 150.7F, -33.8F), Place("Perth", -3.4F, 56.4F)};
  const std::vector<double> prominence = {3000, 2000000, 2000000, 50000, 200000, 47000};
  const std::vector<PlaceRecord> before = places;
  const auto order = SortForPlaceFile(places, prominence);
  EXPECT_EQ(NamesOf(places),
            (std::vector<std::string>{"Paris", "Penrith", "PERTH", "Per-th", "Perth", "Perth"}));
  // Of the Perths, 2,000,000 people first, and 47,000 before 3,000.
  EXPECT_EQ(std::pair(places[2].Longitude, places[4].Longitude), std::pair(115.9F, -3.4F));
  ASSERT_EQ(order.size(), places.size());
  for (std::size_t i = 0; i < places.size(); ++i)
    EXPECT_EQ(places[i].Longitude, before[order[i]].Longitude) << i;
}

TEST(SortForPlaceFile, RunsStayWholeWhateverThePopulations) {
  std::vector<PlaceRecord> places = {
      Place("Zug", 8.5F, 47.2F),          Place("'s-Hertogenbosch", 5.3F, 51.7F),
      Place("Aarau", 8.0F, 47.4F),        Place("St. Gallen", 9.4F, 47.4F),
      Place("Sankt Gallen", 9.4F, 47.4F), Place("\xD6lten", 7.9F, 47.3F),
      Place("1. Mai", 0.0F, 0.0F)};
  SortForPlaceFile(places, {1, 900000, 5, 70000, 80000, 3, 1000000});
  // One index entry per run letter, in ascending order.
  const std::string index = EncodePlaceIndex(places);
  ASSERT_EQ(index.size() % 5, 0U);
  std::string letters;
  for (std::size_t at = 0; at < index.size(); at += 5)
    letters += index[at];
  EXPECT_EQ(letters, "AOSZ");
  for (std::size_t i = 1; i < places.size(); ++i)
    EXPECT_LE(RunLetterOf(places[i - 1]), RunLetterOf(places[i])) << i;
}

TEST(WritePlaceFiles, TheNameIndexPointsAtTheSortedRecords) {
  testing::TempFolder folder;
  std::vector<PlaceRecord> places = {Place("Wien", 16.4F, 48.2F), Place("Graz", 15.4F, 47.1F),
                                     Place("Linz", 14.3F, 48.3F)};
  PlaceFileExtras extras;
  extras.populations = {1900000, 5000000000, 200000};
  extras.ranks = {kCapitalRank, 1, 1};
  extras.name_keys = {{"vienna", "vieden"}, {"graz"}, {"linz"}};
  EXPECT_EQ(WritePlaceFiles(folder.path(), "A", places, true, extras), 4U);
  const std::string file = (folder.path() / "A.NDX").string();
  std::int32_t error = 0;
  const auto image = ExpandedImage(file, error);
  ASSERT_TRUE(image);
  const auto index = *NameIndex::Read(image, file);
  const auto vienna = index->Find("vienna", false);
  const auto graz = index->Find("graz", false);
  ASSERT_EQ(std::tuple(vienna.size(), graz.size()), std::tuple(1U, 1U));
  // Sorted Graz, Linz, Wien; a population too large is clamped.
  EXPECT_EQ(std::tuple(index->RecordCount(), vienna[0].record, vienna[0].population, index->Rank(3),
                       graz[0].record, graz[0].population),
            std::tuple(3, 3, 1900000U, kCapitalRank, 1, 0xFFFFFFFFU));
  EXPECT_EQ(index->Find("vie", true).size(), 1U);
  // Without keys no name index is written.
  WritePlaceFiles(folder.path(), "CH", places);
  EXPECT_FALSE(std::filesystem::exists(folder.path() / "CH.NDX"));
}

// Two Monticellos of Kentucky: the county seat of 6,090 people comes before
// a part of Lexington of 6,103, in the file and in the index.
TEST(WritePlaceFiles, ASeatComesBeforeAPlaceOfAboutItsSize) {
  testing::TempFolder folder;
  PlaceFileExtras extras;
  extras.populations = {6103, 6090};
  extras.ranks = {kOrdinaryPlaceRank, 2};
  extras.name_keys = {{"monticello"}, {"monticello"}};
  WritePlaceFiles(folder.path(), "USKY",
                  {Place("Monticello", -84.55F, 37.99F), Place("Monticello", -84.85F, 36.83F)},
                  true, extras);
  std::int32_t error = 0;
  const auto file = ExpandedImage((folder.path() / "USKY.dao").string(), error);
  ASSERT_TRUE(file);
  EXPECT_EQ(DecodePlaceRecord(*file).Longitude, -84.85F);
  const auto index =
      *NameIndex::Read(ExpandedImage((folder.path() / "USKY.NDX").string(), error), "USKY.NDX");
  EXPECT_EQ(index->Find("monticello", false).at(0).record, 1);
  EXPECT_GT(index->ProminenceOf(1), index->ProminenceOf(2));
}

}  // namespace
}  // namespace tarv
