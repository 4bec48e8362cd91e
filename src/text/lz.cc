#include "text/lz.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <limits>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <unordered_map>
#include <vector>

#include "platform/file_status.h"
#include "platform/paths.h"
#include "platform/per_thread.h"
#include "text/bytes.h"
#include "text/lz_native.h"

namespace tarv {
namespace {

constexpr std::size_t kHeaderSize = 14;
constexpr std::size_t kMaxExpanded = std::size_t{64} << 20;
constexpr std::size_t kLengthRatioLimit = 100;
constexpr std::size_t kLengthSlack = std::size_t{64} << 10;

// ---------------------------------------------------------------------------
// SZDD's LZSS (mode "A"): a window of 4096 bytes filled with blanks, written
// from position 4080 on. Each control byte, lowest bit first, marks the next
// eight items: a literal byte (bit set) or a match of 3 to 18 bytes (bit
// clear) given in two bytes as a 12-bit window position and a 4-bit length.
// The data has no end mark; it ends with the input. libmspack expands the
// same data (the tests and the fuzzer hold the two to each other), but it
// hands its output over one byte per call, which made expanding a large place
// file take most of a first lookup.

constexpr std::size_t kWindowSize = 4096;
constexpr std::size_t kWindowStart = kWindowSize - 16;

// Decodes the SZDD image `file_bytes` (header already checked) into at most
// `limit` bytes of `out`, whose capacity is taken as the room to expect. A
// match cut off by the end of the input is dropped, as libmspack does.
//
// The output is its own window: the window position of output byte j is
// (kWindowStart + j) mod 4096, so a match from window position p reads the
// byte written d = (position now - p) mod 4096 bytes back (4096 when d is 0),
// or a blank of the initial window when there is none.
// Returns whether compressed data is left over once `limit` bytes are out.
bool Decode(std::string_view file_bytes, std::size_t limit, std::string& out) {
  const auto* in = reinterpret_cast<const unsigned char*>(file_bytes.data()) + kHeaderSize;
  const auto* const end =
      reinterpret_cast<const unsigned char*>(file_bytes.data()) + file_bytes.size();
  out.resize(std::min(limit, std::max<std::size_t>(out.capacity(), 4096)));
  std::size_t n = 0;
  // Room for `more` bytes past n, within the limit.
  auto room = [&](std::size_t more) {
    if (out.size() - n < more) out.resize(std::min(limit, std::max(out.size() * 2, n + more)));
    return std::min(more, out.size() - n);
  };
  while (in < end && n < limit) {
    unsigned control = *in++;
    for (int item = 0; item < 8 && n < limit; ++item, control >>= 1) {
      if ((control & 1) != 0) {
        if (in == end) break;
        room(1);
        out[n++] = static_cast<char>(*in++);
        continue;
      }
      if (end - in < 2) {
        in = end;
        break;
      }
      const std::size_t from = in[0] | (static_cast<std::size_t>(in[1] & 0xF0) << 4);
      const std::size_t length = room((in[1] & 0x0F) + 3u);
      in += 2;
      std::size_t back = ((kWindowStart + n) - from) & (kWindowSize - 1);
      if (back == 0) back = kWindowSize;
      char* const o = out.data();
      // Byte by byte: a match may overlap the bytes it writes.
      for (std::size_t k = 0; k < length; ++k, ++n)
        o[n] = n >= back ? o[n - back] : ' ';
    }
  }
  out.resize(n);
  return in < end;
}

// ---------------------------------------------------------------------------
// Open handles: small numbers into a table of images and positions.

struct OpenImage {
  std::shared_ptr<const Expansion> image;
  std::size_t position = 0;
};

constexpr std::size_t kMaxHandles = 1024;

class HandleTable {
 public:
  std::int32_t Open(std::shared_ptr<const Expansion> image) {
    const std::lock_guard<std::mutex> lock(mutex_);
    auto slot =
        std::find_if(slots_.begin(), slots_.end(), [](const auto& s) { return !s.has_value(); });
    if (slot == slots_.end()) {
      if (slots_.size() >= kMaxHandles) return LZERROR_GLOBALLOC;
      slot = slots_.insert(slots_.end(), std::nullopt);
    }
    *slot = OpenImage{std::move(image), 0};
    return static_cast<std::int32_t>(slot - slots_.begin());
  }

