// The machine's tzdata, which the atlas builder compiles the default atlas
// from, for the tests of the builder and of that atlas: every zone as the
// builder's TZif reader reads it, and (POSIX systems only) as glibc reads
// it, a reader the builder does not use.
#ifndef TARVPLACES_TESTS_TOOLS_MACHINE_TZDATA_H_
#define TARVPLACES_TESTS_TOOLS_MACHINE_TZDATA_H_

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "atlas/atlas_builder.h"
#include "atlas/tzif.h"
#include "tarvplaces/atlas_error.h"

namespace tarv::testing {

// scripts/build-atlas.sh names no zoneinfo folder: the builder's default.
inline const std::string kZoneinfo = atlas::BuildOptions{}.zoneinfo;

// Every zone of the folder by its name ("Europe/Berlin"), but the copies
// under posix/ and right/ (whose clocks count leap seconds).
inline std::vector<std::pair<std::string, atlas::TzifZone>> MachineZones() {
  namespace fs = std::filesystem;
  std::vector<std::pair<std::string, atlas::TzifZone>> zones;
  for (auto it = fs::recursive_directory_iterator(kZoneinfo);
       it != fs::recursive_directory_iterator(); ++it) {
    const std::string name = it->path().lexically_relative(kZoneinfo).string();
    if (name == "posix" || name == "right") it.disable_recursion_pending();
    if (!it->is_regular_file()) continue;
    try {
      zones.emplace_back(name, atlas::ReadTzif(it->path().string()));
    } catch (const AtlasError&) {
      // zone.tab, tzdata.zi and other text files
    }
  }
  return zones;
}

#ifndef _WIN32
// Offset east of UTC in seconds, abbreviation and daylight flag.
struct LibcZone {
  long offset = 0;
  std::string abbreviation;
  bool dst = false;
  bool lmt() const { return abbreviation == "LMT"; }
};

// Reads each zone from its file by absolute path (TZ=":/usr/share/zoneinfo/
// Europe/Berlin"), so TZDIR plays no part; puts TZ back when it goes.
class LibcZones {
 public:
  LibcZones() {
    if (const char* tz = std::getenv("TZ")) saved_ = tz;
  }
  ~LibcZones() {
    (saved_ ? setenv("TZ", saved_->c_str(), 1) : unsetenv("TZ"));
    tzset();
  }

  LibcZone AtUtc(const std::string& zone, std::int64_t utc) {
    Use(zone);
    const auto t = static_cast<std::time_t>(utc);
    std::tm tm{};
    localtime_r(&t, &tm);
    return {tm.tm_gmtoff, tm.tm_zone, tm.tm_isdst > 0};
  }

  // At a local wall-clock hour (noon is never a skipped or repeated one).
  LibcZone AtLocal(const std::string& zone, int year, int month, int day, int hour) {
    Use(zone);
    std::tm tm{};
    tm.tm_year = year - 1900;
    tm.tm_mon = month - 1;
    tm.tm_mday = day;
    tm.tm_hour = hour;
    tm.tm_isdst = -1;
    return AtUtc(zone, std::mktime(&tm));
  }

 private:
  void Use(const std::string& zone) {
    if (zone == current_) return;
    const std::string path = kZoneinfo + "/" + zone;
    // glibc reads a file it cannot find as UTC, which would pass for a zone.
    if (!std::filesystem::is_regular_file(path)) throw std::runtime_error("no zone file " + path);
    setenv("TZ", (":" + path).c_str(), 1);
    tzset();
    current_ = zone;
  }

  std::optional<std::string> saved_;
  std::string current_;
};
#endif  // _WIN32

}  // namespace tarv::testing

#endif  // TARVPLACES_TESTS_TOOLS_MACHINE_TZDATA_H_
