// A country names file from arbitrary bytes: an AtlasError naming the file,
// or entries the writer writes back to the same text; and the same bytes as
// a country a host types, which finds a country or nothing, never a crash.
#include <cstdint>
#include <string>
#include <string_view>

#include "atlas/country_names.h"
#include "fuzz_support.h"
#include "tarvplaces/atlas_error.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarv;
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  try {
    const auto entries = ParseCountryNames(input, "CountryNames.dat");
    const auto again = ParseCountryNames(CountryNamesText(entries), "again");
    FUZZ_CHECK(again.size() == entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
      FUZZ_CHECK(again[i].code == entries[i].code && again[i].iso == entries[i].iso &&
                 again[i].text == entries[i].text);
      FUZZ_CHECK(!entries[i].text.empty() && !entries[i].code.empty());
    }
  } catch (const AtlasError& e) {
    FUZZ_CHECK(e.file() == "CountryNames.dat");
  }
  return 0;
}
