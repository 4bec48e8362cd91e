// Windows' own LZ expansion (the LZInit / LZSeek / LZRead / LZClose services
// of kernel32) expands the files here. The file is opened with CreateFileW
// and handed to LZInit rather than opened by LZOpenFile, which takes ANSI
// paths of at most 128 characters and shares no deletion: a reader holding
// a file that way would stop a writer's replacement.
#include <windows.h>
// windows.h first: lzexpand.h needs its types.
#include <lzexpand.h>
// The component names the same codes as constants, with the same values.
#undef LZERROR_BADINHANDLE
#undef LZERROR_BADOUTHANDLE
#undef LZERROR_READ
#undef LZERROR_WRITE
#undef LZERROR_GLOBALLOC
#undef LZERROR_GLOBLOCK
#undef LZERROR_BADVALUE
#undef LZERROR_UNKNOWNALG
#undef LZOpenFile

#include <algorithm>
#include <limits>
#include <mutex>

#include "platform/paths.h"
#include "platform/whole_file.h"
#include "text/lz.h"
#include "text/lz_native.h"

namespace tarv::native {

namespace {

// The LZ services keep their open files in one table of the process, which
// neither Windows' nor Wine's guards against threads: one expansion at a time.
std::mutex lz_services;

}  // namespace

Expansion ExpandFile(const std::string& path, std::uint64_t size, std::int32_t& error) {
  error = 0;
  if (NamesADevice(path)) {
    error = LZERROR_BADINHANDLE;  // a device, never an atlas file
    return {};
  }
  const HANDLE file = ::CreateFileW(PathFromUtf8(path).c_str(), GENERIC_READ,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    error = LZERROR_BADINHANDLE;
    return {};
  }
  // The header is checked by the component's own rules first, so that an
  // absurd length field is refused before anything is expanded.
  char header[14] = {};
  DWORD got = 0;
  if (::ReadFile(file, header, sizeof(header), &got, nullptr) == 0) {
    ::CloseHandle(file);
    error = LZERROR_BADINHANDLE;
    return {};
  }
  const std::string_view head(header, got);
  if (StartsWithSzddMagic(head)) {
    std::uint32_t length = 0;
    error = SzddHeaderError(head, size, length);
  } else if (size > static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max())) {
    error = LZERROR_GLOBALLOC;
  }
  LARGE_INTEGER start{};
  if (error == 0 && ::SetFilePointerEx(file, start, nullptr, FILE_BEGIN) == 0) {
    error = LZERROR_BADINHANDLE;
  }
  if (error != 0) {
    ::CloseHandle(file);
    return {};
  }
  const std::lock_guard<std::mutex> lock(lz_services);
  // Kernel handles fit in 32 bits, which is what LZInit takes.
  const INT lz = ::LZInit(static_cast<INT>(reinterpret_cast<INT_PTR>(file)));
  if (lz < 0) {
    ::CloseHandle(file);
    error = lz;
    return {};
  }
  // From here LZClose closes the file too.
  const LONG length = ::LZSeek(lz, 0, 2);
  if (length < 0 || ::LZSeek(lz, 0, 0) != 0) {
    ::LZClose(lz);
    error = length < 0 ? length : LZERROR_READ;
    return {};
  }
  Expansion out;
  out.length = static_cast<std::size_t>(length);
  out.compressed = StartsWithSzddMagic(head);
  out.bytes.resize(out.length);
  std::size_t done = 0;
  // Where the data ends before the header's length, Windows answers
  // LZERROR_READ and Wine a short read; both leave a damaged expansion.
  while (done < out.length) {
    const INT chunk = static_cast<INT>(std::min<std::size_t>(out.length - done, 1 << 16));
    const INT n = ::LZRead(lz, out.bytes.data() + done, chunk);
    if (n <= 0) break;
    done += static_cast<std::size_t>(n);
  }
  out.bytes.resize(done);
  ::LZClose(lz);
  if (out.compressed) {
    std::string raw;
    if (ReadWholeFile(path, raw, static_cast<std::size_t>(size)) == WholeFile::kRead) {
      out.overrun = OverrunsLength(raw);
    }
  }
  return out;
}

}  // namespace tarv::native
