// directory_test.cpp: the tree of nodes under many entries, in any order,
// with removals, checked entry by entry and by LMI_CheckLibrary.
#include "library_fixture.h"

#include <algorithm>
#include <map>
#include <random>

using namespace library_test;

namespace {

std::string entry_name(int i) {
  static const char* kinds[] = {".txt", ".dat", ".fmt", ".kos"};
  return "obj_" + std::to_string(i * 7919 % 100003) + kinds[i % 4];
}

class DirectoryTest : public LibraryTest {
 protected:
  // Checks the whole library against the expected contents, through a fresh handle.
  void verify(const std::u16string& p, const std::map<std::string, Bytes>& expected) {
    LMI_HANDLE h = open(p, LMI_MODE_READ);
    ASSERT_NE(h, nullptr);
    LMI_LIST_ITEM* items = nullptr;
    int32_t count = LMI_ListEntries(h, storage_, &items);
    ASSERT_EQ(count, int32_t(expected.size()));
    auto it = expected.begin();
    for (int32_t i = 0; i < count; ++i, ++it) {
      ASSERT_EQ(narrow(items[i].name), it->first) << "listed in name order";
      EXPECT_EQ(items[i].objectSize, it->second.size());
    }
    kostg_fee(storage_, items);
    for (auto& [name, data] : expected) ASSERT_EQ(get(h, name), data) << name;
    LMI_CloseLibrary(h);
    expect_sound(p);
  }
};

TEST_F(DirectoryTest, GrowsAndShrinksInAnyOrder) {
  enum Order { kRandom, kAscending, kDescending };
  for (Order order : {kRandom, kAscending, kDescending}) {
    std::u16string p = create("d" + std::to_string(order) + ".kol");
    std::vector<int> ids(1500);
    for (int i = 0; i < 1500; ++i) ids[i] = i;
    std::mt19937 rng(42 + order);
    std::sort(ids.begin(), ids.end(), [](int a, int b) { return entry_name(a) < entry_name(b); });
    if (order == kRandom) std::shuffle(ids.begin(), ids.end(), rng);
    if (order == kDescending) std::reverse(ids.begin(), ids.end());
    std::map<std::string, Bytes> expected;
    LMI_HANDLE h = open(p);
    for (int id : ids) {
      Bytes data = pattern(size_t(id % 700), uint32_t(id));
      ASSERT_EQ(put(h, entry_name(id), data), 0);
      expected[entry_name(id)] = data;
    }
    ASSERT_EQ(LMI_CloseLibrary(h), 0);
    verify(p, expected);

    // Remove two thirds in a random order, rewrite some of the rest.
    std::shuffle(ids.begin(), ids.end(), rng);
    h = open(p);
    for (size_t i = 0; i < ids.size(); ++i) {
      std::u16string n = u16(entry_name(ids[i]));
      if (i % 3 != 0) {
        ASSERT_EQ(LMI_DeleteEntry(h, n.data()), 0) << entry_name(ids[i]);
        expected.erase(entry_name(ids[i]));
      } else if (i % 2 == 0) {
        Bytes data = pattern(1200, uint32_t(i));
        ASSERT_EQ(put(h, entry_name(ids[i]), data), 0);
        expected[entry_name(ids[i])] = data;
      }
    }
    ASSERT_EQ(LMI_CloseLibrary(h), 0);
    verify(p, expected);

    // And the rest, until the library is empty again.
    h = open(p);
    for (auto& [name, data] : expected) {
      std::u16string n = u16(name);
      ASSERT_EQ(LMI_DeleteEntry(h, n.data()), 0) << name;
    }
    ASSERT_EQ(LMI_CloseLibrary(h), 0);
    verify(p, {});
    h = open(p);
    LMI_SPACE_INFO space;
    ASSERT_EQ(LMI_LibrarySpace(h, &space), 0);
    EXPECT_EQ(space.blocksUsed, 9u) << "every block came back";
    LMI_CloseLibrary(h);
  }
}

TEST_F(DirectoryTest, DeleteRefusals) {
  std::u16string p = create();
  LMI_HANDLE h = open(p);
  ASSERT_EQ(put(h, "a.dat", pattern(3, 1)), 0);
  KOCHAR a[] = u"A.dat", b[] = u"b.dat";
  EXPECT_EQ(LMI_DeleteEntry(h, b), -12);
  EXPECT_EQ(LMI_DeleteEntry(h, nullptr), -10);
  EXPECT_EQ(LMI_DeleteEntry(nullptr, a), -6);
  ASSERT_EQ(LMI_OpenEntry(h, a, LMI_ENTRY_READ, nullptr), 0);
  EXPECT_EQ(LMI_DeleteEntry(h, a), -16);
  LMI_CloseEntry(h);
  LMI_CloseLibrary(h);
  h = open(p, LMI_MODE_READ);
  EXPECT_EQ(LMI_DeleteEntry(h, a), -15);
  LMI_CloseLibrary(h);
}

}  // namespace
