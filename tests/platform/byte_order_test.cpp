// Byte order: each width and order read from and written to bytes laid out by hand.
#include "platform/byte_order.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

const uint8_t kBytes[8] = {0x01, 0x82, 0x03, 0x84, 0x05, 0x86, 0x07, 0x88};

TEST(ByteOrder, LoadsEachWidthAndOrder) {
  EXPECT_EQ(ko::load_le16(kBytes), 0x8201u);
  EXPECT_EQ(ko::load_be16(kBytes), 0x0182u);
  EXPECT_EQ(ko::load_le32(kBytes), 0x84038201u);
  EXPECT_EQ(ko::load_be32(kBytes), 0x01820384u);
  EXPECT_EQ(ko::load_le64(kBytes), 0x8807860584038201ull);
  EXPECT_EQ(ko::load_be64(kBytes), 0x0182038405860788ull);
}

TEST(ByteOrder, StoresEachWidthAndOrderAndReturnsTheNextByte) {
  struct Case {
    uint8_t* (*store)(uint8_t*, uint64_t);
    size_t width;
    uint64_t value;
  };
  const Case cases[] = {
      {[](uint8_t* p, uint64_t v) { return ko::store_le16(p, uint16_t(v)); }, 2, 0x8201},
      {[](uint8_t* p, uint64_t v) { return ko::store_be16(p, uint16_t(v)); }, 2, 0x0182},
      {[](uint8_t* p, uint64_t v) { return ko::store_le32(p, uint32_t(v)); }, 4, 0x84038201},
      {[](uint8_t* p, uint64_t v) { return ko::store_be32(p, uint32_t(v)); }, 4, 0x01820384},
      {[](uint8_t* p, uint64_t v) { return ko::store_le64(p, v); }, 8, 0x8807860584038201},
      {[](uint8_t* p, uint64_t v) { return ko::store_be64(p, v); }, 8, 0x0182038405860788},
  };
  for (const Case& c : cases) {
    uint8_t out[9] = {0, 0, 0, 0, 0, 0, 0, 0, 0xEE};
    EXPECT_EQ(c.store(out, c.value), out + c.width);
    EXPECT_EQ(0, std::memcmp(out, kBytes, c.width)) << c.width;
    EXPECT_EQ(out[c.width], c.width == 8 ? 0xEE : 0) << "wrote past the value";
  }
}

}  // namespace
