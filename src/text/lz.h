// LZ expansion: the classic LZOpenFile / LZRead / LZSeek / LZClose services
// over SZDD-compressed files, and files without that header read as they
// stand (as the classic service does, which is how the uncompressed user
// place files are read by the same code).
//
// Positions and lengths are in expanded bytes. A handle refers to an expanded
// image held in memory; no file stays open between calls. Expanded images are
// kept in a small process-wide cache keyed by path, size and modification
// time, so repeated lookups do not expand a file again, and a file rewritten
// by another call or process is seen at once.
//
// Expanded length. The header's length field and the compressed data do not
// always agree. Data that decodes to more bytes than the field announces is
// cut at the field. Data that ends before it (a file cut short in transit, or
// the one COMPRESS sample whose field claims 5237 bytes over 20 bytes of
// text) is damaged, and answered as Windows' LZ expansion answers it: the
// handle opens, LZSeek to the end gives the field's length, reads within the
// decoded bytes succeed, and a read that needs a byte past them gives
// LZERROR_READ. Readers that take the whole image (ExpandedImage,
// ExistingImage, ExpandSzdd) get LZERROR_READ for such a file at once: a
// damaged file is never read as a shorter one. A length field above 64 MiB,
// or above 100 times the file's size plus 64 KiB, is taken as damage
// (LZERROR_READ) before anything is decoded.
#ifndef TARVPLACES_TEXT_LZ_H_
#define TARVPLACES_TEXT_LZ_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace tarv {

// Error results of the LZ functions; the texts are LZERROR_Msg's.
inline constexpr std::int32_t LZERROR_BADINHANDLE = -1;   // "invalid input handle"
inline constexpr std::int32_t LZERROR_BADOUTHANDLE = -2;  // "invalid output handle"
inline constexpr std::int32_t LZERROR_READ = -3;          // "corrupt compressed file format"
inline constexpr std::int32_t LZERROR_WRITE = -4;         // "out of space for output file"
inline constexpr std::int32_t LZERROR_GLOBALLOC = -5;     // "insufficient memory for LZFile struct"
inline constexpr std::int32_t LZERROR_GLOBLOCK = -6;      // "bad global handle"
inline constexpr std::int32_t LZERROR_BADVALUE = -7;      // "input parameter out of range"
inline constexpr std::int32_t LZERROR_UNKNOWNALG = -8;    // "compression algorithm not recognized"

// Seek origins.
inline constexpr int kLzSeekSet = 0;
inline constexpr int kLzSeekCurrent = 1;
inline constexpr int kLzSeekEnd = 2;

// Opens the file at the Windows-style path `path` (see NativePath) for
// expanded reading and returns a handle (>= 0), or a negative LZERROR code: a
// missing or unreadable file gives LZERROR_BADINHANDLE, a damaged SZDD file
// LZERROR_READ, an unknown compression mode LZERROR_UNKNOWNALG, a plain file
// too large for 32-bit positions or a 1025th open handle LZERROR_GLOBALLOC.
// Handles are the smallest free numbers, so a closed handle's number is
// reused.
std::int32_t LZOpenFile(const std::string& path);

// Copies up to `count` expanded bytes from the handle's position into
// `buffer` and advances the position. Returns the number of bytes copied (0
// at the end), LZERROR_BADINHANDLE for an unknown handle, LZERROR_BADVALUE
// for a negative count (or a null buffer with a positive count), and
// LZERROR_READ, with the position unchanged, when the bytes asked for reach
// past the data of a damaged file.
std::int32_t LZRead(std::int32_t handle, char* buffer, std::int32_t count);

// Moves the position to `offset` from the start (origin 0), the current
// position (1) or the end (2) of the expanded data and returns the new
// position; LZSeek(h, 0, 2) is the expanded length. A position before the
// start or past the end, or another origin, gives LZERROR_BADVALUE and leaves
// the position unchanged.
std::int32_t LZSeek(std::int32_t handle, std::int32_t offset, int origin);

// Releases the handle; unknown handles are ignored.
void LZClose(std::int32_t handle);

