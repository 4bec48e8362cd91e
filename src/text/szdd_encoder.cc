// CompressSzdd: the LZSS side of the SZDD format, for writing compressed atlas
// files that the classic expander (and ours) reads back.
#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "text/bytes.h"
#include "text/lz.h"

namespace tarv {
namespace {

constexpr std::size_t kWindow = 4096;
constexpr std::size_t kWindowMask = kWindow - 1;
constexpr std::size_t kMinMatch = 3;
constexpr std::size_t kMaxMatch = 18;
// The expander writes its first byte at window position kWindow - kStartGap.
constexpr std::size_t kStartGap = 16;
constexpr int kHashBits = 15;

// Finds the longest earlier occurrence of the bytes at a position. Positions
// are indices into `stream`: kWindow blanks (the expander's initial window)
// followed by the data. A candidate may start up to kWindow bytes back, and
// may run into the bytes being matched (the expander copies byte by byte).
class MatchFinder {
 public:
  explicit MatchFinder(std::string_view stream)
      : s_(reinterpret_cast<const unsigned char*>(stream.data())),
        end_(stream.size()),
        head_(std::size_t{1} << kHashBits, kNone),
        prev_(kWindow, kNone) {}

  struct Match {
    std::size_t length = 0;
    std::size_t at = 0;
  };

  // The longest match for position `p`; every position before `p` must have
  // been added. Among matches of equal length the nearest wins.
  Match Longest(std::size_t p) const {
    Match best;
    const std::size_t limit = std::min(kMaxMatch, end_ - p);
    if (limit < kMinMatch) return best;
    best.length = kMinMatch - 1;
    for (std::ptrdiff_t c = head_[Hash(p)]; c != kNone;
         c = prev_[static_cast<std::size_t>(c) & kWindowMask]) {
      const auto candidate = static_cast<std::size_t>(c);
      // prev_ slots are reused after kWindow positions; older entries are
      // both out of reach and possibly overwritten, so the chain ends here.
      if (p - candidate > kWindow) break;
      // Only a candidate that also agrees one byte past the best can beat it.
      if (s_[candidate + best.length] != s_[p + best.length]) continue;
      std::size_t length = 0;
      while (length < limit && s_[candidate + length] == s_[p + length])
        ++length;
      if (length > best.length) {
        best = {length, candidate};
        if (length == limit) break;
      }
    }
    if (best.length < kMinMatch) best = {};
    return best;
  }

  // Adds every position before `p` that starts kMinMatch bytes.
  void AddUpTo(std::size_t p) {
    for (; added_ < p && added_ + kMinMatch <= end_; ++added_) {
      const std::size_t h = Hash(added_);
      prev_[added_ & kWindowMask] = head_[h];
      head_[h] = static_cast<std::ptrdiff_t>(added_);
    }
  }

 private:
  static constexpr std::ptrdiff_t kNone = -1;

  std::size_t Hash(std::size_t p) const {
    const std::uint32_t key = static_cast<std::uint32_t>(s_[p]) << 16 |
                              static_cast<std::uint32_t>(s_[p + 1]) << 8 | s_[p + 2];
    return (key * 2654435761U) >> (32 - kHashBits);
  }

  const unsigned char* s_;
  std::size_t end_;
  std::vector<std::ptrdiff_t> head_;  // newest position per hash
  std::vector<std::ptrdiff_t> prev_;  // next older position with the same hash
  std::size_t added_ = 0;
};

// Appends items in groups of eight behind a control byte whose bits, lowest
// first, mark literals (1) and matches (0).
class ItemWriter {
 public:
  explicit ItemWriter(std::string& out) : out_(out) {}

  void Literal(unsigned char byte) {
    Begin();
    out_[control_] = static_cast<char>(static_cast<unsigned char>(out_[control_]) | (1U << bit_));
    out_.push_back(static_cast<char>(byte));
    ++bit_;
  }

  void Match(std::size_t window_offset, std::size_t length) {
    Begin();
    out_.push_back(static_cast<char>(window_offset & 0xFF));
    out_.push_back(static_cast<char>(((window_offset >> 4) & 0xF0) | (length - kMinMatch)));
    ++bit_;
  }

 private:
  void Begin() {
    if (bit_ < 8) return;
    control_ = out_.size();
    out_.push_back('\0');
    bit_ = 0;
  }

  std::string& out_;
  std::size_t control_ = 0;
  unsigned bit_ = 8;
};

}  // namespace

std::string CompressSzdd(std::string_view data, char missing_char) {
  if (data.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
    throw std::length_error("CompressSzdd: data of 2 GiB or more");
  }
  std::string out("SZDD\x88\xF0\x27\x33", 8);
  out.push_back('A');
  out.push_back(missing_char);
  AppendInt32(out, static_cast<std::int32_t>(data.size()));
  out.reserve(out.size() + data.size() + data.size() / 8 + 1);

  std::string stream(kWindow, ' ');
  stream.append(data);
  MatchFinder finder(stream);
  ItemWriter items(out);
  for (std::size_t p = kWindow; p < stream.size();) {
    finder.AddUpTo(p);
    const auto match = finder.Longest(p);
    if (match.length == 0) {
      items.Literal(static_cast<unsigned char>(stream[p]));
      ++p;
    } else {
      items.Match((match.at - kStartGap) & kWindowMask, match.length);
      p += match.length;
    }
  }
  return out;
}

}  // namespace tarv
