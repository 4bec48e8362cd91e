#include <limits>

#include "platform/whole_file.h"
#include "text/lz.h"
#include "text/lz_native.h"

namespace tarv::native {

Expansion ExpandFile(const std::string& path, std::uint64_t size, std::int32_t& error) {
  error = 0;
  std::string bytes;
  if (ReadWholeFile(path, bytes, static_cast<std::size_t>(size)) != WholeFile::kRead) {
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