// An LZ handle that is closed on every way out of a reader.
class LzFile {
 public:
  explicit LzFile(const std::string& path) : handle_(LZOpenFile(path)) {}
  ~LzFile() {
    if (handle_ >= 0) LZClose(handle_);
  }
  LzFile(const LzFile&) = delete;
  LzFile& operator=(const LzFile&) = delete;
  // The handle, or the negative LZERROR code of the open.
  std::int32_t get() const { return handle_; }

 private:
  std::int32_t handle_;
};

// How a reader takes a file without the SZDD magic: as it stands (user
// files, which the component writes plain), or as damage (atlas files, which
// the builder always compresses: a plain one was replaced or overwritten).
// kSzdd also takes compressed data that goes on past the header's length as
// damage (a length field made smaller), where the classic service cuts it
// at the field.
enum class Packing { kAsFound, kSzdd };

// The expanded bytes of the file at `path` (cached) with 0 in `error`, or
// nullptr and a negative LZERROR code as LZOpenFile gives it, and LZERROR_READ
// for a file whose data ends before its length field, or that is plain where
// `packing` asks for SZDD. Something other than a regular file (a folder, a
// FIFO, a device) gives LZERROR_BADINHANDLE and is never opened. For readers that want
// the whole image. The cache holds up to 64 MiB of images of at most 256
// files and drops the least recently used first; an entry is trusted only while the file's path,
// size, modification time and inode are unchanged, and not at all while its
// modification time lies within two seconds of when it was read (file times
// tick coarsely, so a same-size rewrite in that tick would look unchanged).
std::shared_ptr<const std::string> ExpandedImage(const std::string& path, std::int32_t& error,
                                                 Packing packing = Packing::kAsFound);

// Like ExpandedImage, but a file that does not exist is no error: nullptr
// with `error` 0. Readers that skip missing files use it to look once.
std::shared_ptr<const std::string> ExistingImage(const std::string& path, std::int32_t& error,
                                                 Packing packing = Packing::kAsFound);

// Drops the cached image of `path` (after the component rewrote the file).
void ForgetExpandedImage(const std::string& path);

// Drops every cached image of the thread's cache.
void ClearExpandedImages();

// The expanded images of one atlas's files. Each atlas object owns one, so
// that what one atlas read is its own; reads outside any atlas object (the
// process's default atlas) share the process's cache.
class ImageCache;
std::shared_ptr<ImageCache> MakeImageCache();

// Makes `cache` the one this thread's reads use while it lives (null: the
// process's own). Scopes nest.
class ImageCacheScope {
 public:
  explicit ImageCacheScope(ImageCache* cache);
  ~ImageCacheScope();
  ImageCacheScope(const ImageCacheScope&) = delete;
  ImageCacheScope& operator=(const ImageCacheScope&) = delete;

 private:
  ImageCache* outer_;
};

// How many expanded images the cache keeps at most (least recently used go
// first; 64 MiB of them at most): every file of the default atlas fits, so a
// whole export reads each once.
inline constexpr std::size_t kMaxCachedImages = 1024;

// True when `bytes` begin with the SZDD magic, so that every reader expands
// them rather than reading them as they stand.
bool StartsWithSzddMagic(std::string_view bytes) noexcept;

// Expands SZDD data held in memory: the expanded bytes with 0 in `error`, or
// "" and a negative LZERROR code. Data without the SZDD magic comes back as it
// stands; with the magic, a header shorter than 14 bytes, an absurd length
// field or data that ends before the length field gives LZERROR_READ, a mode
// other than 'A' LZERROR_UNKNOWNALG.
std::string ExpandSzdd(std::string_view file_bytes, std::int32_t& error);

// Compresses `data` into an SZDD file image (mode 'A', LZSS with a 4096-byte
// window). `missing_char` is the last character of the original file name,
// which compressed names replace by "_" ("D.da_" for "D.dao"). Matching is
// greedy: at each position the longest match of 3 to 18 bytes within the
// window (its blank-filled start included), else a literal. The output
// depends only on the input. Throws std::length_error for data of 2 GiB or
// more.
std::string CompressSzdd(std::string_view data, char missing_char = '\0');

// The text of an LZ error code; codes outside -1..-8 name the file.
std::string LZERROR_Msg(std::int32_t code, const std::string& file_name);

}  // namespace tarv

#endif  // TARVPLACES_TEXT_LZ_H_
