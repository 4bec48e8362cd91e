#include "atlas/zone_table_source.h"

#include <charconv>
#include <set>

#include "text/codepage.h"
#include "util/text.h"

namespace tarv {
namespace {

constexpr int kSecondsPerHour = 3600;
constexpr std::size_t kColumns = 8;

}  // namespace

bool ParseUtcOffset(std::string_view text, int& seconds) {
  if (text.size() < 2 || (text[0] != '+' && text[0] != '-')) return false;
  const auto parts = Split(text.substr(1), ':');
  if (parts.size() < 2 || parts.size() > 3) return false;
  int hours = 0;
  int minutes = 0;
  int secs = 0;
  if (!ParseInt(parts[0], hours) || !ParseInt(parts[1], minutes) || parts[1].size() != 2) {
    return false;
  }
  if (parts.size() == 3 && (!ParseInt(parts[2], secs) || parts[2].size() != 2)) return false;
  if (hours > 15 || minutes > 59 || secs > 59 || hours < 0 || minutes < 0 || secs < 0) {
    return false;
  }
  seconds = (text[0] == '-' ? -1 : 1) * (hours * kSecondsPerHour + minutes * 60 + secs);
  return true;
}

ReadResult<std::vector<ZoneRecord>> ParseZoneTableSource(std::string_view text,
                                                         const std::string& file) {
  return Decode([&] {
    std::vector<ZoneRecord> records;
    std::set<std::string> abbreviations;
    bool header_seen = false;
    std::size_t line_no = 0;
    for (std::string_view line : Split(text, '\n')) {
      ++line_no;
      if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
      if (line.empty() || line.front() == '#') continue;
      if (!header_seen) {
        header_seen = true;
        continue;
      }
      const auto where = "line " + std::to_string(line_no) + ": ";
      const auto f = Split(line, '\t');
      if (f.size() != kColumns) {
        throw FormatViolation(file,
                              where + std::to_string(f.size()) + " columns where 8 are needed");
      }
      int index = 0;
      int offset = 0;
      int sort = 0;
      int extra = 0;
      int show = 0;
      if (!ParseInt(f[0], index) || index != static_cast<int>(records.size())) {
        throw FormatViolation(file, where + "index " + std::string(f[0]) + " out of order");
      }
      if (!ParseUtcOffset(f[3], offset)) {
        throw FormatViolation(file, where + "malformed offset \"" + std::string(f[3]) + "\"");
      }
      if (f[4].size() != 1 || std::string_view("LNSD").find(f[4][0]) == std::string_view::npos) {
        throw FormatViolation(file, where + "kind must be one of L, N, S, D");
      }
      if (!ParseInt(f[5], sort) || !ParseInt(f[6], extra) || !ParseInt(f[7], show) || sort < 0 ||
          sort >= static_cast<int>(kZoneCount) || extra < -1 ||
          extra >= static_cast<int>(kZoneCount) || show < 0 || show > 1) {
        throw FormatViolation(file, where + "sort, extra or show out of range");
      }
      const std::string abbreviation = AnsiFromUtf8(f[1]);
      const std::string name = AnsiFromUtf8(f[2]);
      if (abbreviation.empty() || abbreviation.size() > kZoneShortWidth ||
          name.size() > kZoneNameWidth) {
        throw FormatViolation(file, where + "abbreviation or name too long for its field");
      }
      if (!abbreviations.insert(abbreviation).second) {
        throw FormatViolation(file, where + "abbreviation " + std::string(f[1]) + " repeated");
      }
      ZoneRecord z;
      z.TZShort = abbreviation + std::string(kZoneShortWidth - abbreviation.size(), ' ');
      z.TZName = name + std::string(kZoneNameWidth - name.size(), ' ');
      z.TZDif = static_cast<float>(static_cast<double>(offset) / kSecondsPerHour);
      z.TZType = f[4][0];
      z.TZSortIndex = static_cast<std::int16_t>(sort);
      z.TZExtra = static_cast<std::int16_t>(extra);
      z.TZShow = static_cast<std::uint8_t>(show);
      records.push_back(std::move(z));
    }
    if (records.size() != kZoneCount) {
      throw FormatViolation(file, std::to_string(records.size()) + " entries where 287 are needed");
    }
    return records;
  });
}

}  // namespace tarv
