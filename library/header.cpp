/*
 * header.cpp: building and recognising the library header.
 */
#include "library/header.h"

#include "library/bitmap.h"
#include "library/magic.h"
#include "platform/byte_order.h"
#include "platform/utf16.h"

#include <ctime>
#include <cstring>

namespace ko {

NodeGeometry geometry_for_version(const uint8_t* version_field) {
  KOCHAR first = KOCHAR(load_le16(version_field));
  KOCHAR second = KOCHAR(load_le16(version_field + 2));
  if (first == u'0' && second >= u'2' && second <= u'7') return {3072, 3040, 4608};
  return {1024, 992, 2560};
}

bool header_names_product(const uint8_t* header) {
  for (size_t i = 0; kProductName[i]; ++i) {
    if (load_le16(header + kHeaderProduct + 2 * i) != kProductName[i]) return false;
  }
  return true;
}

void build_new_header(uint8_t* buffer, uint16_t type, const KOCHAR* comment, uint32_t now) {
  std::memset(buffer, 0, kHeaderSize);
  put_magic(buffer, "HDR*");
  for (size_t i = 0; kProductName[i]; ++i) store_le16(buffer + kHeaderProduct + 2 * i, kProductName[i]);
  for (size_t i = 0; i < 4; ++i) store_le16(buffer + kHeaderVersion + 2 * i, kFormatVersion[i]);
  store_le16(buffer + kHeaderType, type);
  // The time stamp goes in as 64 bits, which zeroes the type again: new
  // libraries deliberately record no type (readers fall back to the extension).
  store_le64(buffer + kHeaderTime, now);
  if (comment) {
    size_t length = u16nlen(comment, 255);
    for (size_t i = 0; i < length; ++i) store_le16(buffer + kHeaderComment + 2 * i, comment[i]);
  }
  init_bitmap_block(buffer + kFirstBitmapOffset);
  mark_first_blocks(buffer + kFirstBitmapOffset, 9);
}

uint32_t seconds_since_1970() { return uint32_t(std::time(nullptr)); }

}  // namespace ko