  std::int32_t Read(std::int32_t handle, char* buffer, std::int32_t count) {
    const std::lock_guard<std::mutex> lock(mutex_);
    OpenImage* open = Find(handle);
    if (open == nullptr) return LZERROR_BADINHANDLE;
    if (count < 0 || (count > 0 && buffer == nullptr)) return LZERROR_BADVALUE;
    const Expansion& image = *open->image;
    const std::size_t n = std::min(static_cast<std::size_t>(count), image.length - open->position);
    // Windows expands while it reads and fails where the data runs out.
    if (n > 0 && open->position + n > image.bytes.size()) return LZERROR_READ;
    std::memcpy(buffer, image.bytes.data() + open->position, n);
    open->position += n;
    return static_cast<std::int32_t>(n);
  }

  std::int32_t Seek(std::int32_t handle, std::int32_t offset, int origin) {
    const std::lock_guard<std::mutex> lock(mutex_);
    OpenImage* open = Find(handle);
    if (open == nullptr) return LZERROR_BADINHANDLE;
    const auto size = static_cast<std::int64_t>(open->image->length);
    std::int64_t base = 0;
    switch (origin) {
      case kLzSeekSet:
        break;
      case kLzSeekCurrent:
        base = static_cast<std::int64_t>(open->position);
        break;
      case kLzSeekEnd:
        base = size;
        break;
      default:
        return LZERROR_BADVALUE;
    }
    const std::int64_t target = base + offset;
    if (target < 0 || target > size) return LZERROR_BADVALUE;
    open->position = static_cast<std::size_t>(target);
    return static_cast<std::int32_t>(target);
  }

  void Close(std::int32_t handle) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (Find(handle) == nullptr) return;
    slots_[static_cast<std::size_t>(handle)].reset();
    // Trailing free slots go, so the table shrinks back after bursts.
    while (!slots_.empty() && !slots_.back().has_value())
      slots_.pop_back();
  }

 private:
  OpenImage* Find(std::int32_t handle) {
    if (handle < 0 || static_cast<std::size_t>(handle) >= slots_.size()) return nullptr;
    auto& slot = slots_[static_cast<std::size_t>(handle)];
    return slot.has_value() ? &*slot : nullptr;
  }

  std::mutex mutex_;
  std::vector<std::optional<OpenImage>> slots_;
};

HandleTable& Handles() {
  static HandleTable table;
  return table;
}

// ---------------------------------------------------------------------------
// The image cache.

// What identifies one version of a file on disk.
struct FileStamp {
  std::uintmax_t size = 0;
  std::int64_t mtime_ns = 0;
  std::uintmax_t device = 0;
  std::uintmax_t inode = 0;

  bool operator==(const FileStamp&) const = default;
};

// Also tells whether something that is no regular file stands at `file`.
std::optional<FileStamp> Stamp(const std::string& file, bool& not_regular) {
  const FileStatus status = StatFile(file);
  not_regular = status.exists && !status.regular;
  if (!status.exists || !status.regular) return std::nullopt;
  return FileStamp{status.size, status.mtime_ns, status.device, status.inode};
}

}  // namespace

class ImageCache {
 public:
  // Readers share the lock: lookups on many threads find their images at
  // once. Use is stamped with the number of the last store, written only
  // when it changes, so that readers rarely write to a shared line at all.
  std::shared_ptr<const Expansion> Find(const std::string& key, const FileStamp& stamp) {
    const std::shared_lock lock(mutex_);
    const auto it = entries_.find(key);
    if (it == entries_.end() || !it->second.settled || !(it->second.stamp == stamp)) {
      return nullptr;
    }
    const std::uint64_t now = clock_.load(std::memory_order_relaxed);
    std::atomic_ref<std::uint64_t> last_use(it->second.last_use);
    if (last_use.load(std::memory_order_relaxed) != now) {
      last_use.store(now, std::memory_order_relaxed);
    }
    return it->second.image;
  }

  void Store(const std::string& key, const FileStamp& stamp, bool settled,
             std::shared_ptr<const Expansion> image) {
    const std::unique_lock lock(mutex_);
    DropLocked(key);
    if (image->bytes.size() > kMaxBytes) return;
    bytes_ += image->bytes.size();
    entries_[key] = Entry{stamp, settled, ++clock_, std::move(image)};
    while (bytes_ > kMaxBytes || entries_.size() > kMaxEntries) {
      const auto oldest = std::min_element(
          entries_.begin(), entries_.end(),
          [](const auto& a, const auto& b) { return a.second.last_use < b.second.last_use; });
      DropLocked(oldest->first);
    }
  }

