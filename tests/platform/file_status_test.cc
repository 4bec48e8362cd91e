#include "platform/file_status.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "platform/change_counter.h"
#include "platform/paths.h"
#include "support/temp_folder.h"

namespace tarv {
namespace {

using testing::TempFolder;

// A watched folder without a counter: each call looks at the files again.
std::string NoCounter(const TempFolder& dir) {
  return (dir.path() / "no-such-folder").string();
}

TEST(StatScope, WithoutACounterEachPathIsLookedAtOncePerCall) {
  TempFolder dir;
  const auto file = dir.Write("a.dat", "1");
  WatchedFolder none(NoCounter(dir), NativePath);
  {
    const StatScope call(none);
    EXPECT_EQ(StatFile(file).size, 1U);
    dir.WriteUnannounced("a.dat", "12345");
    EXPECT_EQ(StatFile(file).size, 1U);  // as the call first saw it
    { const StatScope member_called_by_a_member(none); }
    EXPECT_EQ(StatFile(file).size, 1U);  // only the outermost scope forgets
    ForgetStatsOfThisCall();             // as after the component's own write
    EXPECT_EQ(StatFile(file).size, 5U);
  }
  dir.Write("a.dat", "12");
  EXPECT_EQ(StatFile(file).size, 2U);  // without a scope every look is new
  const StatScope next_call(none);
  EXPECT_EQ(StatFile(file).size, 2U);
}

#ifndef _WIN32
using Sizes = std::pair<std::uintmax_t, std::uintmax_t>;

// Linux also watches the atlas folder and its USER folder: an uncounted change
// there is seen at once. With the watch and the counter no clock is needed:
// what was seen outside them holds past the second (no atlas file is there).
TEST(StatScope, WithAWatchChangesNobodyCountedAreSeenAtOnce) {
  ForgetFileStatuses();
  TempFolder dir;
  const auto inside = dir.Write("a.dat", "1");
  const auto outside = dir.Write("other/b.dat", "1");
  std::filesystem::create_directory(dir.path() / "USER");
  WatchedFolder user((dir.path() / "USER").string(), NativePath);
  const auto sizes_in_a_call = [&] {
    const StatScope call(user);
    return Sizes(StatFile(inside).size, StatFile(outside).size);
  };
  // How long until a call sees `size` for the file in the atlas folder.
  const auto time_to_see = [&](std::uintmax_t size) {
    const auto start = std::chrono::steady_clock::now();
    while (sizes_in_a_call().first != size &&
           std::chrono::steady_clock::now() - start < std::chrono::seconds(2))
      std::this_thread::sleep_for(std::chrono::microseconds(100));
    return std::chrono::steady_clock::now() - start;
  };
  EXPECT_EQ(sizes_in_a_call(), Sizes(1, 1));
  dir.WriteUnannounced("other/b.dat", "12");
  EXPECT_EQ(sizes_in_a_call(), Sizes(1, 1));  // not watched
  std::this_thread::sleep_for(std::chrono::milliseconds(1100));
  EXPECT_EQ(sizes_in_a_call(), Sizes(1, 1));
  dir.WriteUnannounced("a.dat", "12");
  EXPECT_LT(time_to_see(2), std::chrono::milliseconds(500));
  std::filesystem::remove(dir.path() / "USER" / kChangeCounterFile);  // the counter gone too
  dir.WriteUnannounced("a.dat", "123");
  EXPECT_LT(time_to_see(3), std::chrono::milliseconds(500));
  ForgetFileStatuses();
}

#else
TEST(StatScope, WithACounterStatusesLastUntilItMovesOrASecondPasses) {
  ForgetFileStatuses();
  TempFolder dir;
  const auto file = dir.Write("a.dat", "1");
  std::filesystem::create_directory(dir.path() / "USER");
  WatchedFolder user((dir.path() / "USER").string(), NativePath);
  const auto size_in_a_call = [&] {
    const StatScope call(user);
    return StatFile(file).size;
  };
  EXPECT_EQ(size_in_a_call(), 1U);
  EXPECT_TRUE(std::filesystem::exists(dir.path() / "USER" / kChangeCounterFile));
  dir.WriteUnannounced("a.dat", "12");
  EXPECT_EQ(size_in_a_call(), 1U);  // no writer told of it
  ASSERT_TRUE(BumpChangeCounter(dir.path() / "USER"));
  EXPECT_EQ(size_in_a_call(), 2U);
  dir.WriteUnannounced("a.dat", "123");
  EXPECT_EQ(size_in_a_call(), 2U);
  std::this_thread::sleep_for(std::chrono::milliseconds(1100));
  EXPECT_EQ(size_in_a_call(), 3U);  // files replaced without a bump, a second on

  ForgetFileStatuses();
}
#endif

// Within a call files are looked at through a handle on their folder, which
// must never outlive the folder the path names.
TEST(StatScope, FolderRenamedOrLinkRepointedIsNotLookedIntoThroughTheOldOne) {
  if (const auto why = testing::WhySymlinksCannotBeMade(); !why.empty()) GTEST_SKIP() << why;
  TempFolder dir;
  dir.Write("atlas/x.dat", "1");
  dir.Write("other/x.dat", "22");
  std::filesystem::create_directory_symlink(dir.path() / "atlas", dir.path() / "link");
  WatchedFolder none(NoCounter(dir), NativePath);
  const auto size_in_a_call = [&none](const std::filesystem::path& folder) {
    const StatScope call(none);
    EXPECT_TRUE(StatFile(folder).directory);
    return StatFile(folder / "x.dat").size;
  };
  EXPECT_EQ(size_in_a_call(dir.path() / "atlas"), 1U);
  EXPECT_EQ(size_in_a_call(dir.path() / "link"), 1U);
  std::filesystem::rename(dir.path() / "atlas", dir.path() / "old");
  dir.Write("atlas/x.dat", "333");
  EXPECT_EQ(size_in_a_call(dir.path() / "atlas"), 3U);
  std::filesystem::remove(dir.path() / "link");
  std::filesystem::create_directory_symlink(dir.path() / "other", dir.path() / "link");
  EXPECT_EQ(size_in_a_call(dir.path() / "link"), 2U);
  std::filesystem::remove_all(dir.path() / "other");
  const StatScope call(none);
  EXPECT_FALSE(StatFile(dir.path() / "link").exists);
  EXPECT_FALSE(StatFile(dir.path() / "link" / "x.dat").exists);
}

TEST(StatFile, KindsVersionsAndLinksFollowedOnlyWhenAsked) {
  TempFolder dir;
  const auto file = dir.Write("sub/a.dat", "abc");
  const FileStatus first = StatFile(file);
  EXPECT_TRUE(first.exists && first.regular && !first.directory);
  EXPECT_TRUE(StatFile(dir.path() / "sub").directory);
  EXPECT_FALSE(StatFile(dir.path() / "none").exists);
  // The same version needs the same size, time and inode.
  EXPECT_TRUE(first.SameVersion(StatFile(file)));
  const auto other = dir.Write("sub/b.dat", "xyz");
  std::filesystem::last_write_time(other, std::filesystem::last_write_time(file));
  std::filesystem::rename(other, file);  // same size and time, another inode
  EXPECT_FALSE(first.SameVersion(StatFile(file)));
  if (const auto why = testing::WhySymlinksCannotBeMade(); !why.empty()) GTEST_SKIP() << why;
  std::filesystem::create_symlink(dir.path() / "gone", dir.path() / "link");
  EXPECT_FALSE(StatFile(dir.path() / "link").exists);
  EXPECT_TRUE(StatFile(dir.path() / "link", /*follow=*/false).exists);
}

}  // namespace
}  // namespace tarv
