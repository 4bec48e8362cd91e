// Writing files so that a crash leaves the old or the new file, never a torn
// one.
#ifndef TARVPLACES_EXPORT_ATOMIC_FILE_H_
#define TARVPLACES_EXPORT_ATOMIC_FILE_H_

#include <filesystem>
#include <string_view>

namespace tarv {

// Writes `bytes` to a temporary file beside `target`, flushes it to disk,
// and renames it over `target`. Throws AtlasError naming `target` when any
// step fails; `target` is then unchanged and the temporary file removed.
void WriteFileAtomically(const std::filesystem::path& target, std::string_view bytes);

}  // namespace tarv

#endif  // TARVPLACES_EXPORT_ATOMIC_FILE_H_
