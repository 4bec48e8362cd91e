#include "platform/file_status.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/change_counter.h"
#include "platform/file_status_native.h"
#include "platform/folder_watch.h"
#include "platform/per_thread.h"
#include "platform/utf8_path.h"

namespace tarv {
namespace {

// What the scopes have looked at. A lookup in one country looks at a handful
// of paths, so a short list searched in order beats a hash table; its strings
// keep their buffers from call to call. A search over a continent looks at
// hundreds; past the list's length paths are looked at every time.
struct CallMemo {
  struct Seen {
    std::string path;
    bool follow = true;
    FileStatus status;
  };
  int depth = 0;
  std::uint64_t call = 0;
  std::vector<Seen> seen;
  std::size_t used = 0;

  // While `shared` holds, what was seen stays valid across calls: until the
  // watch or the counter of the folder `watch_id` moves from `changes_seen`,
  // or, when `timed`, kRecheckNs pass from `since_ns`.
  std::uint64_t watch_id = 0;
  std::shared_ptr<FolderWatch> watch;
  std::shared_ptr<const ChangeCounter> counter;
  bool shared = false;
  bool timed = false;
  std::pair<std::uint64_t, std::uint64_t> changes_seen;
  std::int64_t since_ns = 0;

  void Clear() {
    used = 0;
    ++call;
  }

