// The regions the block heap carves its pages from: aligned as asked,
// zero-filled, and usable around a part given back.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "platform/platform.h"

namespace {

TEST(PageRegion, AlignedZeroFilledAndReturnedPartByPart) {
  struct Case {
    size_t size, alignment;
  };
  const Case cases[] = {{1 << 20, 1 << 16}, {1 << 21, 1 << 20}, {1 << 18, 1 << 14}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.alignment);
    auto* region = static_cast<unsigned char*>(ko::os::pages_reserve(c.size, c.alignment));
    ASSERT_NE(region, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(region) % c.alignment, 0u);
    EXPECT_EQ(region[0] | region[c.size / 2] | region[c.size - 1], 0);
    // The middle quarter goes back; both ends stay usable.
    ko::os::pages_discard(region + c.size / 4, c.size / 4);
    std::memset(region, 0xA5, c.size / 4);
    std::memset(region + c.size / 2, 0x5A, c.size / 2);
    EXPECT_EQ(region[c.size / 4 - 1], 0xA5);
    EXPECT_EQ(region[c.size - 1], 0x5A);
    ko::os::pages_discard(region, c.size / 4);
    ko::os::pages_discard(region + c.size / 2, c.size / 2);
  }
}

}  // namespace
