#include "atlas/source_files.h"

#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tarvplaces/atlas_error.h"

namespace tarv::atlas {

std::string ReadText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw AtlasError(path, "cannot be opened for reading");
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::vector<std::vector<std::string>> ReadTsv(const std::string& path) {
  std::vector<std::vector<std::string>> rows;
  std::istringstream in(ReadText(path));
  bool header = false;
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.empty() || line[0] == '#') continue;
    if (!header) {
      header = true;
      continue;
    }
    std::vector<std::string> fields;
    std::size_t start = 0;
    for (;;) {
      const auto tab = line.find('\t', start);
      fields.push_back(line.substr(start, tab == std::string::npos ? tab : tab - start));
      if (tab == std::string::npos) break;
      start = tab + 1;
    }
    rows.push_back(std::move(fields));
  }
  return rows;
}

std::map<std::string, std::string> ReadCountryNames(const std::string& path) {
  nlohmann::json doc;
  try {
    doc = nlohmann::json::parse(ReadText(path));
  } catch (const nlohmann::json::exception& e) {
    throw AtlasError(path, std::string("not a country-name file: ") + e.what());
  }
  std::map<std::string, std::string> names;
  if (!doc.contains("countries") || !doc["countries"].is_object()) {
    throw AtlasError(path, "has no \"countries\" object");
  }
  for (const auto& [iso, value] : doc["countries"].items()) {
    if (value.is_string()) {
      names[iso] = value.get<std::string>();
    } else if (value.is_array() && !value.empty() && value[0].is_string()) {
      names[iso] = value[0].get<std::string>();
    }
  }
  return names;
}

}  // namespace tarv::atlas
