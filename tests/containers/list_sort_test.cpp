// Sorting lists and the heap sort beneath: the three flags, the default
// string order, what shlist_sort_param hands back, and the heap sort's
// results against a reference sort.
#include <koshr/lists.h>

#include <algorithm>
#include <random>
#include <vector>

#include "test_support.h"

namespace {

class ListSortTest : public StorageTest {
 protected:
  shlistx* make(const std::vector<std::u16string>& texts) {
    strings = texts;
    shlistx* list = shlist_new(context, pool);
    for (auto& s : strings) shlist_insert(list, s.data());
    return list;
  }

  std::vector<std::u16string> strings;
};

// Ordinal order reversed, through the parameter: proves the parameter and
// the caller's comparator are the ones used.
int reversed(void* param, const void* a, const void* b) {
  int sign = *static_cast<int*>(param);
  return sign * std::u16string_view(static_cast<const KOCHAR*>(a))
                    .compare(static_cast<const KOCHAR*>(b));
}

TEST_F(ListSortTest, FlagsDecideWhatHappensToTheList) {
  struct Case {
    const char* name;
    int flags;
    bool with_param;
    const char* list_after;
    const char* array;  // what shlist_sort_param returns, "" for null
  };
  const Case cases[] = {
      {"no flags leaves the list", 0, false, "b [a] c", ""},
      {"rebuild sorts, last current", SHLIST_SORT_REBUILD, false, "a b [c]", ""},
      {"detach empties", SHLIST_SORT_DETACH, false, "", ""},
      {"rebuild wins over detach", SHLIST_SORT_REBUILD | SHLIST_SORT_DETACH, false, "a b [c]", ""},
      {"param, no flags: sorted array", 0, true, "b [a] c", "c b a"},
      {"param, free array", SHLIST_SORT_FREEARRAY, true, "b [a] c", ""},
      {"param, rebuild and array", SHLIST_SORT_REBUILD, true, "c b [a]", "c b a"},
      {"param, detach and free", SHLIST_SORT_DETACH | SHLIST_SORT_FREEARRAY, true, "", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    shlistx* list = make({u"b", u"a", u"c"});
    shlist_get_first(list);
    shlist_get_next(list);
    std::string array;
    if (c.with_param) {
      int sign = -1;
      void** sorted = shlist_sort_param(list, &sign, reversed, c.flags);
      for (int i = 0; sorted && i < 3; ++i) {
        if (i) array += ' ';
        array += narrow(sorted[i]);
      }
      kostg_fee(context, sorted);
    } else {
      EXPECT_EQ(shlist_sort(list, nullptr, c.flags), 0);
    }
    EXPECT_EQ(list_contents(list), c.list_after);
    EXPECT_EQ(shlist_get_count(list), *c.list_after ? 3u : 0u);
    EXPECT_EQ(array, c.array);
    shlist_delete(list);
  }
}

TEST_F(ListSortTest, EmptyListSortsToNothing) {
  shlistx* list = make({});
  EXPECT_EQ(shlist_sort(list, nullptr, SHLIST_SORT_REBUILD), 0);
  EXPECT_EQ(shlist_sort_param(list, nullptr, nullptr, 0), nullptr);
  EXPECT_EQ(shlist_get_count(list), 0u);
}

TEST_F(ListSortTest, DefaultOrderIsTheLocaleCollation) {
  // Case-folded first, lower case before upper: not the code-unit order.
  shlistx* list = make({u"b", u"B", u"A", u"a", u"ab"});
  shlist_sort(list, nullptr, SHLIST_SORT_REBUILD);
  EXPECT_EQ(list_contents(list), "a A ab b [B]");
}

std::vector<int> heap_sorted(std::vector<int> values, SHLIST_COMPARE compare) {
  std::vector<void*> pointers;
  for (int& v : values) pointers.push_back(&v);
  sh_heapsort(pointers.data(), uint32_t(pointers.size()), compare);
  std::vector<int> out;
  for (void* p : pointers) out.push_back(*static_cast<int*>(p));
  return out;
}

int by_value(const void* a, const void* b) {
  int x = *static_cast<const int*>(a), y = *static_cast<const int*>(b);
  return x < y ? -1 : x > y ? 1 : 0;
}

// Only a negative result moves an element: answering 1 for "equal" must sort
// exactly as answering 0, and any positive size is as good as 1.
int by_value_never_zero(const void* a, const void* b) {
  int x = *static_cast<const int*>(a), y = *static_cast<const int*>(b);
  return x < y ? -1000 : 99;
}

TEST(HeapSort, SortsAscendingLikeAReferenceSort) {
  std::mt19937 random(7);
  std::vector<std::vector<int>> inputs = {
      {}, {1}, {2, 1}, {1, 2, 3, 4, 5}, {5, 4, 3, 2, 1}, {3, 3, 3}, {2, 1, 2, 1, 2, 1, 0},
  };
  for (int n : {31, 32, 33, 1000}) {
    std::vector<int> v(n);
    for (int& x : v) x = int(random() % 50);
    inputs.push_back(v);
  }
  for (const auto& input : inputs) {
    std::vector<int> expected = input;
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(heap_sorted(input, by_value), expected);
    EXPECT_EQ(heap_sorted(input, by_value_never_zero), expected);
  }
}

TEST(HeapSort, ParamFormPassesTheParamAndDefaultsToStrings) {
  std::u16string texts[] = {u"b", u"c", u"a"};
  void* items[] = {texts[0].data(), texts[1].data(), texts[2].data()};
  int sign = -1;
  sh_heapsort_param(&sign, items, 3, reversed);
  EXPECT_EQ(narrow(items[0]) + narrow(items[1]) + narrow(items[2]), "cba");
  sh_heapsort_param(&sign, items, 3, nullptr);
  EXPECT_EQ(narrow(items[0]) + narrow(items[1]) + narrow(items[2]), "abc");
  sh_heapsort(nullptr, 5, nullptr);  // no array: nothing to do
}

}  // namespace
