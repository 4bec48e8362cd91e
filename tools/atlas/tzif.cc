#include "atlas/tzif.h"

#include <algorithm>
#include <fstream>
#include <iterator>

#include "tarvplaces/atlas_error.h"

namespace tarv::atlas {
namespace {

constexpr std::size_t kHeaderSize = 44;
// Far above what tzdata holds (a few hundred transitions, a dozen types),
// far below what would let a hostile header exhaust memory.
constexpr std::uint32_t kMaxTransitions = 1U << 16;
constexpr std::uint32_t kMaxTypes = 256;
constexpr std::uint32_t kMaxChars = 1U << 12;
constexpr std::uint32_t kMaxLeaps = 1U << 12;

std::uint32_t Big32(std::string_view b, std::size_t at) {
  return (static_cast<std::uint32_t>(static_cast<unsigned char>(b[at])) << 24) |
         (static_cast<std::uint32_t>(static_cast<unsigned char>(b[at + 1])) << 16) |
         (static_cast<std::uint32_t>(static_cast<unsigned char>(b[at + 2])) << 8) |
         static_cast<std::uint32_t>(static_cast<unsigned char>(b[at + 3]));
}

std::int64_t Big64(std::string_view b, std::size_t at) {
  return static_cast<std::int64_t>((static_cast<std::uint64_t>(Big32(b, at)) << 32) |
                                   Big32(b, at + 4));
}

struct Counts {
  std::uint32_t isut, isstd, leap, time, type, chars;

  std::size_t DataSize(std::size_t time_size) const {
    return time * time_size + time + type * 6U + chars + leap * (time_size + 4U) + isstd + isut;
  }
};

Counts ReadCounts(std::string_view bytes, std::size_t at, const std::string& name) {
  if (bytes.size() < at + kHeaderSize) throw AtlasError(name, "TZif header is truncated");
  if (bytes.substr(at, 4) != "TZif") throw AtlasError(name, "not a TZif file (bad magic)");
  const std::size_t c = at + 20;
  Counts n{Big32(bytes, c),      Big32(bytes, c + 4),  Big32(bytes, c + 8),
           Big32(bytes, c + 12), Big32(bytes, c + 16), Big32(bytes, c + 20)};
  if (n.time > kMaxTransitions || n.type > kMaxTypes || n.type == 0 || n.chars > kMaxChars ||
      n.leap > kMaxLeaps || (n.isstd != 0 && n.isstd != n.type) ||
      (n.isut != 0 && n.isut != n.type)) {
    throw AtlasError(name, "TZif header counts are out of range");
  }
  return n;
}

TzifZone ParseBlock(std::string_view bytes, std::size_t at, const Counts& n, std::size_t time_size,
                    const std::string& name) {
  if (bytes.size() - at < n.DataSize(time_size)) {
    throw AtlasError(name, "TZif data is shorter than its header says");
  }
  std::vector<std::int64_t> times(n.time);
  for (auto& t : times) {
    t = time_size == 8 ? Big64(bytes, at) : static_cast<std::int32_t>(Big32(bytes, at));
    at += time_size;
  }
  std::vector<std::uint8_t> indexes(n.time);
  for (auto& i : indexes) {
    i = static_cast<unsigned char>(bytes[at++]);
    if (i >= n.type) throw AtlasError(name, "TZif transition names a type that does not exist");
  }
  struct RawType {
    std::int32_t offset;
    bool dst;
    std::uint8_t abbr;
  };
  std::vector<RawType> raw(n.type);
  for (auto& r : raw) {
    r = {static_cast<std::int32_t>(Big32(bytes, at)), bytes[at + 4] != 0,
         static_cast<std::uint8_t>(bytes[at + 5])};
    at += 6;
  }
  const std::string_view chars = bytes.substr(at, n.chars);
  std::vector<TzifType> types;
  for (const auto& r : raw) {
    if (r.abbr >= chars.size()) throw AtlasError(name, "TZif abbreviation index out of range");
    const auto end = chars.find('\0', r.abbr);
    if (end == std::string_view::npos) throw AtlasError(name, "TZif abbreviation not terminated");
    types.push_back({r.offset, r.dst, std::string(chars.substr(r.abbr, end - r.abbr))});
  }
  TzifZone zone;
  // The first type is the one before any transition (RFC 8536, 3.2).
  zone.initial = types[0];
  for (std::size_t i = 0; i < times.size(); ++i) {
    if (i > 0 && times[i] <= times[i - 1]) throw AtlasError(name, "TZif transitions out of order");
    zone.transitions.push_back({times[i], types[indexes[i]]});
  }
  return zone;
}

}  // namespace

TzifZone ParseTzif(std::string_view bytes, const std::string& name) {
  const Counts v1 = ReadCounts(bytes, 0, name);
  const char version = bytes[4];
  if (version == '\0') return ParseBlock(bytes, kHeaderSize, v1, 4, name);
  const std::size_t second = kHeaderSize + v1.DataSize(4);
  if (bytes.size() < second) throw AtlasError(name, "TZif version 1 data is truncated");
  const Counts v2 = ReadCounts(bytes, second, name);
  const std::size_t data = second + kHeaderSize;
  TzifZone zone = ParseBlock(bytes, data, v2, 8, name);
  const std::size_t footer = data + v2.DataSize(8);
  if (footer < bytes.size() && bytes[footer] == '\n') {
    const auto end = bytes.find('\n', footer + 1);
    if (end != std::string_view::npos)
      zone.footer = std::string(bytes.substr(footer + 1, end - footer - 1));
  }
  return zone;
}

TzifZone ReadTzif(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw AtlasError(path, "cannot be opened for reading");
  const std::string bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  return ParseTzif(bytes, path);
}

const TzifType& TypeAt(const TzifZone& zone, std::int64_t at) {
  const auto it =
      std::upper_bound(zone.transitions.begin(), zone.transitions.end(), at,
                       [](std::int64_t t, const TzifTransition& x) { return t < x.at; });
  return it == zone.transitions.begin() ? zone.initial : std::prev(it)->type;
}

}  // namespace tarv::atlas
