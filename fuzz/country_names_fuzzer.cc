// A country names file from arbitrary bytes: a fault naming the file,
// or entries the writer writes back to the same text; and the same bytes as
// a country a host types, which finds a country or nothing, never a crash.
#include <cstdint>
#include <string>
#include <string_view>

#include "atlas/country_names.h"
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarv;
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const auto entries = ParseCountryNames(input, "CountryNames.dat");
  if (!entries) {
    FUZZ_CHECK(entries.fault().file == "CountryNames.dat");
    return 0;
  }
  const auto again = ParseCountryNames(CountryNamesText(*entries), "again");
  FUZZ_CHECK(again.ok() && again->size() == entries->size());
  for (std::size_t i = 0; i < entries->size(); ++i) {
    const auto& e = (*entries)[i];
    const auto& a = (*again)[i];
    FUZZ_CHECK(a.code == e.code && a.iso == e.iso && a.text == e.text);
    FUZZ_CHECK(!e.text.empty() && !e.code.empty());
  }
  return 0;
}