  void Drop(const std::string& key) {
    const std::unique_lock lock(mutex_);
    DropLocked(key);
  }

  void Clear() {
    const std::unique_lock lock(mutex_);
    entries_.clear();
    bytes_ = 0;
  }

 private:
  static constexpr std::size_t kMaxBytes = std::size_t{64} << 20;
  static constexpr std::size_t kMaxEntries = kMaxCachedImages;

  struct Entry {
    FileStamp stamp;
    bool settled = false;
    alignas(std::atomic_ref<std::uint64_t>::required_alignment) std::uint64_t last_use = 0;
    std::shared_ptr<const Expansion> image;
  };

  void DropLocked(const std::string& key) {
    const auto it = entries_.find(key);
    if (it == entries_.end()) return;
    bytes_ -= it->second.image->bytes.size();
    entries_.erase(it);
  }

  std::shared_mutex mutex_;
  std::unordered_map<std::string, Entry> entries_;
  std::size_t bytes_ = 0;
  std::atomic<std::uint64_t> clock_ = 0;
};

namespace {

thread_local ImageCache* t_cache = nullptr;

// The images of the thread's atlas, else the process's own.
ImageCache& Cache() {
  if (t_cache != nullptr) return *t_cache;
  static auto* const cache = new ImageCache;  // readers may run in static destructors
  return *cache;
}

}  // namespace

bool StartsWithSzddMagic(std::string_view bytes) noexcept {
  return bytes.substr(0, kSzddMagic.size()) == kSzddMagic;
}

namespace {}  // namespace

std::int32_t SzddHeaderError(std::string_view file_bytes, std::uint64_t file_size,
                             std::uint32_t& length) {
  length = 0;
  if (file_bytes.size() < kHeaderSize) return LZERROR_READ;
  if (file_bytes[8] != 'A') return LZERROR_UNKNOWNALG;
  length = static_cast<std::uint32_t>(DecodeInt32(file_bytes, 10));
  if (length > kMaxExpanded || length > kLengthRatioLimit * file_size + kLengthSlack) {
    return LZERROR_READ;
  }
  return 0;
}

Expansion Expand(std::string_view file_bytes, std::int32_t& error) {
  error = 0;
  if (!StartsWithSzddMagic(file_bytes)) return {std::string(file_bytes), file_bytes.size()};
  std::uint32_t length = 0;
  error = SzddHeaderError(file_bytes, file_bytes.size(), length);
  if (error != 0) return {};
  // Eight matches of 18 bytes behind one control byte is the most 17 bytes
  // can give, so the field need not be trusted for the reservation.
  const std::size_t most = (file_bytes.size() - kHeaderSize) / 17 * 144 + 144;
  Expansion out;
  out.length = length;
  out.compressed = true;
  out.bytes.reserve(std::min<std::size_t>(length, most));
  out.overrun = Decode(file_bytes, length, out.bytes);
  return out;
}

bool OverrunsLength(std::string_view file_bytes) {
  std::string scratch;
  if (file_bytes.size() < kHeaderSize) return false;
  return Decode(file_bytes, static_cast<std::uint32_t>(DecodeInt32(file_bytes, 10)), scratch);
}

std::string ExpandSzdd(std::string_view file_bytes, std::int32_t& error) {
  Expansion expansion = Expand(file_bytes, error);
  if (error == 0 && expansion.Damaged()) error = LZERROR_READ;
  if (error != 0) return {};
  return std::move(expansion.bytes);
}

std::shared_ptr<const std::string> ExpandedImage(const std::string& path, std::int32_t& error,
                                                 Packing packing) {
  auto image = ExistingImage(path, error, packing);
  if (!image && error == 0) error = LZERROR_BADINHANDLE;
  return image;
}

