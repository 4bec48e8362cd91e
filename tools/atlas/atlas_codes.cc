#include "atlas/atlas_codes.h"

#include <filesystem>

#include "atlas/source_files.h"

namespace fs = std::filesystem;

namespace tarv::atlas {

AtlasCodes::AtlasCodes(const std::string& data_folder) {
  for (const auto& row : ReadTsv((fs::path(data_folder) / "atlas_codes.tsv").string())) {
    codes_[row.at(0)] = {row.size() > 1 ? row[1] : "",
                         row.size() > 2 && !row[2].empty() ? std::stoi(row[2]) : 0};
  }
  for (const auto& row : ReadTsv((fs::path(data_folder) / "us_states.tsv").string()))
    states_.insert(row.at(0));
}

std::string AtlasCodes::Of(const GeoPlace& place) const {
  if (place.country == "US") return states_.count(place.admin1) ? "US" + place.admin1 : "";
  const auto known = codes_.find(place.country);
  return known != codes_.end() && !known->second.first.empty() ? known->second.first
                                                               : place.country;
}

std::vector<std::string> AtlasCodes::IsoCodesOf(const std::string& code,
                                                const std::string& own) const {
  std::vector<std::string> isos = {own};
  for (const auto& [iso, entry] : codes_) {
    const std::string& filed_as = entry.first.empty() ? iso : entry.first;
    if (filed_as == code && iso != own) isos.push_back(iso);
  }
  return isos;
}

int AtlasCodes::ContinentOf(const std::string& iso) const {
  const auto known = codes_.find(iso);
  return known != codes_.end() ? known->second.second : 0;
}

}  // namespace tarv::atlas
