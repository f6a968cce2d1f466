// Numbers in the bytes of a record. Bytes behind its end count as 0.
#ifndef KAV_BASE_MOBI_BYTES_H
#define KAV_BASE_MOBI_BYTES_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kav_mobi {

inline uint64_t ByteAt(std::string_view bytes, size_t at) {
  return at < bytes.size() ? static_cast<unsigned char>(bytes[at]) : 0;
}

inline uint64_t BigEndian16(std::string_view bytes, size_t at) {
  return ByteAt(bytes, at) << 8 | ByteAt(bytes, at + 1);
}

inline uint64_t BigEndian32(std::string_view bytes, size_t at) {
  return BigEndian16(bytes, at) << 16 | BigEndian16(bytes, at + 2);
}

}  // namespace kav_mobi

#endif
