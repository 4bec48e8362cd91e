#include "export/file_helpers.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/temp_folder.h"

namespace tarv {
namespace {

using testing::TempFolder;

TEST(AddBackslash, AddsOrRemovesOneTrailingBackslash) {
  EXPECT_EQ(AddBackslash("C:\\", false), "C:");
  EXPECT_EQ(AddBackslash("C:\\Atlas", true), "C:\\Atlas\\");
  EXPECT_EQ(AddBackslash("C:\\Atlas\\", true), "C:\\Atlas\\");
  EXPECT_EQ(AddBackslash("C:\\Atlas", false), "C:\\Atlas");
  EXPECT_EQ(AddBackslash("", true), "\\");
  EXPECT_EQ(AddBackslash("", false), "");
}

TEST(PathParts, FolderNameTitleAndExtension) {
  EXPECT_EQ(GetFilePath("C:\\a\\b.txt"), "C:\\a\\");
  EXPECT_EQ(GetFilePath("b.txt"), "b.txt");  // deliberately not an empty folder part
  std::string title, extension;
  EXPECT_EQ(GetFileName("C:\\a\\a.b.txt", &title, &extension), "a.b.txt");
  EXPECT_EQ(title, "a.b");
  EXPECT_EQ(extension, "txt");
  EXPECT_EQ(GetFileName("C:\\a\\README", &title, &extension), "README");
  EXPECT_EQ(title, "README");
  EXPECT_EQ(extension, "");
  EXPECT_EQ(GetFileTitle("C:\\a\\D.dao"), "D");
}

TEST(PathParts, SetFileExtensionComposesFolderTitleAndExtension) {
  EXPECT_EQ(SetFileExtension("C:\\Atlas\\USER\\D.dao", "IDX"), "C:\\Atlas\\USER\\D.IDX");
  EXPECT_EQ(SetFileExtension("C:\\Atlas\\D.dao", ""), "C:\\Atlas\\D.");
  EXPECT_EQ(SetFileExtension("D.dao", "IDX"), "D.daoD.IDX");  // kept as composed
}

TEST(FileExists, FilesQuotedOrPatternedButNeverFolders) {
  TempFolder dir;
  dir.Write("Country.dat", "x");
  EXPECT_TRUE(FileExists(dir.str() + "\\Country.dat"));
  EXPECT_TRUE(FileExists("\"" + dir.str() + "\\country.DAT\""));
  EXPECT_TRUE(FileExists(dir.str() + "\\C*.dat"));
  EXPECT_FALSE(FileExists(dir.str()));
  EXPECT_FALSE(FileExists(dir.str() + "\\"));
  EXPECT_FALSE(FileExists(""));
  EXPECT_FALSE(FileExists("\"\""));
}

TEST(DeleteFile, PatternDeletesHiddenAndReadOnlyFilesToo) {
  TempFolder dir;
  const auto hidden = dir.Write(".Cities.txt", "x");
  const auto read_only = dir.Write("Zones.txt", "x");
  dir.Write("keep.dat", "x");
  std::filesystem::permissions(read_only, std::filesystem::perms::owner_read);
  EXPECT_TRUE(DeleteFile(dir.str() + "\\*.txt", true));
  EXPECT_FALSE(std::filesystem::exists(hidden));
  EXPECT_FALSE(std::filesystem::exists(read_only));
  EXPECT_TRUE(std::filesystem::exists(dir.path() / "keep.dat"));
}

TEST(DeleteFile, SingleFileAndMissingFile) {
  TempFolder dir;
  dir.Write("Cities.txt", "x");
  EXPECT_TRUE(DeleteFile(dir.str() + "\\cities.txt", true));
  EXPECT_TRUE(DeleteFile(dir.str() + "\\cities.txt", true));  // nothing left: true
  EXPECT_FALSE(std::filesystem::exists(dir.path() / "Cities.txt"));
}

}  // namespace
}  // namespace tarv
