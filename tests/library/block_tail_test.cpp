// block_tail_test.cpp: the unused bytes of a partly filled data block are
// zero on disk, even where the write buffer's slot held other data before;
// and an entry rewritten while its first chain still waits in the write
// buffer gives that chain's blocks back (check finds nothing leaked).
#include "library_fixture.h"

#include <cstring>

using namespace library_test;

namespace {

class BlockTailTest : public LibraryTest {};

TEST_F(BlockTailTest, UnusedPayloadIsZeroWhateverTheBufferHeldBefore) {
  struct Case {
    const char* name;
    size_t size;
    std::u16string comment;
  };
  // Full blocks of non-zero bytes first, so every later short block reuses
  // a buffer slot that held payload; sizes around the 502-byte payload.
  const Case cases[] = {
      {"big_first.txt", 20000, u""},   {"one.txt", 1, u""},          {"almost.txt", 501, u""},
      {"exact.txt", 502, u""},         {"over.txt", 503, u""},       {"two_and_bit.txt", 1005, u""},
      {"commented.txt", 7, u"a note"}, {"big_again.txt", 17000, u""}, {"last.txt", 33, u""},
  };
  std::u16string p = create();
  LMI_HANDLE lib = open(p);
  Bytes filled(20000, 0xA5);
  for (const Case& c : cases) {
    Bytes data(filled.begin(), filled.begin() + std::ptrdiff_t(c.size));
    ASSERT_EQ(put(lib, c.name, data, c.comment), 0) << c.name;
  }
  // The same names again, with the first chains partly still in the write
  // buffer: the rewrite lands in new blocks, the old ones are freed.
  for (const Case& c : cases) ASSERT_EQ(put(lib, c.name, pattern(c.size, 9), c.comment), 0) << c.name;
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);

  Bytes image = file_bytes("lib.kol");
  int data_blocks = 0;
  for (size_t at = 0; at + 512 <= image.size(); at += 512) {
    const uint8_t* block = image.data() + at;
    if (std::memcmp(block, "DAT*", 4) != 0) continue;
    ++data_blocks;
    size_t used = ko::load_le16(block + 8);
    ASSERT_GE(used, 1u) << "block at " << at;
    ASSERT_LE(used, 502u) << "block at " << at;
    for (size_t i = 10 + used; i < 512; ++i) ASSERT_EQ(block[i], 0) << "block at " << at << ", byte " << i;
  }
  EXPECT_GT(data_blocks, 2 * 80);
  lib = open(p, LMI_MODE_READ);
  for (const Case& c : cases) EXPECT_EQ(get(lib, c.name), pattern(c.size, 9)) << c.name;
  LMI_CloseLibrary(lib);
  expect_sound(p);
}

}  // namespace
