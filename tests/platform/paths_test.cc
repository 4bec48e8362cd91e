#include "platform/paths.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/file_status.h"
#include "support/temp_folder.h"

namespace tarv {
namespace {

using testing::TempFolder;

TEST(NativePath, BackslashesBecomeSlashes) {
  TempFolder dir;
  dir.Write("USER/D.dao", "x");
  EXPECT_EQ(NativePath(dir.str() + "\\USER\\D.dao"), dir.path() / "USER" / "D.dao");
}

TEST(MountFolder, MapsPathsUnderTheFolderOnlyAndKeepsItsFirstPlace) {
  TempFolder dir;
  dir.Write("data/USER/D.dao", "x");
  const std::string user = dir.str() + "\\atlas\\USER";
  const std::string place = Utf8OfPath(dir.path() / "data" / "USER");
  MountFolder(user + "\\", place + "/");  // trailing separators do not count
  MountFolder(user, place);               // the same place again is no change
  EXPECT_EQ(NativePath(user + "\\D.dao"), dir.path() / "data" / "USER" / "D.dao");
  EXPECT_EQ(MountedPath(user), place);
  for (const std::string& other : std::vector<std::string>{
           dir.str() + "\\atlas\\USERS\\D.dao", dir.str() + "\\atlas\\D.dao", "USER\\D.dao"}) {
    EXPECT_EQ(MountedPath(other), other);
  }
  EXPECT_THROW(MountFolder(user, dir.str() + "/elsewhere"), std::invalid_argument);
  EXPECT_EQ(MountedPath(user), place);
}

#ifdef _WIN32

// On Windows the path is the file system's own; it finds names without
// regard to case itself.
TEST(NativePath, IsThePathAsItStandsOnWindows) {
  TempFolder dir;
  dir.Write("Atlas/User/Österreich.dao", "x");
  const auto path = NativePath(dir.str() + "\\atlas\\USER\\Österreich.DAO");
  EXPECT_EQ(Utf8OfPath(path), dir.str() + "\\atlas\\USER\\Österreich.DAO");
  EXPECT_TRUE(StatFile(path).regular);
  EXPECT_FALSE(KnownMissing(dir.str() + "\\none"));
}

TEST(FileKey, IsOneForEverySpellingOnWindows) {
  EXPECT_EQ(FileKey("C:\\Atlas\\user\\österreich.dao"), FileKey("c:/ATLAS/USER/ÖSTERREICH.DAO"));
  EXPECT_NE(FileKey("C:\\Atlas\\D.dao"), FileKey("C:\\Atlas\\A.dao"));
}

// Paths past Windows' old limit of 260 characters still name their files.
TEST(NativePath, PathsLongerThan260CharactersWork) {
  TempFolder dir;
  std::string relative;
  while (dir.str().size() + relative.size() < 300)
    relative += "a-rather-long-folder-name/";
  dir.Write(relative + "D.dao", "places");
  const std::string windows = dir.str() + "\\" + relative + "D.dao";
  ASSERT_GT(windows.size(), 260U);
  EXPECT_TRUE(StatFile(NativePath(windows)).regular);
  EXPECT_EQ(ListDirectory(NativePath(dir.str() + "\\" + relative)).size(), 1U);
}

#else

TEST(NativePath, ResolvesEachComponentWithoutRegardToCaseExactSpellingFirst) {
  struct Case {
    std::vector<std::string> files;
    std::string typed, expected;
  };
  const Case kCases[] = {
      {{"Atlas/User/D.dao"}, "\\atlas\\USER\\d.DAO", "Atlas/User/D.dao"},
      {{"Österreich.txt"}, "\\öSTERREICH.TXT", "Österreich.txt"},  // Windows-1252 letters
      {{"d.dao", "D.dao"}, "\\d.dao", "d.dao"},
      {{"d.dao", "D.dao"}, "\\D.DAO", "D.dao"},                       // first in byte order
      {{"Atlas/x"}, "\\ATLAS\\USER\\New.dao", "Atlas/USER/New.dao"},  // missing: as written
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.typed);
    TempFolder dir;
    for (const auto& file : c.files)
      dir.Write(file, "x");
    EXPECT_EQ(NativePath(dir.str() + c.typed), dir.path() / c.expected);
  }
}

// An atlas folder last changed an hour ago: a path missing in it is
// remembered as missing.
void WriteOldAtlas(const TempFolder& dir) {
  dir.Write("Atlas/D.dao", "x");
  std::filesystem::last_write_time(
      dir.path() / "Atlas", std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
}

TEST(NativePath, SeesFilesCreatedAfterAnEarlierOrMissingLookup) {
  TempFolder dir;
  dir.Write("Atlas/a", "x");
  EXPECT_EQ(NativePath(dir.str() + "\\atlas\\B.txt"), dir.path() / "Atlas" / "B.txt");
  dir.Write("Atlas/b.TXT", "x");
  EXPECT_EQ(NativePath(dir.str() + "\\atlas\\B.txt"), dir.path() / "Atlas" / "b.TXT");
  TempFolder old;
  WriteOldAtlas(old);
  const std::string user_file = old.str() + "\\atlas\\user\\D.dao";
  for (int i = 0; i < 2; ++i)  // the second time remembered as missing
    EXPECT_EQ(NativePath(user_file), old.path() / "Atlas" / "user" / "D.dao");
  old.Write("Atlas/USER/D.dao", "x");
  EXPECT_EQ(NativePath(user_file), old.path() / "Atlas" / "USER" / "D.dao");
}

TEST(KnownMissing, HoldsOnlyWhileTheFolderThatLacksThePathIsUnchanged) {
  TempFolder dir;
  WriteOldAtlas(dir);
  const std::string user_file = dir.str() + "\\Atlas\\USER\\D.dao";
  EXPECT_FALSE(KnownMissing(user_file));  // never looked up
  NativePath(user_file);
  EXPECT_TRUE(KnownMissing(user_file));
  // Resolved through "Atlas": an "ATLAS" of its own could appear beside it.
  const std::string other_spelling = dir.str() + "\\ATLAS\\USER\\D.dao";
  NativePath(other_spelling);
  EXPECT_FALSE(KnownMissing(other_spelling));
  dir.Write("Fresh/a", "x");  // changed within the file system's time tick
  const std::string fresh = dir.str() + "\\Fresh\\USER\\D.dao";
  NativePath(fresh);
  EXPECT_FALSE(KnownMissing(fresh));
  ASSERT_TRUE(KnownMissing(user_file));
  dir.Write("Atlas/user/D.dao", "x");  // any spelling changes the folder
  EXPECT_FALSE(KnownMissing(user_file));
}

#endif

// Windows opens a device for these names in any folder and with any
// extension; the Windows port never reads or writes such a file.
TEST(IsReservedDeviceName, KnowsWindowsDeviceNamesInAnyComponent) {
  for (const char* path : {"NUL", "nul.dao", "C:\\Atlas\\CON.dao", "C:/Atlas/com1.txt", "LPT9",
                           "aux .idx", "C:\\Atlas\\prn\\D.dao", "CONOUT$", "COM\xC2\xB9.dao"}) {
    EXPECT_TRUE(IsReservedDeviceName(path)) << path;
  }
  for (const char* path : {"", "CONSOLE", "COM10", "NULL.dao", "LPT", "COM0x", "C:\\Atlas\\D.dao",
                           "C:\\NULs\\x", "AUXI.dao", "COMA.dao", "LPT:"}) {
    EXPECT_FALSE(IsReservedDeviceName(path)) << path;
  }
}

}  // namespace
}  // namespace tarv
