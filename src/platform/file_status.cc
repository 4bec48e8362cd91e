#include "platform/file_status.h"

#include <chrono>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/change_counter.h"
#include "platform/file_status_native.h"
#include "platform/message_box.h"
#include "platform/paths.h"
#include "platform/per_thread.h"

namespace tarv {
namespace {

// The change counter of one watched folder, mapped once per thread.
struct Watch {
  std::string folder;  // Windows-style, as the scopes name it
  std::unique_ptr<ChangeCounter> counter;
  std::int64_t next_try_ns = 0;  // when a missing counter is looked for again
  bool told = false;             // the host was told the counter is unusable
};

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
  // watched folder's counter moves from `counter_seen` or kRecheckNs pass
  // from `since_ns`.
  Watch* watch = nullptr;
  bool shared = false;
  std::uint64_t counter_seen = 0;
  std::int64_t since_ns = 0;

  void Clear() {
    used = 0;
    ++call;
  }
};

constexpr std::size_t kMaxRemembered = 32;

constexpr std::int64_t kRecheckNs = 1'000'000'000;

// The watched folders of this thread; a host uses one atlas, rarely a few.
class Watches {
 public:
  Watch& For(std::string_view folder) {
    for (auto& w : watches_) {
      if (w->folder == folder) return *w;
    }
    if (watches_.size() == kMaxWatches) watches_.erase(watches_.begin());
    watches_.push_back(std::make_unique<Watch>());
    watches_.back()->folder.assign(folder);
    return *watches_.back();
  }

  void Clear() { watches_.clear(); }

 private:
  static constexpr std::size_t kMaxWatches = 4;
  std::vector<std::unique_ptr<Watch>> watches_;
};

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
  Watches& watches = PerThread<Watches>();
  memo.Clear();
  memo.shared = false;
  memo.watch = nullptr;
  watches.Clear();
}

namespace {

// Maps the watched folder's counter when it is time to look for one. An
// unusable file is worth one message: the host can remove it.
void LookForCounter(Watch& watch, std::int64_t now) {
  if (watch.counter || now < watch.next_try_ns) return;
  watch.next_try_ns = now + kRecheckNs;
  std::string why;
  watch.counter = ChangeCounter::Map(NativePath(watch.folder), /*create=*/true, &why);
  if (!watch.counter && !why.empty() && !watch.told) {
    watch.told = true;
    MsgBox("The file \"" + Utf8OfPath(NativePath(watch.folder) / kChangeCounterFile) + "\" " + why +
               ".\nLookups check the atlas files on every call until it is removed.",
           kMsgExclamation);
  }
}

}  // namespace

StatScope::StatScope(std::string_view watched_folder) {
  CallMemo& memo = PerThread<CallMemo>();
  if (memo.depth++ != 0) return;
  const std::int64_t now = native::CoarseMonotonicNs();
  Watch& watch = PerThread<Watches>().For(watched_folder);
  if (memo.shared && memo.watch == &watch && now - memo.since_ns < kRecheckNs &&
      watch.counter->Value() == memo.counter_seen) {
    return;  // nothing changed that a writer told of, and the time is not up
  }
  memo.Clear();
  memo.watch = &watch;
  if (watch.counter && !watch.counter->StillValid()) {
    watch.counter.reset();
    watch.next_try_ns = 0;
  }
  LookForCounter(watch, now);
  memo.shared = watch.counter != nullptr;
  memo.counter_seen = memo.shared ? watch.counter->Value() : 0;
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
