/*
 * byte_order.h: little-endian integers inside on-disk buffers.
 *
 * Every integer in a library file is little-endian and may sit at any byte
 * offset (records are packed), so fields are always read and written through
 * these, never through casts.
 */
#ifndef KOSHR_LIBRARY_BYTE_ORDER_H
#define KOSHR_LIBRARY_BYTE_ORDER_H

#include <cstdint>
#include <cstring>

namespace ko {

inline uint16_t load_u16(const uint8_t* p) { return uint16_t(p[0] | (p[1] << 8)); }
inline uint32_t load_u32(const uint8_t* p) {
  return uint32_t(p[0]) | (uint32_t(p[1]) << 8) | (uint32_t(p[2]) << 16) | (uint32_t(p[3]) << 24);
}
inline void store_u16(uint8_t* p, uint16_t v) {
  p[0] = uint8_t(v);
  p[1] = uint8_t(v >> 8);
}
inline void store_u32(uint8_t* p, uint32_t v) {
  p[0] = uint8_t(v);
  p[1] = uint8_t(v >> 8);
  p[2] = uint8_t(v >> 16);
  p[3] = uint8_t(v >> 24);
}
inline void store_u64(uint8_t* p, uint64_t v) {
  store_u32(p, uint32_t(v));
  store_u32(p + 4, uint32_t(v >> 32));
}
// The four-byte ASCII magics ("HDR*", "NOD*", ...).
inline bool has_magic(const uint8_t* p, const char* magic) { return std::memcmp(p, magic, 4) == 0; }
inline void put_magic(uint8_t* p, const char* magic) { std::memcpy(p, magic, 4); }

}  // namespace ko

#endif
