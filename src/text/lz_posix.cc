#include <fstream>
#include <iterator>
#include <limits>

#include "text/lz.h"
#include "text/lz_native.h"

namespace tarv::native {
namespace {

// Reads the file, `expected` bytes at once and whatever it grew by since.
bool ReadWholeFile(const std::string& file, std::size_t expected, std::string& bytes) {
  std::ifstream in(file, std::ios::binary);
  if (!in) return false;
  bytes.resize(expected);
  in.read(bytes.data(), static_cast<std::streamsize>(expected));
  bytes.resize(static_cast<std::size_t>(in.gcount()));
  if (in) bytes.append(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  return !in.bad();
}

}  // namespace

Expansion ExpandFile(const std::string& path, std::uint64_t size, std::int32_t& error) {
  error = 0;
  std::string bytes;
  if (!ReadWholeFile(path, static_cast<std::size_t>(size), bytes)) {
    error = LZERROR_BADINHANDLE;
    return {};
  }
  if (!StartsWithSzddMagic(bytes) &&
      bytes.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
    error = LZERROR_GLOBALLOC;  // grew since it was measured
    return {};
  }
  return Expand(bytes, error);
}

}  // namespace tarv::native
