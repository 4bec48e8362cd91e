#include "atlas/user_zones.h"

#include <algorithm>
#include <stdexcept>

#include "atlas/atlas_fault.h"
#include "util/text.h"

namespace tarv {
namespace {

constexpr std::size_t kMaxZoneName = 64;

bool StorableName(std::string_view name) {
  return !name.empty() && name == Trim(name) && std::none_of(name.begin(), name.end(), [](char c) {
    return static_cast<unsigned char>(c) < 0x20;
  });
}

// Whether `a` and `b` name one place, as the user file tells names apart.
bool SameName(std::string_view a, std::string_view b) {
  return TextEqual(a, b);
}

}  // namespace

std::string UserZonesPathOf(const std::string& user_file) {
  const auto dot = user_file.rfind('.');
  const auto slash = user_file.rfind('\\');
  const bool has_extension =
      dot != std::string::npos && (slash == std::string::npos || dot > slash);
  return (has_extension ? user_file.substr(0, dot) : user_file) + ".TZN";
}

bool StorableZoneName(std::string_view zone) {
  return !zone.empty() && zone.size() <= kMaxZoneName &&
         std::all_of(zone.begin(), zone.end(), [](char c) { return c > ' ' && c < 0x7F; });
}

std::string EncodeUserZones(NamedZones zones) {
  std::sort(zones.begin(), zones.end());
  std::string out;
  for (std::size_t i = 0; i < zones.size(); ++i) {
    const auto& [name, zone] = zones[i];
    if (!StorableName(name) || !StorableZoneName(zone)) {
      throw std::invalid_argument("cannot store the zone \"" + zone + "\" of \"" + name + "\"");
    }
    for (std::size_t k = 0; k < i; ++k) {
      if (SameName(zones[k].first, name)) throw std::invalid_argument(name + " twice");
    }
    out += name + '\t' + zone + "\r\n";
  }
  return out;
}

UserZones::UserZones(std::string_view bytes, const std::string& file, std::size_t) {
  std::size_t at = 0;
  for (int line = 1; at < bytes.size(); ++line) {
    const std::string where = "line " + std::to_string(line);
    const auto end = bytes.find("\r\n", at);
    if (end == std::string_view::npos) throw FormatViolation(file, where + " does not end");
    const std::string_view text = bytes.substr(at, end - at);
    at = end + 2;
    const auto tab = text.find('\t');
    if (tab == std::string_view::npos) throw FormatViolation(file, where + " has no TAB");
    std::string name(text.substr(0, tab));
    std::string zone(text.substr(tab + 1));
    if (!StorableName(name)) throw FormatViolation(file, where + " has no name");
    if (!StorableZoneName(zone)) throw FormatViolation(file, where + " names no zone");
    if (ZoneOf(name)) throw FormatViolation(file, where + " names " + name + " again");
    zones_.emplace_back(std::move(name), std::move(zone));
  }
}

std::optional<std::string> UserZones::ZoneOf(std::string_view name) const {
  const std::string wanted = Trim(name);
  for (const auto& [stored, zone] : zones_) {
    if (SameName(stored, wanted)) return zone;
  }
  return std::nullopt;
}

}  // namespace tarv
