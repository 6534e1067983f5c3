/*
 * little_endian.h: storing integers and doubles little-endian into the byte
 * records of the binary exporters, whatever the host's byte order.
 */
#ifndef KOSHR_SAVEAS_LITTLE_ENDIAN_H
#define KOSHR_SAVEAS_LITTLE_ENDIAN_H

#include <cstdint>
#include <cstring>

namespace ko {

inline uint8_t* put_le16(uint8_t* out, uint32_t value) {
  out[0] = uint8_t(value);
  out[1] = uint8_t(value >> 8);
  return out + 2;
}

inline uint8_t* put_le32(uint8_t* out, uint32_t value) {
  return put_le16(put_le16(out, value & 0xFFFF), value >> 16);
}

inline uint8_t* put_le_double(uint8_t* out, double value) {
  uint64_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  return put_le32(put_le32(out, uint32_t(bits)), uint32_t(bits >> 32));
}

}  // namespace ko

#endif
