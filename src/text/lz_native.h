// What the LZ service asks of the operating system: one file read and
// expanded into memory. One implementation per system: lz_posix.cc (the
// component's own decoder), lz_windows.cc (Windows' own LZ expansion).
#ifndef TARVPLACES_TEXT_LZ_NATIVE_H_
#define TARVPLACES_TEXT_LZ_NATIVE_H_

#include <cstdint>
#include <string>
#include <string_view>

namespace tarv {

inline constexpr std::string_view kSzddMagic("SZDD\x88\xF0\x27\x33", 8);

// A file as the LZ service sees it: the bytes its data decodes to, and the
// length its header announces (the bytes' own length for a plain file).
struct Expansion {
  std::string bytes;
  std::size_t length = 0;
  bool compressed = false;  // the file began with the SZDD magic
  // Compressed data went on past the header's length.
  bool overrun = false;
  // The data ended before the length its header announced.
  bool Damaged() const { return bytes.size() < length; }
};

// The LZERROR code for an SZDD header (`file_bytes` begin with the magic)
// that no file may have: shorter than 14 bytes (LZERROR_READ), a mode other
// than 'A' (LZERROR_UNKNOWNALG), a length field above 64 MiB or above 100
// times `file_size` plus 64 KiB (LZERROR_READ); 0 and the field in `length`
// otherwise. Both systems check headers by this rule before expanding.
// Whether the compressed data of an SZDD file (whose header passed
// SzddHeaderError) goes on past the length its header gives. Windows' LZ
// service does not tell, so its expansions are checked by this.
bool OverrunsLength(std::string_view file_bytes);

std::int32_t SzddHeaderError(std::string_view file_bytes, std::uint64_t file_size,
                             std::uint32_t& length);

// The expansion of a file's bytes: as they stand without the SZDD magic, else
// decoded up to the header's length. `error` is set only for what makes the
// file unreadable as a whole (SzddHeaderError); data that ends early comes
// back as a damaged expansion.
Expansion Expand(std::string_view file_bytes, std::int32_t& error);

namespace native {

// Reads the file at `path` (UTF-8, as on disk), `size` bytes when it was
// looked at, and expands it like Expand. A file that cannot be opened or read
// gives LZERROR_BADINHANDLE, a plain file grown past 2 GiB LZERROR_GLOBALLOC.
Expansion ExpandFile(const std::string& path, std::uint64_t size, std::int32_t& error);

}  // namespace native
}  // namespace tarv

#endif  // TARVPLACES_TEXT_LZ_NATIVE_H_
