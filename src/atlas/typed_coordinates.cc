#include "atlas/typed_coordinates.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "atlas/place_file.h"
#include "util/degrees.h"

namespace tarv {
namespace {

// The two parts of a text that reads as coordinates, or nullopt.
std::optional<std::pair<std::string, std::string>> CoordinateParts(std::string_view text) {
  std::vector<std::string> parts;
  std::string current;
  for (const char c : text) {
    if (c == ' ' || c == ';' || c == '\t') {
      if (!current.empty()) parts.push_back(std::move(current));
      current.clear();
    } else {
      current += c;
    }
  }
  if (!current.empty()) parts.push_back(std::move(current));
  if (parts.size() == 1 && std::count(parts[0].begin(), parts[0].end(), ',') == 1 &&
      parts[0].find('.') != std::string::npos) {
    const auto comma = parts[0].find(',');
    parts = {parts[0].substr(0, comma), parts[0].substr(comma + 1)};
  }
  if (parts.size() != 2) return std::nullopt;
  for (const auto& part : parts) {
    if (part.find_first_of("0123456789") == std::string::npos) return std::nullopt;
    for (const char c : part) {
      if (IsNumber(c) ||
          std::string_view("NSEWOnsewo+-'\"\xB0").find(c) != std::string_view::npos) {
        continue;
      }
      return std::nullopt;
    }
  }
  return std::make_pair(parts[0], parts[1]);
}

bool HasLetterOf(const std::string& part, std::string_view letters) {
  return part.find_first_of(letters) != std::string::npos;
}

// The box around the places of a country's file pair, widened by a margin
// for places the atlas lacks near its borders; nullopt without places.
struct Extent {
  double west, east, south, north;
  bool Holds(double longitude, double latitude) const {
    return longitude >= west && longitude <= east && latitude >= south && latitude <= north;
  }
};

std::optional<Extent> ExtentOf(std::string_view code) {
  constexpr double kMarginDegrees = 0.5;
  PlaceList list;
  if (Read_Cp_ORTE(GetCompressedPlaceFile(code), list) <= 0) return std::nullopt;
  Extent e{180.0, -180.0, 90.0, -90.0};
  bool any = false;
  for (const auto& p : list.places) {
    if (!std::isfinite(p.Longitude) || !std::isfinite(p.Latitude)) continue;
    e.west = std::min(e.west, static_cast<double>(p.Longitude));
    e.east = std::max(e.east, static_cast<double>(p.Longitude));
    e.south = std::min(e.south, static_cast<double>(p.Latitude));
    e.north = std::max(e.north, static_cast<double>(p.Latitude));
    any = true;
  }
  if (!any) return std::nullopt;
  return Extent{e.west - kMarginDegrees, e.east + kMarginDegrees, e.south - kMarginDegrees,
                e.north + kMarginDegrees};
}

}  // namespace

std::optional<NearestPlace> NearestToCoordinates(std::string_view code, std::string_view text) {
  const auto parts = CoordinateParts(text);
  if (!parts) return std::nullopt;
  auto [first, second] = *parts;
  const bool lettered = HasLetterOf(first, "NSEWOnsewo") || HasLetterOf(second, "NSEWOnsewo");
  if (HasLetterOf(first, "EWOewo") || HasLetterOf(second, "NSns")) std::swap(first, second);
  double latitude = SignedDecOfString(first);
  // "O" (Ost) contains no minus sign of its own; "W" and "S" do.
  double longitude = SignedDecOfString(second);
  if (!lettered) {
    const auto extent = ExtentOf(code);
    if (!extent) return std::nullopt;
    const bool as_typed = std::fabs(latitude) <= 90.0 && extent->Holds(longitude, latitude);
    const bool swapped = std::fabs(longitude) <= 90.0 && extent->Holds(latitude, longitude);
    if (!as_typed && !swapped) return std::nullopt;
    if (!as_typed) std::swap(latitude, longitude);
  }
  if (std::fabs(latitude) > 90.0 || std::fabs(longitude) > 180.0) return std::nullopt;
  return FindNearestPlace(code, longitude, latitude, 0.0);
}

}  // namespace tarv
