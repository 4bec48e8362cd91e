// Nothing may crash and no stored place may be lost.
#include <gtest/gtest.h>
#ifndef _WIN32
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#include <csignal>
#include <filesystem>

#include "atlas/atlas_fault.h"
#include "atlas/place_search.h"
#include "atlas/user_places.h"
#include "support/atlas_fixture.h"
#include "support/fault_text.h"
#include "tarvplaces/atlas_error.h"

namespace tarv {
namespace {

using testing::Place;

class FaultTest : public testing::AtlasFixture {
 protected:
  void SetUp() override {
    AtlasFixture::SetUp();
    WriteCountry("D", {Place("Berlin", 13.41F, 52.52F, 3), Place("Bonn", 7.1F, 50.7F, 1)});
  }
  static std::int16_t Add(const std::string& name) {
    std::int32_t number = 0;
    return AddCity(UserPlace{58, Place(name, 1, 1), ""}, number);
  }
};

TEST_F(FaultTest, FullDiskFailsTheAdditionAndKeepsTheUserFile) {
  for (int i = 0; i < 40; ++i)
    Add("Place" + std::to_string(i));
  const std::string before = folder_.Read("USER/D.dao");
#ifdef _WIN32
  GTEST_SKIP() << "Windows has no limit on a file's size to stand for a full disk";
#else
  const pid_t child = fork();
  if (child == 0) {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{before.size(), before.size()};  // no room to grow
    setrlimit(RLIMIT_FSIZE, &limit);
    try {
      Add("One Too Many");
    } catch (const AtlasError&) {
      _exit(3);
    }
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 3);
  EXPECT_EQ(folder_.Read("USER/D.dao"), before);
#endif
}

TEST_F(FaultTest, VanishedFolderFindsNothingInsteadOfCachedPlaces) {
  EXPECT_EQ(SearchandStorePlaces("D", "Berlin"), 1);
  std::filesystem::remove_all(folder_.path() / "D.dao");
  std::filesystem::remove_all(folder_.path() / "D.IDX");
  EXPECT_EQ(SearchandStorePlaces("D", "Berlin"), 0);
  std::filesystem::remove_all(folder_.path());
  EXPECT_EQ(SearchandStorePlaces("D", "Bonn"), 0);
  EXPECT_THROW(Add("Nowhere"), AtlasError);  // a vanished atlas is not made up again
}

TEST_F(FaultTest, FileReplacedByGarbageWhileCachedIsReadAgain) {
  EXPECT_EQ(SearchandStorePlaces("D", "Berlin"), 1);
  // The same kind of file, other content.
  folder_.Write("D.dao", CompressSzdd(std::string(2 * kPlaceRecordSize, '\x9F')));
  EXPECT_NE(MalformedFileOf([] { EXPECT_EQ(SearchandStorePlaces("D", "Berlin"), 0); }), "");
}

}  // namespace
}  // namespace tarv
