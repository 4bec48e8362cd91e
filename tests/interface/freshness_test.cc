// What other processes change is seen: user places at the next call, replaced
// atlas files at once where the folders are watched (else within a second),
// whether or not the change counter is usable.
#include <gtest/gtest.h>
#ifndef _WIN32
#include <sys/stat.h>
#endif

#include <chrono>
#include <filesystem>
#include <functional>
#include <thread>

#include "atlas/atlas_state.h"
#include "platform/change_counter.h"
#include "support/atlas_fixture.h"
#include "support/child_process.h"
#include "tarvplaces/places.h"

namespace tarv {
namespace {

namespace fs = std::filesystem;
using testing::Place;

// Another program using the atlas in `folder` adds or deletes a place.
int AddNeustadt(const std::string& folder) {
  CurrentAtlas().places_path = folder;
  return classPlaces().AddUserPlace("D", "Neustadt", 10.0, 50.0) == -1 ? 0 : 1;
}
int DeleteNeustadt(const std::string& folder) {
  CurrentAtlas().places_path = folder;
  return classPlaces().DeleteUserPlace("D", "Neustadt") == -1 ? 0 : 1;
}
const testing::ChildWorkRegistration kAdd("freshness-add", AddNeustadt);
const testing::ChildWorkRegistration kDelete("freshness-delete", DeleteNeustadt);

class FreshnessTest : public testing::AtlasFixture {
 protected:
  void SetUp() override {
    AtlasFixture::SetUp();
    WriteCountry("D", {Place("M\xFCnchen", 11.57549F, 48.13743F), Place("Berlin", 13.41F, 52.52F)});
    fs::create_directory(folder_.path() / "USER");
  }

  std::int16_t Found(const std::string& name) { return places_.GetPlaceData(name, "D"); }

  // What a lookup finds once the folders' watch has told of an uncounted change,
  // or after half a second, well before the once-a-second check.
  std::int16_t FoundSoon(const std::string& name, std::int16_t expected) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
    std::int16_t found = 0;
    while ((found = Found(name)) != expected && std::chrono::steady_clock::now() < end)
      std::this_thread::sleep_for(std::chrono::microseconds(100));
    return found;
  }

  fs::path Counter() const { return folder_.path() / "USER" / kChangeCounterFile; }

