// Degree texts: arbitrary text read as a coordinate, and arbitrary values
// written in every form of the degree formatter and read back.
//
// Input parts (see fuzz_support.h): the text, then 8 bytes of a value and 2
// of a flag word (little-endian; missing bytes are zero).
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz_support.h"
#include "text/bytes.h"
#include "util/degrees.h"

namespace {

using namespace tarv;

void Format(double value, std::int16_t flags) {
  std::int16_t degrees = -1;
  std::int16_t minutes = -1;
  float seconds = -1.0F;
  std::string direction = "?";
  const std::string text = DecInDegrees(value, degrees, minutes, seconds, direction, flags);
  if (!(std::fabs(value) < 32767.0)) {
    FUZZ_CHECK(text.empty() && degrees == 0 && minutes == 0 && seconds == 0.0F);
    FUZZ_CHECK(direction == "?");
    return;
  }
  FUZZ_CHECK(!text.empty());
  FUZZ_CHECK(degrees >= 0 && minutes >= 0 && minutes < 60);
  FUZZ_CHECK(seconds >= 0.0F && seconds < 60.0F);
}

// The atlas's own forms read back within the half second they round to, as
// long as the degrees have at most three digits (four run into the minutes).
// Values within half a second of 1000 round up to four digits.
void RoundTrip(double value) {
  if (!(std::fabs(value) < 1000.0 - 1.0 / 3600.0)) return;
  for (const std::int16_t flags : {kLongitudeFlags, kLatitudeFlags}) {
    const std::string text = DegreeStringOfDec(value, flags);
    const double back = SignedDecOfString(text);
    FUZZ_CHECK(std::fabs(back - value) <= (0.5 + 1e-3) / 3600.0);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto parts =
      fuzz::SplitParts(std::string_view(reinterpret_cast<const char*>(data), size), 2);
  const std::string text(parts[0]);
  std::string numbers(parts[1].substr(0, 10));
  numbers.resize(10, '\0');
  const double value = DecodeFloat64(numbers, 0);
  const std::int16_t flags = DecodeInt16(numbers, 8);

  const double read = SignedDecOfString(text);
  FUZZ_CHECK(std::isfinite(read));
  Rad_Dec_Typ record;
  StringInDegreeType(text, record);
  FUZZ_CHECK(record.Dec == read && std::isfinite(record.Rad));
  FUZZ_CHECK(std::isfinite(ValDot(text)));

  for (const double v : {read, value}) {
    Format(v, flags);
    Format(v, kLongitudeFlags);
    Format(v, kLatitudeFlags);
    RoundTrip(v);
    Rad_Dec_Typ r;
    r.Dec = v;
    StringOfDegreeType(r, kLongitudeKind);
    StringOfDegreeType(r);
  }
  return 0;
}
