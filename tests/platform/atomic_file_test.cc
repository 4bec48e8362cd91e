#include "platform/atomic_file.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "support/temp_folder.h"
#include "tarvplaces/atlas_error.h"

namespace fs = std::filesystem;

namespace tarv {
namespace {

using testing::TempFolder;

std::set<std::string> Listing(const fs::path& folder) {
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder))
    names.insert(entry.path().filename().string());
  return names;
}

TEST(AtomicFile, TemporaryNameReplacesTheExtensionAndALeftoverIsTakenOverAndGoes) {
  EXPECT_EQ(TemporaryPathOf("/atlas/USER/D.dao"), fs::path("/atlas/USER/D.~~~"));
  EXPECT_EQ(TemporaryPathOf("/out/Cities.txt"), fs::path("/out/Cities.~~~"));
  EXPECT_EQ(TemporaryPathOf("/out/README"), fs::path("/out/README.~~~"));
  // The leftover of an interrupted write.
  const TempFolder dir;
  dir.Write("Cities.~~~", std::string(5000, 'x'));  // longer than what comes
  WriteFileAtomically(dir.path() / "Cities.txt", "new");
  EXPECT_EQ(dir.Read("Cities.txt"), "new");
  EXPECT_EQ(Listing(dir.path()), (std::set<std::string>{"Cities.txt"}));
}

TEST(AtomicFile, StagedFilesReplaceNothingUntilCommitted) {
  const TempFolder dir;
  dir.Write("a.txt", "old a");
  dir.Write("b.txt", "old b");
  {
    StagedFile a(dir.path() / "a.txt", "new a");
    StagedFile b(dir.path() / "b.txt", "new b");
    EXPECT_EQ(dir.Read("a.txt"), "old a");
    a.Commit();
    EXPECT_EQ(dir.Read("a.txt"), "new a");
  }  // b goes without a commit
  EXPECT_EQ(dir.Read("b.txt"), "old b");
  EXPECT_EQ(Listing(dir.path()), (std::set<std::string>{"a.txt", "b.txt"}));
}

TEST(AtomicFile, FailuresNameTheTargetAndLeaveNothingBehind) {
  const TempFolder dir;
  try {
    WriteFileAtomically(dir.path() / "missing" / "x.txt", "data");
    ADD_FAILURE() << "wrote into a folder that does not exist";
  } catch (const AtlasWriteError& e) {
    EXPECT_EQ(e.file(), (dir.path() / "missing" / "x.txt").string());
  }
  // A NUL would have the system write "D" instead.
  EXPECT_THROW(WriteFileAtomically(dir.path() / std::string("D\0.dao", 6), "data"),
               AtlasWriteError);
  EXPECT_TRUE(Listing(dir.path()).empty());
}

#ifndef _WIN32
// A written file takes its folder's permissions, whatever the umask; a link
// where the temporary file goes is not written through.
TEST(AtomicFile, FilesTakeTheFolderPermissionsAndNoLinkIsFollowed) {
  const TempFolder dir;
  for (const auto& [folder_mode, file_mode] :
       {std::pair(fs::perms(0700), fs::perms(0600)), std::pair(fs::perms(0755), fs::perms(0644))}) {
    fs::permissions(dir.path(), folder_mode);
    WriteFileAtomically(dir.path() / "D.dao", "places");
    EXPECT_EQ(fs::status(dir.path() / "D.dao").permissions(), file_mode);
  }
  const TempFolder outside;
  const auto target = outside.Write("passwd", "root:x:0:0");
  fs::create_symlink(target, dir.path() / "D.~~~");
  WriteFileAtomically(dir.path() / "D.dao", "new");
  EXPECT_EQ(outside.Read("passwd"), "root:x:0:0");
  EXPECT_EQ(dir.Read("D.dao"), "new");
  EXPECT_EQ(Listing(dir.path()), (std::set<std::string>{"D.dao"}));
}
#endif

TEST(AtomicFile, ConcurrentWritersOfOneTargetNeverMixTheirBytes) {
  // One temporary name per target: without its lock writers would share it.
  // The reads do not share deletion on Windows: no writer may hold the target so.
  const TempFolder dir;
  const fs::path target = dir.path() / "D.dao";
  std::atomic<int> torn{0};
  std::vector<std::thread> writers;
  for (char c = 'a'; c < 'e'; ++c) {
    writers.emplace_back([&, c] {
      for (int round = 0; round < 25; ++round) {
        WriteFileAtomically(target, std::string(200'000 + 1000 * (c - 'a'), c));
        const std::string now = dir.Read("D.dao");
        if (now.find_first_not_of(now[0]) != std::string::npos ||
            now.size() != 200'000 + 1000 * static_cast<std::size_t>(now[0] - 'a')) {
          ++torn;
        }
      }
    });
  }
  for (auto& writer : writers)
    writer.join();
  EXPECT_EQ(torn.load(), 0);
  EXPECT_EQ(Listing(dir.path()), (std::set<std::string>{"D.dao"}));
}

}  // namespace
}  // namespace tarv
