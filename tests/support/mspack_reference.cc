#include "support/mspack_reference.h"

#include <mspack.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace tarv::testing {
namespace {

// libmspack reads and writes through an mspack_system; this one works on
// buffers in memory. The "file name" handed to the decompressor is the
// address of a MemoryFile, and the mspack_file it gets back is that object.
struct MemoryFile {
  std::string_view input;
  std::size_t position = 0;
  std::string* output = nullptr;
  std::size_t limit = 0;
};

MemoryFile& AsMemoryFile(mspack_file* file) {
  return *reinterpret_cast<MemoryFile*>(file);
}

mspack_file* MemOpen(mspack_system*, const char* filename, int) {
  return reinterpret_cast<mspack_file*>(const_cast<char*>(filename));
}

void MemClose(mspack_file*) {}

int MemRead(mspack_file* handle, void* buffer, int bytes) {
  MemoryFile& file = AsMemoryFile(handle);
  const std::size_t left = file.input.size() - std::min(file.position, file.input.size());
  const std::size_t n = std::min(left, static_cast<std::size_t>(std::max(bytes, 0)));
  if (n > 0) std::memcpy(buffer, file.input.data() + file.position, n);
  file.position += n;
  return static_cast<int>(n);
}

int MemWrite(mspack_file* handle, void* buffer, int bytes) {
  MemoryFile& file = AsMemoryFile(handle);
  const std::size_t room = file.limit - file.output->size();
  const std::size_t n = std::min(room, static_cast<std::size_t>(std::max(bytes, 0)));
  file.output->append(static_cast<const char*>(buffer), n);
  return static_cast<int>(n);
}

int MemSeek(mspack_file* handle, off_t offset, int mode) {
  MemoryFile& file = AsMemoryFile(handle);
  const off_t base = mode == MSPACK_SYS_SEEK_START ? 0
                     : mode == MSPACK_SYS_SEEK_CUR ? static_cast<off_t>(file.position)
                                                   : static_cast<off_t>(file.input.size());
  const off_t target = base + offset;
  if (target < 0 || static_cast<std::size_t>(target) > file.input.size()) return -1;
  file.position = static_cast<std::size_t>(target);
  return 0;
}

off_t MemTell(mspack_file* handle) {
  return static_cast<off_t>(AsMemoryFile(handle).position);
}

void MemMessage(mspack_file*, const char*, ...) {}
void* MemAlloc(mspack_system*, std::size_t bytes) {
  return std::malloc(bytes);
}
void MemFree(void* ptr) {
  std::free(ptr);
}
void MemCopy(void* src, void* dest, std::size_t bytes) {
  std::memcpy(dest, src, bytes);
}

}  // namespace

std::optional<std::string> ExpandWithLibmspack(std::string_view szdd, std::size_t limit) {
  static mspack_system system{MemOpen,    MemClose, MemRead, MemWrite, MemSeek, MemTell,
                              MemMessage, MemAlloc, MemFree, MemCopy,  nullptr};
  msszdd_decompressor* decoder = mspack_create_szdd_decompressor(&system);
  if (decoder == nullptr) return std::nullopt;
  MemoryFile input{szdd};
  std::string out;
  MemoryFile output{{}, 0, &out, limit};
  std::optional<std::string> result;
  if (msszddd_header* header = decoder->open(decoder, reinterpret_cast<const char*>(&input))) {
    // A write cut at the limit ends the expansion early; what was written
    // stands either way.
    decoder->extract(decoder, header, reinterpret_cast<const char*>(&output));
    decoder->close(decoder, header);
    result = std::move(out);
  }
  mspack_destroy_szdd_decompressor(decoder);
  return result;
}

}  // namespace tarv::testing
