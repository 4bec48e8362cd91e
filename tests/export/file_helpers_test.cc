#include "export/file_helpers.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/temp_folder.h"

namespace tarv {
namespace {

using testing::TempFolder;

TEST(PathParts, BackslashFolderNameTitleAndExtension) {
  struct Case {
    std::string got, want;
  };
  std::string title, extension;
  const std::string name = GetFileName("C:\\a\\a.b.txt", &title, &extension);
  const Case kCases[] = {
      {AddBackslash("C:\\", false), "C:"},
      {AddBackslash("C:\\Atlas", true), "C:\\Atlas\\"},
      {AddBackslash("C:\\Atlas\\", true), "C:\\Atlas\\"},
      {AddBackslash("", true), "\\"},
      {GetFilePath("C:\\a\\b.txt"), "C:\\a\\"},
      {GetFilePath("b.txt"), "b.txt"},  // deliberately not an empty folder part
      {name + "|" + title + "|" + extension, "a.b.txt|a.b|txt"},
      {GetFileName("C:\\a\\README", &title, &extension) + "|" + title + "|" + extension,
       "README|README|"},
      {GetFileTitle("C:\\a\\D.dao"), "D"},
      {SetFileExtension("C:\\Atlas\\USER\\D.dao", "IDX"), "C:\\Atlas\\USER\\D.IDX"},
      {SetFileExtension("C:\\Atlas\\D.dao", ""), "C:\\Atlas\\D."},
      {SetFileExtension("D.dao", "IDX"), "D.daoD.IDX"},  // kept as composed
  };
  for (const Case& c : kCases)
    EXPECT_EQ(c.got, c.want);
}

TEST(FileExists, FilesQuotedOrPatternedButNeverFolders) {
  TempFolder dir;
  dir.Write("Country.dat", "x");
  for (const std::string& file :
       {dir.str() + "\\Country.dat", "\"" + dir.str() + "\\country.DAT\"", dir.str() + "\\C*.dat"})
    EXPECT_TRUE(FileExists(file)) << file;
  for (const std::string& none : {dir.str(), dir.str() + "\\", std::string(), std::string("\"\"")})
    EXPECT_FALSE(FileExists(none)) << none;
}

TEST(DeleteFile, PatternDeletesHiddenAndReadOnlyFilesAMissingFileIsNoFault) {
  TempFolder dir;
  const auto hidden = dir.Write(".Cities.txt", "x");
  const auto read_only = dir.Write("Zones.txt", "x");
  dir.Write("keep.dat", "x");
  std::filesystem::permissions(read_only, std::filesystem::perms::owner_read);
  EXPECT_TRUE(DeleteFile(dir.str() + "\\*.txt", true));
  EXPECT_EQ(std::tuple(std::filesystem::exists(hidden), std::filesystem::exists(read_only),
                       std::filesystem::exists(dir.path() / "keep.dat")),
            std::tuple(false, false, true));
  EXPECT_TRUE(DeleteFile(dir.str() + "\\KEEP.dat", true));
  EXPECT_FALSE(std::filesystem::exists(dir.path() / "keep.dat"));
  EXPECT_TRUE(DeleteFile(dir.str() + "\\keep.dat", true));  // nothing left: true
}

}  // namespace
}  // namespace tarv
