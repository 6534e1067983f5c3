// large_library_test.cpp: libraries that outgrow one bitmap block (2 MB) and
// the handle's first eight (16 MB): written, thinned out, refilled, reopened.
#include "library_fixture.h"

using namespace library_test;

namespace {

class LargeLibraryTest : public LibraryTest {};

TEST_F(LargeLibraryTest, BitmapChainGrowsAcrossRanges) {
  struct Case {
    const char* what;
    int entries;
    size_t size;
    uint32_t bitmaps_at_least;
  };
  const Case cases[] = {
      {"two bitmap blocks", 12, 256 * 1024, 2},
      {"more than a handle keeps in itself", 40, 512 * 1024, 10},
  };
  int n = 0;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    std::u16string p = create("big" + std::to_string(n++) + ".kol");
    auto name = [](int i) { return "part_" + std::to_string(i) + ".bin"; };
    LMI_HANDLE lib = open(p);
    for (int i = 0; i < c.entries; ++i)
      ASSERT_EQ(put(lib, name(i), pattern(c.size, uint32_t(i))), 0) << i;
    ASSERT_EQ(LMI_CloseLibrary(lib), 0);

    // Every other entry goes, then comes back half as long: the freed runs
    // across every bitmap block are found and reused.
    lib = open(p);
    for (int i = 0; i < c.entries; i += 2) {
      std::u16string n16 = u16(name(i));
      ASSERT_EQ(LMI_DeleteEntry(lib, n16.data()), 0) << i;
    }
    ASSERT_EQ(LMI_CloseLibrary(lib), 0);
    lib = open(p);
    for (int i = 0; i < c.entries; i += 2)
      ASSERT_EQ(put(lib, name(i), pattern(c.size / 2, uint32_t(i))), 0) << i;
    LMI_SPACE_INFO space;
    ASSERT_EQ(LMI_LibrarySpace(lib, &space), 0);
    EXPECT_GE(space.bitmapBlocks, c.bitmaps_at_least);
    ASSERT_EQ(LMI_CloseLibrary(lib), 0);

    lib = open(p, LMI_MODE_READ);
    for (int i = 0; i < c.entries; ++i)
      ASSERT_EQ(get(lib, name(i)), pattern(i % 2 ? c.size : c.size / 2, uint32_t(i))) << i;
    LMI_CloseLibrary(lib);
    expect_sound(p);
  }
}

}  // namespace
