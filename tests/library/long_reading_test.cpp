// long_reading_test.cpp: a handle that keeps reading, long after its first
// reads (a read-only handle switches to a mapping of its file on the way).
#include "library_fixture.h"

#include <algorithm>
#include <random>

namespace library_test {
namespace {

class LongReadingTest : public LibraryTest {};

std::string entry_name(int i) { return "obj_" + std::to_string(i) + ".txt"; }
size_t entry_size(int i) { return size_t(i * 37 % 2600) + (i % 5 == 0 ? 0 : 1); }

TEST_F(LongReadingTest, EveryEntryReadsBackInAnyOrderAndChunking) {
  auto p = create();
  constexpr int kEntries = 300;
  {
    LMI_HANDLE lib = open(p);
    for (int i = 0; i < kEntries; ++i)
      ASSERT_EQ(put(lib, entry_name(i), pattern(entry_size(i), uint32_t(i)), i % 7 ? u"" : u"a comment"), 0);
    ASSERT_EQ(LMI_CloseLibrary(lib), 0);
  }
  struct Case {
    const char* what;
    int mode;
    uint32_t chunk;  // bytes a LMI_ReadEntry call asks for
  };
  const Case cases[] = {
      {"read-only, whole entries", LMI_MODE_READ, 4096},
      {"read-only, odd chunks across blocks", LMI_MODE_READ, 333},
      {"read-write, whole entries", LMI_MODE_READWRITE, 4096},
  };
  std::vector<int> order(kEntries);
  for (int i = 0; i < kEntries; ++i) order[i] = i;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    LMI_HANDLE lib = open(p, c.mode);
    ASSERT_NE(lib, nullptr);
    for (int pass = 0; pass < 2; ++pass) {
      std::shuffle(order.begin(), order.end(), std::mt19937(unsigned(pass + 1)));
      for (int i : order) {
        std::u16string n = u16(entry_name(i));
        ASSERT_EQ(LMI_OpenEntry(lib, n.data(), LMI_ENTRY_READ, nullptr), 0) << i;
        Bytes got;
        std::vector<uint8_t> chunk(c.chunk);
        int32_t r;
        while ((r = LMI_ReadEntry(lib, chunk.data(), c.chunk)) > 0) got.insert(got.end(), chunk.begin(), chunk.begin() + r);
        ASSERT_EQ(r, 0) << i;
        ASSERT_EQ(got, pattern(entry_size(i), uint32_t(i))) << i;
        ASSERT_EQ(LMI_CloseEntry(lib), 0);
      }
    }
    ASSERT_EQ(LMI_CloseLibrary(lib), 0);
  }
  expect_sound(p);
}

}  // namespace
}  // namespace library_test
