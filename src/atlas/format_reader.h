// The bounds-checked reader the atlas's binary formats are decoded with.
#ifndef TARVPLACES_ATLAS_FORMAT_READER_H_
#define TARVPLACES_ATLAS_FORMAT_READER_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "atlas/atlas_fault.h"
#include "text/bytes.h"

namespace tarv {

// A bounds-checked reader over one file's bytes; every fault names the file.
class FormatReader {
 public:
  FormatReader(std::string_view bytes, const std::string& file) : bytes_(bytes), file_(file) {}

  void Need(std::size_t count, const std::string& what) const {
    if (bytes_.size() - at_ < count) throw FormatViolation(file_, what + " is cut off");
  }
  std::uint8_t Byte(const std::string& what) {
    Need(1, what);
    return static_cast<std::uint8_t>(bytes_[at_++]);
  }
  std::int16_t Int16(const std::string& what) {
    Need(2, what);
    const auto v = DecodeInt16(bytes_, at_);
    at_ += 2;
    return v;
  }
  std::uint32_t Uint32(const std::string& what) {
    Need(4, what);
    const auto v = static_cast<std::uint32_t>(DecodeInt32(bytes_, at_));
    at_ += 4;
    return v;
  }
  std::int32_t Int32(const std::string& what) { return static_cast<std::int32_t>(Uint32(what)); }
  std::int64_t Int64(const std::string& what) {
    Need(8, what);
    const auto v = static_cast<std::int64_t>(bytes_detail::DecodeUnsigned(bytes_, at_, 8));
    at_ += 8;
    return v;
  }
  std::string Text(std::size_t length, const std::string& what) {
    Need(length, what);
    std::string text(bytes_.substr(at_, length));
    at_ += length;
    return text;
  }
  // An unsigned LEB128 varint of at most 64 bits.
  std::uint64_t Varint(const std::string& what) {
    std::uint64_t value = 0;
    for (int shift = 0; shift < 64; shift += 7) {
      const std::uint8_t byte = Byte(what);
      value |= static_cast<std::uint64_t>(byte & 0x7F) << shift;
      if ((byte & 0x80) == 0) return value;
    }
    throw FormatViolation(file_, what + " is longer than 10 bytes");
  }
  std::size_t Left() const { return bytes_.size() - at_; }

  // Magic, version and the two zero bytes.
  void Header(std::string_view magic, const std::string& kind, std::uint16_t known_version) {
    if (bytes_.size() < 8 || bytes_.substr(0, 4) != magic) {
      throw FormatViolation(file_, "not " + kind + " (no \"" + std::string(magic) + "\" header)");
    }
    at_ = 4;
    const auto version = static_cast<std::uint16_t>(Int16("the version"));
    if (version != known_version) {
      throw FormatViolation(file_, kind + " version " + std::to_string(version) +
                                       " is not known (" + std::to_string(known_version) + " is)");
    }
    if (Int16("the header") != 0) throw FormatViolation(file_, "header bytes 6-7 are not zero");
  }
  void End() const {
    if (Left() != 0)
      throw FormatViolation(file_, std::to_string(Left()) + " bytes after the last field");
  }

 private:
  std::string_view bytes_;
  const std::string& file_;
  std::size_t at_ = 0;
};

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_FORMAT_READER_H_
