#include "util/file_tests.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/temp_folder.h"

namespace tarv {
namespace {

using testing::TempFolder;

TEST(Exist, FilesButNotFolders) {
  TempFolder dir;
  dir.Write("D.dao", "x");
  dir.Write("USER/keep", "x");
  EXPECT_TRUE(Exist(dir.str() + "\\D.dao"));
  EXPECT_TRUE(Exist("  " + dir.str() + "\\d.DAO  "));  // trimmed, any case
  EXPECT_FALSE(Exist(dir.str() + "\\USER"));
  EXPECT_FALSE(Exist(dir.str() + "\\E.dao"));
  EXPECT_FALSE(Exist(""));
  EXPECT_FALSE(Exist("   "));
}

TEST(Exist, WildcardsAndTrailingSeparatorListTheFolder) {
  TempFolder dir;
  dir.Write("A/D.dao", "x");
  dir.Write("B/sub/x", "x");
  EXPECT_TRUE(Exist(dir.str() + "\\A\\*.DAO"));
  EXPECT_FALSE(Exist(dir.str() + "\\A\\*.idx"));
  EXPECT_TRUE(Exist(dir.str() + "\\A\\"));
  EXPECT_FALSE(Exist(dir.str() + "\\B\\"));  // only a folder inside
}

TEST(Deleting, RemovesReadOnlyFilesAndIgnoresMissingOnes) {
  TempFolder dir;
  const auto file = dir.Write("USER/D.~~~", "x");
  std::filesystem::permissions(file, std::filesystem::perms::owner_read);
  Deleting(dir.str() + "\\USER\\D.~~~");
  EXPECT_FALSE(std::filesystem::exists(file));
  Deleting(dir.str() + "\\USER\\D.~~~");  // nothing left: no error
  Deleting("");
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