namespace {

// The expansions one call has asked for: within a call a path's status is
// looked at once, so its expansion cannot change either.
struct CallImages {
  struct Seen {
    std::string path;
    std::int32_t error = 0;
    std::shared_ptr<const Expansion> image;
  };
  std::uint64_t call = 0;
  std::vector<Seen> seen;
};

constexpr std::size_t kMaxCallImages = 16;

std::shared_ptr<const Expansion> LookUpExpansion(const std::string& path, std::int32_t& error) {
  error = 0;
  // A path holding a NUL would name another file once it reaches the system.
  if (path.find('\0') != std::string::npos) return nullptr;
  // A user file that was missing is usually still missing; one look at its
  // folder settles that.
  const std::string slashed = SlashedString(path);
  if (KnownMissing(slashed)) return nullptr;
  // Most paths are spelled as on disk; one stat settles them.
  std::string native = slashed;
  bool not_regular = false;
  auto stamp = Stamp(native, not_regular);
  if (!stamp && !not_regular) {
    native = Utf8OfPath(NativePath(path));
    if (native != slashed) stamp = Stamp(native, not_regular);
  }
  // A folder, FIFO or device is no file that is missing: reading it as none
  // would answer with fewer places or no zone.
  if (not_regular) error = LZERROR_BADINHANDLE;
  if (!stamp) return nullptr;
  const std::string key = FileKey(native);
  if (auto cached = Cache().Find(key, *stamp)) return cached;

  if (stamp->size > static_cast<std::uintmax_t>(std::numeric_limits<std::int32_t>::max())) {
    error = LZERROR_GLOBALLOC;
    return nullptr;
  }
  const bool settled = NowNs() - stamp->mtime_ns > kSettleNs;
  auto image = std::make_shared<const Expansion>(native::ExpandFile(native, stamp->size, error));
  if (error != 0) return nullptr;
  Cache().Store(key, *stamp, settled, image);
  return image;
}

// LookUpExpansion, asked once per path within a call.
std::shared_ptr<const Expansion> ExistingExpansion(const std::string& path, std::int32_t& error) {
  const std::uint64_t call = CallNumber();
  if (call == 0) return LookUpExpansion(path, error);
  CallImages& call_images = PerThread<CallImages>();
  if (call_images.call != call) {
    call_images.call = call;
    call_images.seen.clear();
  }
  for (const auto& seen : call_images.seen) {
    if (seen.path == path) {
      error = seen.error;
      return seen.image;
    }
  }
  auto image = WithOwnCount(LookUpExpansion(path, error));
  if (call_images.seen.size() < kMaxCallImages) call_images.seen.push_back({path, error, image});
  return image;
}

}  // namespace

std::shared_ptr<const std::string> ExistingImage(const std::string& path, std::int32_t& error,
                                                 Packing packing) {
  auto expansion = ExistingExpansion(path, error);
  if (!expansion) return nullptr;
  if (expansion->Damaged() ||
      (packing == Packing::kSzdd && (!expansion->compressed || expansion->overrun))) {
    error = LZERROR_READ;
    return nullptr;
  }
  // Shares the expansion's ownership: the same file version is the same pointer.
  return {expansion, &expansion->bytes};
}

void ForgetExpandedImage(const std::string& path) {
  ForgetStatsOfThisCall();
  Cache().Drop(FileKey(Utf8OfPath(NativePath(path))));
}

void ClearExpandedImages() {
  Cache().Clear();
}

std::int32_t LZOpenFile(const std::string& path) {
  std::int32_t error = 0;
  auto image = ExistingExpansion(path, error);
  if (!image) return error != 0 ? error : LZERROR_BADINHANDLE;
  return Handles().Open(std::move(image));
}

std::int32_t LZRead(std::int32_t handle, char* buffer, std::int32_t count) {
  return Handles().Read(handle, buffer, count);
}

std::int32_t LZSeek(std::int32_t handle, std::int32_t offset, int origin) {
  return Handles().Seek(handle, offset, origin);
}

void LZClose(std::int32_t handle) {
  Handles().Close(handle);
}

std::string LZERROR_Msg(std::int32_t code, const std::string& file_name) {
  switch (code) {
    case LZERROR_BADINHANDLE:
      return "invalid input handle";
    case LZERROR_BADOUTHANDLE:
      return "invalid output handle";
    case LZERROR_READ:
      return "corrupt compressed file format";
    case LZERROR_WRITE:
      return "out of space for output file";
    case LZERROR_GLOBALLOC:
      return "insufficient memory for LZFile struct";
    case LZERROR_GLOBLOCK:
      return "bad global handle";
    case LZERROR_BADVALUE:
      return "input parameter out of range";
    case LZERROR_UNKNOWNALG:
      return "compression algorithm not recognized";
    default:
      return "Unbekannter Fehler beim Lesen der Datei " + file_name;
  }
}

std::shared_ptr<ImageCache> MakeImageCache() {
  return std::make_shared<ImageCache>();
}

ImageCacheScope::ImageCacheScope(ImageCache* cache) : outer_(t_cache) {
  t_cache = cache;
}

ImageCacheScope::~ImageCacheScope() {
  t_cache = outer_;
}

}  // namespace tarv
