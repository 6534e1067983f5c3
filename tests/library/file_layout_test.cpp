// file_layout_test.cpp: the bytes a library holds on disk.
#include "library_fixture.h"

#include <cstring>

using namespace library_test;

namespace {

class FileLayoutTest : public LibraryTest {};

TEST_F(FileLayoutTest, NewLibraryIsHeaderBitmapAndEmptyRoot) {
  create("fresh.kol", u"hello");
  Bytes b = file_bytes("fresh.kol");
  ASSERT_EQ(b.size(), 4608u);
  EXPECT_EQ(std::memcmp(b.data(), "HDR*", 4), 0);
  const char16_t product[] = u"Korvane";
  for (int i = 0; i < 8; ++i) EXPECT_EQ(u16_at(b, 4 + 2 * i), product[i]);
  const char16_t version[] = u"0600";
  for (int i = 0; i < 4; ++i) EXPECT_EQ(u16_at(b, 0x20 + 2 * i), version[i]);
  EXPECT_EQ(u16_at(b, 0x2C), 0) << "new libraries record no type";
  EXPECT_EQ(u16_at(b, 0x2E), u'h');
  EXPECT_EQ(u32_at(b, 0x22E), 0u);
  EXPECT_EQ(std::memcmp(b.data() + 1024, "FRE*", 4), 0);
  EXPECT_EQ(u32_at(b, 1028), 0u);
  EXPECT_EQ(b[1032], 0xFF);
  EXPECT_EQ(b[1033], 0x80);
  EXPECT_EQ(b[1034], 0);
  EXPECT_EQ(std::memcmp(b.data() + 1536, "NOD*", 4), 0);
  EXPECT_EQ(u16_at(b, 1536 + 16), 3040);
  EXPECT_EQ(u16_at(b, 1536 + 20), 0);
  expect_sound(path("fresh.kol"));
}

TEST_F(FileLayoutTest, EntryRecordAndDataBlocks) {
  struct Case {
    size_t size;
    uint32_t blocks;
    uint16_t last_used;
  } cases[] = {{0, 0, 0}, {1, 1, 1}, {502, 1, 502}, {503, 2, 1}, {1004, 2, 502}, {5000, 10, 482}};
  for (const Case& c : cases) {
    std::string lib = "e" + std::to_string(c.size) + ".kol";
    std::u16string p = create(lib);
    LMI_HANDLE h = open(p);
    ASSERT_EQ(put(h, "report.txt", pattern(c.size, 7)), 0);
    ASSERT_EQ(LMI_CloseLibrary(h), 0);
    Bytes b = file_bytes(lib);
    // The record is the root's first.
    size_t rec = 1536 + 32;
    ASSERT_EQ(std::memcmp(b.data() + rec, "ENT*", 4), 0);
    EXPECT_EQ(u16_at(b, rec + 4), u'0');
    EXPECT_EQ(u32_at(b, rec + 16), c.size);
    EXPECT_EQ(u16_at(b, rec + 24), 0);
    EXPECT_EQ(u16_at(b, rec + 26), 2 * (10 + 1));
    EXPECT_EQ(u16_at(b, 1536 + 22), 32 + 28);
    EXPECT_EQ(u16_at(b, 1536 + 18), 32 + 28);
    EXPECT_EQ(u16_at(b, 1536 + 16), 3040 - 28 - 22);
    uint32_t next = u32_at(b, rec + 12);
    if (c.size == 0) {
      EXPECT_EQ(next, 0u);
    }
    uint32_t blocks = 0;
    uint16_t used = 0;
    while (next) {
      ASSERT_LT(next + 512, b.size() + 1);
      ASSERT_EQ(std::memcmp(b.data() + next, "DAT*", 4), 0);
      used = u16_at(b, next + 8);
      next = u32_at(b, next + 4);
      ++blocks;
    }
    EXPECT_EQ(blocks, c.blocks) << c.size;
    EXPECT_EQ(used, c.last_used) << c.size;
    expect_sound(p);
  }
}

TEST_F(FileLayoutTest, CommentLeadsTheStream) {
  std::u16string p = create();
  LMI_HANDLE h = open(p);
  ASSERT_EQ(put(h, "a.dat", pattern(100, 1), u"  hello  "), 0);
  LMI_CloseLibrary(h);
  Bytes b = file_bytes("lib.kol");
  size_t rec = 1536 + 32;
  EXPECT_EQ(u16_at(b, rec + 24), 5);
  EXPECT_EQ(u32_at(b, rec + 16), 110u);
  uint32_t block = u32_at(b, rec + 12);
  EXPECT_EQ(u16_at(b, block + 10), u'h');
  EXPECT_EQ(u16_at(b, block + 18), u'o');
  EXPECT_EQ(b[block + 20], pattern(100, 1)[0]);
}

TEST_F(FileLayoutTest, KindByFirstSixBytes) {
  struct Case {
    const char* bytes;
    size_t size;
    int32_t kind;
  } cases[] = {{"HDR*Korvane", 11, 1}, {"HDR*K\0o\0", 8, 0}, {"HDR*X\0", 6, -1}, {"HDR", 3, -1}};
  for (const Case& c : cases) {
    ko_test::write_bytes(folder_.file("k.bin"), std::string(c.bytes, c.size));
    EXPECT_EQ(LMI_GetKOLBinaryType(storage_, path("k.bin").c_str()), c.kind) << c.bytes;
  }
  EXPECT_EQ(LMI_GetKOLBinaryType(storage_, path("missing.kol").c_str()), -1);
  ko_test::write_bytes(folder_.file("ansi.kol"), "HDR*Korvane" + std::string(5000, '\0'));
  EXPECT_EQ(LMI_OpenLibrary(storage_, path("ansi.kol").c_str(), LMI_MODE_READ, 0), nullptr);
}

}  // namespace
