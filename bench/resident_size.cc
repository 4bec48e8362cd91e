// How much memory a host process holds after it has looked up one place in
// every country of the default atlas: the resident size (VmRSS) before and
// after, as /proc reports it.
//
//   tarvplaces_resident_size [ATLAS_FOLDER]
#include <fstream>
#include <iomanip>
#include <iostream>
#include <string>
#include <vector>

#include "tarvplaces/places.h"

namespace {

// Resident size in MiB, 0 where /proc does not say.
double ResidentMib() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("VmRSS:", 0) == 0) return std::stod(line.substr(6)) / 1024.0;
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string atlas = argc > 1 ? argv[1] : TARV_DEFAULT_ATLAS;
  tarv::classPlaces places;
  places.PlacePath(atlas);
  std::vector<std::string> countries;
  places.FillCountryArray(countries);
  const double before = ResidentMib();
  std::size_t asked = 0;
  std::size_t found = 0;
  for (std::size_t i = 1; i < countries.size(); ++i) {
    // Code is the third TAB-separated field; groups and continents find
    // nothing of their own and are skipped by the count below.
    const auto first = countries[i].find('\t');
    const auto second = countries[i].find('\t', first + 1);
    if (first == std::string::npos || second == std::string::npos) continue;
    const auto end = countries[i].find('\t', second + 1);
    std::string code = countries[i].substr(second + 1, end - second - 1);
    while (!code.empty() && code.back() == ' ')
      code.pop_back();
    ++asked;
    // Any place of the country: the nearest to the middle of the map makes
    // the country's place file be read like any first lookup does.
    found += !places.GetNearestPlace(code, 0.0, 0.0).empty();
  }
  const double after = ResidentMib();
  std::cout << std::fixed << std::setprecision(1) << "resident size: " << before
            << " MiB with the tables loaded, " << after << " MiB after a lookup in each of "
            << found << " of " << asked << " countries\n";
  return 0;
}
