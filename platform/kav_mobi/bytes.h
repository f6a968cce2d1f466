// Numbers in the bytes of a record. Bytes behind its end count as 0.
#ifndef KAV_MOBI_BYTES_H
#define KAV_MOBI_BYTES_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kav_mobi {

inline uint64_t byteAt(std::string_view bytes, size_t at) {
  return at < bytes.size() ? static_cast<unsigned char>(bytes[at]) : 0;
}

inline uint64_t bigEndian16(std::string_view bytes, size_t at) {
  return byteAt(bytes, at) << 8 | byteAt(bytes, at + 1);
}

inline uint64_t bigEndian32(std::string_view bytes, size_t at) {
  return bigEndian16(bytes, at) << 16 | bigEndian16(bytes, at + 2);
}

}  // namespace kav_mobi

#endif
