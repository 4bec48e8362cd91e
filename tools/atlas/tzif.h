// A reader of the compiled IANA time zone files (TZif, RFC 8536) as the
// tzdata package installs them, for the atlas builder.
#ifndef TARVPLACES_TOOLS_ATLAS_TZIF_H_
#define TARVPLACES_TOOLS_ATLAS_TZIF_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarv::atlas {

// One local time type: offset in seconds east of UTC, the daylight flag and
// the abbreviation ("LMT", "CEST", "+0530").
struct TzifType {
  std::int32_t utc_offset = 0;
  bool is_dst = false;
  std::string abbreviation;
};

// From `at` (seconds since 1970-01-01T00:00:00Z) on, `type` holds.
struct TzifTransition {
  std::int64_t at = 0;
  TzifType type;
};

struct TzifZone {
  // The type before the first transition (local mean time for most zones).
  TzifType initial;
  // In time order.
  std::vector<TzifTransition> transitions;
  // The POSIX TZ string of the version 2+ footer ("CET-1CEST,M3.5.0,M10.5.0/3"),
  // empty for version 1 files.
  std::string footer;
};

// Parses a TZif file. Prefers the 64-bit data of version 2 and later. Checks,
// in this order, the magic, the header counts (bounded before anything is
// sized by them), the length against the counts, every type index and every
// abbreviation index. Throws AtlasError naming `name` on the first rule
// broken. Leap-second records are skipped: tzdata's default files have none.
TzifZone ParseTzif(std::string_view bytes, const std::string& name);

// Reads and parses the file at `path`; AtlasError when it cannot be read.
TzifZone ReadTzif(const std::string& path);

// The type in force at `at` (seconds since the epoch).
const TzifType& TypeAt(const TzifZone& zone, std::int64_t at);

}  // namespace tarv::atlas

#endif  // TARVPLACES_TOOLS_ATLAS_TZIF_H_
