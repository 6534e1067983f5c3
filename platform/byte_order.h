/*
 * byte_order.h: loading and storing 16-, 32- and 64-bit integers in a fixed
 * byte order at any byte offset, whatever the host's order.
 *
 * Names say the order and the width: load_le32 reads four bytes least
 * significant first, store_be16 writes two bytes most significant first.
 * Every store returns the byte after the value, so records are written as a
 * chain of stores. Buffers are never cast to wider types: fields sit at odd
 * offsets in packed records.
 */
#ifndef KOSHR_PLATFORM_BYTE_ORDER_H
#define KOSHR_PLATFORM_BYTE_ORDER_H

#include <cstdint>

namespace ko {

inline uint16_t load_le16(const uint8_t* in) { return uint16_t(in[0] | (in[1] << 8)); }

inline uint32_t load_le32(const uint8_t* in) {
  return uint32_t(in[0]) | (uint32_t(in[1]) << 8) | (uint32_t(in[2]) << 16) |
         (uint32_t(in[3]) << 24);
}

inline uint64_t load_le64(const uint8_t* in) {
  return load_le32(in) | (uint64_t(load_le32(in + 4)) << 32);
}

inline uint16_t load_be16(const uint8_t* in) { return uint16_t((in[0] << 8) | in[1]); }

inline uint32_t load_be32(const uint8_t* in) {
  return (uint32_t(in[0]) << 24) | (uint32_t(in[1]) << 16) | (uint32_t(in[2]) << 8) | in[3];
}

inline uint64_t load_be64(const uint8_t* in) {
  return (uint64_t(load_be32(in)) << 32) | load_be32(in + 4);
}

inline uint8_t* store_le16(uint8_t* out, uint16_t v) {
  out[0] = uint8_t(v);
  out[1] = uint8_t(v >> 8);
  return out + 2;
}

inline uint8_t* store_le32(uint8_t* out, uint32_t v) {
  return store_le16(store_le16(out, uint16_t(v)), uint16_t(v >> 16));
}

inline uint8_t* store_le64(uint8_t* out, uint64_t v) {
  return store_le32(store_le32(out, uint32_t(v)), uint32_t(v >> 32));
}

inline uint8_t* store_be16(uint8_t* out, uint16_t v) {
  out[0] = uint8_t(v >> 8);
  out[1] = uint8_t(v);
  return out + 2;
}

inline uint8_t* store_be32(uint8_t* out, uint32_t v) {
  return store_be16(store_be16(out, uint16_t(v >> 16)), uint16_t(v));
}

inline uint8_t* store_be64(uint8_t* out, uint64_t v) {
  return store_be32(store_be32(out, uint32_t(v >> 32)), uint32_t(v));
}

}  // namespace ko

#endif
