#include "util/file_tests.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <utility>
#include <system_error>

#include "platform/file_status.h"
#include "platform/paths.h"
#include "platform/per_thread.h"
#include "text/codepage.h"
#include "util/text.h"

namespace fs = std::filesystem;

namespace tarv {
namespace {

bool HasWildcard(const std::string& path) {
  return path.find_first_of("*?") != std::string::npos;
}

bool EndsInSeparator(const std::string& path) {
  return !path.empty() && (path.back() == '\\' || path.back() == '/');
}

// Exist's answers of this thread within one call number; the strings keep
// their buffers from call to call.
struct ExistMemo {
  std::uint64_t call = 0;
  std::array<std::pair<std::string, bool>, 16> answers;
  std::size_t used = 0;
};

void RemoveWritable(const fs::path& file) {
  std::error_code ec;
  fs::permissions(file, fs::perms::owner_write, fs::perm_options::add, ec);
  fs::remove(file, ec);
}

}  // namespace

std::vector<fs::path> MatchingFiles(std::string_view windows_pattern) {
  std::string pattern(windows_pattern);
  std::string folder;
  const auto cut = pattern.find_last_of("\\/");
  if (cut != std::string::npos) {
    folder = pattern.substr(0, cut + 1);
    pattern.erase(0, cut + 1);
  }
  const bool everything = pattern.empty() || pattern == "*.*";
  const fs::path native_folder = folder.empty() ? fs::path(".") : NativePath(folder);
  const WildcardPattern matcher(everything ? std::string("*") : AnsiFromUtf8(pattern),
                                /*sets=*/false);
  std::vector<fs::path> files;
  for (const auto& name : ListDirectory(native_folder)) {
    if (!matcher.Matches(AnsiFromUtf8(name))) continue;
    const fs::path candidate = native_folder / PathFromUtf8(name);
    if (StatFile(candidate).regular) files.push_back(candidate);
  }
  return files;
}

bool Exist(const std::string& path) {
  const std::string trimmed = Trim(path);
  if (trimmed.empty()) return false;
  if (HasWildcard(trimmed) || EndsInSeparator(trimmed)) return !MatchingFiles(trimmed).empty();
  // The answer rests on file statuses, which hold for the call number; a
  // lookup asks about the same few files every time, and a remembered answer
  // takes none of the locks the spelling resolutions share with other threads.
  const std::uint64_t call = CallNumber();
  ExistMemo& memo = PerThread<ExistMemo>();
  if (call != 0) {
    if (memo.call != call) {
      memo.call = call;
      memo.used = 0;
    }
    for (std::size_t i = 0; i < memo.used; ++i) {
      if (memo.answers[i].first == trimmed) return memo.answers[i].second;
    }
  }
  const bool exists = [&] {
    if (KnownMissing(trimmed)) return false;
    const std::string slashed = SlashedString(trimmed);
    if (StatFile(slashed).regular) return true;
    const std::string native = Utf8OfPath(NativePath(trimmed));
    return native != slashed && StatFile(native).regular;
  }();
  if (call != 0 && memo.used < memo.answers.size()) {
    memo.answers[memo.used].first.assign(trimmed);
    memo.answers[memo.used++].second = exists;
  }
  return exists;
}

void Deleting(const std::string& path) {
  if (path.empty() || !Exist(path)) return;
  if (HasWildcard(path)) {
    for (const auto& file : MatchingFiles(path))
      RemoveWritable(file);
  } else {
    RemoveWritable(NativePath(path));
  }
}

}  // namespace tarv
