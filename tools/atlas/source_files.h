// The builder's own text inputs: whole files, the project's tables in data/
// and the country-name files of the i18n-iso-countries package.
#ifndef TARVPLACES_TOOLS_ATLAS_SOURCE_FILES_H_
#define TARVPLACES_TOOLS_ATLAS_SOURCE_FILES_H_

#include <map>
#include <string>
#include <vector>

namespace tarv::atlas {

// The whole file; throws AtlasError when it cannot be opened.
std::string ReadText(const std::string& path);

// Rows of a project table (TAB-separated): "#" comments and the header line
// skipped.
std::vector<std::vector<std::string>> ReadTsv(const std::string& path);

// ISO code -> country name of one language file ("de.json"); where the file
// gives several names, the first.
std::map<std::string, std::string> ReadCountryNames(const std::string& path);

}  // namespace tarv::atlas

#endif  // TARVPLACES_TOOLS_ATLAS_SOURCE_FILES_H_
