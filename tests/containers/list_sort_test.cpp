// Sorting lists and the heap sort beneath: the flags, the default string
// order, what shlist_sort_param hands back, and results against std::sort.
#include <koshr/lists.h>

#include <algorithm>
#include <random>
#include <vector>

#include "test_support.h"

namespace {

// Code-unit order times the sign the parameter points to.
int signed_order(void* param, const void* a, const void* b) {
  auto x = std::u16string_view(static_cast<const KOCHAR*>(a));
  return *static_cast<int*>(param) * x.compare(static_cast<const KOCHAR*>(b));
}

TEST_F(StorageTest, ListSortFlagsDecideWhatHappensToTheList) {
  struct Case {
    int flags;
    bool with_param;  // shlist_sort_param in descending order
    const char* list_after;
    const char* array;  // what shlist_sort_param returned, "" for null
  };
  const Case cases[] = {
      {0, false, "b [a] c", ""},
      {SHLIST_SORT_REBUILD, false, "a b [c]", ""},
      {SHLIST_SORT_DETACH, false, "", ""},
      {SHLIST_SORT_REBUILD | SHLIST_SORT_DETACH, false, "a b [c]", ""},
      {0, true, "b [a] c", "cba"},
      {SHLIST_SORT_FREEARRAY, true, "b [a] c", ""},
      {SHLIST_SORT_REBUILD, true, "c b [a]", "cba"},
      {SHLIST_SORT_DETACH | SHLIST_SORT_FREEARRAY, true, "", ""},
  };
  KOCHAR items[3][2] = {u"b", u"a", u"c"};
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "flags " << c.flags << (c.with_param ? " param" : ""));
    shlistx* list = shlist_new(storage_, subpool_);
    for (auto& item : items) shlist_insert(list, item);
    shlist_get_first(list);
    shlist_get_next(list);
    std::string array;
    int descending = -1;
    if (!c.with_param) {
      EXPECT_EQ(shlist_sort(list, nullptr, c.flags), 0);
    } else if (void** sorted = shlist_sort_param(list, &descending, signed_order, c.flags)) {
      for (int i = 0; i < 3; ++i) array += narrow(sorted[i]);
      kostg_fee(storage_, sorted);
    }
    EXPECT_EQ(list_contents(list), c.list_after);
    EXPECT_EQ(array, c.array);
  }
  shlistx* empty = shlist_new(storage_, subpool_);
  EXPECT_EQ(shlist_sort_param(empty, nullptr, nullptr, 0), nullptr);
}

TEST_F(StorageTest, ListSortDefaultsToTheLocaleCollation) {
  // Case-folded first, lower case before upper: not the code-unit order.
  KOCHAR items[5][3] = {u"b", u"B", u"A", u"a", u"ab"};
  shlistx* list = shlist_new(storage_, subpool_);
  for (auto& item : items) shlist_insert(list, item);
  shlist_sort(list, nullptr, SHLIST_SORT_REBUILD);
  EXPECT_EQ(list_contents(list), "a A ab b [B]");
}

int by_value(const void* a, const void* b) {
  return *static_cast<const int*>(a) - *static_cast<const int*>(b);
}
// Only a negative result moves an element: any non-negative answer for
// "not smaller" must sort exactly as 0 does.
int by_value_never_zero(const void* a, const void* b) { return by_value(a, b) < 0 ? -1000 : 99; }

TEST(HeapSort, SortsAscendingLikeAReferenceSort) {
  std::mt19937 random(7);
  std::vector<std::vector<int>> inputs = {{}, {1}, {2, 1}, {1, 2, 3, 4}, {5, 4, 3, 2, 1}, {3, 3, 3}};
  for (int n : {31, 32, 1000}) {
    inputs.emplace_back(n);
    for (int& x : inputs.back()) x = int(random() % 50);
  }
  for (auto compare : {by_value, by_value_never_zero}) {
    for (std::vector<int> values : inputs) {
      std::vector<void*> pointers;
      for (int& v : values) pointers.push_back(&v);
      sh_heapsort(pointers.data(), uint32_t(pointers.size()), compare);
      std::vector<int> sorted;
      for (void* p : pointers) sorted.push_back(*static_cast<int*>(p));
      std::sort(values.begin(), values.end());
      EXPECT_EQ(sorted, values);
    }
  }
}

}  // namespace
