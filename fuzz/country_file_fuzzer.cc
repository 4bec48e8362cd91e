// "Country.dat" from arbitrary text: parsed directly, loaded from an atlas
// folder, then looked up by its own codes, titles and continents.
//
// Input: one option byte (bit 0: sort the table while loading), then the
// file's text.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "atlas/atlas_fault.h"
#include "atlas/atlas_state.h"
#include "atlas/country_table.h"
#include "atlas/place_file.h"
#include "fuzz_support.h"

namespace {

// A file name composed from a country code stays inside the atlas folder.
void CheckInsideFolder(const std::string& file, const std::string& folder) {
  FUZZ_CHECK(file.compare(0, folder.size(), folder) == 0);
  std::string_view rest = std::string_view(file).substr(folder.size());
  if (rest.substr(0, 5) == "USER\\") rest.remove_prefix(5);
  FUZZ_CHECK(rest.find_first_of("\\/:") == std::string_view::npos);
  FUZZ_CHECK(rest.find("..") == std::string_view::npos || rest.ends_with("..dao"));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarv;
  if (size == 0) return 0;
  const bool sort = (data[0] & 1) != 0;
  const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);

  const auto result = ParseCountryFile(text, "Country.dat");
  const bool valid = result.ok();
  if (!valid) FUZZ_CHECK(result.fault().file == "Country.dat");
  const std::vector<CountryRecord> parsed = valid ? *result : std::vector<CountryRecord>();
  if (valid) {
    // Writing the records and reading them back changes nothing.
    const auto again = ParseCountryFile(CountryFileText(parsed), "again");
    FUZZ_CHECK(again.ok() && again->size() == parsed.size());
    for (std::size_t i = 0; i < parsed.size(); ++i)
      FUZZ_CHECK(CountryLine((*again)[i]) == CountryLine(parsed[i]));
  }

  fuzz::BeginRun();
  fuzz::Scratch().Empty();
  fuzz::Scratch().Write("Country.dat", text);
  CurrentAtlas().places_path = fuzz::Scratch().str();
  const FaultScope call;
  FUZZ_CHECK(!InitializeCountries("", "Country.dat", sort, false));
  const bool loaded = !LastMalformedFile();
  FUZZ_CHECK(loaded == valid);
  FUZZ_CHECK(CurrentAtlas().countries_loaded == valid);
  if (!valid) return 0;

  const auto table = CurrentAtlas().countries;
  FUZZ_CHECK(table.size() == parsed.size() + 1 + kContinentRecords);
  const std::string folder = AtlasFolder("");
  std::vector<std::string> files;
  std::vector<PlaceRef> refs;
  for (const auto& country : table) {
    for (const std::string* text_field :
         {&country.CountryShort, &country.CountryTitle, &country.Continent}) {
      const std::int16_t id = GetCountryID(*text_field);
      if (id != 0) {
        const std::int16_t index = GetCountryIndexOfID(id);
        FUZZ_CHECK(index > 0 && static_cast<std::size_t>(index) < table.size());
      }
      GetContinentID(*text_field);
      HaveSeveralTimeZones(*text_field);
      HaveTimetables(*text_field);
      CheckInsideFolder(GetCompressedPlaceFile(*text_field), folder);
      const std::size_t n = Get_CompressedFiles(*text_field, files, refs);
      FUZZ_CHECK(n == files.size() && n == refs.size());
      for (const auto& file : files)
        CheckInsideFolder(file, folder);
    }
  }
  return 0;
}
