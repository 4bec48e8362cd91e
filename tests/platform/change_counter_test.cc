#include "platform/change_counter.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

#include "support/temp_folder.h"

namespace tarv {
namespace {

using testing::TempFolder;

TEST(ChangeCounter, MappingsOfOneFileSeeEachOthersBumps) {
  TempFolder dir;
  auto first = ChangeCounter::Map(dir.path(), /*create=*/true);
  auto second = ChangeCounter::Map(dir.path(), /*create=*/true);
  ASSERT_TRUE(first && second);
  EXPECT_EQ(first->Value(), 0U);
  EXPECT_TRUE(first->Bump());
  EXPECT_TRUE(BumpChangeCounter(dir.path()));
  EXPECT_EQ(second->Value(), 2U);
  EXPECT_TRUE(second->StillValid());
  // Mapped again (a new process), the count goes on.
  second.reset();
  EXPECT_EQ(ChangeCounter::Map(dir.path(), /*create=*/false)->Value(), 2U);

  const auto file = dir.path() / kChangeCounterFile;
#ifdef _WIN32
  // Windows refuses to replace or shorten a mapped file; once the mappings
  // are gone it may be replaced, and a mapping of the new file counts.
  EXPECT_THROW(std::filesystem::resize_file(file, 0), std::filesystem::filesystem_error);
  first.reset();
  std::filesystem::copy_file(file, dir.path() / "copy");
  std::filesystem::rename(dir.path() / "copy", file);
  auto third = ChangeCounter::Map(dir.path(), /*create=*/true);
  ASSERT_NE(third, nullptr);
  EXPECT_EQ(third->Value(), 2U);
  third.reset();
  std::filesystem::resize_file(file, 0);
#else
  // Replaced by a file of its own, the old mapping no longer counts.
  std::filesystem::copy_file(file, dir.path() / "copy");
  std::filesystem::rename(dir.path() / "copy", file);
  EXPECT_FALSE(first->StillValid());
  // Cut short under a mapping: its page must no longer be read.
  const auto third = ChangeCounter::Map(dir.path(), /*create=*/true);
  ASSERT_NE(third, nullptr);
  const std::uint64_t before = third->Value();
  std::filesystem::resize_file(file, 0);
  EXPECT_FALSE(third->StillValid());
  // Read anyway (between a reader's checks), it does not fault: a change.
  EXPECT_NE(third->Value(), before);
  // Any other SIGBUS still ends the process, by the earlier or default handler.
  EXPECT_DEATH(::raise(SIGBUS), "");
#endif
  // An empty file is a new one: it is given its magic again.
  const auto fresh = ChangeCounter::Map(dir.path(), /*create=*/true);
  ASSERT_NE(fresh, nullptr);
  EXPECT_EQ(fresh->Value(), 0U);
}

TEST(ChangeCounter, UnusableFilesMapToNothingAndSayWhy) {
  TempFolder dir;
  std::string why = "stale";
  EXPECT_EQ(ChangeCounter::Map(dir.path(), /*create=*/false, &why), nullptr);
  EXPECT_EQ(why, "");  // only missing
  EXPECT_EQ(ChangeCounter::Map(dir.path() / "missing", /*create=*/true, &why), nullptr);
  EXPECT_EQ(why, "");  // the folder is not made
  EXPECT_FALSE(BumpChangeCounter(dir.path() / "missing"));
  EXPECT_FALSE(std::filesystem::exists(dir.path() / "missing"));

  dir.Write(kChangeCounterFile, "TPCHANG");
  EXPECT_EQ(ChangeCounter::Map(dir.path(), /*create=*/true, &why), nullptr);
  EXPECT_NE(why.find("shorter"), std::string::npos);
  dir.Write(kChangeCounterFile, "not a counter at all");
  EXPECT_EQ(ChangeCounter::Map(dir.path(), /*create=*/true, &why), nullptr);
  EXPECT_NE(why.find("TPCHANGE"), std::string::npos);
  EXPECT_FALSE(BumpChangeCounter(dir.path()));
  EXPECT_EQ(dir.Read(kChangeCounterFile), "not a counter at all");  // left as it was
  std::filesystem::remove(dir.path() / kChangeCounterFile);
  std::filesystem::create_directory(dir.path() / kChangeCounterFile);
  EXPECT_EQ(ChangeCounter::Map(dir.path(), /*create=*/true, &why), nullptr);
  EXPECT_FALSE(why.empty());
}

TEST(ChangeCounter, ReadOnlyFileIsFollowedButNotBumped) {
  if (const auto why = testing::WhyReadOnlyIsNotEnforced(/*folder=*/false); !why.empty())
    GTEST_SKIP() << why;
  TempFolder dir;
  ASSERT_TRUE(BumpChangeCounter(dir.path()));
  std::filesystem::permissions(dir.path() / kChangeCounterFile, std::filesystem::perms::owner_read);
  auto counter = ChangeCounter::Map(dir.path(), /*create=*/true);
  ASSERT_NE(counter, nullptr);
  EXPECT_EQ(counter->Value(), 1U);
  EXPECT_FALSE(counter->Bump());
}

}  // namespace
}  // namespace tarv