  // Both numbers as they stand: a change either tells of moves one of them.
  std::pair<std::uint64_t, std::uint64_t> Changes() const {
    return {watch ? watch->Changes() : 0, counter ? counter->Value() : 0};
  }
};

constexpr std::size_t kMaxRemembered = 32;

constexpr std::int64_t kRecheckNs = 1'000'000'000;

}  // namespace

namespace {

const FileStatus* Remembered(std::string_view path, bool follow) {
  CallMemo& memo = PerThread<CallMemo>();
  for (std::size_t i = 0; i < memo.used; ++i) {
    const auto& seen = memo.seen[i];
    if (seen.follow == follow && seen.path == path) return &seen.status;
  }
  return nullptr;
}

// Within a call: relative to the folder when the call has looked at the
// folder already (a missing user file has it looked at first).
FileStatus LookInCall(const std::string& path, bool follow) {
  const auto cut = path.find_last_of(native::kSeparators);
  if (cut == std::string::npos || cut == 0 || cut + 1 == path.size()) {
    return native::LookAt(path, follow);
  }
  const std::string_view name(path.data() + cut + 1, path.size() - cut - 1);
  if (name == "." || name == "..") return native::LookAt(path, follow);
  const FileStatus* seen = Remembered(std::string_view(path.data(), cut), true);
  if (seen == nullptr || !seen->directory) return native::LookAt(path, follow);
  return native::LookInFolder(path, cut, *seen, follow);
}

}  // namespace

FileStatus StatFile(const std::string& path, bool follow) {
  CallMemo& memo = PerThread<CallMemo>();
  if (memo.depth == 0) return native::LookAt(path, follow);
  if (const FileStatus* seen = Remembered(path, follow)) return *seen;
  if (memo.used == kMaxRemembered) return native::LookAt(path, follow);
  const FileStatus status = LookInCall(path, follow);
  if (memo.used == memo.seen.size()) memo.seen.emplace_back();
  auto& fresh = memo.seen[memo.used++];
  fresh.path.assign(path);
  fresh.follow = follow;
  fresh.status = status;
  return status;
}

std::uint64_t CallNumber() {
  const CallMemo& memo = PerThread<CallMemo>();
  return memo.depth == 0 ? 0 : memo.call;
}

void ForgetStatsOfThisCall() {
  CallMemo& memo = PerThread<CallMemo>();
  memo.Clear();
}

void ForgetFileStatuses() {
  CallMemo& memo = PerThread<CallMemo>();
  memo.Clear();
  memo.shared = false;
  memo.watch_id = 0;
  memo.watch.reset();
  memo.counter.reset();
}

namespace {

// The atlas folder of a USER folder, as the component writes both.
std::string_view AtlasFolderOf(std::string_view user_folder) {
  const auto cut = user_folder.find_last_of("\\/");
  return cut == std::string_view::npos ? std::string_view() : user_folder.substr(0, cut);
}

}  // namespace

std::uint64_t NextWatchId() {
  static std::atomic<std::uint64_t> last{0};
  return ++last;
}

WatchedFolder::WatchedFolder(std::string folder, NativeOf native, MakeFolder make)
    : folder_(std::move(folder)), native_(native), make_(make), id_(NextWatchId()) {}

WatchedFolder::~WatchedFolder() = default;

void WatchedFolder::ChangeSources(std::int64_t now, std::shared_ptr<FolderWatch>& watch,
                                  std::shared_ptr<const ChangeCounter>& counter) {
  // The counter first: making it is a change the watch need not report.
  counter = Counter(now);
  const std::lock_guard lock(mutex_);
  if (!watch_ && now >= next_watch_ns_) {
    next_watch_ns_ = now + kRecheckNs;
    watch_ = FolderWatch::Start(native_(AtlasFolderOf(folder_)), native_(folder_));
  }
  watch = watch_;
}

std::shared_ptr<const ChangeCounter> WatchedFolder::Counter(std::int64_t now) {
  const std::lock_guard lock(mutex_);
  if (counter_ && !counter_->StillValid()) {
    counter_.reset();
    next_try_ns_ = 0;
  }
  if (counter_ || now < next_try_ns_) return counter_;
  next_try_ns_ = now + kRecheckNs;
  std::string why;
  const std::filesystem::path native = native_(folder_);
  counter_ = ChangeCounter::Map(native, /*create=*/true, &why);
  if (!counter_ && why.empty() && make_ != nullptr) {
    // No folder yet: made now, so that every setup has a counter from the
    // first call on (a fresh atlas, user places kept in the user's folder).
    std::error_code ec;
    make_(folder_, ec);
    if (!ec) counter_ = ChangeCounter::Map(native, /*create=*/true, &why);
  }
  if (!counter_ && !why.empty() && trouble_.empty() && !told_) {
    trouble_ = "The file \"" + Utf8OfPath(native / kChangeCounterFile) + "\" " + why +
               ".\nLookups check the atlas files on every call until it is removed.";
    has_trouble_ = true;
  }
  return counter_;
}

std::string WatchedFolder::TakeTrouble() {
  if (!has_trouble_.load(std::memory_order_relaxed)) return {};
  const std::lock_guard lock(mutex_);
  has_trouble_ = false;
  if (told_ || trouble_.empty()) return {};
  told_ = true;
  return std::move(trouble_);
}

StatScope::StatScope(WatchedFolder& watched) {
  CallMemo& memo = PerThread<CallMemo>();
  if (memo.depth++ != 0) return;
  const bool unchanged =
      memo.shared && memo.watch_id == watched.id_ && memo.Changes() == memo.changes_seen;
  if (unchanged && !memo.timed) return;  // nothing changed: the watch would have told
  const std::int64_t now = native::CoarseMonotonicNs();
  if (unchanged && now - memo.since_ns < kRecheckNs) return;  // and the time is not up
  memo.Clear();
  memo.watch_id = watched.id_;
  watched.ChangeSources(now, memo.watch, memo.counter);
  // The counter is what makes the component's own writes seen at once; the
  // watch alone would see them a moment later. The watch in turn sees what
  // the counter is not told of, so that with both no clock is needed.
  memo.shared = memo.counter != nullptr;
  memo.timed = !(memo.watch && memo.watch->Alive());
  memo.changes_seen = memo.Changes();
  memo.since_ns = now;
  // Looking for the counter may have looked at paths before the number was
  // read; start from nothing so that every status is younger than it.
  memo.Clear();
}

StatScope::~StatScope() {
  CallMemo& memo = PerThread<CallMemo>();
  if (--memo.depth == 0 && !memo.shared) memo.Clear();
}

std::int64_t NowNs() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

}  // namespace tarv
