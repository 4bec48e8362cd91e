#include "platform/paths.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

#include "support/temp_folder.h"

namespace tarv {
namespace {

using testing::TempFolder;

TEST(NativePath, BackslashesBecomeSlashes) {
  TempFolder dir;
  dir.Write("USER/D.dao", "x");
  EXPECT_EQ(NativePath(dir.str() + "\\USER\\D.dao"), dir.path() / "USER" / "D.dao");
}

TEST(NativePath, ResolvesEachComponentWithoutRegardToCase) {
  TempFolder dir;
  dir.Write("Atlas/User/D.dao", "x");
  EXPECT_EQ(NativePath(dir.str() + "\\atlas\\USER\\d.DAO"),
            dir.path() / "Atlas" / "User" / "D.dao");
}

TEST(NativePath, ResolvesWindows1252LettersWithoutRegardToCase) {
  TempFolder dir;
  dir.Write("Österreich.txt", "x");
  EXPECT_EQ(NativePath(dir.str() + "\\öSTERREICH.TXT"), dir.path() / "Österreich.txt");
}

TEST(NativePath, ExactSpellingWinsOverOtherCases) {
  TempFolder dir;
  dir.Write("d.dao", "lower");
  dir.Write("D.dao", "upper");
  EXPECT_EQ(NativePath(dir.str() + "\\d.dao"), dir.path() / "d.dao");
  EXPECT_EQ(NativePath(dir.str() + "\\D.DAO"), dir.path() / "D.dao");  // first in byte order
}

TEST(NativePath, MissingComponentsAreKeptAsWritten) {
  TempFolder dir;
  dir.Write("Atlas/x", "x");
  EXPECT_EQ(NativePath(dir.str() + "\\ATLAS\\USER\\New.dao"),
            dir.path() / "Atlas" / "USER" / "New.dao");
}

TEST(NativePath, SeesFilesCreatedAfterAnEarlierLookup) {
  TempFolder dir;
  dir.Write("Atlas/a", "x");
  EXPECT_EQ(NativePath(dir.str() + "\\atlas\\B.txt"), dir.path() / "Atlas" / "B.txt");
  dir.Write("Atlas/b.TXT", "x");
  EXPECT_EQ(NativePath(dir.str() + "\\atlas\\B.txt"), dir.path() / "Atlas" / "b.TXT");
}

TEST(NativePath, SeesFilesCreatedAfterAMissingLookupInAnOldFolder) {
  TempFolder dir;
  dir.Write("Atlas/D.dao", "x");
  const auto old = std::filesystem::file_time_type::clock::now() - std::chrono::hours(1);
  std::filesystem::last_write_time(dir.path() / "Atlas", old);
  const std::string user_file = dir.str() + "\\atlas\\user\\D.dao";
  EXPECT_EQ(NativePath(user_file),
            dir.path() / "Atlas" / "user" / "D.dao");  // remembered as missing
  EXPECT_EQ(NativePath(user_file), dir.path() / "Atlas" / "user" / "D.dao");
  dir.Write("Atlas/USER/D.dao", "x");
  EXPECT_EQ(NativePath(user_file), dir.path() / "Atlas" / "USER" / "D.dao");
}

TEST(KnownMissing, HoldsWhileTheFolderThatLacksThePathIsUnchanged) {
  TempFolder dir;
  dir.Write("Atlas/D.dao", "x");
  std::filesystem::last_write_time(
      dir.path() / "Atlas", std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
  const std::string user_file = dir.str() + "\\Atlas\\USER\\D.dao";
  EXPECT_FALSE(KnownMissing(user_file));  // never looked up
  NativePath(user_file);
  EXPECT_TRUE(KnownMissing(user_file));
  dir.Write("Atlas/user/D.dao", "x");  // any spelling changes the folder
  EXPECT_FALSE(KnownMissing(user_file));
}

TEST(KnownMissing, NeverForOtherSpellingsOrRecentlyChangedFolders) {
  TempFolder dir;
  dir.Write("Atlas/D.dao", "x");
  std::filesystem::last_write_time(
      dir.path() / "Atlas", std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
  // Resolved through "Atlas": an "ATLAS" of its own could appear beside it.
  const std::string other_spelling = dir.str() + "\\ATLAS\\USER\\D.dao";
  NativePath(other_spelling);
  EXPECT_FALSE(KnownMissing(other_spelling));
  dir.Write("Fresh/a", "x");  // changed within the file system's time tick
  const std::string fresh = dir.str() + "\\Fresh\\USER\\D.dao";
  NativePath(fresh);
  EXPECT_FALSE(KnownMissing(fresh));
}

TEST(MatchingFiles, MatchesPatternsWithoutRegardToCaseAndSkipsFolders) {
  TempFolder dir;
  dir.Write("a.DAO", "x");
  dir.Write("b.dao", "x");
  dir.Write("c.idx", "x");
  dir.Write("sub.dao/inner", "x");
  const auto dao = MatchingFiles(dir.str() + "\\*.dao");
  ASSERT_EQ(dao.size(), 2U);
  EXPECT_EQ(dao[0].filename(), "a.DAO");
  EXPECT_EQ(MatchingFiles(dir.str() + "\\?.*").size(), 3U);
  EXPECT_EQ(MatchingFiles(dir.str() + "\\").size(), 3U);
  EXPECT_TRUE(MatchingFiles(dir.str() + "\\*.txt").empty());
}

}  // namespace
}  // namespace tarv
