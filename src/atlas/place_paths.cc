#include "atlas/place_paths.h"

#include "atlas/atlas_state.h"
#include "atlas/country_table.h"
#include "platform/per_thread.h"
#include "text/codepage.h"
#include "util/text.h"

namespace tarv {
namespace {

// A code that could leave the place folder, or whose control characters (a
// NUL above all) would cut its path short on the way to the system, is no
// country at all.
bool IsSafeCode(std::string_view code) {
  return code.find_first_of("\\/:") == std::string_view::npos &&
         code.find("..") == std::string_view::npos && !HasControlCharacter(code);
}

// Country codes are ASCII in practice; the conversion keeps a path in one
// encoding if one is not.
std::string PathPart(std::string_view ansi) {
  return Utf8FromAnsi(ansi);
}

}  // namespace

std::string IndexPathOf(const std::string& place_file) {
  const auto dot = place_file.rfind('.');
  return (dot == std::string::npos ? place_file + "." : place_file.substr(0, dot + 1)) + "IDX";
}

namespace {

std::string PlaceFileOf(std::string_view code) {
  std::string abbreviation = Trim(GetInternalCountryAbbreviation(code));
  if (!IsSafeCode(abbreviation)) abbreviation.clear();
  const std::string folder = AtlasFolder("");
  if (abbreviation.empty()) return folder;
  if (IsGroupCode(abbreviation)) return folder + PathPart(abbreviation);
  return folder + PathPart(abbreviation) + ".dao";
}

}  // namespace

std::string GetCompressedPlaceFile(std::string_view code) {
  // Hosts ask for one country many times over.
  struct Last {
    std::string code, folder, file;
  };
  Last& last = PerThread<Last>();
  if (code == last.code && CurrentAtlas().places_path == last.folder && !last.file.empty()) {
    return last.file;
  }
  last.code.assign(code);
  last.folder = CurrentAtlas().places_path;
  last.file = PlaceFileOf(code);
  return last.file;
}

bool IsUserFile(std::string_view place_file) {
  const std::size_t cut = place_file.find_last_of('\\');
  if (cut == std::string_view::npos) return false;
  const std::string_view folder = place_file.substr(0, cut);
  return folder == "USER" || folder.ends_with("\\USER");
}

std::string Get_UserFile(const std::string& place_file) {
  const auto cut = place_file.rfind('\\');
  if (cut == std::string::npos) return "USER\\" + place_file;
  return place_file.substr(0, cut + 1) + "USER\\" + place_file.substr(cut + 1);
}

std::size_t Get_CompressedFiles(std::string_view name, std::vector<std::string>& files,
                                std::vector<PlaceRef>& refs) {
  files.clear();
  refs.clear();
  InitializeCountries("", "Country.dat", false, false);
  if (!CurrentAtlas().countries_loaded) return 0;
  const std::string folder = AtlasFolder("");
  // A group's place file has the group's name: in English "ASIA.dao", whose
  // extension would hide the four letters of "ASIA" from the continent test.
  const std::int16_t continent = GetContinentID(Get_Prae(name));
  if (continent == 0) {
    const std::string code = Get_Prae(name);
    if (code.empty() || !IsSafeCode(name)) return 0;
    files = {folder + "USER\\" + PathPart(code) + ".dao", folder + PathPart(code) + ".dao"};
    refs = {PlaceRef{code, 0}, PlaceRef{code, 0}};
    return files.size();
  }
  const auto& table = CurrentAtlas().countries;
  for (std::size_t i = 1; i + kNonCountryTail < table.size(); ++i) {
    const auto& country = table[i];
    if (country.ContinentID != continent || !IsSafeCode(country.CountryShort)) continue;
    const std::string code = Trim(country.CountryShort);
    files.push_back(folder + PathPart(code) + ".dao");
    files.push_back(folder + "USER\\" + PathPart(code) + ".dao");
    refs.push_back(PlaceRef{code, 0});
    refs.push_back(PlaceRef{code, 0});
  }
  return files.size();
}

}  // namespace tarv