  classPlaces places_;
};

TEST_F(FreshnessTest, UserPlacesOfAnotherProcessAreSeenByTheNextCall) {
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(Found("Neustadt"), 0);  // warm: nothing looked at again
  ASSERT_EQ(testing::RunInChild("freshness-add", folder_.str()), 0);
  EXPECT_EQ(Found("Neustadt"), 1);
  EXPECT_EQ(Found("München"), 1);
  ASSERT_EQ(testing::RunInChild("freshness-delete", folder_.str()), 0);
  EXPECT_EQ(Found("Neustadt"), 0);
  EXPECT_TRUE(messages_.empty());
}

#ifndef _WIN32
// Linux readers also watch the folders: whatever another program does to the
// counter, nothing crashes or waits, and a change is seen at once, bumped or not.
TEST_F(FreshnessTest, WhateverHappensToTheCounterChangesAreSeenAtOnce) {
  const std::vector<std::function<void()>> damages = {
      [&] { fs::resize_file(Counter(), 0); },
      [&] { fs::resize_file(Counter(), 3); },
      [&] {
        folder_.WriteUnannounced(std::string("USER/") + kChangeCounterFile,
                                 "garbage, not a counter");
      },
      [&] {
        fs::remove(Counter());
        ASSERT_EQ(::mkfifo(Counter().c_str(), 0600), 0);
      },
      [&] {
        fs::remove(Counter());
        fs::create_directory(Counter());
      },
      [&] { fs::permissions(Counter(), fs::perms::owner_read); },
  };
  for (std::size_t i = 0; i < damages.size(); ++i) {
    SCOPED_TRACE(i);
    ASSERT_EQ(testing::RunInChild("freshness-add", folder_.str()), 0);  // makes a counter
    ASSERT_EQ(testing::RunInChild("freshness-delete", folder_.str()), 0);
    EXPECT_EQ(Found("Neustadt"), 0);
    EXPECT_EQ(Found("Neustadt"), 0);  // warm
    damages[i]();
    ASSERT_EQ(testing::RunInChild("freshness-add", folder_.str()), 0);
    EXPECT_EQ(FoundSoon("Neustadt", 1), 1);
    // Changed without any counter: another program writing the user file.
    const std::vector<PlaceRecord> deleted = {Place("@Neustadt", 10.0F, 50.0F)};
    folder_.WriteUnannounced("USER/D.dao", EncodePlaceFile(deleted));
    folder_.WriteUnannounced("USER/D.IDX", EncodePlaceIndex(deleted));
    EXPECT_EQ(FoundSoon("Neustadt", 0), 0);
    fs::remove_all(Counter());
  }
  for (const auto& message : messages_)  // a counter that is none is told of, naming it
    EXPECT_NE(message.text.find(kChangeCounterFile), std::string::npos);
}

#endif

// Seen at once where the folders are watched, else within a second.
TEST_F(FreshnessTest, AtlasReplacedBehindTheBackIsSeenAtOnceOrWithinASecond) {
  EXPECT_EQ(Found("Berlin"), 1);
  // A new build renamed into place, without a word to the counter.
  testing::TempFolder build;
  WritePlaceFiles(build.path(), "D", {Place("Hamburg", 9.99F, 53.55F)});
  for (const char* file : {"D.dao", "D.IDX"})
    fs::rename(build.path() / file, folder_.path() / file);
#ifndef _WIN32
  EXPECT_EQ(FoundSoon("Hamburg", 1), 1);
#endif
  std::this_thread::sleep_for(std::chrono::milliseconds(1100));
  EXPECT_EQ(Found("Hamburg"), 1);
  EXPECT_EQ(Found("Berlin"), 0);
}

#ifdef _WIN32
// Where readers follow the counter: however it is unusable, lookups go on
// and look at the files on every call, so a change nobody announced is seen
// at once.
TEST_F(FreshnessTest, UnusableCounterFallsBackToLookingEveryCall) {
  for (const std::string damage : {"TPCH", "garbage, not a counter"}) {
    SCOPED_TRACE(damage);
    ResetDefaultAtlas();
    CurrentAtlas().places_path = folder_.str();
    messages_.clear();
    folder_.Write(std::string("USER/") + kChangeCounterFile, damage);
    EXPECT_EQ(Found("Neustadt"), 0);
    WriteUserFile("D", {Place("Neustadt", 10.0F, 50.0F)});
    EXPECT_EQ(Found("Neustadt"), 1);
    WriteUserFile("D", {Place("@Neustadt", 10.0F, 50.0F)});  // deleted
    EXPECT_EQ(Found("Neustadt"), 0);
    // Said once, naming the file: the host can remove it.
    ASSERT_EQ(messages_.size(), 1U);
    EXPECT_NE(messages_[0].text.find(kChangeCounterFile), std::string::npos);
    EXPECT_EQ(folder_.Read(std::string("USER/") + kChangeCounterFile), damage);
  }
}
#endif

// A fresh atlas gets its USER folder and change counter with the first call,
// so that later calls need not look at the files; the first place another
// process adds is seen at once all the same.
TEST_F(FreshnessTest, AFreshAtlasGetsItsCounterAtTheFirstCall) {
  fs::remove(folder_.path() / "USER");
  EXPECT_EQ(Found("München"), 1);
  EXPECT_TRUE(fs::is_regular_file(Counter()));
  EXPECT_EQ(Found("Neustadt"), 0);
  ASSERT_EQ(testing::RunInChild("freshness-add", folder_.str()), 0);
  EXPECT_EQ(Found("Neustadt"), 1);
  EXPECT_TRUE(messages_.empty());
}

// Where no USER folder can be made there is no counter: every call looks at
// the files, and whatever changed is seen at once. (A file of that name
// stands in for a read-only atlas folder, which root could write.)
TEST_F(FreshnessTest, WithoutAUserFolderOfItsOwnEveryCallLooks) {
  fs::remove(folder_.path() / "USER");
  folder_.Write("USER", "not a folder");
  EXPECT_EQ(Found("München"), 1);
  EXPECT_EQ(Found("Hamburg"), 0);
  WritePlaceFiles(folder_.path(), "D", {Place("Hamburg", 9.99F, 53.55F)});
  EXPECT_EQ(Found("Hamburg"), 1);
  EXPECT_EQ(folder_.Read("USER"), "not a folder");
  EXPECT_LE(messages_.size(), 1U);  // that the counter cannot be had, once
}

TEST_F(FreshnessTest, ReadOnlyAtlasIsReadAndChecked) {
  if (const auto why = testing::WhyReadOnlyIsNotEnforced(/*folder=*/true); !why.empty())
    GTEST_SKIP() << why;
  fs::permissions(folder_.path() / "USER", fs::perms::owner_read | fs::perms::owner_exec);
  EXPECT_EQ(Found("München"), 1);
  EXPECT_FALSE(fs::exists(Counter()));
  fs::permissions(folder_.path() / "USER", fs::perms::owner_all);
  WriteUserFile("D", {Place("Neustadt", 10.0F, 50.0F)});
  EXPECT_EQ(Found("Neustadt"), 1);
  EXPECT_TRUE(messages_.empty());
}

}  // namespace
}  // namespace tarv
