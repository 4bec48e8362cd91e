// Readers on two atlases while a writer changes user places: each answers from
// its own atlas and sees every finished change. Run under ThreadSanitizer too.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "support/atlas_fixture.h"
#include "tarvplaces/atlas.h"

namespace tarv {
namespace {

class AtlasThreadsTest : public testing::AtlasFixture {
 protected:
  void SetUp() override {
    AtlasFixture::SetUp();
    WriteCountry("D", {testing::Place("M\xFCnchen", 11.57549F, 48.13743F, 1),
                       testing::Place("Berlin", 13.4F, 52.52F, 1)});
    WriteGermanTimetables();
    other_.Write("Country.dat", testing::JoinCrLf(testing::SampleCountryLines()));
    other_.Write("Zones13.bin", testing::ProjectZoneFile());
    WritePlaceFiles(other_.path(), "D", {testing::Place("Hamburg", 10.0F, 53.55F, 1)});
    other_.Write("ttx.dao", folder_.Read("ttx.dao"));
  }
  testing::TempFolder other_;
};

TEST_F(AtlasThreadsTest, ReadersOnTwoAtlasesWhileAWriterAddsAndDeletes) {
  const Atlas here(folder_.str());
  const Atlas there(other_.str());
  Atlas writer(folder_.str());
  constexpr int kRounds = 20;
  // The writer's round in progress and its last finished one: equal between changes.
  std::atomic<int> round_started{-1}, round_done{-1}, wrong{0};
  std::atomic<bool> stop{false};

  auto reader = [&](const Atlas& atlas, const char* own, const char* foreign) {
    while (!stop.load()) {
      const auto place = atlas.Lookup(own, "D", LocalTime{1997, 7, 1, 12, 0, 0});
      if (!place || place->Zone.Abbreviation != "MET/S") ++wrong;
      if (atlas.Lookup(foreign, "D")) ++wrong;
      if (!atlas.Nearest("D", 11.5, 48.1)) ++wrong;
      // A place the writer finished adding is seen until it deletes it.
      const int done = round_done.load();
      if (&atlas == &here && done >= 0 && done % 2 == 0 && round_started.load() == done) {
        const auto added = atlas.Lookup("Gartenhaus " + std::to_string(done), "D");
        if (round_started.load() == done && (!added || !added->UserPlace)) ++wrong;
      }
    }
  };
  std::vector<std::thread> readers;
  for (int i = 0; i < 2; ++i) {
    readers.emplace_back(reader, std::cref(here), "München", "Hamburg");
    readers.emplace_back(reader, std::cref(there), "Hamburg", "München");
  }
  for (int round = 0; round < kRounds; ++round) {
    // Even rounds add a place, odd rounds delete the one before.
    round_started = round;
    if (round % 2 == 0) {
      EXPECT_EQ(writer.AddPlace("D", "Gartenhaus " + std::to_string(round), 11.0, 48.0), "");
    } else {
      EXPECT_TRUE(writer.DeletePlace("D", "Gartenhaus " + std::to_string(round - 1)));
    }
    round_done = round;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  stop = true;
  for (auto& thread : readers)
    thread.join();
  EXPECT_EQ(wrong.load(), 0);
  EXPECT_FALSE(here.Lookup("Gartenhaus 18", "D"));  // the last round deleted it
  EXPECT_FALSE(there.Lookup("Gartenhaus 0", "D"));
}

}  // namespace
}  // namespace tarv
