#include "platform/file_status.h"

#include <sys/stat.h>

#include <chrono>
#include <unordered_map>

namespace tarv {
namespace {

struct CallMemo {
  int depth = 0;
  std::unordered_map<std::string, FileStatus> followed;
  std::unordered_map<std::string, FileStatus> not_followed;

  void Clear() {
    followed.clear();
    not_followed.clear();
  }
};

thread_local CallMemo memo;

FileStatus Look(const std::string& path, bool follow) {
  struct stat info {};
  FileStatus status;
  if ((follow ? ::stat(path.c_str(), &info) : ::lstat(path.c_str(), &info)) != 0) return status;
  status.exists = true;
  status.regular = S_ISREG(info.st_mode);
  status.directory = S_ISDIR(info.st_mode);
  status.size = static_cast<std::uint64_t>(info.st_size);
  status.mtime_ns =
      static_cast<std::int64_t>(info.st_mtim.tv_sec) * 1'000'000'000 + info.st_mtim.tv_nsec;
  status.device = static_cast<std::uint64_t>(info.st_dev);
  status.inode = static_cast<std::uint64_t>(info.st_ino);
  return status;
}

}  // namespace

FileStatus StatFile(const std::string& path, bool follow) {
  if (memo.depth == 0) return Look(path, follow);
  auto& seen = follow ? memo.followed : memo.not_followed;
  const auto [it, fresh] = seen.try_emplace(path);
  if (fresh) it->second = Look(path, follow);
  return it->second;
}

void ForgetStatsOfThisCall() {
  memo.Clear();
}

StatScope::StatScope() {
  ++memo.depth;
}

StatScope::~StatScope() {
  if (--memo.depth == 0) memo.Clear();
}

std::int64_t NowNs() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

}  // namespace tarv
