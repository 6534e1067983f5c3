/*
 * big_endian.h: storing and loading integers most significant byte first, as
 * the data blob encodes them.
 */
#ifndef KOSHR_CONTAINERS_BIG_ENDIAN_H
#define KOSHR_CONTAINERS_BIG_ENDIAN_H

#include <cstdint>

namespace ko {

inline void store_be16(uint8_t* out, uint16_t v) {
  out[0] = uint8_t(v >> 8);
  out[1] = uint8_t(v);
}

inline void store_be32(uint8_t* out, uint32_t v) {
  out[0] = uint8_t(v >> 24);
  out[1] = uint8_t(v >> 16);
  out[2] = uint8_t(v >> 8);
  out[3] = uint8_t(v);
}

inline void store_be64(uint8_t* out, uint64_t v) {
  store_be32(out, uint32_t(v >> 32));
  store_be32(out + 4, uint32_t(v));
}

inline uint16_t load_be16(const uint8_t* in) { return uint16_t((in[0] << 8) | in[1]); }

inline uint32_t load_be32(const uint8_t* in) {
  return (uint32_t(in[0]) << 24) | (uint32_t(in[1]) << 16) | (uint32_t(in[2]) << 8) | in[3];
}

inline uint64_t load_be64(const uint8_t* in) {
  return (uint64_t(load_be32(in)) << 32) | load_be32(in + 4);
}

}  // namespace ko

#endif
