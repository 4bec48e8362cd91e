// Little-endian decoding and encoding of the integers and floats of the
// atlas's binary files, one byte at a time.
#ifndef TARVPLACES_TEXT_BYTES_H_
#define TARVPLACES_TEXT_BYTES_H_

#include <bit>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tarv {

namespace bytes_detail {
inline std::uint64_t DecodeUnsigned(std::string_view bytes, std::size_t at, std::size_t width) {
  if (at > bytes.size() || bytes.size() - at < width) {
    throw std::out_of_range("binary field past the end of its buffer");
  }
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < width; ++i) {
    value |= static_cast<std::uint64_t>(static_cast<unsigned char>(bytes[at + i])) << (8 * i);
  }
  return value;
}
inline void AppendUnsigned(std::string& out, std::uint64_t value, std::size_t width) {
  for (std::size_t i = 0; i < width; ++i)
    out.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
}
}  // namespace bytes_detail

// Each decoder reads its field at byte `at` of `bytes` and throws
// std::out_of_range when the field does not lie inside the buffer; callers
// check lengths first, so that is a programming error, not bad input.
inline std::int16_t DecodeInt16(std::string_view bytes, std::size_t at) {
  return static_cast<std::int16_t>(
      static_cast<std::uint16_t>(bytes_detail::DecodeUnsigned(bytes, at, 2)));
}
inline std::int32_t DecodeInt32(std::string_view bytes, std::size_t at) {
  return static_cast<std::int32_t>(
      static_cast<std::uint32_t>(bytes_detail::DecodeUnsigned(bytes, at, 4)));
}
inline float DecodeFloat32(std::string_view bytes, std::size_t at) {
  return std::bit_cast<float>(
      static_cast<std::uint32_t>(bytes_detail::DecodeUnsigned(bytes, at, 4)));
}
inline double DecodeFloat64(std::string_view bytes, std::size_t at) {
  return std::bit_cast<double>(bytes_detail::DecodeUnsigned(bytes, at, 8));
}

inline void AppendInt16(std::string& out, std::int16_t v) {
  bytes_detail::AppendUnsigned(out, static_cast<std::uint16_t>(v), 2);
}
inline void AppendInt32(std::string& out, std::int32_t v) {
  bytes_detail::AppendUnsigned(out, static_cast<std::uint32_t>(v), 4);
}
inline void AppendFloat32(std::string& out, float v) {
  bytes_detail::AppendUnsigned(out, std::bit_cast<std::uint32_t>(v), 4);
}
inline void AppendFloat64(std::string& out, double v) {
  bytes_detail::AppendUnsigned(out, std::bit_cast<std::uint64_t>(v), 8);
}

static_assert(sizeof(float) == 4 && sizeof(double) == 8, "IEEE single and double expected");

}  // namespace tarv

#endif  // TARVPLACES_TEXT_BYTES_H_
