#include "util/file_tests.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <tuple>

#include "support/temp_folder.h"

namespace tarv {
namespace {

using testing::TempFolder;

// Names are trimmed and of any case; "B\\" holds only a folder.
TEST(Exist, FilesButNotFoldersAlsoByWildcardsAndTrailingSeparator) {
  TempFolder dir;
  dir.Write("D.dao", "x");
  dir.Write("USER/keep", "x");
  dir.Write("A/D.dao", "x");
  dir.Write("B/sub/x", "x");
  const std::string d = dir.str() + "\\";
  EXPECT_EQ(std::tuple(Exist(d + "D.dao"), Exist("  " + d + "d.DAO  "), Exist(d + "USER"),
                       Exist(d + "E.dao"), Exist(""), Exist("   ")),
            std::tuple(true, true, false, false, false, false));
  EXPECT_EQ(
      std::tuple(Exist(d + "A\\*.DAO"), Exist(d + "A\\*.idx"), Exist(d + "A\\"), Exist(d + "B\\")),
      std::tuple(true, false, true, false));
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
  EXPECT_EQ(
      std::tuple(MatchingFiles(dir.str() + "\\?.*").size(), MatchingFiles(dir.str() + "\\").size(),
                 MatchingFiles(dir.str() + "\\*.txt").size()),
      std::tuple(3U, 3U, 0U));
}

}  // namespace
}  // namespace tarv
