// SZDD expansion of arbitrary bytes: in memory (held to libmspack), through the LZ handles over a
// file, and after the project's own compressor.
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz_support.h"
#include "text/lz.h"
#include "support/mspack_reference.h"
#include "text/bytes.h"

namespace {

constexpr std::string_view kMagic("SZDD\x88\xF0\x27\x33", 8);

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarv;
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  fuzz::BeginRun();

  std::int32_t error = 0;
  const std::string expanded = ExpandSzdd(input, error);
  if (input.substr(0, kMagic.size()) != kMagic) {
    FUZZ_CHECK(error == 0 && expanded == input);
  } else if (error == 0) {
    // Never more than the header announces.
    FUZZ_CHECK(input.size() >= 14);
    FUZZ_CHECK(expanded.size() <= static_cast<std::uint32_t>(DecodeInt32(input, 10)));
  } else {
    FUZZ_CHECK(error < 0 && expanded.empty());
  }
  // Whole where libmspack expands the announced length, and then the same.
  if (input.size() >= 14 && input.substr(0, kMagic.size()) == kMagic && input[8] == 'A') {
    const auto length = static_cast<std::uint32_t>(DecodeInt32(input, 10));
    if (const auto reference = testing::ExpandWithLibmspack(input, length)) {
      FUZZ_CHECK((error == 0) == (reference->size() == length));
      FUZZ_CHECK(error != 0 || expanded == *reference);
    }
  }

  // The handles read the same bytes from a file, from any position.
  fuzz::Scratch().Write("in.da_", input);
  const std::string path = fuzz::Scratch().str() + "\\in.da_";
  {
    const LzFile lz(path);
    if (error != 0 && lz.get() >= 0) {
      // Data that ends before its length field: the handle opens, and reading
      // the announced length fails where the data runs out.
      FUZZ_CHECK(error == LZERROR_READ);
      const std::int32_t length = LZSeek(lz.get(), 0, kLzSeekEnd);
      FUZZ_CHECK(length == DecodeInt32(input, 10));
      FUZZ_CHECK(LZSeek(lz.get(), 0, kLzSeekSet) == 0);
      std::string chunk(4096, '\0');
      std::int64_t read = 0;
      std::int32_t n = 0;
      while ((n = LZRead(lz.get(), chunk.data(), static_cast<std::int32_t>(chunk.size()))) > 0)
        read += n;
      FUZZ_CHECK(n == LZERROR_READ && read < length);
    } else if (error != 0) {
      FUZZ_CHECK(lz.get() == error);
    } else {
      FUZZ_CHECK(lz.get() >= 0);
      const auto length = static_cast<std::int32_t>(expanded.size());
      FUZZ_CHECK(LZSeek(lz.get(), 0, kLzSeekEnd) == length);
      const std::int32_t start = size > 0 ? data[0] % (length + 1) : 0;
      FUZZ_CHECK(LZSeek(lz.get(), start, kLzSeekSet) == start);
      FUZZ_CHECK(LZSeek(lz.get(), length + 1, kLzSeekSet) == LZERROR_BADVALUE);
      std::string read(expanded.size() + 8, '\0');
      const std::int32_t n = LZRead(lz.get(), read.data(), static_cast<std::int32_t>(read.size()));
      FUZZ_CHECK(n == length - start);
      FUZZ_CHECK(read.compare(0, static_cast<std::size_t>(n), expanded, start) == 0);
      FUZZ_CHECK(LZRead(lz.get(), read.data(), 1) == 0);
    }
  }

  // Whatever the compressor writes expands to what it was given.
  const std::string packed = CompressSzdd(input, 't');
  std::int32_t back_error = 0;
  FUZZ_CHECK(ExpandSzdd(packed, back_error) == input);
  FUZZ_CHECK(back_error == 0);
  return 0;
}
