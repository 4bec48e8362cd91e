#include "platform/atomic_file.h"

namespace fs = std::filesystem;

namespace tarv {

fs::path TemporaryPathOf(const fs::path& target) {
  fs::path temp = target;
  return temp.replace_extension("~~~");
}

StagedFile::StagedFile(fs::path target, std::string_view bytes) : StagedFile(std::move(target)) {
  Write(bytes);
  Flush();
}

void WriteFileAtomically(const fs::path& target, std::string_view bytes) {
  StagedFile(target, bytes).Commit();
}

}  // namespace tarv
